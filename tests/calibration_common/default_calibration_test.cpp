// The compiled-in calibration of the fixed cameras, end to end.

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <Eigen/LU>
#include <cmath>

#include "calibration_common/camera_parameters.h"
#include "support/camera_projection.h"
#include "support/sensor_transform.h"

namespace norv::calibration {
namespace {

double degrees(double radians) { return radians * 180 / 3.14159265358979323846; }

TEST(DefaultCalibration, PosesAreRigid) {
  const CameraParametersSet set;
  for (const std::string& name : set.getCameraNames()) {
    const Matrix3x3_f rotation = set.getCamera(name)->getRotation();
    const Matrix3x3_f should_be_identity = rotation * rotation.transpose();
    EXPECT_LT((should_be_identity - Matrix3x3_f::Identity()).cwiseAbs().maxCoeff(), 1e-6F)
        << name;  // measured: 6e-8
    EXPECT_NEAR(rotation.determinant(), 1, 1e-6) << name;
  }
}

TEST(DefaultCalibration, CamerasAreWhereTheyShouldBe) {
  const CameraParametersSet set;
  const CameraTransform& head = set.getCamera("head_camera")->getTransform();
  EXPECT_LT((head.getCameraCenter() - Vector3_f(0.12F, 0, 1.25F)).norm(), 1e-6F);
  // Ahead and 15 degrees down, with the image upright.
  const Vector3_f view = head.inverse.col(2).head<3>();
  EXPECT_NEAR(degrees(std::atan2(-static_cast<double>(view.z()), static_cast<double>(view.x()))),
              15, 1e-5);
  EXPECT_NEAR(view.y(), 0, 1e-7);
  const Vector3_f image_down = head.inverse.col(1).head<3>();
  EXPECT_LT(image_down.z(), -0.9F);
  const CameraTransform& navigation = set.getCamera("navigation_camera")->getTransform();
  EXPECT_LT((navigation.getCameraCenter() - Vector3_f(0.25F, 0.03F, 0.35F)).norm(), 1e-6F);
  EXPECT_EQ(navigation.inverse.col(2).head<3>().eval(), Vector3_f(1, 0, 0));
}

TEST(DefaultCalibration, FitOfTheHeadCameraIsTight) {
  const CameraParametersSet set;
  const auto& refit = set.getCamera("head_camera")->getRefit();
  ASSERT_TRUE(refit.has_value());
  EXPECT_GE(refit->error_per_point, 0);
  EXPECT_LT(refit->error_per_point, 0.001);  // measured: 0.0005, the rounding of the stored points
}

TEST(DefaultCalibration, HeadCamerasWarpedImageIsAPinholeImage) {
  const CameraParametersSet set;
  const auto camera = set.getCamera("head_camera");
  const Matrix3x3_f k = camera->getIntrinsics(640, 480);
  // The warp makes a pinhole image of 0.9 x 720 pixels at full-frame scale, delivered at half of
  // it.
  EXPECT_NEAR(k(0, 0), 324, 0.02);  // measured: 0.006
  EXPECT_NEAR(k(1, 1), 324, 0.02);
  EXPECT_NEAR(k(0, 2), 320, 0.01);
  EXPECT_NEAR(k(1, 2), 240, 0.01);
  EXPECT_EQ(k(0, 1), 0);
  ASSERT_EQ(camera->getDistortion(640, 480).size(), 8U);
  for (const float coefficient : camera->getDistortion(640, 480)) EXPECT_NEAR(coefficient, 0, 1e-3);
  EXPECT_NEAR(2 * degrees(std::atan(320 / static_cast<double>(k(0, 0)))), 89.3, 0.05);
  EXPECT_NEAR(2 * degrees(std::atan(240 / static_cast<double>(k(1, 1)))), 73.1, 0.05);
}

TEST(DefaultCalibration, BothImagesOfTheHeadCameraAgree) {
  // A ray's pixel in the full frame, sent through the sensor's warp, is its pixel in the warped
  // image.
  const CameraParametersSet set;
  const auto camera = set.getCamera("head_camera");
  std::vector<float> radii;
  std::vector<float> angles;
  for (int i = 0; i < 100; ++i) {
    radii.push_back(10.0F * static_cast<float>(i));
    angles.push_back(
        static_cast<float>(std::round(10 * degrees(2 * std::atan(10.0 * i / 1440))) / 10));
  }
  const AptinaSTE warp(640, 480, 0.9F, radii, angles);
  CameraTransform at_origin;
  at_origin.setTransform(Matrix4x4_f::Identity(), CameraTransform::kForward);
  for (float x = -0.9F; x < 0.95F; x += 0.1F) {
    for (float y = -0.7F; y < 0.75F; y += 0.1F) {
      const Vector3_f ray(x, y, 1);
      const Vector2_f full = project3dToCamera(at_origin, camera->getDistortion(1280, 960),
                                               camera->getIntrinsics(1280, 960), ray);
      const Vector2_f warped = project3dToCamera(at_origin, camera->getDistortion(640, 480),
                                                 camera->getIntrinsics(640, 480), ray);
      const Vector2_f expected = 0.5F * warp.transformPoint(full);
      EXPECT_LT((warped - expected).norm(), 0.02F) << x << ", " << y;  // measured: 0.008
    }
  }
}

}  // namespace
}  // namespace norv::calibration

// What docs/conventions.md says in formulas of its own.

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "calibration_common/camera_parameters.h"
#include "support/camera_projection.h"
#include "testing/calibration_messages.h"
#include "testing/document.h"

namespace norv::calibration {
namespace {

const std::string& page() {
  static const std::string text = testing::inOneLine(
      testing::readDocument(CAMERA_PARAMETERS_SOURCE_DIR "/docs/conventions.md"));
  return text;
}

bool says(const std::string& text) { return page().find(text) != std::string::npos; }

CameraTransform poseOf(const Matrix4x4_f& matrix) {
  CameraTransform pose;
  pose.setTransform(matrix, CameraTransform::kForward);
  return pose;
}

TEST(Conventions, SkewIsUndoneBeforeAPixelIsRectified) {
  EXPECT_TRUE(says("hand it the pixel (u - skew (v - cy) / fy, v) in place of (u, v)"));
  const std::vector<float> distortion = {-0.28F, 0.07F, 3e-4F, -2e-4F, 0, 0, 0, 0};
  const float centre[2] = {640, 480};
  const float focal_lengths[2] = {905, 890};
  const float skew = 5;
  const Matrix3x3_f k =
      testing::cameraMatrix(focal_lengths[0], focal_lengths[1], skew, centre[0], centre[1]);
  double worst = 0;
  double worst_without = 0;
  for (float x = -0.6F; x < 0.65F; x += 0.1F) {
    for (float y = -0.5F; y < 0.55F; y += 0.1F) {
      const Vector2_f pixel =
          project3dToCamera(poseOf(Matrix4x4_f::Identity()), distortion, k, Vector3_f(x, y, 1));
      const Vector2_f unskewed(pixel.x() - skew * (pixel.y() - centre[1]) / focal_lengths[1],
                               pixel.y());
      const Vector2_f ray = rectifyPoint(distortion.data(), centre, focal_lengths, unskewed);
      const Vector2_f wrong = rectifyPoint(distortion.data(), centre, focal_lengths, pixel);
      worst = std::max(worst, static_cast<double>((ray - Vector2_f(x, y)).norm()));
      worst_without =
          std::max(worst_without, static_cast<double>((wrong - Vector2_f(x, y)).norm()));
    }
  }
  EXPECT_LT(worst, 1e-6);          // measured: 1.2e-7
  EXPECT_GT(worst_without, 2e-3);  // skew y_d / fx is 2.6e-3 at y_d = 0.47
}

TEST(Conventions, CroppingAndScalingInTheRivalConvention) {
  EXPECT_TRUE(says("in the rival convention c' = s (c + 0.5) - 0.5"));
  CameraParameters camera;
  ASSERT_TRUE(camera.readProto(testing::exampleCamera("camera", "mine")));
  const Matrix3x3_f full = camera.getIntrinsics(1280, 960);
  const Matrix3x3_f quarter = camera.getIntrinsics(320, 240);
  // Both sides here, minus the half pixel.
  EXPECT_EQ(quarter(0, 2) - 0.5F, 0.25F * ((full(0, 2) - 0.5F) + 0.5F) - 0.5F);
  EXPECT_EQ(quarter(1, 2) - 0.5F, 0.25F * ((full(1, 2) - 0.5F) + 0.5F) - 0.5F);
}

TEST(Conventions, PointsOfAMapAreSeenThroughComposedPoses) {
  EXPECT_TRUE(says("`camera_from_map = camera_from_robot * robot_from_map`"));
  const CameraParametersSet set;
  const auto camera = set.getCamera("navigation_camera");
  // The robot stands 2 m ahead of the map's origin, turned by 90 degrees to the left.
  Matrix4x4_f robot_from_map;
  robot_from_map << 0, 1, 0, 0,  //
      -1, 0, 0, 2,               //
      0, 0, 1, 0,                //
      0, 0, 0, 1;
  const Vector3_f on_robot(3, 0.5F, 0.75F);
  const Vector3_f on_map(1.5F, 3, 0.75F);
  ASSERT_EQ((robot_from_map * Eigen::Vector4f(1.5F, 3, 0.75F, 1)).head<3>().eval(), on_robot);
  const Matrix4x4_f camera_from_map = camera->getTransform().transform * robot_from_map;
  const Matrix3x3_f k = camera->getIntrinsics(640, 480);
  const std::vector<float>& distortion = camera->getDistortion(640, 480);
  const Vector2_f through_map = project3dToCamera(poseOf(camera_from_map), distortion, k, on_map);
  const Vector2_f through_robot =
      project3dToCamera(camera->getTransform(), distortion, k, on_robot);
  EXPECT_LT((through_map - through_robot).norm(), 1e-4F);  // measured: 0
}

}  // namespace
}  // namespace norv::calibration

// The views of fixed cameras at the sizes that they deliver.

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <utility>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/camera_parameters.h"
#include "calibration_common/camera_view.h"
#include "support/camera_projection.h"
#include "testing/calibration_messages.h"
#include "testing/random_camera.h"

namespace norv::calibration {
namespace {

using testing::exampleCamera;
using Pixel = Eigen::Vector2d;

class DeliveredViews : public ::testing::Test {
 public:
  const CameraParametersSet set_;
  const std::shared_ptr<const CameraParameters> head_ = set_.getCamera("head_camera");
  const std::shared_ptr<const CameraParameters> navigation_ = set_.getCamera("navigation_camera");
};

TEST_F(DeliveredViews, HaveTheNumbersOfTheTable) {
  for (const auto& camera : {head_, navigation_}) {
    ASSERT_FALSE(camera->getIntrinsicsTable().empty());
    for (const CameraParameters::Intrinsics& entry : camera->getIntrinsicsTable()) {
      const std::optional<CameraView> view = camera->view(entry.width, entry.height);
      ASSERT_TRUE(view);
      EXPECT_EQ(view->width(), entry.width);
      EXPECT_EQ(view->height(), entry.height);
      EXPECT_EQ(Matrix3x3_f(view->K(PixelOrigin::kImageCorner).cast<float>()),
                camera->getIntrinsics(entry.width, entry.height));
      for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(static_cast<float>(view->distortion().at(i)), entry.distortion.at(i));
      }
      EXPECT_EQ(view->pose().transform, camera->getTransform().transform);
      EXPECT_TRUE(view->isFromTable());
    }
  }
}

TEST_F(DeliveredViews, AreThereForDeliveredSizesAlone) {
  EXPECT_FALSE(head_->view(320, 240));
  EXPECT_FALSE(head_->view(480, 640));
  EXPECT_FALSE(head_->view(640, 481));
  EXPECT_FALSE(head_->view(0, 0));
  EXPECT_FALSE(head_->view(-640, -480));
  EXPECT_FALSE(CameraParameters().view(640, 480));

  CameraParameters own;
  ASSERT_TRUE(own.readProto(exampleCamera("camera", "a model of one's own")));
  EXPECT_TRUE(own.view(1280, 960));
  EXPECT_FALSE(own.view(640, 480));
}

TEST_F(DeliveredViews, OfASizeWithoutPixelsAreNone) {
  CameraCalibration message = exampleCamera("camera", "");
  message.mutable_intrinsics()->set_width(-5);
  message.mutable_intrinsics()->set_height(0);
  CameraParameters camera;
  ASSERT_TRUE(camera.readProto(message));
  ASSERT_EQ(camera.getIntrinsicsTable().at(0).width, -5);
  EXPECT_FALSE(camera.view(-5, 0));
}

TEST_F(DeliveredViews, SayWhichPictureTheSensorRectifies) {
  EXPECT_TRUE(head_->view(640, 480)->isRectifiedBySensor());
  EXPECT_FALSE(head_->view(1280, 960)->isRectifiedBySensor());
  EXPECT_FALSE(head_->view(1280, 720)->isRectifiedBySensor());
  EXPECT_FALSE(navigation_->view(640, 480)->isRectifiedBySensor());
  // Processed afterwards, it is rectified still, and of no size that the camera delivers.
  const std::optional<CameraView> halved = head_->view(640, 480)->resized(320, 240);
  EXPECT_TRUE(halved->isRectifiedBySensor());
  EXPECT_FALSE(halved->isFromTable());
}

TEST_F(DeliveredViews, HalvedPictureOfTheHeadCamera) {
  EXPECT_FALSE(head_->view(320, 240));
  const std::optional<CameraView> halved = head_->view(640, 480)->resized(320, 240);
  ASSERT_TRUE(halved);
  // The warp makes a pinhole picture of 0.9 times the focal length of the full frame, 720 pixels.
  EXPECT_NEAR(halved->model().fx, 0.9 * 720 / 4, 0.05);
  // That of the pinhole camera is (160 + 0.8 f, 120 + 0.6 f).
  Pixel pixel;
  const CameraView of_camera_frame(halved->model(),
                                   {Matrix4x4_f::Identity(), Matrix4x4_f::Identity()});
  ASSERT_EQ(of_camera_frame.project({0.8, 0.6, 1}, &pixel), PointStatus::kOk);
  EXPECT_NEAR(pixel.x(), 289.6, 0.05);
  EXPECT_NEAR(pixel.y(), 217.2, 0.05);
}

TEST_F(DeliveredViews, OutliveTheCameraAndItsChanges) {
  CameraParametersSet set;
  const auto camera = set.getCamera("head_camera");
  const CameraView view = *camera->view(640, 480);
  const Matrix4x4_f before = camera->getTransform().transform;
  BaseCalibrationData base;
  BaseCalibrationProto message;
  for (const double a : {1, 0, 0, 1000, 0, 1, 0, 0, 0, 0, 1, 0}) {
    message.mutable_global_transform_adjustment()->mutable_global_transform()->add_a(a);
  }
  ASSERT_TRUE(base.loadFromString(message.SerializeAsString()));
  set.adjustUsingBaseCalibration(base);
  ASSERT_NE(camera->getTransform().transform, before);
  EXPECT_EQ(view.pose().transform, before);
  EXPECT_EQ(camera->view(640, 480)->pose().transform, camera->getTransform().transform);
}

TEST_F(DeliveredViews, SeePointsOfTheRobotFrame) {
  const CameraView view = *navigation_->view(1280, 720);
  const Vector3_f point =
      (navigation_->getTransform().inverse * Eigen::Matrix<float, 4, 1>(0.3F, -0.2F, 2, 1))
          .head<3>();
  Pixel pixel;
  ASSERT_EQ(view.project(testing::widen(point), &pixel), PointStatus::kOk);
  EXPECT_EQ(Vector2_f(pixel.cast<float>()),
            project3dToCamera(navigation_->getTransform(), navigation_->getDistortion(1280, 720),
                              navigation_->getIntrinsics(1280, 720), point));
}

}  // namespace
}  // namespace norv::calibration

// The view of a pan-tilt-zoom camera at one position.

#include <gtest/gtest.h>

#include <optional>
#include <random>

#include "calibration_common/camera_view.h"
#include "calibration_common/ptz_camera_model.h"
#include "testing/example_ptz.h"
#include "testing/random_camera.h"

namespace norv::calibration {
namespace {

using testing::examplePtz;
using testing::ptzModel;
using testing::uniform;
using testing::widen;
using Pixel = Eigen::Vector2d;

std::optional<CameraView> viewAt(const PTZCameraParameters& params, int zoom) {
  return PTZCameraModelConfiguration(ptzModel(params), 0, 0, zoom).view();
}

TEST(PtzView, HasTheNumbersOfTheConfiguration) {
  const PTZCameraModelConfiguration camera(ptzModel(examplePtz()), 300, -200, 1500);
  const std::optional<CameraView> view = camera.view();
  ASSERT_TRUE(view);
  EXPECT_EQ(view->width(), 1920);
  EXPECT_EQ(view->height(), 1080);
  EXPECT_EQ(Matrix3x3_f(view->K(PixelOrigin::kImageCorner).cast<float>()), camera.getIntrinsics());
  EXPECT_EQ(view->pose().transform, camera.getCameraTransform().transform);
  EXPECT_TRUE(view->isFromTable());
  EXPECT_FALSE(view->isRectifiedBySensor());
}

TEST(PtzView, SeesWhatTheConfigurationSees) {
  const PTZCameraModelConfiguration camera(ptzModel(examplePtz()), 300, -200, 1500);
  const CameraView view = *camera.view();
  std::mt19937 random(1);
  for (int i = 0; i < 500; ++i) {
    const Vector2_f pixel(static_cast<float>(uniform(0, 1920, &random)),
                          static_cast<float>(uniform(0, 1080, &random)));
    Ray ray;
    ASSERT_EQ(view.rayAt(pixel.cast<double>(), &ray), PointStatus::kOk);
    // In single precision to 6e-8 in each of a handful of operations.
    const Vector3_f expected = camera.projectPixelToRay(pixel).normalized();
    EXPECT_LE((ray.direction.cast<float>() - expected).norm(), 5e-7F);
    EXPECT_LE((ray.origin.cast<float>() - camera.getCameraCenter()).norm(), 5e-7F);

    const Vector3_f point = (ray.origin + 3 * ray.direction).cast<float>();
    Pixel seen;
    ASSERT_TRUE(hasAnswer(view.project(widen(point), &seen)));
    EXPECT_EQ(Vector2_f(seen.cast<float>()), camera.project3dToCamera(point));
  }
}

TEST(PtzView, IsNoneWhereTheLensIsNotFinite) {
  EXPECT_TRUE(viewAt(examplePtz(), 10999));
  EXPECT_FALSE(viewAt(examplePtz(), 11000));
  EXPECT_FALSE(viewAt(examplePtz(), 20000));
  EXPECT_TRUE(viewAt(examplePtz(), -999));
  EXPECT_FALSE(viewAt(examplePtz(), -1000));
}

TEST(PtzView, IsNoneWithoutAnImageSize) {
  PTZCameraParameters params = examplePtz();
  params.mutable_intrinsics()->clear_image_width();
  EXPECT_FALSE(viewAt(params, 0));
  params = examplePtz();
  params.mutable_intrinsics()->set_image_height(-1080);
  EXPECT_FALSE(viewAt(params, 0));
}

}  // namespace
}  // namespace norv::calibration

// Straightened pictures of a view: those of its camera.

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <vector>

#include "calibration_common/camera_view.h"
#include "support/rectification.h"
#include "testing/lenses.h"
#include "testing/random_camera.h"
#include "testing/same_bits.h"

namespace norv::calibration {
namespace {

using testing::bitsOf;
using testing::lensNamed;

class StraightenedView : public ::testing::Test {
 public:
  StraightenedView()
      : random_(1),
        camera_(testing::randomCamera(lensNamed("barrel"), &random_)),
        view_(camera_, testing::randomPose(&random_)) {
    straight_.width = 100;
    straight_.height = 70;
    straight_.fx = straight_.fy = 60;
    straight_.cx = 48;
    straight_.cy = 37;
  }

  std::mt19937 random_;
  CameraModel camera_;
  CameraView view_;
  RectifiedView straight_;
};

bool sameMaps(const std::vector<float>& a, const std::vector<float>& b) {
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (bitsOf(a[i]) != bitsOf(b[i])) return false;
  }
  return a.size() == b.size();
}

TEST_F(StraightenedView, MapsAreThoseOfTheCamera) {
  const std::size_t pixels = 100 * 70;
  std::vector<float> x(pixels), y(pixels), expected_x(pixels), expected_y(pixels);
  makeRectifyMap(view_.model(), straight_, expected_x.data(), expected_y.data());
  view_.makeRectifyMap(straight_, x.data(), y.data(), 2);
  EXPECT_TRUE(sameMaps(x, expected_x));
  EXPECT_TRUE(sameMaps(y, expected_y));

  std::vector<std::int16_t> xy(2 * pixels), expected_xy(2 * pixels);
  std::vector<std::uint16_t> fraction(pixels), expected_fraction(pixels);
  makeFixedPointRectifyMap(view_.model(), straight_, expected_xy.data(), expected_fraction.data());
  view_.makeFixedPointRectifyMap(straight_, xy.data(), fraction.data(), 2);
  EXPECT_EQ(xy, expected_xy);
  EXPECT_EQ(fraction, expected_fraction);
}

TEST_F(StraightenedView, WayBackIsThatOfTheCamera) {
  const auto pixels = static_cast<std::size_t>(view_.width() * view_.height());
  std::vector<float> x(pixels), y(pixels), expected_x(pixels), expected_y(pixels);
  makeUndistortMap(view_.model(), straight_, expected_x.data(), expected_y.data());
  view_.makeUndistortMap(straight_, x.data(), y.data(), 2);
  EXPECT_TRUE(sameMaps(x, expected_x));
  EXPECT_TRUE(sameMaps(y, expected_y));
}

void expectSame(const std::optional<RectifiedView>& a, const std::optional<RectifiedView>& b) {
  ASSERT_TRUE(a && b);
  EXPECT_EQ(a->width, b->width);
  EXPECT_EQ(a->height, b->height);
  EXPECT_EQ(a->fx, b->fx);
  EXPECT_EQ(a->fy, b->fy);
  EXPECT_EQ(a->cx, b->cx);
  EXPECT_EQ(a->cy, b->cy);
}

TEST_F(StraightenedView, FitsAreThoseOfTheCamera) {
  const CameraModel& camera = view_.model();
  ViewOptions options;
  options.centre = ViewCentre::kMiddle;
  expectSame(view_.fitView(100, 70, 0.0, options), fitView(camera, 100, 70, 0.0, options));
  expectSame(view_.fitView(100, 70, ViewFit::kValidOnly), fitView(camera, 100, 70, 0.0));
  EXPECT_FALSE(view_.fitView(0, 70, 0.0));
  const CameraView wide({640, 480, 500, 500, 1, 300, 240, {-0.1}}, view_.pose());
  expectSame(wide.fitView(100, 70, ViewFit::kWholeImage), fitView(wide.model(), 100, 70, 1.0));
  EXPECT_EQ(wide.naturalViewSize(0), naturalViewSize(wide.model(), 0));
  EXPECT_EQ(wide.naturalViewSize(1), naturalViewSize(wide.model(), 1));
  EXPECT_FALSE(wide.naturalViewSize(0) == wide.naturalViewSize(1));
}

TEST_F(StraightenedView, EndOfTheLensIsThatOfTheCamera) {
  const CameraView folding({320, 240, 300, 300, 0, 160, 120, {-0.5}}, view_.pose());
  EXPECT_NEAR(folding.validRadius(), std::sqrt(2.0 / 3), 1e-9);
  EXPECT_NEAR(folding.validHalfAngle(), std::atan(std::sqrt(2.0 / 3)), 1e-9);
  EXPECT_EQ(folding.coverage().share, coverage(folding.model()).share);
  EXPECT_EQ(folding.coverage().nearest_without_ray, coverage(folding.model()).nearest_without_ray);
  EXPECT_LT(folding.coverage().share, 1);
  // A picture that was scaled has the same lens.
  EXPECT_EQ(folding.resized(32, 24)->validRadius(), folding.validRadius());
}

/// The view's pose says where the camera is, and its straightened pictures are in the camera frame.
TEST_F(StraightenedView, PixelOfTheMapIsWhereTheRayIsSeen) {
  const std::size_t pixels = 100 * 70;
  std::vector<float> x(pixels), y(pixels);
  view_.makeRectifyMap(straight_, x.data(), y.data());
  const CameraView at_camera = view_.movedTo(testing::poseOf(Eigen::Isometry3f::Identity()));
  Eigen::Vector2d seen;
  // The centre of the view's pixel (70, 20).
  ASSERT_TRUE(hasAnswer(at_camera.project({(70.5 - 48) / 60, (20.5 - 37) / 60, 1}, &seen)));
  EXPECT_NEAR(x[20 * 100 + 70], seen.x() - 0.5, 1e-4);
  EXPECT_NEAR(y[20 * 100 + 70], seen.y() - 0.5, 1e-4);
}

/// A point is seen in the straightened picture where its picture in the camera's lies by the map
/// back, the view turned or not.
TEST_F(StraightenedView, HasACameraOfItsOwn) {
  const std::size_t width = static_cast<std::size_t>(view_.width());
  std::vector<float> x(width * static_cast<std::size_t>(view_.height()));
  std::vector<float> y(x.size());
  for (const double angle : {0.0, 0.2}) {
    straight_.view_from_camera =
        Eigen::AngleAxisd(angle, Eigen::Vector3d(1, 2, 3).normalized()).toRotationMatrix();
    view_.makeUndistortMap(straight_, x.data(), y.data());
    const CameraView straightened = view_.straightened(straight_);
    EXPECT_EQ(straightened.width(), straight_.width);
    EXPECT_EQ(straightened.distortion(), (std::array<double, 8>{}));
    const std::size_t column = width / 2 + 40;
    const std::size_t row = static_cast<std::size_t>(view_.height()) / 2 - 30;
    Ray ray;
    ASSERT_EQ(
        view_.rayAt({static_cast<double>(column) + 0.5, static_cast<double>(row) + 0.5}, &ray),
        PointStatus::kOk);
    Eigen::Vector2d seen;
    EXPECT_TRUE(hasAnswer(straightened.project(ray.origin + 3 * ray.direction, &seen)));
    // Poses are in single precision.
    EXPECT_NEAR(seen.x() - 0.5, x[row * width + column], 1e-4);
    EXPECT_NEAR(seen.y() - 0.5, y[row * width + column], 1e-4);
  }
}

}  // namespace
}  // namespace norv::calibration

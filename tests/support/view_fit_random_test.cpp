// Views of cameras with any lens.

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <optional>

#include "support/lens_validity.h"
#include "support/point_projection.h"
#include "support/rectified_view.h"
#include "testing/sanitized.h"
#include "tests/support/view_fit_example.h"

namespace norv::calibration {
namespace {

struct Aspect {
  int width;
  int height;
  std::optional<double> pixels;
};
constexpr Aspect kAspects[] = {
    {80, 60, {}}, {60, 80, {}}, {128, 40, {}}, {64, 64, 1.3}, {30, 110, 0.6}};

TEST(FitView, ValidPixelsOnlyForRandomLenses) {
  Random random(1105);
  const int trials = testing::kSanitized || !testing::kOptimised ? 100 : 1000;
  for (int trial = 0; trial < trials; ++trial) {
    const CameraModel camera = randomRegularCamera(&random);
    const Aspect& aspect = kAspects[trial % 5];
    SCOPED_TRACE(::testing::Message() << trial << ": " << aspect.width << " x " << aspect.height);
    ViewOptions options;
    options.aspect = aspect.pixels;
    const auto view = fitView(camera, aspect.width, aspect.height, 0.0, options);
    ASSERT_TRUE(view);
    EXPECT_EQ(countOutside(camera, *view, pixelCentres(*view)), 0U);
    const double ratio = aspect.pixels.value_or(std::abs(camera.fx / camera.fy));
    EXPECT_NEAR(std::abs(view->fx / view->fy), ratio, 1e-12 * ratio);
    EXPECT_EQ(view->fx > 0, camera.fx > 0);
    EXPECT_EQ(view->fy > 0, camera.fy > 0);
    // It can be made neither wider nor higher, on either side.
    const auto binds = sidesThatBind(camera, *view, 1e-4);
    EXPECT_TRUE((binds[0] && binds[1]) || (binds[2] && binds[3]));
  }
}

TEST(FitView, NoLargerViewIsValid) {
  Random random(1106);
  int tried = 0;
  for (int trial = 0; trial < 200; ++trial) {
    const CameraModel camera = randomRegularCamera(&random);
    ViewOptions options;
    if (trial % 2 == 1) {
      const Eigen::Vector3d axis(random.uniform(-1, 1), random.uniform(-1, 1),
                                 random.uniform(-3, 3));
      options.view_from_camera = turned(random.uniform(5, 30), axis);
    }
    const auto view = fitView(camera, 80, 60, 0.0, options);
    ASSERT_TRUE(view) << trial;
    Vector2d middle;
    ASSERT_TRUE(
        hasAnswer(rectifyPixel(camera, {0.5 * camera.width, 0.5 * camera.height}, &middle)));
    const Vector2d shown = placeInView(*view, middle);
    // Any other place that shows the middle of the picture, where it would be 0.6 % larger.
    for (int i = 0; i < 200; ++i) {
      const double x = random.uniform(-40, 40);
      const double y = random.uniform(-30, 30);
      const Box other{x, y, x + 80.48, y + 60.36};
      const bool shows_middle = shown.x() >= other.left && shown.x() <= other.right &&
                                shown.y() >= other.top && shown.y() <= other.bottom;
      tried += shows_middle ? 1 : 0;
      EXPECT_FALSE(shows_middle && showsPictureOnly(camera, *view, other))
          << trial << ": " << x << " " << y;
    }
  }
  EXPECT_GT(tried, 10000);
}

TEST(FitView, WholeImageForRandomLenses) {
  Random random(1107);
  for (int trial = 0; trial < 100; ++trial) {
    const CameraModel camera = randomRegularCamera(&random);
    const Aspect& aspect = kAspects[trial % 5];
    ViewOptions options;
    options.aspect = aspect.pixels;
    const auto view = fitView(camera, aspect.width * 10, aspect.height * 10, 1.0, options);
    ASSERT_TRUE(view);
    const Box box = boxAround(borderInView(camera, *view, 10000));
    // Measured: 1.4e-7 beyond.
    EXPECT_GE(box.left, -1e-6);
    EXPECT_GE(box.top, -1e-6);
    EXPECT_LE(box.right, view->width + 1e-6);
    EXPECT_LE(box.bottom, view->height + 1e-6);
    // Samples of the test may miss the extreme by a little. Measured: 6.5e-7.
    const bool fills_width = box.left < 1e-5 && box.right > view->width - 1e-5;
    const bool fills_height = box.top < 1e-5 && box.bottom > view->height - 1e-5;
    EXPECT_TRUE(fills_width || fills_height) << trial;
    EXPECT_NEAR(box.left + box.right, view->width, 2e-5);
    EXPECT_NEAR(box.top + box.bottom, view->height, 2e-5);
  }
}

TEST(FitView, OfALensThatAllButFoldsAtTheBorder) {
  // d(r_d)/dr = 1 - 0.499 s + 0.0635 s^2 falls to 0.02 at r = 1.98 and rises again; the left and
  // right border lie there, and a pixel is as wide as dozens of the middle's.
  const CameraModel camera{404, 90, 193, 193, 0, 202, 45, {-0.16634, 0.0127}};
  ASSERT_EQ(coverage(camera).share, 1);
  const auto valid = fitView(camera, 120, 10, ViewFit::kValidOnly);
  const auto whole = fitView(camera, 1200, 100, ViewFit::kWholeImage);
  ASSERT_TRUE(valid && whole);
  EXPECT_EQ(countOutside(camera, *valid, pixelCentres(*valid)), 0U);
  const auto binds = sidesThatBind(camera, *valid, 1e-5);
  EXPECT_TRUE(binds[0] && binds[1]);
  const Box box = boxAround(borderInView(camera, *whole, 10000));
  // Measured: 0.
  EXPECT_GE(std::min(box.left, box.top), -1e-6);
  EXPECT_LE(box.right, 1200 + 1e-6);
  EXPECT_LE(box.bottom, 100 + 1e-6);
}

TEST(FitView, WholeImageWhereTheBorderBendsBetweenPixels) {
  // Samples at every half pixel alone would cut off 2.4e-6 pixels.
  const CameraModel camera{183,
                           129,
                           132.19222411179987,
                           122.64775127393962,
                           0.44838503128046325,
                           76.802579667779469,
                           73.77044557144356,
                           {-0.36421288071610125, 0.17889672878777355, 0, 0.0047850199739320094, 0,
                            0.10738699072951535, 0.060066806829693162, 0}};
  const auto whole = fitView(camera, 800, 600, ViewFit::kWholeImage);
  ASSERT_TRUE(whole);
  const Box box = boxAround(borderInView(camera, *whole, 10000));
  // Measured: all 2e-7 inside.
  EXPECT_GE(std::min(box.left, box.top), -1e-6);
  EXPECT_LE(box.right, 800 + 1e-6);
  EXPECT_LE(box.bottom, 600 + 1e-6);
}

TEST(FitView, OfTurnedViews) {
  Random random(1108);
  int seen_whole = 0;
  for (int trial = 0; trial < 100; ++trial) {
    const CameraModel camera = randomRegularCamera(&random);
    ViewOptions options;
    const Eigen::Vector3d axis(random.uniform(-1, 1), random.uniform(-1, 1), random.uniform(-3, 3));
    options.view_from_camera = turned(random.uniform(-180, 180), axis);
    for (const ViewCentre centre : {ViewCentre::kFree, ViewCentre::kMiddle, ViewCentre::kKept}) {
      options.centre = centre;
      const auto valid = fitView(camera, 80, 60, 0.0, options);
      if (valid) {
        EXPECT_EQ(countOutside(camera, *valid, pixelCentres(*valid)), 0U) << trial;
        EXPECT_EQ(valid->view_from_camera, options.view_from_camera);
      }
      const auto whole = fitView(camera, 800, 600, 1.0, options);
      RectifiedView any;
      any.view_from_camera = options.view_from_camera;
      EXPECT_EQ(whole.has_value(), !borderInView(camera, any, 500).empty()) << trial;
      if (!whole) continue;
      ++seen_whole;
      EXPECT_TRUE(valid || centre != ViewCentre::kFree);
      const Box box = boxAround(borderInView(camera, *whole, 3000));
      EXPECT_TRUE(box.left > -1e-6 && box.right < 800 + 1e-6) << trial;
      EXPECT_TRUE(box.top > -1e-6 && box.bottom < 600 + 1e-6) << trial;
    }
  }
  EXPECT_GT(seen_whole, 100);
}

}  // namespace
}  // namespace norv::calibration

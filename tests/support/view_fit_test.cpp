// Views of cameras for which they can be worked out by hand.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/point_projection.h"
#include "support/rectified_view.h"
#include "tests/support/view_fit_example.h"

namespace norv::calibration {
namespace {

TEST(FitView, OfAPinholeCameraAtItsOwnSizeIsTheCamera) {
  for (const double sign_x : {1.0, -1.0}) {
    for (const double sign_y : {1.0, -1.0}) {
      for (const double cx : {600.0, 640.0, -50.0, 1500.0}) {
        const CameraModel camera{1280, 960, sign_x * 605, sign_y * 613, 0, cx, 500.25, {}};
        for (const double alpha : {0.0, 0.3, 1.0}) {
          SCOPED_TRACE(::testing::Message() << sign_x << sign_y << " " << cx << " " << alpha);
          const auto view = fitView(camera, 1280, 960, alpha);
          ASSERT_TRUE(view);
          expectIsCamera(*view, camera);
          ViewOptions kept;
          kept.centre = ViewCentre::kKept;
          const auto kept_view = fitView(camera, 1280, 960, alpha, kept);
          ASSERT_TRUE(kept_view);
          expectIsCamera(*kept_view, camera);
          EXPECT_EQ(naturalViewSize(camera, alpha), (PixelSize{1280, 960}));
        }
      }
    }
  }
}

TEST(FitView, OfAPinholeCameraAtOtherSizes) {
  const CameraModel camera{1280, 960, 605, 613, 0, 600, 500, {}};
  // Half as large: all halved.
  const auto half = fitView(camera, 640, 480, ViewFit::kValidOnly);
  ASSERT_TRUE(half);
  expectIsCamera(*half, {640, 480, 302.5, 306.5, 0, 300, 250, {}});
  // A wide view of valid pixels shows all columns and the middle rows, one of all pixels all rows.
  const auto inside = fitView(camera, 1280, 640, ViewFit::kValidOnly);
  ASSERT_TRUE(inside);
  expectIsCamera(*inside, {1280, 640, 605, 613, 0, 600, 340, {}});
  const auto around = fitView(camera, 1280, 640, ViewFit::kWholeImage);
  ASSERT_TRUE(around);
  const double share = 640 / 960.0;
  expectIsCamera(
      *around,
      {1280, 640, 605 * share, 613 * share, 0, 640 + (600 - 640) * share, 500 * share, {}});
  // Between the two lies, for alpha 1/4, a quarter of the way from one rectangle to the other.
  const auto between = fitView(camera, 1280, 640, 0.25);
  ASSERT_TRUE(between);
  const double scale = 0.75 + 0.25 / share;
  EXPECT_NEAR(between->fx, 605 / scale, 1e-9);
  EXPECT_NEAR(between->cx / between->fx,
              0.75 * inside->cx / inside->fx + 0.25 * around->cx / around->fx, 1e-12);
}

TEST(FitView, OfASkewedPinholeCamera) {
  // Its picture is a parallelogram of rays: each row is shifted by up to d pixels against the
  // middle of the picture's border.
  for (const double skew : {60.0, -60.0}) {
    const CameraModel camera{1000, 600, 500, 600, skew, 500, 300, {}};
    const double d = std::abs(skew) * 600 / 600;
    const auto inside = fitView(camera, 1000, 600, ViewFit::kValidOnly);
    const auto around = fitView(camera, 1000, 600, ViewFit::kWholeImage);
    ASSERT_TRUE(inside && around);
    // z rows of the height z h are shifted by z d: z w = w - z d.
    EXPECT_NEAR(inside->fx, 500 * (1 + d / 1000), 1e-9);
    EXPECT_NEAR(inside->cx, 500, 1e-9);
    EXPECT_NEAR(inside->cy, 300, 1e-9);
    EXPECT_NEAR(around->fx, 500 / (1 + d / 1000), 1e-9);
    EXPECT_NEAR(around->fy, 600 / (1 + d / 1000), 1e-9);
    EXPECT_NEAR(around->cx, 500, 1e-9);
  }
}

TEST(FitView, OfABarrelLensTouchesTheMiddlesOfTheSides) {
  const CameraModel camera{1280, 960, 800, 800, 0, 640, 480, {-0.1}};
  // The ray that is imaged at the middle of the right border: x (1 - 0.1 x^2) = 0.8.
  Vector2d ray;
  ASSERT_EQ(rectifyPixel(camera, {1280, 480}, &ray), PointStatus::kOk);
  ASSERT_NEAR(ray.x() * (1 - 0.1 * ray.x() * ray.x()), 0.8, 1e-12);
  const auto view = fitView(camera, 1280, 960, ViewFit::kValidOnly);
  ASSERT_TRUE(view);
  // The upper border is closer to the axis and gives less: it binds instead.
  Vector2d down;
  ASSERT_EQ(rectifyPixel(camera, {640, 960}, &down), PointStatus::kOk);
  // Measured: 1.3e-5 of 769, what chords may be off.
  EXPECT_NEAR(view->fx, std::max(640 / ray.x(), 480 / down.y()), 1e-4);
  EXPECT_NEAR(view->cx, 640, 1e-6);
  EXPECT_NEAR(view->cy, 480, 1e-6);
  const auto natural = naturalViewSize(camera, 0);
  ASSERT_TRUE(natural);
  EXPECT_EQ(natural->width, static_cast<int>(1600 * ray.x()));
  EXPECT_EQ(natural->height, static_cast<int>(1600 * down.y()));
}

TEST(FitView, OfAFoldingLensLiesInTheDiscOfItsBranch) {
  const CameraModel camera{1280, 960, 600, 600, 0, 640, 480, {-0.5}};
  for (const ViewCentre centre : {ViewCentre::kFree, ViewCentre::kMiddle, ViewCentre::kKept}) {
    ViewOptions options;
    options.centre = centre;
    const auto view = fitView(camera, 1280, 960, ViewFit::kValidOnly, options);
    ASSERT_TRUE(view);
    // Its corners, 800 pixels from the middle, lie at r = sqrt(2/3). Measured: 1.7e-4 of 980.
    EXPECT_NEAR(view->fx, 800 / std::sqrt(2.0 / 3), 1e-3);
    EXPECT_GE(view->fx, 800 / std::sqrt(2.0 / 3));
    EXPECT_NEAR(view->cx, 640, 0.05);
    EXPECT_NEAR(view->cy, 480, 0.05);
    EXPECT_EQ(countOutside(camera, *view, pixelCentres(*view)), 0U);
  }
  EXPECT_FALSE(fitView(camera, 1280, 960, 1e-9));
  EXPECT_FALSE(fitView(camera, 1280, 960, ViewFit::kWholeImage));
  EXPECT_FALSE(naturalViewSize(camera, 1));
  EXPECT_TRUE(naturalViewSize(camera, 0));
}

}  // namespace
}  // namespace norv::calibration

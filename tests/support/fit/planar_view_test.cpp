#include "support/fit/planar_view.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <vector>

namespace norv::internal::fit {
namespace {

const std::vector<Vector2_f> kPixels = {{100, 200}, {740, 200}, {740, 680}, {100, 680}};
const std::vector<Vector2_f> kSquare = {{0, 0}, {2, 0}, {2, 2}, {0, 2}};

TEST(PlanarView, PixelsAreAboutTheCentreInHalfTheLongerSide) {
  const std::optional<PlanarView> view = makePlanarView(kPixels, kSquare, {1280, 960});
  ASSERT_TRUE(view);
  EXPECT_EQ(view->image_centre, Eigen::Vector2d(640, 480));
  EXPECT_EQ(view->pixel_unit, 640);
  EXPECT_EQ(view->half_size, Eigen::Vector2d(1, 0.75));
  EXPECT_EQ(view->points[0].u, -540 / 640.0);
  EXPECT_EQ(view->points[0].v, -280 / 640.0);
  const std::optional<PlanarView> upright = makePlanarView(kPixels, kSquare, {960, 1280});
  EXPECT_EQ(upright->pixel_unit, 640);
  EXPECT_EQ(upright->half_size, Eigen::Vector2d(0.75, 1));
}

TEST(PlanarView, TargetIsAboutItsMeanInItsRootMeanSquareRadius) {
  const std::optional<PlanarView> view = makePlanarView(kPixels, kSquare, {1280, 960});
  ASSERT_TRUE(view);
  EXPECT_EQ(view->plane_centre, Eigen::Vector2d(1, 1));
  EXPECT_DOUBLE_EQ(view->plane_unit, std::sqrt(2.0));
  EXPECT_DOUBLE_EQ(view->points[1].plane_x, std::sqrt(0.5));
  EXPECT_DOUBLE_EQ(view->points[1].plane_y, -std::sqrt(0.5));
}

TEST(PlanarView, UnknownImageIsTheBoundingBox) {
  for (const Eigen::Vector2i& size : {Eigen::Vector2i(0, 0), Eigen::Vector2i(640, -1)}) {
    const std::optional<PlanarView> view = makePlanarView(kPixels, kSquare, size);
    ASSERT_TRUE(view);
    EXPECT_EQ(view->image_centre, Eigen::Vector2d(420, 440));
    EXPECT_EQ(view->pixel_unit, 320);
    EXPECT_EQ(view->half_size, Eigen::Vector2d(1, 0.75));
  }
}

TEST(PlanarView, BoundingBoxHasTheSizeOfAPixelAtLeast) {
  const std::vector<Vector2_f> pixels = {{5, 5}, {5.25F, 5}, {5.25F, 5.25F}, {5, 5.25F}};
  const std::optional<PlanarView> view = makePlanarView(pixels, kSquare, {0, 0});
  ASSERT_TRUE(view);
  EXPECT_EQ(view->image_centre, Eigen::Vector2d(5.125, 5.125));
  EXPECT_EQ(view->pixel_unit, 0.5);
  EXPECT_EQ(view->half_size, Eigen::Vector2d(1, 1));
}

TEST(PlanarView, RandomSelectionStandsForTooManyPoints) {
  const auto grid = [](std::size_t count) {
    std::vector<Vector2_f> points;
    for (std::size_t i = 0; i < count; ++i) {
      points.emplace_back(static_cast<float>(i % 100), static_cast<float>(i / 100));
    }
    return points;
  };
  const std::vector<Vector2_f> all = grid(kMaxPoints);
  EXPECT_EQ(makePlanarView(all, all, {100, 100})->points.size(), kMaxPoints);
  const std::vector<Vector2_f> too_many = grid(10 * kMaxPoints);
  const std::optional<PlanarView> view = makePlanarView(too_many, too_many, {100, 1000});
  ASSERT_TRUE(view);
  ASSERT_EQ(view->points.size(), kMaxPoints);
  // Means of uniform values have a standard error of 0.29 of their range over 100.
  EXPECT_NEAR(view->plane_centre.x(), 49.5, 1);    // measured: 0.3
  EXPECT_NEAR(view->plane_centre.y(), 499.5, 10);  // measured: 1.3
  const std::optional<PlanarView> again = makePlanarView(too_many, too_many, {100, 1000});
  EXPECT_EQ(again->plane_centre, view->plane_centre);
}

TEST(PlanarView, DistinctPointsAreCountedUpToTwelve) {
  std::vector<Vector2_f> pixels;
  std::vector<Vector2_f> points;
  for (int i = 0; i < 40; ++i) {
    const float x = static_cast<float>(i % 8);
    const float y = static_cast<float>(i / 8);
    for (int repeat = 0; repeat < 3; ++repeat) {
      pixels.emplace_back(10 * x + static_cast<float>(repeat), 10 * y);
      points.emplace_back(x, y);
    }
    const std::optional<PlanarView> view = makePlanarView(pixels, points, {80, 80});
    if (i < 8) {
      EXPECT_FALSE(view);  // still a line
    } else {
      ASSERT_TRUE(view);
      EXPECT_EQ(view->points.size(), points.size());
      EXPECT_EQ(view->distinct_points, std::min(i + 1, 12));
    }
  }
}

TEST(PlanarView, ZerosOfBothSignsAreTheSamePoint) {
  std::vector<Vector2_f> points = kSquare;
  points[1] = {-0.0F, 0};
  EXPECT_FALSE(makePlanarView(kPixels, points, {1280, 960}));
}

TEST(PlanarView, SpreadIsMeasuredAcrossTheMainDirection) {
  // A thin rectangle at 45 degrees, a little below and above 1 : 1000.
  const auto rectangle = [](float across) {
    std::vector<Vector2_f> points;
    for (const float a : {-1.0F, 1.0F}) {
      for (const float b : {-across, across}) points.emplace_back(a - b, a + b);
    }
    return points;
  };
  EXPECT_FALSE(makePlanarView(kPixels, rectangle(0.00098F), {1280, 960}));
  EXPECT_TRUE(makePlanarView(kPixels, rectangle(0.00102F), {1280, 960}));
  EXPECT_FALSE(makePlanarView(rectangle(0.00098F), kSquare, {1280, 960}));
  EXPECT_TRUE(makePlanarView(rectangle(0.00102F), kSquare, {1280, 960}));
}

TEST(PlanarView, PointsThatMergeInTheUnitsOfTheImageAreCoincident) {
  std::vector<Vector2_f> pixels = kPixels;
  for (Vector2_f& pixel : pixels) pixel *= 1e-18F;
  EXPECT_FALSE(makePlanarView(pixels, kSquare, {1280, 960}));
  // About their own box they do not merge.
  EXPECT_TRUE(makePlanarView(pixels, kSquare, {0, 0}));
}

}  // namespace
}  // namespace norv::internal::fit

#include "interop/fit/picture_grid.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace norv::interop {
namespace {

TEST(PictureGrid, HasSquareCellsAndTheBorder) {
  // round(61 * 960 / 1280) = round(45.75).
  const auto points = pictureGrid({1280, 960});
  ASSERT_EQ(points.size(), 61U * 46U);
  EXPECT_EQ(points.front().x, 0);
  EXPECT_EQ(points.front().y, 0);
  EXPECT_EQ(points[60].x, 1280);
  EXPECT_EQ(points[60].y, 0);
  EXPECT_EQ(points[61].x, 0);
  EXPECT_DOUBLE_EQ(points[61].y, 960.0 / 45);
  EXPECT_EQ(points.back().x, 1280);
  EXPECT_EQ(points.back().y, 960);
}

TEST(PictureGrid, IsOneOfStripesToo) {
  EXPECT_EQ(pictureGrid({10000, 1}).size(), 61U * 2U);
  EXPECT_EQ(pictureGrid({1, 2000000000}).size(), 61U * 3721U);
  EXPECT_EQ(pictureGrid({1, 1}).back().y, 1);
}

TEST(PictureGrid, CanHaveADenserBorder) {
  const auto points = denselyBorderedGrid({1280, 960});
  const auto grid = pictureGrid({1280, 960});
  // Four steps for each of the 60 and 45 cells, along two sides each.
  ASSERT_EQ(points.size(), grid.size() + 2 * 241 + 2 * 181);
  for (std::size_t i = 0; i < points.size(); ++i) {
    const auto& p = points[i];
    if (i < grid.size()) {
      EXPECT_TRUE(p.x == grid[i].x && p.y == grid[i].y) << i;
    } else {
      EXPECT_TRUE(p.x == 0 || p.x == 1280 || p.y == 0 || p.y == 960) << i;
    }
  }
  EXPECT_DOUBLE_EQ(points[grid.size() + 2].x, 1280.0 / 240);
}

}  // namespace
}  // namespace norv::interop

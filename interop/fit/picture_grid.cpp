#include "interop/fit/picture_grid.h"

#include <algorithm>
#include <cmath>

namespace norv::interop {
namespace {

using Point = calibration::NormalizedPoint<double>;

constexpr int kColumns = 61;
constexpr int kMinRows = 2;
constexpr int kMaxRows = kColumns * kColumns;

/// Steps of the dense border for each cell of the grid.
constexpr int kBorderSteps = 4;

int rowsOf(const calibration::PixelSize& size) {
  const double rows = std::round(kColumns * static_cast<double>(size.height) / size.width);
  return static_cast<int>(std::clamp<double>(rows, kMinRows, kMaxRows));
}

}  // namespace

std::vector<Point> pictureGrid(const calibration::PixelSize& size) {
  const int rows = rowsOf(size);
  std::vector<Point> points;
  for (int j = 0; j < rows; ++j) {
    for (int i = 0; i < kColumns; ++i) {
      points.push_back({static_cast<double>(size.width) * i / (kColumns - 1),
                        static_cast<double>(size.height) * j / (rows - 1)});
    }
  }
  return points;
}

std::vector<Point> denselyBorderedGrid(const calibration::PixelSize& size) {
  std::vector<Point> points = pictureGrid(size);
  const double width = size.width;
  const double height = size.height;
  const int across = kBorderSteps * (kColumns - 1);
  for (int i = 0; i <= across; ++i) {
    for (const double y : {0.0, height}) points.push_back({width * i / across, y});
  }
  const int along = kBorderSteps * (rowsOf(size) - 1);
  for (int j = 0; j <= along; ++j) {
    for (const double x : {0.0, width}) points.push_back({x, height * j / along});
  }
  return points;
}

}  // namespace norv::interop

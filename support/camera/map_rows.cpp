#include "support/camera/map_rows.h"

#include <algorithm>
#include <limits>

#include "support/numeric/float_range.h"

namespace norv::internal {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr auto kOpen = static_cast<std::uint8_t>(kUndecided);

bool isView(const calibration::RectifiedView& view) {
  return view.fx != 0 && view.fy != 0 && isInFloatRange(view.fx) && isInFloatRange(view.fy) &&
         isInFloatRange(view.cx) && isInFloatRange(view.cy) && view.view_from_camera.allFinite();
}

/// The view; where it is none, one that has neither rays nor places.
calibration::RectifiedView viewOrNaN(calibration::RectifiedView view) {
  if (!isView(view)) view.fx = view.fy = kNoNumber;
  return view;
}

ViewFormula formulaOf(const calibration::RectifiedView& view) {
  ViewFormula formula{{}, view.fx, view.fy, view.cx, view.cy, view.view_from_camera.isIdentity(0)};
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      formula.rotation[row][column] = view.view_from_camera(row, column);
    }
  }
  return formula;
}

/// Calls `columns(begin, count)` for pieces of a row.
template <class Columns>
void inPieces(int width, std::size_t piece, const Columns& columns) {
  const auto end = static_cast<std::size_t>(std::max(width, 0));
  for (std::size_t begin = 0; begin < end; begin += piece) {
    columns(begin, std::min(piece, end - begin));
  }
}

}  // namespace

RowMaker::RowMaker(const PreparedCamera& camera, const calibration::RectifiedView& view)
    : camera_(camera), view_(viewOrNaN(view)), formula_(formulaOf(view_)), solver_(camera) {}

/// The rotation makes the coordinates of a row's rays linear in the column.
RayRow RowMaker::rayRow(std::size_t j) const {
  const auto& r = formula_.rotation;
  const double x = (0.5 - view_.cx) / view_.fx;
  const double dx = 1 / view_.fx;
  const double y = (static_cast<double>(j) + 0.5 - view_.cy) / view_.fy;
  const auto at = [&](int c) { return r[0][c] * x + r[1][c] * y + r[2][c]; };
  return {at(0), r[0][0] * dx, at(1), r[0][1] * dx, at(2), r[0][2] * dx, formula_.is_straight};
}

void RowMaker::rectify(std::size_t j, float* map_x, float* map_y) {
  const RayRow row = rayRow(j);
  inPieces(view_.width, kColumns, [&](std::size_t begin, std::size_t count) {
    rectifyColumns(row, begin, count, map_x + begin, map_y + begin);
  });
}

void RowMaker::rectifyInFixedPoint(std::size_t j, std::int16_t* xy, std::uint16_t* fraction) {
  const RayRow row = rayRow(j);
  std::array<float, kColumns> x;
  std::array<float, kColumns> y;
  inPieces(view_.width, kColumns, [&](std::size_t begin, std::size_t count) {
    rectifyColumns(row, begin, count, x.data(), y.data());
    kernels().toFixedPoint(x.data(), y.data(), count, xy + 2 * begin, fraction + begin);
  });
}

void RowMaker::rectifyColumns(const RayRow& row, std::size_t begin, std::size_t count, float* map_x,
                              float* map_y) {
  if (!camera_.isUsable()) {
    std::fill_n(map_x, count, kNaN);
    std::fill_n(map_y, count, kNaN);
    return;
  }
  if (!kernels().rectifyRow(camera_, row, begin, count, map_x, map_y, codes_.data())) return;
  for (std::size_t i = 0; i < count; ++i) {
    if (codes_[i] != kOpen) continue;
    const auto column = static_cast<double>(begin + i);
    const PointAnswer pixel = solver_.project(
        nullptr, {row.x0 + column * row.dx, row.y0 + column * row.dy, row.z0 + column * row.dz});
    map_x[i] = static_cast<float>(pixel.x - 0.5);
    map_y[i] = static_cast<float>(pixel.y - 0.5);
  }
}

void RowMaker::undistort(std::size_t j, float* map_x, float* map_y) {
  inPieces(camera_.model.width, kColumns, [&](std::size_t begin, std::size_t count) {
    undistortColumns(j, begin, count, map_x + begin, map_y + begin);
  });
}

void RowMaker::undistortColumns(std::size_t j, std::size_t begin, std::size_t count, float* map_x,
                                float* map_y) {
  const double v = static_cast<double>(j) + 0.5;
  const auto u = [begin](std::size_t i) { return static_cast<double>(begin + i) + 0.5; };
  std::array<double, 2 * kColumns> pixels;
  for (std::size_t i = 0; i < count; ++i) {
    pixels[2 * i] = u(i);
    pixels[2 * i + 1] = v;
  }
  const bool not_ok =
      kernels().rectify(camera_, {pixels.data(), 2}, count, {rays_.data(), 2}, codes_.data());
  for (std::size_t i = 0; not_ok && i < count; ++i) {
    if (codes_[i] != kOpen) continue;
    const PointAnswer ray = solver_.rectify(u(i), v);
    rays_[2 * i] = ray.x;
    rays_[2 * i + 1] = ray.y;
  }
  kernels().viewRow(formula_, rays_.data(), count, map_x, map_y);
}

}  // namespace norv::internal

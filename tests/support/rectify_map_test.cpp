/// Maps of straightened pictures against the functions of single points, to the last bit.

#include "support/rectification.h"

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/camera/kernels.h"
#include "testing/allocation_count.h"
#include "testing/difficult_points.h"
#include "testing/same_bits.h"

namespace norv::calibration {
namespace {

using testing::bitsOf;
using testing::NamedLens;

constexpr float kUntouched = -77;

struct Maps {
  explicit Maps(std::size_t pixels) : x(pixels + 1, kUntouched), y(pixels + 1, kUntouched) {}
  std::vector<float> x;
  std::vector<float> y;
};

std::size_t pixelsOf(int width, int height) {
  return static_cast<std::size_t>(std::max(width, 0)) *
         static_cast<std::size_t>(std::max(height, 0));
}

Maps rectifyMap(const CameraModel& camera, const RectifiedView& view, int threads = 1) {
  Maps maps(pixelsOf(view.width, view.height));
  makeRectifyMap(camera, view, maps.x.data(), maps.y.data(), threads);
  return maps;
}

Maps undistortMap(const CameraModel& camera, const RectifiedView& view, int threads = 1) {
  Maps maps(pixelsOf(camera.width, camera.height));
  makeUndistortMap(camera, view, maps.x.data(), maps.y.data(), threads);
  return maps;
}

Eigen::Matrix3d turn() {
  return Eigen::AngleAxisd(0.9, Eigen::Vector3d(0.3, -0.8, 0.2).normalized()).toRotationMatrix();
}

/// Views that reach beyond most lenses, straight and turned; some rays lie behind the camera.
std::vector<RectifiedView> views(const NamedLens& lens) {
  const double f = 100 / lens.radius;
  return {{300, 41, f, 1.1 * f, 141.5, 20.25, Eigen::Matrix3d::Identity()},
          {67, 90, 0.3 * f, -0.3 * f, 20, 50, turn()}};
}

/// The ray of a pixel's centre: linear in the column, as a row of a map has it.
Eigen::Vector3d rayOf(const RectifiedView& view, int i, int j) {
  const auto& r = view.view_from_camera;
  const double x = (0.5 - view.cx) / view.fx;
  const double dx = 1 / view.fx;
  const double y = (j + 0.5 - view.cy) / view.fy;
  Eigen::Vector3d ray;
  for (int c = 0; c < 3; ++c) {
    ray[c] = (r(0, c) * x + r(1, c) * y + r(2, c)) + i * (r(0, c) * dx);
  }
  return ray;
}

TEST(RectifyMap, IsWhereSinglePointsAreSeen) {
  std::mt19937 random(91);
  int without = 0;
  for (const NamedLens& lens : testing::tableAndRandomLenses(40, &random)) {
    const CameraModel camera = testing::randomCamera(lens, &random);
    for (const RectifiedView& view : views(lens)) {
      const Maps maps = rectifyMap(camera, view);
      std::size_t at = 0;
      for (int j = 0; j < view.height; ++j) {
        for (int i = 0; i < view.width; ++i, ++at) {
          Eigen::Vector2d pixel;
          const PointStatus status = projectPoint(camera, rayOf(view, i, j), &pixel);
          const Eigen::Vector2d place = pixel.array() - 0.5;
          ASSERT_EQ(bitsOf(maps.x[at]), bitsOf(static_cast<float>(place.x())))
              << lens << " " << i << " " << j << " " << static_cast<int>(status);
          ASSERT_EQ(bitsOf(maps.y[at]), bitsOf(static_cast<float>(place.y()))) << lens;
          without += hasAnswer(status) ? 0 : 1;
        }
      }
      EXPECT_EQ(maps.x[at], kUntouched);
      EXPECT_EQ(maps.y[at], kUntouched);
    }
  }
  EXPECT_GT(without, 100000);
}

TEST(UndistortMap, IsWhereSinglePixelsLieInTheView) {
  std::mt19937 random(92);
  for (const NamedLens& lens : testing::tableAndRandomLenses(10, &random)) {
    CameraModel camera = testing::randomCamera(lens, &random);
    camera.width = 301;
    camera.height = 33;
    camera.cx = 140;
    camera.cy = 15;
    camera.fx = camera.fy = 100 / lens.radius;
    for (const RectifiedView& view : views(lens)) {
      const Maps maps = undistortMap(camera, view);
      std::size_t at = 0;
      for (int j = 0; j < camera.height; ++j) {
        for (int i = 0; i < camera.width; ++i, ++at) {
          Eigen::Vector2d ray;
          rectifyPixel(camera, {i + 0.5, j + 0.5}, &ray);
          const Eigen::Vector3d in_view = view.view_from_camera * ray.homogeneous();
          const double u = view.fx * in_view.x() / in_view.z() + view.cx - 0.5;
          const double v = view.fy * in_view.y() / in_view.z() + view.cy - 0.5;
          const bool is_seen = in_view.z() > 0;  // false for NaN
          ASSERT_EQ(std::isnan(maps.x[at]), !is_seen) << lens << " " << i << " " << j;
          ASSERT_EQ(std::isnan(maps.y[at]), !is_seen);
          if (!is_seen) continue;
          // One rounding to float.
          const auto x = static_cast<double>(maps.x[at]);
          const auto y = static_cast<double>(maps.y[at]);
          ASSERT_LE(std::abs(x - u), 6.1e-8 * std::abs(u) + 1e-10) << lens;
          ASSERT_LE(std::abs(y - v), 6.1e-8 * std::abs(v) + 1e-10) << lens;
        }
      }
      EXPECT_EQ(maps.x[at], kUntouched);
    }
  }
}

void expectSame(const Maps& a, const Maps& b) {
  for (std::size_t i = 0; i < a.x.size(); ++i) {
    ASSERT_EQ(bitsOf(a.x[i]), bitsOf(b.x[i])) << i;
    ASSERT_EQ(bitsOf(a.y[i]), bitsOf(b.y[i])) << i;
  }
}

TEST(Maps, AreTheSameByAnyNumberOfThreads) {
  std::mt19937 random(93);
  for (const char* name : {"barrel", "folding barrel", "tangential"}) {
    const NamedLens& lens = testing::lensNamed(name);
    CameraModel camera = testing::randomCamera(lens, &random);
    camera.height = 101;
    for (const RectifiedView& view : views(lens)) {
      const Maps rectify = rectifyMap(camera, view);
      const Maps undistort = undistortMap(camera, view);
      const std::size_t pixels = pixelsOf(view.width, view.height);
      std::vector<std::int16_t> xy(2 * pixels);
      std::vector<std::uint16_t> fraction(pixels);
      makeFixedPointRectifyMap(camera, view, xy.data(), fraction.data());
      for (const int threads : {0, 2, 3, 7, 1000, -1}) {
        expectSame(rectify, rectifyMap(camera, view, threads));
        expectSame(undistort, undistortMap(camera, view, threads));
        std::vector<std::int16_t> same_xy(2 * pixels);
        std::vector<std::uint16_t> same_fraction(pixels);
        makeFixedPointRectifyMap(camera, view, same_xy.data(), same_fraction.data(), threads);
        EXPECT_EQ(xy, same_xy) << threads;
        EXPECT_EQ(fraction, same_fraction) << threads;
      }
    }
  }
}

/// Rows of any width are the columns of a wider one.
TEST(Maps, DoNotDependOnTheWidth) {
  std::mt19937 random(94);
  const NamedLens& lens = testing::lensNamed("folding barrel");
  const CameraModel camera = testing::randomCamera(lens, &random);
  for (RectifiedView view : views(lens)) {
    view.width = 1000;
    view.height = 3;
    const Maps wide = rectifyMap(camera, view);
    for (const int width : {1, 2, 3, 5, 7, 8, 9, 15, 17, 31, 33, 255, 256, 257, 513}) {
      view.width = width;
      const Maps narrow = rectifyMap(camera, view);
      for (int j = 0; j < 3; ++j) {
        for (int i = 0; i < width; ++i) {
          const auto at = static_cast<std::size_t>(j * width + i);
          const auto at_wide = static_cast<std::size_t>(j * 1000 + i);
          ASSERT_EQ(bitsOf(narrow.x[at]), bitsOf(wide.x[at_wide])) << width;
          ASSERT_EQ(bitsOf(narrow.y[at]), bitsOf(wide.y[at_wide])) << width;
        }
      }
    }
  }
}

/// Fixed-point maps by integer arithmetic on the float map.
TEST(FixedPointRectifyMap, IsTheFloatMapInThirtySeconds) {
  std::mt19937 random(95);
  for (const NamedLens& lens : testing::kLenses) {
    const CameraModel camera = testing::randomCamera(lens, &random);
    for (const RectifiedView& view : views(lens)) {
      const Maps maps = rectifyMap(camera, view);
      const std::size_t pixels = pixelsOf(view.width, view.height);
      std::vector<std::int16_t> xy(2 * pixels + 1, 77);
      std::vector<std::uint16_t> fraction(pixels + 1, 77);
      makeFixedPointRectifyMap(camera, view, xy.data(), fraction.data());
      for (std::size_t i = 0; i < pixels; ++i) {
        const auto x = static_cast<double>(maps.x[i]);
        const auto y = static_cast<double>(maps.y[i]);
        if (std::isnan(x)) {
          ASSERT_EQ(xy[2 * i], INT16_MIN);
          ASSERT_EQ(xy[2 * i + 1], INT16_MIN);
          ASSERT_EQ(fraction[i], 0);
        } else if (std::fmax(std::abs(x), std::abs(y)) < 32767) {
          ASSERT_EQ(32 * xy[2 * i] + fraction[i] % 32, std::nearbyint(32 * x));
          ASSERT_EQ(32 * xy[2 * i + 1] + fraction[i] / 32, std::nearbyint(32 * y));
        }
      }
      EXPECT_EQ(xy[2 * pixels], 77);
      EXPECT_EQ(fraction[pixels], 77);
    }
  }
}

bool isAllNaN(const Maps& maps) {
  const auto is_nan = [](float x) { return std::isnan(x); };
  return std::all_of(maps.x.begin(), maps.x.end() - 1, is_nan) &&
         std::all_of(maps.y.begin(), maps.y.end() - 1, is_nan);
}

TEST(Maps, OfWhatIsNoneAreNaN) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const CameraModel camera{20, 10, 10, 10, 0, 10, 5, {-0.1}};
  const RectifiedView view{20, 10, 10, 10, 10, 5, Eigen::Matrix3d::Identity()};
  for (const double bad : {kNaN, kInfinity, -kInfinity, 1e39}) {
    for (double CameraModel::*field : {&CameraModel::fx, &CameraModel::fy, &CameraModel::skew,
                                       &CameraModel::cx, &CameraModel::cy}) {
      CameraModel none = camera;
      none.*field = bad;
      EXPECT_TRUE(isAllNaN(rectifyMap(none, view)));
      EXPECT_TRUE(isAllNaN(undistortMap(none, view)));
    }
    CameraModel none = camera;
    none.lens.k6 = bad;
    EXPECT_TRUE(isAllNaN(rectifyMap(none, view)));
    EXPECT_TRUE(isAllNaN(undistortMap(none, view)));
  }
  for (const double bad : {kNaN, kInfinity, -kInfinity, 1e39}) {
    for (double RectifiedView::*field :
         {&RectifiedView::fx, &RectifiedView::fy, &RectifiedView::cx, &RectifiedView::cy}) {
      RectifiedView none = view;
      none.*field = bad;
      EXPECT_TRUE(isAllNaN(rectifyMap(camera, none))) << bad;
      EXPECT_TRUE(isAllNaN(undistortMap(camera, none))) << bad;
    }
    RectifiedView none = view;
    none.view_from_camera(2, 0) = std::isfinite(bad) ? kNaN : bad;
    EXPECT_TRUE(isAllNaN(rectifyMap(camera, none)));
    EXPECT_TRUE(isAllNaN(undistortMap(camera, none)));
  }
  for (double CameraModel::*field : {&CameraModel::fx, &CameraModel::fy}) {
    CameraModel none = camera;
    none.*field = 0;
    EXPECT_TRUE(isAllNaN(rectifyMap(none, view)));
    EXPECT_TRUE(isAllNaN(undistortMap(none, view)));
  }
  for (double RectifiedView::*field : {&RectifiedView::fx, &RectifiedView::fy}) {
    RectifiedView none = view;
    none.*field = 0;
    EXPECT_TRUE(isAllNaN(rectifyMap(camera, none)));
    EXPECT_TRUE(isAllNaN(undistortMap(camera, none)));
  }
}

TEST(Maps, WithoutPixelsAreNothing) {
  const CameraModel camera{20, 10, 10, 10, 0, 10, 5, {-0.1}};
  constexpr int kMost = std::numeric_limits<int>::max();
  for (const auto& size :
       {std::make_pair(0, kMost), std::make_pair(kMost, 0), std::make_pair(-3, -3),
        std::make_pair(-1, kMost), std::make_pair(4, -1)}) {
    const RectifiedView view{size.first, size.second, 10, 10, 0, 0, Eigen::Matrix3d::Identity()};
    makeRectifyMap(camera, view, nullptr, nullptr, 0);
    makeFixedPointRectifyMap(camera, view, nullptr, nullptr, 0);
    CameraModel none = camera;
    none.width = size.first;
    none.height = size.second;
    makeUndistortMap(none, view, nullptr, nullptr, 0);
  }
}

TEST(Maps, AllocateNothingByOneThread) {
  std::mt19937 random(96);
  const NamedLens& lens = testing::lensNamed("tangential");
  const CameraModel camera = testing::randomCamera(lens, &random);
  const RectifiedView view = views(lens)[0];
  Maps maps(pixelsOf(camera.width, camera.height));
  std::vector<std::int16_t> xy(2 * pixelsOf(view.width, view.height));
  std::vector<std::uint16_t> fraction(pixelsOf(view.width, view.height));
  makeRectifyMap(camera, view, maps.x.data(), maps.y.data());  // which chooses the kernels
  const int before = testing::allocationCount();
  makeRectifyMap(camera, view, maps.x.data(), maps.y.data());
  makeFixedPointRectifyMap(camera, view, xy.data(), fraction.data());
  makeUndistortMap(camera, view, maps.x.data(), maps.y.data());
  EXPECT_EQ(testing::allocationCount(), before);
}

}  // namespace
}  // namespace norv::calibration

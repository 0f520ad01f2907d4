#pragma once

/// Cameras whose pictures are straightened in tests, and what a view of one shows.

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <vector>

#include "support/lens_validity.h"
#include "support/point_projection.h"
#include "support/rectified_view.h"

namespace norv::calibration {

using Eigen::Vector2d;

inline constexpr double kInfinity = std::numeric_limits<double>::infinity();
inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// A rectangle of a view, in its pixels.
struct Box {
  double left, top, right, bottom;
};

class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}
  double uniform(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(engine_);
  }
  bool chance(double share) { return std::bernoulli_distribution(share)(engine_); }

 private:
  std::mt19937_64 engine_;
};

inline Eigen::Matrix3d turned(double degrees, const Eigen::Vector3d& axis) {
  return Eigen::AngleAxisd(degrees * std::acos(-1.0) / 180, axis.normalized()).toRotationMatrix();
}

/// Polynomial, rational and moustache lenses, some decentred, of which all of the image is imaged.
inline CameraModel randomRegularCamera(Random* random) {
  for (;;) {
    CameraModel camera;
    camera.width = static_cast<int>(random->uniform(80, 400));
    camera.height = static_cast<int>(random->uniform(80, 400));
    const double f = random->uniform(0.35, 1.5) * std::max(camera.width, camera.height);
    camera.fx = f * random->uniform(0.9, 1.1) * (random->chance(0.1) ? -1 : 1);
    camera.fy = f * random->uniform(0.9, 1.1) * (random->chance(0.1) ? -1 : 1);
    camera.cx = camera.width * random->uniform(0.4, 0.6);
    camera.cy = camera.height * random->uniform(0.4, 0.6);
    if (random->chance(0.3)) camera.skew = f * random->uniform(-0.05, 0.05);
    LensDistortion<double>& lens = camera.lens;
    lens.k1 = random->uniform(-0.4, 0.3);
    lens.k2 = random->uniform(-0.1, 0.2);
    if (random->chance(0.5)) lens.k3 = random->uniform(-0.05, 0.1);
    if (random->chance(0.3)) lens.k4 = random->uniform(-0.1, 0.5);
    if (random->chance(0.3)) lens.k5 = random->uniform(-0.05, 0.1);
    if (random->chance(0.5)) lens.p1 = random->uniform(-0.02, 0.02);
    if (random->chance(0.5)) lens.p2 = random->uniform(-0.02, 0.02);
    if (coverage(camera).share == 1 && fitView(camera, 10, 10, 1.0)) return camera;
  }
}

/// How many of the view's points are not imaged in the picture, `margin` pixels from its border.
inline std::size_t countOutside(const CameraModel& camera, const RectifiedView& view,
                                const std::vector<Vector2d>& points, double margin = 0) {
  std::vector<Eigen::Vector3d> rays;
  for (const Vector2d& p : points) {
    rays.push_back(view.view_from_camera.transpose() *
                   Eigen::Vector3d((p.x() - view.cx) / view.fx, (p.y() - view.cy) / view.fy, 1));
  }
  std::vector<Vector2d> pixels(points.size());
  std::vector<PointStatus> statuses(points.size());
  projectPoints(camera, {rays.data()->data(), 3}, points.size(), {pixels.data()->data(), 2},
                {statuses.data(), nullptr});
  std::size_t outside = 0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const Vector2d& pixel = pixels[i];
    const bool is_inside = statuses[i] == PointStatus::kOk && pixel.x() >= margin &&
                           pixel.y() >= margin && pixel.x() <= camera.width - margin &&
                           pixel.y() <= camera.height - margin;
    outside += is_inside ? 0 : 1;
  }
  return outside;
}

inline std::vector<Vector2d> pixelCentres(const RectifiedView& view) {
  std::vector<Vector2d> centres;
  for (int j = 0; j < view.height; ++j) {
    for (int i = 0; i < view.width; ++i) centres.emplace_back(i + 0.5, j + 0.5);
  }
  return centres;
}

inline Box wholeOf(const RectifiedView& view) {
  return {0, 0, static_cast<double>(view.width), static_cast<double>(view.height)};
}

inline std::vector<Vector2d> line(const Vector2d& begin, const Vector2d& end, int count) {
  std::vector<Vector2d> points;
  for (int i = 0; i <= count; ++i) points.push_back(begin + (end - begin) * i / count);
  return points;
}

/// Left, right, upper and lower side.
inline std::array<std::vector<Vector2d>, 4> sidesOf(const Box& box, int count) {
  const Vector2d a(box.left, box.top);
  const Vector2d b(box.right, box.top);
  const Vector2d c(box.left, box.bottom);
  const Vector2d d(box.right, box.bottom);
  return {line(a, c, count), line(b, d, count), line(a, b, count), line(c, d, count)};
}

/// Whether pixels outside of the picture appear on each side of the view that is moved out by
/// `share` of the view's size.
inline std::array<bool, 4> sidesThatBind(const CameraModel& camera, const RectifiedView& view,
                                         double share) {
  const double x = share * view.width;
  const double y = share * view.height;
  std::array<bool, 4> binds{};
  for (std::size_t side = 0; side < 4; ++side) {
    Box box = wholeOf(view);
    if (side == 0) box.left -= x;
    if (side == 1) box.right += x;
    if (side == 2) box.top -= y;
    if (side == 3) box.bottom += y;
    binds[side] = countOutside(camera, view, sidesOf(box, 4000)[side]) > 0;
  }
  return binds;
}

/// Whether all of a rectangle of the view is imaged in the picture.
inline bool showsPictureOnly(const CameraModel& camera, const RectifiedView& view, const Box& box) {
  std::vector<Vector2d> points;
  for (const auto& side : sidesOf(box, 200)) points.insert(points.end(), side.begin(), side.end());
  return countOutside(camera, view, points) == 0;
}

/// Where the ray (x, y, 1) of the camera, which is in front of the view, lies in it.
inline Vector2d placeInView(const RectifiedView& view, const Vector2d& ray) {
  const Eigen::Vector3d seen = view.view_from_camera * Eigen::Vector3d(ray.x(), ray.y(), 1);
  return {view.fx * seen.x() / seen.z() + view.cx, view.fy * seen.y() / seen.z() + view.cy};
}

/// Where the camera's border lies in the view, `count` + 1 points a side; empty where some of it is
/// not seen.
inline std::vector<Vector2d> borderInView(const CameraModel& camera, const RectifiedView& view,
                                          int count) {
  const Box border{0, 0, static_cast<double>(camera.width), static_cast<double>(camera.height)};
  std::vector<Vector2d> result;
  for (const auto& side : sidesOf(border, count)) {
    for (const Vector2d& pixel : side) {
      Vector2d ray;
      rectifyPixel(camera, pixel, &ray);
      const Eigen::Vector3d seen = view.view_from_camera * Eigen::Vector3d(ray.x(), ray.y(), 1);
      if (!(seen.z() > 0)) return {};
      result.push_back(placeInView(view, ray));
    }
  }
  return result;
}

inline Box boxAround(const std::vector<Vector2d>& points) {
  Box box{kInfinity, kInfinity, -kInfinity, -kInfinity};
  for (const Vector2d& p : points) {
    box.left = std::min(box.left, p.x());
    box.right = std::max(box.right, p.x());
    box.top = std::min(box.top, p.y());
    box.bottom = std::max(box.bottom, p.y());
  }
  return box;
}

inline void expectIsCamera(const RectifiedView& view, const CameraModel& camera) {
  EXPECT_NEAR(view.fx, camera.fx, 1e-11 * std::abs(camera.fx));
  EXPECT_NEAR(view.fy, camera.fy, 1e-11 * std::abs(camera.fy));
  // Measured: 7e-13 of 1500.
  EXPECT_NEAR(view.cx, camera.cx, 1e-9);
  EXPECT_NEAR(view.cy, camera.cy, 1e-9);
  EXPECT_EQ(view.width, camera.width);
  EXPECT_EQ(view.height, camera.height);
}

}  // namespace norv::calibration

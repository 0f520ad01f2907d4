#pragma once

/// Cameras of other programs computed a second time, for comparison: rays to pixels by the models
/// as their papers have them, of points of space, and pixels to rays by Newton's method with
/// differences in the place of derivatives.

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <limits>
#include <variant>

#include "interop/peer_camera.h"
#include "support/camera_model.h"

namespace norv::interop::testing {

/// Distance from the principal point at which the map puts the point (r, 0, z), z above 0.
inline double secondRadius(const RadialMap& map, double r, double z) {
  const auto& a = map.parameters;
  const double theta = std::atan2(r, z);
  const double d = std::hypot(r, z);
  switch (map.kind) {
    case RadialKind::kKannalaBrandt:
      return theta + a[0] * std::pow(theta, 3) + a[1] * std::pow(theta, 5) +
             a[2] * std::pow(theta, 7) + a[3] * std::pow(theta, 9);
    case RadialKind::kEnhancedUnified:
      return r / (a[0] * std::sqrt(a[1] * r * r + z * z) + (1 - a[0]) * z);
    case RadialKind::kDoubleSphere:
      return r / (a[1] * std::hypot(r, a[0] * d + z) + (1 - a[1]) * (a[0] * d + z));
    case RadialKind::kOmni:
      return r / (z + a[0] * d);
    case RadialKind::kFieldOfView:
      return std::atan(2 * r / z * std::tan(a[0] / 2)) / a[0];
    case RadialKind::kStereographic:
      return 2 * r / (d + z);
  }
  return 0;
}

/// The rational lens, with the coefficients k1 k2 p1 p2 k3 k4 k5 k6, and thin prisms s1 to s4.
inline Eigen::Vector2d secondDistorted(const ExtendedLens& lens, double x, double y) {
  const auto k = lens.rational.toCoefficients();
  const double s = x * x + y * y;
  const double g = (1 + k[0] * s + k[1] * s * s + k[4] * s * s * s) /
                   (1 + k[5] * s + k[6] * s * s + k[7] * s * s * s);
  return {
      x * g + 2 * k[2] * x * y + k[3] * (s + 2 * x * x) + lens.s1 * s + lens.s2 * s * s,
      y * g + k[2] * (s + 2 * y * y) + 2 * k[3] * x * y + lens.s3 * s + lens.s4 * s * s,
  };
}

/// The tilt, by its rotations.
inline Eigen::Vector2d secondTilted(const ExtendedLens& lens, const Eigen::Vector2d& p) {
  const Eigen::Matrix3d r = (Eigen::AngleAxisd(-lens.tau_y, Eigen::Vector3d::UnitY()) *
                             Eigen::AngleAxisd(-lens.tau_x, Eigen::Vector3d::UnitX()))
                                .toRotationMatrix();
  const Eigen::Vector3d q = r * Eigen::Vector3d(p.x(), p.y(), 1);
  return {(r(2, 2) * q.x() - r(0, 2) * q.z()) / q.z(), (r(2, 2) * q.y() - r(1, 2) * q.z()) / q.z()};
}

/// Where the lens puts the ray through (x, y, 1).
inline Eigen::Vector2d secondImaged(const PeerLens& lens, const Eigen::Vector2d& ray) {
  if (const auto* map = std::get_if<RadialMap>(&lens)) {
    const double r = ray.norm();
    const double scale =
        r < 1e-9 ? secondRadius(*map, 1e-9, 1) / 1e-9 : secondRadius(*map, r, 1) / r;
    return secondDistorted({map->then}, scale * ray.x(), scale * ray.y());
  }
  if (const auto* extended = std::get_if<ExtendedLens>(&lens)) {
    return secondTilted(*extended, secondDistorted(*extended, ray.x(), ray.y()));
  }
  return secondDistorted({std::get<calibration::LensDistortion<double>>(lens)}, ray.x(), ray.y());
}

/// The pixel of the ray through (x, y, 1), from the image's corner.
inline Eigen::Vector2d secondPixel(const PeerCamera& camera, const Eigen::Vector2d& ray) {
  const Eigen::Vector2d p = secondImaged(camera.lens, ray);
  return {camera.fx * p.x() + camera.skew * p.y() + camera.cx, camera.fy * p.y() + camera.cy};
}

inline PeerCamera asPeer(const calibration::CameraModel& model) {
  return {"",         {model.width, model.height},
          model.fx,   model.fy,
          model.skew, model.cx,
          model.cy,   model.lens,
          {}};
}

/// The ray of a pixel, found from `near`; NaN where it is not found.
inline Eigen::Vector2d secondRay(const PeerCamera& camera, const Eigen::Vector2d& pixel,
                                 Eigen::Vector2d near) {
  constexpr double kDifference = 1e-6;
  const double scale = std::max(std::abs(camera.cx), std::abs(camera.fx));
  Eigen::Vector2d miss = secondPixel(camera, near) - pixel;
  for (int i = 0; i < 60 && !(miss.norm() < 1e-12 * scale); ++i) {
    const double h = kDifference * (1 + near.norm());
    Eigen::Matrix2d slope;
    for (int c = 0; c < 2; ++c) {
      const Eigen::Vector2d d = h * Eigen::Vector2d::Unit(c);
      slope.col(c) = (secondPixel(camera, near + d) - secondPixel(camera, near - d)) / (2 * h);
    }
    const Eigen::Vector2d step = -slope.inverse() * miss;
    for (double t = 1; t > 1e-3; t /= 2) {
      const Eigen::Vector2d at_next = secondPixel(camera, near + t * step) - pixel;
      if (!(at_next.norm() < miss.norm()) && t > 2e-3) continue;
      near += t * step;
      miss = at_next;
      break;
    }
  }
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  return miss.norm() < 1e-9 * scale ? near : Eigen::Vector2d(kNaN, kNaN);
}

/// How far apart the two cameras put what the first one sees at some pixels of the picture.
class SecondDeviation {
 public:
  SecondDeviation(const PeerCamera& source, const calibration::CameraModel& target)
      : source_(source), target_(asPeer(target)) {}

  /// At `count` pixels from `begin` to `end`, the first left out.
  void addLine(const Eigen::Vector2d& begin, const Eigen::Vector2d& end, int count) {
    Eigen::Vector2d ray = Eigen::Vector2d::Zero();
    for (int i = 1; i <= count; ++i) {
      ray = secondRay(source_, begin + (end - begin) * i / count, ray);
      const double distance = (secondPixel(target_, ray) - secondPixel(source_, ray)).norm();
      if (!(distance <= max_)) max_ = distance;
      squared_ += distance * distance;
      ++count_;
    }
  }

  /// At all pixels of a grid, the border included.
  void addPicture(int columns, int rows) {
    for (int j = 0; j <= rows; ++j) {
      const double v = static_cast<double>(source_.size.height) * j / rows;
      for (const double side : {0.0, static_cast<double>(source_.size.width)}) {
        addLine({source_.cx, v}, {side, v}, columns / 2);
      }
    }
  }

  /// From the principal point to the corners and the sides: enough for radial maps.
  void addStar(int count) {
    const Eigen::Vector2d centre(source_.cx, source_.cy);
    const double width = source_.size.width;
    const double height = source_.size.height;
    for (const double x : {0.0, source_.cx, width}) {
      for (const double y : {0.0, source_.cy, height}) {
        if (x != source_.cx || y != source_.cy) addLine(centre, {x, y}, count);
      }
    }
  }

  /// NaN where a ray was not found.
  double max() const { return max_; }
  double rms() const { return std::sqrt(squared_ / count_); }

 private:
  PeerCamera source_;
  PeerCamera target_;
  double max_ = 0;
  double squared_ = 0;
  int count_ = 0;
};

}  // namespace norv::interop::testing

#pragma once

/// Points and pixels of one camera of which most are hard to decide about: around the end of the
/// lens' branch to the last bit, on the border of the image, behind the camera, far out, no numbers
/// at all. For tests that see the library's inside.

#include <Eigen/Core>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <random>
#include <vector>

#include "support/camera_model.h"
#include "support/lens/radial_branch.h"
#include "testing/lenses.h"
#include "testing/random_camera.h"

namespace norv::testing {

inline constexpr double kDoubleNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kDoubleInfinity = std::numeric_limits<double>::infinity();

/// Any combination of these is a coordinate that somebody passes one day.
inline constexpr double kOddNumbers[] = {
    0,     -0.0,   1,       -1,         5e-324,          1e-310,
    1e-20, 1e20,   3.4e38,  1e39,       1e155,           1e300,
    -1e39, -1e155, 1.7e308, kDoubleNaN, kDoubleInfinity, -kDoubleInfinity};

/// Normalised image points in steps of a bit around the end of the radial branch; none where that
/// is farther out than 1e6.
inline std::vector<Eigen::Vector2d> pointsAroundTheEnd(
    const calibration::LensDistortion<double>& lens) {
  std::vector<Eigen::Vector2d> points;
  const double end = std::sqrt(internal::RadialBranch(lens).end());
  if (!(end < 1e6)) return points;
  for (const double angle : {0.0, 0.4, 2.1, -1.3}) {
    double r = end;
    for (int i = 0; i < 6; ++i) r = std::nextafter(r, 0);
    for (int i = 0; i < 12; ++i, r = std::nextafter(r, 2 * end)) {
      points.emplace_back(r * std::cos(angle), r * std::sin(angle));
    }
    for (const double gap : {-1e-3, -1e-6, -1e-9, 1e-9, 1e-6}) {
      points.emplace_back((1 + gap) * end * std::cos(angle), (1 + gap) * end * std::sin(angle));
    }
  }
  return points;
}

inline double anyOddNumber(std::mt19937* random) {
  return kOddNumbers[(*random)() % std::size(kOddNumbers)];
}

/// At least `count` points of the camera frame, mixed.
inline std::vector<Eigen::Vector3d> difficultPoints(const NamedLens& lens, std::size_t count,
                                                    std::mt19937* random) {
  std::vector<Eigen::Vector3d> points;
  for (const Eigen::Vector2d& p : pointsAroundTheEnd(lens.lens())) {
    points.emplace_back(p.x(), p.y(), 1);
  }
  while (points.size() < count) {
    const double z = uniform(0.3, 4, random);
    const double r = 1.5 * lens.radius;
    Eigen::Vector3d p(z * uniform(-r, r, random), z * uniform(-r, r, random), z);
    const unsigned kind = (*random)() % 16;
    if (kind == 0) p.z() = -z;
    if (kind == 1) p = {anyOddNumber(random), anyOddNumber(random), anyOddNumber(random)};
    if (kind == 2) p *= 0.1;
    if (kind > 10) p.head<2>() *= 0.3;
    points.push_back(p);
  }
  std::shuffle(points.begin(), points.end(), *random);
  return points;
}

/// At least `count` pixels, mixed.
inline std::vector<Eigen::Vector2d> difficultPixels(const calibration::CameraModel& camera,
                                                    std::size_t count, std::mt19937* random) {
  std::vector<Eigen::Vector2d> pixels;
  for (const Eigen::Vector2d& p : pointsAroundTheEnd(camera.lens)) {
    const auto d = camera.lens.distort(calibration::NormalizedPoint<double>{p.x(), p.y()});
    pixels.emplace_back(camera.fx * d.x + camera.skew * d.y + camera.cx,
                        camera.fy * d.y + camera.cy);
  }
  const double w = camera.width;
  const double h = camera.height;
  for (const double u : {0.0, w, std::nextafter(0.0, -1), std::nextafter(w, 2 * w)}) {
    for (const double v : {0.0, h, std::nextafter(0.0, -1), std::nextafter(h, 2 * h)}) {
      pixels.emplace_back(u, v);
    }
  }
  pixels.emplace_back(camera.cx, camera.cy);
  while (pixels.size() < count) {
    Eigen::Vector2d p(uniform(0, w, random), uniform(0, h, random));
    const unsigned kind = (*random)() % 16;
    if (kind == 0) p = {anyOddNumber(random), anyOddNumber(random)};
    if (kind == 1) p = 100 * (p - Eigen::Vector2d(camera.cx, camera.cy));
    if (kind == 2) p = 3 * (p - 0.5 * Eigen::Vector2d(w, h));
    pixels.push_back(p);
  }
  std::shuffle(pixels.begin(), pixels.end(), *random);
  return pixels;
}

/// Coefficients of any size that a fit can come upon, some absent; tangential ones in two of three.
inline calibration::LensDistortion<double> randomLens(std::mt19937* random) {
  const double largest = std::pow(10, uniform(-2, 1.3, random));
  const double decentring = (*random)() % 3 == 0 ? 0 : std::pow(10, uniform(-4, -1, random));
  calibration::LensDistortion<double> lens;
  for (double* k : {&lens.k1, &lens.k2, &lens.k3, &lens.k4, &lens.k5, &lens.k6}) {
    *k = (*random)() % 3 == 0 ? 0 : uniform(-largest, largest, random);
  }
  lens.p1 = uniform(-decentring, decentring, random);
  lens.p2 = uniform(-decentring, decentring, random);
  return lens;
}

/// All lenses of the table, and random ones, as floats are; each with a radius for tests.
inline std::vector<NamedLens> tableAndRandomLenses(std::size_t random_ones, std::mt19937* random) {
  std::vector<NamedLens> lenses(std::begin(kLenses), std::end(kLenses));
  for (std::size_t i = 0; i < random_ones; ++i) {
    const std::array<double, 8> all = randomLens(random).toCoefficients();
    NamedLens lens{"random", {}, 0};
    std::transform(all.begin(), all.end(), lens.coefficients.begin(),
                   [](double k) { return static_cast<float>(k); });
    lens.radius = std::fmin(1.5, std::sqrt(internal::RadialBranch(lens.lens()).end()));
    lenses.push_back(lens);
  }
  return lenses;
}

}  // namespace norv::testing

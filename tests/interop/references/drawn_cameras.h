#pragma once

/// Cameras drawn at random as other programs hold them, and what is read of their files.

#include <gtest/gtest.h>

#include <Eigen/Core>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <variant>
#include <vector>

#include "interop/peer_reading.h"
#include "interop/peer_writing.h"
#include "testing/peer_formulas.h"
#include "testing/random_camera.h"
#include "testing/same_bits.h"

namespace norv::interop::testing {

/// Pixels counted from where the program that holds it counts them from, coefficients in OpenCV's
/// order; all numbers have as many digits as doubles can have.
struct DrawnCamera {
  calibration::PixelSize size;
  double fx = 0;
  double fy = 0;
  double cx = 0;
  double cy = 0;
  std::vector<double> coefficients;
};

/// A camera with that many coefficients. Those of a rational lens leave its denominator above 0.6
/// for the points of `gridOfPoints`.
inline DrawnCamera drawCamera(std::size_t coefficients, std::mt19937* random) {
  const auto number = [random](double low, double high) {
    return norv::testing::uniform(low, high, random);
  };
  DrawnCamera camera;
  camera.size = {static_cast<int>(number(300, 5000)), static_cast<int>(number(200, 4000))};
  camera.fx = number(300, 1500);
  camera.fy = number(300, 1500);
  camera.cx = number(0.3, 0.7) * camera.size.width;
  camera.cy = number(0.3, 0.7) * camera.size.height;
  constexpr std::array<double, 14> kLargest = {0.3,  0.1,  0.01, 0.01, 0.05, 0.3, 0.1,
                                               0.05, 0.02, 0.02, 0.02, 0.02, 0.1, 0.1};
  for (std::size_t i = 0; i < coefficients; ++i) {
    camera.coefficients.push_back(number(-kLargest.at(i), kLargest.at(i)));
  }
  return camera;
}

/// A camera to be written, and the same one as it would be read.
struct BothCameras {
  WrittenCamera written;
  PeerCamera peer;
};

/// Pixels counted from the image's corner, a lens of at most eight coefficients, no pose.
inline BothCameras drawBoth(std::size_t coefficients, std::mt19937* random) {
  DrawnCamera drawn = drawCamera(coefficients, random);
  drawn.coefficients.resize(8);
  const std::vector<double>& k = drawn.coefficients;
  const calibration::LensDistortion<double> lens = {k[0], k[1], k[2], k[3], k[4], k[5], k[6], k[7]};
  return {{"left",
           {drawn.size.width, drawn.size.height, drawn.fx, drawn.fy, 0, drawn.cx, drawn.cy, lens},
           {}},
          {"left", drawn.size, drawn.fx, drawn.fy, 0, drawn.cx, drawn.cy, lens, {}}};
}

/// 41 x 31 points up to 35 degrees beside a camera and 29 above and below, in depths of their own,
/// metres.
inline std::vector<Eigen::Vector3d> gridOfPoints() {
  constexpr int kColumns = 41;
  constexpr int kRows = 31;
  std::vector<Eigen::Vector3d> points;
  for (int row = 0; row < kRows; ++row) {
    for (int column = 0; column < kColumns; ++column) {
      const double z = 0.5 + 0.1 * ((7 * row + 3 * column) % 17);
      points.emplace_back(0.7 * z * (2.0 * column / (kColumns - 1) - 1),
                          0.55 * z * (2.0 * row / (kRows - 1) - 1), z);
    }
  }
  return points;
}

/// The cameras of a file that must be read.
inline PeerFile mustRead(const PeerReading& reading) {
  if (const auto* problem = std::get_if<FormatProblem>(&reading)) {
    ADD_FAILURE() << describe(*problem);
    return {};
  }
  return std::get<PeerFile>(reading);
}

/// All coefficients of a lens: 8, 14 or 4 numbers.
inline std::vector<double> allCoefficients(const PeerLens& lens) {
  if (const auto* map = std::get_if<RadialMap>(&lens)) {
    return {map->parameters.begin(), map->parameters.end()};
  }
  const auto* const plain = std::get_if<calibration::LensDistortion<double>>(&lens);
  const ExtendedLens extended =
      plain != nullptr ? ExtendedLens{*plain} : std::get<ExtendedLens>(lens);
  const auto rational = extended.rational.toCoefficients();
  std::vector<double> all(rational.begin(), rational.end());
  if (plain != nullptr) return all;
  for (const double k :
       {extended.s1, extended.s2, extended.s3, extended.s4, extended.tau_x, extended.tau_y}) {
    all.push_back(k);
  }
  return all;
}

/// Requires the numbers that were drawn, further coefficients being zero, and the principal point
/// moved by `offset` and by nothing else.
inline void expectDrawn(const PeerCamera& camera, const DrawnCamera& drawn, double offset) {
  EXPECT_EQ(camera.size, drawn.size);
  EXPECT_EQ(camera.fx, drawn.fx);
  EXPECT_EQ(camera.fy, drawn.fy);
  EXPECT_EQ(camera.skew, 0);
  EXPECT_EQ(camera.cx, drawn.cx + offset);
  EXPECT_EQ(camera.cy, drawn.cy + offset);
  const std::vector<double> read = allCoefficients(camera.lens);
  std::vector<double> expected = drawn.coefficients;
  ASSERT_LE(expected.size(), read.size());
  expected.resize(read.size());
  EXPECT_EQ(read, expected);
}

/// By which numbers are the same doubles, the sign of a zero included.
inline std::vector<std::uint64_t> bitsOf(const std::vector<double>& numbers) {
  std::vector<std::uint64_t> bits;
  for (const double number : numbers) bits.push_back(norv::testing::bitsOf(number));
  return bits;
}

/// The pixel of a point, from the image's corner: by the second formulas of the lenses, but for a
/// tilted sensor, which has no second one.
inline Eigen::Vector2d projected(const PeerCamera& camera, const Eigen::Vector3d& point) {
  const auto* const extended = std::get_if<ExtendedLens>(&camera.lens);
  if (extended == nullptr) return norv::testing::pixelOf(camera, point);
  const auto p = distort(*extended, {point.x() / point.z(), point.y() / point.z()});
  return {camera.fx * p.x + camera.cx, camera.fy * p.y + camera.cy};
}

/// The largest distance of the camera's pixels from those that a program gives for the points,
/// which are `offset` less.
inline double largestDistance(const PeerCamera& camera, const std::vector<Eigen::Vector3d>& points,
                              const std::vector<Eigen::Vector2d>& pixels, double offset) {
  EXPECT_EQ(points.size(), pixels.size());
  double largest = 0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const Eigen::Vector2d expected = pixels.at(i) + Eigen::Vector2d(offset, offset);
    const double distance = (projected(camera, points[i]) - expected).norm();
    largest = std::isnan(distance) ? distance : std::fmax(largest, distance);
    if (std::isnan(largest)) break;
  }
  return largest;
}

}  // namespace norv::interop::testing

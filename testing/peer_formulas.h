#pragma once

/// The samples of other programs' files, what those programs compute from them, and the formulas of
/// the lenses, written down a second time.

#include <Eigen/Core>
#include <cmath>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "interop/peer_reading.h"
#include "testing/file_contents.h"

namespace norv::testing {

/// The folder of the samples is `folder`, tests/data/interop.
inline interop::SourceFile peerSample(const std::string& folder, const std::string& name) {
  return {name, contentsOf(folder + "/" + name)};
}

inline nlohmann::json expectedOfSamples(const std::string& folder) {
  return nlohmann::json::parse(contentsOf(folder + "/expected.json"));
}

inline std::vector<Eigen::Vector3d> pointsOf(const nlohmann::json& rows) {
  std::vector<Eigen::Vector3d> points;
  for (const nlohmann::json& row : rows) points.emplace_back(row.at(0), row.at(1), row.at(2));
  return points;
}

/// r_d of the map, by the formulas of the papers that `RadialKind` names.
inline double expectedRadius(const interop::RadialMap& map, double theta) {
  const auto& a = map.parameters;
  const double square = theta * theta;
  switch (map.kind) {
    case interop::RadialKind::kKannalaBrandt:
      return theta * (1 + square * (a[0] + square * (a[1] + square * (a[2] + square * a[3]))));
    case interop::RadialKind::kFieldOfView:
      return std::atan(2 * std::tan(theta) * std::tan(a[0] / 2)) / a[0];
    case interop::RadialKind::kStereographic:
      return 2 * std::tan(theta / 2);
    default:
      return std::nan("");
  }
}

/// Normalised image coordinates of a point in front of the camera; of an extended lens without its
/// tilt.
inline Eigen::Vector2d distorted(const interop::PeerLens& lens, const Eigen::Vector3d& point) {
  const double x = point.x() / point.z();
  const double y = point.y() / point.z();
  const double s = x * x + y * y;
  if (const auto* map = std::get_if<interop::RadialMap>(&lens)) {
    const double r = std::sqrt(s);
    const double factor = r == 0 ? 1 : expectedRadius(*map, std::atan(r)) / r;
    return {x * factor, y * factor};
  }
  interop::ExtendedLens extended;
  if (const auto* given = std::get_if<interop::ExtendedLens>(&lens)) {
    extended = *given;
  } else {
    extended.rational = std::get<calibration::LensDistortion<double>>(lens);
  }
  const calibration::LensDistortion<double>& k = extended.rational;
  const double g =
      (1 + s * (k.k1 + s * (k.k2 + s * k.k3))) / (1 + s * (k.k4 + s * (k.k5 + s * k.k6)));
  return {
      x * g + 2 * k.p1 * x * y + k.p2 * (s + 2 * x * x) + extended.s1 * s + extended.s2 * s * s,
      y * g + k.p1 * (s + 2 * y * y) + 2 * k.p2 * x * y + extended.s3 * s + extended.s4 * s * s};
}

/// The pixel of a point, metres in the camera's frame, counted from the image's corner.
inline Eigen::Vector2d pixelOf(const interop::PeerCamera& camera, const Eigen::Vector3d& point) {
  const Eigen::Vector2d p = distorted(camera.lens, point);
  return {camera.fx * p.x() + camera.skew * p.y() + camera.cx, camera.fy * p.y() + camera.cy};
}

/// The largest distance from what the sample's own program gives for the points, pixels. `entry` is
/// the camera's in expected.json.
inline double largestMiss(const interop::PeerCamera& camera, const nlohmann::json& entry,
                          const std::vector<Eigen::Vector3d>& points) {
  const Eigen::Vector2d offset(entry.at("offset").at(0), entry.at("offset").at(1));
  double largest = 0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const nlohmann::json& pixel = entry.at("pixels").at(i);
    const Eigen::Vector2d expected = Eigen::Vector2d(pixel.at(0), pixel.at(1)) + offset;
    largest = std::fmax(largest, (pixelOf(camera, points[i]) - expected).norm());
  }
  return largest;
}

/// The largest distance, metres, of the points that the pose moves from where they belong.
inline double largestMiss(const interop::RigidPose& pose, const std::vector<Eigen::Vector3d>& from,
                          const std::vector<Eigen::Vector3d>& to) {
  double largest = 0;
  for (std::size_t i = 0; i < from.size(); ++i) {
    largest = std::fmax(largest, (pose.rotation * from[i] + pose.translation - to.at(i)).norm());
  }
  return largest;
}

}  // namespace norv::testing

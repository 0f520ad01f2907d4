#pragma once

/// Where the head must go by `calibration::aim`, and what the answer is worth.

#include <Eigen/Core>
#include <optional>
#include <string>
#include <vector>

#include "calibration_common/ptz_aiming.h"
#include "tools/aim/aim_options.h"

namespace norv::tools {

/// Why what was asked for is not reached.
struct Obstacle {
  std::string word;      ///< for programs: "out-of-reach"
  std::string sentence;  ///< for people
};

struct SearchAnswer {
  calibration::Aim aim;
  std::optional<Eigen::Vector3d> target;  ///< what is aimed at, where that is one point
  double tolerance;                       ///< how far from its place the target may land, pixels
  std::vector<Obstacle> obstacles;        ///< the most important first
  std::vector<std::string> remarks;       ///< what else is to be known, a sentence each

  bool isReached() const { return obstacles.empty(); }
};

/// The question in the library's terms; `options` has to outlive it. Without `--track`'s targets.
calibration::AimRequest requestOf(const SearchOptions& options,
                                  const calibration::MotorPositions& now);

/// The point, or the sphere around it, that an option makes of it.
calibration::AimTarget targetAt(const SearchOptions& options, const Eigen::Vector3d& point);

/// Asks and judges. Not reached is what has no position; what the range of pan or tilt keeps from
/// its place by more than the tolerance; and what a zoom was to show, and does not show, as a
/// whole. With `--strict` also what the range of any motor bounds, and what misses by more than the
/// tolerance for any other reason.
///
/// Throws ToolError, without the name of the file, for a head and a picture that nothing can be
/// aimed with.
SearchAnswer searchAim(const calibration::PTZCameraModelPtr& model, const SearchOptions& options,
                       const calibration::AimRequest& request);

}  // namespace norv::tools

#pragma once

/// What `calibration::aim` answered, and what that is worth.

#include <Eigen/Core>
#include <optional>
#include <string>
#include <vector>

#include "calibration_common/ptz_aiming.h"

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

}  // namespace norv::tools

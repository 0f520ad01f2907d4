#pragma once

/// Whether an answer of `aim` does what was asked for, as the command-line tool judges it. Needs no
/// interpreter's lock.

#include <optional>
#include <string>

#include "calibration_common/ptz_aiming.h"

namespace norv::python {

/// Why what was asked for is not reached.
struct Obstacle {
  std::string word;      ///< for programs: "out-of-reach"
  std::string sentence;  ///< for people
};

/// What counts as reached.
struct Standard {
  bool is_strict;
  std::optional<double> tolerance;  ///< pixels
};

struct Verdict {
  double tolerance;                  ///< how far from its place the target may land, pixels
  std::optional<Obstacle> obstacle;  ///< the most important one
};

Verdict judge(const calibration::PTZCameraModelPtr& model, const calibration::AimRequest& request,
              const Standard& standard, const calibration::Aim& aim);

}  // namespace norv::python

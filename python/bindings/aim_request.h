#pragma once

/// What is asked of `aim`, from the arguments of Python. All functions need the interpreter's lock.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <optional>

#include "calibration_common/ptz_aiming.h"

namespace norv::python {

/// A request, and what counts as reached.
struct AimQuestion {
  calibration::AimRequest request;
  pybind11::array_t<double> points;  ///< which the request points into
  std::optional<double> radius;      ///< of a sphere around the point
  bool strict = false;
  std::optional<double> tolerance;  ///< pixels
};

/// The question of keyword arguments. Throws TypeError and ValueError that name the argument.
AimQuestion questionOf(const calibration::MotorPositions& now, const pybind11::kwargs& arguments);

/// The same for the points of a track, which the arguments do not hold: its request has no target.
AimQuestion trackQuestionOf(const calibration::MotorPositions& now,
                            const pybind11::kwargs& arguments);

/// A point, or the sphere around it.
calibration::AimTarget targetAt(const AimQuestion& question, const Eigen::Vector3d& point);

}  // namespace norv::python

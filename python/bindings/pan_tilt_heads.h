#pragma once

/// The head of a pan-tilt-zoom camera: its chain, and the angles at which it sees a point.

#include <pybind11/pybind11.h>

#include "calibration_common/ptz_camera_model.h"

namespace norv::python {

/// The kinematics of a calibration, which it keeps alive.
struct PanTilt {
  calibration::PTZCameraModelPtr model;
  const calibration::PanTiltModel& head() const { return model->getPanTiltModel(); }
};

/// The class PanTiltModel. To be bound after PTZCameraModel.
void bindPanTiltModel(pybind11::module_& module);
/// What it answers.
void bindPanTiltAnswers(pybind11::module_& module);

}  // namespace norv::python

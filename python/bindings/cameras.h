#pragma once

/// The robot's fixed cameras: CameraParameters and CameraParametersSet.

#include <pybind11/pybind11.h>

#include <memory>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/camera_parameters.h"
#include "python/bindings/use_lock.h"

namespace norv::python {

/// A set, and what keeps its loads apart from its other uses.
struct CameraSet {
  std::shared_ptr<calibration::CameraParametersSet> cameras;
  std::shared_ptr<UseLock> lock = std::make_shared<UseLock>();
};

/// A camera of a set. The base moves it where it is, so that it goes by the set's lock.
struct Camera {
  std::string name;
  std::shared_ptr<calibration::CameraParameters> parameters;
  std::shared_ptr<UseLock> lock;
};

/// The base's calibration, of which every setter is a change.
struct Base {
  std::shared_ptr<calibration::BaseCalibrationData> data;
  std::shared_ptr<UseLock> lock = std::make_shared<UseLock>();
};

void bindCamera(pybind11::module_& module);
void bindCameraSet(pybind11::module_& module);
void bindBase(pybind11::module_& module);

}  // namespace norv::python

#pragma once

/// Pan-tilt-zoom cameras: the calibration, the camera at a position of its motors, and the head.
/// All of them are immutable, as the library's are, so that none needs a lock.

#include <pybind11/pybind11.h>

#include <optional>
#include <string>

#include "calibration_common/head_geometry.h"
#include "calibration_common/ptz_camera_model.h"

namespace norv::python {

namespace py = pybind11;

/// A calibration of a pan-tilt-zoom camera. Its model is never null and always valid.
struct Head {
  calibration::PTZCameraModelPtr model;
};

/// The lens table of a calibration, which it keeps alive.
struct ZoomTable {
  calibration::PTZCameraModelPtr model;
  const calibration::PTZIntrinsicsTable& table() const { return model->getParams().intrinsics(); }
};

/// A model of the data, or CalibrationError; `path` is where the data is from.
Head headOfData(const std::string& data, const std::optional<std::string>& path = std::nullopt);

/// A model of a message that was made by computing, or CalibrationError.
Head headOfMessage(const calibration::PTZCameraParameters& message);

void bindPtzCameraModel(py::module_& module);
void bindPtzPositions(py::module_& module);
void bindZoomTable(py::module_& module);
void bindPtzConfiguration(py::module_& module);
void bindHeadGeometry(py::module_& module);

}  // namespace norv::python

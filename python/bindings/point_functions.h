#pragma once

/// Projection and rectification of arrays by the library's functions in single precision.

#include <pybind11/pybind11.h>

#include "python/bindings/arrays.h"
#include "python/bindings/camera_values.h"

namespace norv::python {

/// Where callers want results: arrays of theirs, or None.
struct Results {
  py::handle out;
  py::handle status;
};

/// Pixels (..., 2) at which the camera sees points (..., 3) of the pose's parent frame, metres:
/// `norv::projectPoints`, to the last bit. Fills `status`, where it is wanted, with what
/// `CameraView::project` says of each point.
py::array_t<float> projectArray(const CameraTransform& pose, const IntrinsicsValue& intrinsics,
                                const py::handle& points, const Results& results);

/// Undistorted points (..., 2) of the rays that are imaged at pixels (..., 2):
/// `calibration::rectifyPoints`, to the last bit; `status` of `CameraView::rectify`.
py::array_t<float> rectifyArray(const IntrinsicsValue& intrinsics, const py::handle& pixels,
                                const Results& results);

/// Adds the functions `project` and `rectify`.
void bindPointFunctions(py::module_& module);

}  // namespace norv::python

#pragma once

/// Cameras as plain values: what other objects of the package hand out.

#include <pybind11/pybind11.h>

#include "calibration_common/camera_parameters.h"
#include "support/camera_model.h"
#include "support/camera_transform.h"

namespace norv::python {

/// An entry of a camera's table of intrinsics, in the library's single precision.
struct IntrinsicsValue {
  int width = 0;
  int height = 0;
  Matrix3x3_f matrix = Matrix3x3_f::Identity();
  std::vector<float> distortion = std::vector<float>(8, 0.0F);
};

/// Adds the classes Pose and Intrinsics, and the functions `project` and `rectify` of these.
void bindCameraValues(pybind11::module_& module);

}  // namespace norv::python

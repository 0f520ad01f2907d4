#pragma once

/// Cameras and sets as what pickles hold of them: bytes.

#include <pybind11/pybind11.h>

#include "python/bindings/cameras.h"

namespace norv::python {

/// The camera's calibration in binary form, with the pose that it has now. Enters the library.
pybind11::bytes bytesOfCamera(const Camera& camera);

/// Whether cameras have the same name and the same calibration in binary form. Enters the library.
bool areEqual(const Camera& a, const Camera& b);

/// Whether sets hold the same cameras, and would write the same. Enters the library.
bool areEqual(const CameraSet& a, const CameraSet& b);

/// (name, bytes) of a camera, and the camera again. Throws CalibrationError for bytes that are no
/// camera's.
pybind11::tuple stateOfCamera(const Camera& camera);
Camera cameraFromState(const pybind11::tuple& state);

/// (bytes of the message, bytes of a message of the cameras that it does not name, since loads keep
/// those of earlier ones), and the set again.
pybind11::tuple stateOfSet(const CameraSet& set);
CameraSet setFromState(const pybind11::tuple& state);

}  // namespace norv::python

#pragma once

#include "proto/norv_camera_calibration.pb.h"
#include "python/bindings/cameras.h"

namespace norv::python {

/// A camera's message with the pose that it has now: adjustments by a base leave the camera's own
/// message as it was. Needs the interpreter's lock, which it lets go of while it waits.
calibration::CameraCalibration presentMessage(const Camera& camera);

}  // namespace norv::python

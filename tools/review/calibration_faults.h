#pragma once

/// What is certainly wrong in a calibration that can be loaded: values with which no camera and no
/// head works. Nothing here judges what is merely unusual. One sentence a fault, without a full
/// stop; they name fields as the calibration does. An empty list does not mean that the calibration
/// is right.

#include <string>
#include <vector>

#include "proto/norv_camera_calibration.pb.h"
#include "proto/norv_camera_extrinsics.pb.h"
#include "proto/norv_ptz_camera.pb.h"

namespace norv::tools {

using Faults = std::vector<std::string>;

/// The pose called `name` in the text: values that are not finite, or a matrix that is no rotation
/// (scaled, singular, sheared or mirrored). Rotations may be rounded to two decimals. For poses of
/// at least 12 values.
Faults findPoseFaults(const std::string& name, const calibration::CameraExtrinsics& pose);

/// A fixed camera's pose, image size, focal lengths and coefficients.
Faults findCameraFaults(const calibration::CameraCalibration& camera);

/// The image size of a zoom lens, its samples' values, and the order and the distances of the
/// samples, which the library takes for granted.
Faults findLensFaults(const calibration::PTZIntrinsicsTable& table);

/// The three poses of a head.
Faults findChainFaults(const calibration::PanTiltSystemParameters& head);

/// A head's motors: steps, offsets and limits.
Faults findMotorFaults(const calibration::PanTiltSystemParameters& head);

}  // namespace norv::tools

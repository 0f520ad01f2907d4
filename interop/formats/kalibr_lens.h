#pragma once

/// The camera models of Kalibr.

#include "interop/peer_camera.h"
#include "interop/peer_format.h"
#include "interop/syntax/fields.h"

namespace norv::interop {

/// Sets camera matrix and lens from camera_model, intrinsics, distortion_model and
/// distortion_coeffs. Throws FormatError, also for models and pairs of them that are not read.
void readKalibrLens(Fields* fields, calibration::PixelOrigin origin, PeerCamera* camera);

}  // namespace norv::interop

#pragma once

/// The camera types of basalt.

#include "interop/peer_camera.h"
#include "interop/peer_format.h"
#include "interop/syntax/fields.h"

namespace norv::interop {

/// Sets camera matrix and lens from an element of "intrinsics"; `camera->size` must be set, since
/// a note in `file` says where rpmax is exceeded in the picture. What is not used of the element
/// is listed in `file` too. Throws FormatError.
void readBasaltLens(const Field& element, calibration::PixelOrigin origin, PeerCamera* camera,
                    PeerFile* file);

}  // namespace norv::interop

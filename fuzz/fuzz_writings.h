#pragma once

/// What the fuzz targets that read other programs' calibrations require of their writing.

#include "interop/peer_camera.h"
#include "interop/peer_format.h"

namespace norv::fuzz {

/// Requires that cameras whose lens is the library's own are written in the format, and read back
/// as they were, or that a sentence says why they are not. Poses that are none are left out.
void requireRoundTrip(const interop::PeerFile& file, interop::PeerFormat format);

}  // namespace norv::fuzz

#pragma once

/// COLMAP's sparse models as text: cameras.txt and images.txt. `readColmap` and `isColmapImages`
/// are declared in interop/peer_reading.h.

#include <string>
#include <variant>
#include <vector>

#include "interop/peer_reading.h"
#include "interop/peer_writing.h"

namespace norv::interop {

/// The cameras of a cameras.txt alone, called "camera" and their number, without poses. Throws
/// FormatError. Thread-safe.
PeerFile readColmapCameras(const SourceFile& file, const ReadOptions& options);

/// cameras.txt with one camera each, numbered from 1, images.txt with one image of each that has a
/// pose, and a points3D.txt without points: COLMAP reads no model that lacks one of them. The
/// world's unit is the metre. The lens is the shortest that has all coefficients which are not
/// zero. The inverse is `readColmap`.
///
/// Refuses skew, focal lengths that are not above 0, numbers that are not finite, rotations that
/// are none, poses of some cameras alone, and names of which COLMAP would make the same one: it
/// takes no blanks, which become underscores.
std::variant<PeerWriting, std::string> writeColmap(const std::vector<WrittenCamera>& cameras,
                                                   const WriteOptions& options);

}  // namespace norv::interop

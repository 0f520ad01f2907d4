#pragma once

/// mrcal's camera models: a Python literal, one camera a file.

#include <string>
#include <variant>
#include <vector>

#include "interop/peer_reading.h"
#include "interop/peer_writing.h"

namespace norv::interop {

/// The camera of a .cameramodel file, without a name; its pose's parent is "reference". Throws
/// FormatError. Thread-safe. The inverse is `writeMrcal`.
///
/// LENSMODEL_PINHOLE, _OPENCV4, _OPENCV5, _OPENCV8 and _OPENCV12 have their coefficients in
/// OpenCV's order; LENSMODEL_STEREOGRAPHIC is a radial map; other lenses are refused. `extrinsics`,
/// since 2.5 `rt_cam_ref`, is a vector of rotation (Rodrigues) and a translation in metres,
/// p_camera = R p_reference + t.
PeerFile readMrcal(const SourceFile& file, const ReadOptions& options);

/// The file of one camera, its lens the shortest that has all coefficients which are not zero.
/// Refuses skew, focal lengths that are not above 0, numbers that are not finite, rotations that
/// are none, and any other number of cameras than one. Without a pose the identity is written:
/// mrcal needs one.
std::variant<PeerWriting, std::string> writeMrcal(const std::vector<WrittenCamera>& cameras,
                                                  const WriteOptions& options);

}  // namespace norv::interop

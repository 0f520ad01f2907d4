#pragma once

/// The camera_info of the Robot Operating System: YAML, and INI as it was before.

#include <string>
#include <variant>
#include <vector>

#include "interop/peer_reading.h"
#include "interop/peer_writing.h"

namespace norv::interop {

/// The camera of a file of either syntax. The lens is plumb_bob, with k3 = 0 if it has four
/// numbers, rational_polynomial or equidistant; a file that does not say which is refused, other
/// than by ROS. What describes the rectified image is checked to say nothing of its own, and listed
/// otherwise. Throws FormatError.
PeerFile readRos(const SourceFile& file, const ReadOptions& options);

/// A file of one camera, rectified to itself: YAML with plumb_bob where k4 = k5 = k6 = 0 and
/// rational_polynomial otherwise; or INI, which has five decimals and five coefficients. A sentence
/// says why the camera cannot be written. The inverse of `readRos`, but for what INI cuts off.
std::variant<PeerWriting, std::string> writeRos(const std::vector<WrittenCamera>& cameras,
                                                const WriteOptions& options);

}  // namespace norv::interop

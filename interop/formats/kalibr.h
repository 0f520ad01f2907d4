#pragma once

/// Kalibr's camchain: YAML with the cameras cam0, cam1, ... and their poses.

#include <string>
#include <variant>
#include <vector>

#include "interop/peer_reading.h"
#include "interop/peer_writing.h"

namespace norv::interop {

/// The cameras in the order of their numbers, which is not that of the text where there are more
/// than ten: the keys are sorted as words. Throws FormatError.
///
/// Names are the first parts of the topics, "left" of /left/image_raw; cam0, cam1, ... where two
/// are equal, and for a camera without a topic. Models: pinhole with radtan, none, equidistant or
/// fov, omni with radtan or none, eucm and ds with none.
///
/// Poses are T_cam_imu where cam0 has one, the parent being "imu"; else those of the chain
/// T_cn_cnm1, the parent being "cam0". A camera that only the chain reaches has its pose from that;
/// where both say it, they must agree to 1e-6 (metres, or elements of the rotation).
PeerFile readKalibr(const SourceFile& file, const ReadOptions& options);

/// pinhole and radtan for all cameras, each with its name in the topic. T_cn_cnm1 is written where
/// the cameras have poses, T_cam_imu as well where their parent is "imu". What Kalibr cannot hold:
/// skew, more than four coefficients, a focal length that is not above 0, a negative principal
/// point, poses of some cameras alone. A note says so where the pose of cam0 is not written.
std::variant<PeerWriting, std::string> writeKalibr(const std::vector<WrittenCamera>& cameras,
                                                   const WriteOptions& options);

}  // namespace norv::interop

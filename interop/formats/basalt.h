#pragma once

/// basalt's calibration: JSON with cameras and their poses on an IMU.

#include <string>
#include <variant>
#include <vector>

#include "interop/peer_reading.h"
#include "interop/peer_writing.h"

namespace norv::interop {

/// The cameras, without names, of a file with or without the outer "value0"; their poses' parent is
/// "imu". Camera types: pinhole, pinhole-radtan8, kb4, ds, eucm, ucm, fov. Throws FormatError.
///
/// Quaternions are normalised; refused where their length is farther than `kMaxQuaternionError`
/// from 1. A note says where rpmax excludes a part of the picture: the lens is taken without it.
PeerFile readBasalt(const SourceFile& file, const ReadOptions& options);

/// pinhole-radtan8 for all cameras, with the radius of the lens' first branch for rpmax. The IMU's
/// own numbers, without which basalt reads no file, are zeros, and a note says so. What basalt
/// cannot hold: skew, a focal length that is not above 0, a camera without a pose. The poses'
/// parent takes the place of the IMU.
std::variant<PeerWriting, std::string> writeBasalt(const std::vector<WrittenCamera>& cameras,
                                                   const WriteOptions& options);

/// Files of few digits are farther from 1 than rounding, other conventions a good deal more.
inline constexpr double kMaxQuaternionError = 1e-3;

}  // namespace norv::interop

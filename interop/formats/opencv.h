#pragma once

/// Cameras in the files of OpenCV's cv::FileStorage: YAML, XML and JSON.

#include <string>
#include <variant>
#include <vector>

#include "interop/peer_reading.h"
#include "interop/peer_writing.h"

namespace norv::interop {

/// The camera of a file of any of the syntaxes; or both of a stereo pair, "camera1" with M1 and D1
/// and "camera2", or the one of them that the options ask for. The lens has 4, 5, 8, 12 or 14
/// coefficients, and is equidistant where fisheye_model is 1. A size that is not in the file is not
/// guessed. Throws FormatError.
PeerFile readOpenCv(const SourceFile& file, const ReadOptions& options);

/// A file of one camera with eight coefficients. A sentence says why the camera cannot be written.
/// The inverse of `readOpenCv`.
std::variant<PeerWriting, std::string> writeOpenCv(const std::vector<WrittenCamera>& cameras,
                                                   const WriteOptions& options);

}  // namespace norv::interop

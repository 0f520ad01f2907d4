#pragma once

/// What the keys of OpenCV's files are called.

#include <string>
#include <vector>

#include "interop/syntax/fields.h"

namespace norv::interop {

/// The elements of a file that are one camera.
struct OpenCvCameraKeys {
  std::string name;  ///< "camera1", "camera2" of a pair; "" otherwise
  Field matrix;
  Field lens;
};

/// The cameras of a file: the one with the usual names, or those of a stereo pair; of these, `node`
/// 1 or 2 takes one. Refused where there is none.
std::vector<OpenCvCameraKeys> findOpenCvCameras(Fields* fields, int node);

/// Why a key is not taken over.
std::string reasonOfOpenCvKey(const std::string& key);

}  // namespace norv::interop

#include "interop/formats/opencv_keys.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

namespace norv::interop {
namespace {

template <std::size_t kCount>
using Keys = std::array<const char*, kCount>;

/// The first of each list is the one that is asked for where there is none.
constexpr Keys<4> kMatrices = {"camera_matrix", "cameraMatrix", "K", "mtx"};
constexpr Keys<6> kLenses = {
    "distortion_coefficients", "distCoeffs", "D", "dist_coeffs", "dist_coeff", "dist"};
/// Of a pair, before its number.
constexpr Keys<3> kPairMatrices = {"M", "K", "cameraMatrix"};
constexpr Keys<2> kPairLenses = {"D", "distCoeffs"};

template <std::size_t kCount>
std::optional<Field> findFirst(Fields* fields, const Keys<kCount>& keys,
                               const std::string& number) {
  for (const char* const key : keys) {
    if (auto field = fields->find(key + number)) return field;
  }
  return std::nullopt;
}

/// Refused where there is none of the keys.
template <std::size_t kCount>
Field getFirst(Fields* fields, const Keys<kCount>& keys, const std::string& number) {
  const auto field = findFirst(fields, keys, number);
  return field ? *field : fields->get(keys.front() + number);
}

OpenCvCameraKeys cameraOfPair(Fields* fields, const std::string& number) {
  return {"camera" + number, getFirst(fields, kPairMatrices, number),
          getFirst(fields, kPairLenses, number)};
}

struct Reason {
  std::vector<const char*> keys;
  const char* text;
};

const std::vector<Reason>& reasons() {
  static const std::vector<Reason> kReasons = {
      {{"M1", "D1", "M2", "D2", "K1", "K2", "cameraMatrix1", "cameraMatrix2", "distCoeffs1",
        "distCoeffs2"},
       "is of another camera of the file, which --node takes"},
      {{"extrinsic_parameters", "rvecs", "tvecs", "R", "T", "E", "F"},
       "is a pose, of boards or between cameras"},
      {{"R1", "R2", "P1", "P2", "Q"}, "describes rectified images"},
      {{"image_points", "grid_points", "object_points"}, "has points of the calibration"},
      {{"avg_reprojection_error", "per_view_reprojection_errors"},
       "says how well the calibration fits"},
      {{"calibration_time", "nframes", "nr_of_frames", "board_width", "board_height", "square_size",
        "marker_size", "flags", "flagValue", "aspectRatio", "fix_aspect_ratio"},
       "says how the calibration was made"},
  };
  return kReasons;
}

}  // namespace

std::vector<OpenCvCameraKeys> findOpenCvCameras(Fields* fields, int node) {
  if (node != 0) return {cameraOfPair(fields, std::to_string(node))};
  if (const auto matrix = findFirst(fields, kMatrices, "")) {
    return {{"", *matrix, getFirst(fields, kLenses, "")}};
  }
  std::vector<OpenCvCameraKeys> pair;
  for (const char* const number : {"1", "2"}) {
    if (findFirst(fields, kPairMatrices, number)) pair.push_back(cameraOfPair(fields, number));
  }
  if (pair.empty()) fields->get(kMatrices.front());  // which is missing
  return pair;
}

std::string reasonOfOpenCvKey(const std::string& key) {
  for (const Reason& reason : reasons()) {
    if (std::find(reason.keys.begin(), reason.keys.end(), key) != reason.keys.end()) {
      return reason.text;
    }
  }
  return "is no part of a camera";
}

}  // namespace norv::interop

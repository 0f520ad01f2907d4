#include "interop/formats/opencv_keys.h"

#include <algorithm>
#include <array>

namespace norv::interop {
namespace {

constexpr std::array<const char*, 3> kMatrices = {"camera_matrix", "cameraMatrix", "K"};
constexpr std::array<const char*, 3> kLenses = {"distortion_coefficients", "distCoeffs", "D"};

std::optional<Field> findFirst(Fields* fields, const std::array<const char*, 3>& keys) {
  for (const char* const key : keys) {
    if (auto field = fields->find(key)) return field;
  }
  return std::nullopt;
}

OpenCvCameraKeys cameraOfPair(Fields* fields, const std::string& node) {
  return {"camera" + node, fields->get("M" + node), fields->get("D" + node)};
}

struct Reason {
  std::vector<const char*> keys;
  const char* text;
};

const std::vector<Reason>& reasons() {
  static const std::vector<Reason> kReasons = {
      {{"M1", "D1", "M2", "D2"}, "is of another camera of the file, which --node takes"},
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
  if (const auto matrix = findFirst(fields, kMatrices)) {
    const auto lens = findFirst(fields, kLenses);
    return {{"", *matrix, lens ? *lens : fields->get(kLenses[0])}};
  }
  std::vector<OpenCvCameraKeys> pair;
  for (const char* const number : {"1", "2"}) {
    if (fields->find(std::string("M") + number)) pair.push_back(cameraOfPair(fields, number));
  }
  if (pair.empty()) fields->get(kMatrices[0]);  // which is missing
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

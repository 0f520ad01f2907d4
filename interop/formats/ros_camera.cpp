#include "interop/formats/ros_camera.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

namespace norv::interop {
namespace {

constexpr std::size_t kBrown = 4;
constexpr std::size_t kPlumbBob = 5;
constexpr std::size_t kRational = 8;
constexpr std::size_t kEquidistant = 4;
constexpr const char* kReasonOfRectified = "describes the rectified image";

[[noreturn]] void refuseCount(const NumberList& list, const std::string& model,
                              const std::string& counts) {
  refuse(list.list, fmt::format("{} has {} numbers, not {}", model, counts, list.numbers.size()));
}

calibration::LensDistortion<double> rationalLens(const NumberList& list) {
  if (list.numbers.size() < kRational) refuseCount(list, kRosRational, "8");
  for (std::size_t i = kRational; i < list.numbers.size(); ++i) {
    if (list.numbers[i] == 0) continue;
    throw FormatError(list.list.node->items[i].place, fmt::format("{}[{}]", list.list.path, i),
                      fmt::format("is {}: beyond 8 numbers, {} is read with zeros alone",
                                  list.numbers[i], kRosRational));
  }
  return lensOf(list.numbers);
}

PeerLens equidistantLens(const NumberList& list, const std::string& model) {
  if (list.numbers.size() != kEquidistant) refuseCount(list, model, "4");
  RadialMap map;
  map.kind = RadialKind::kKannalaBrandt;
  std::copy(list.numbers.begin(), list.numbers.end(), map.parameters.begin());
  return map;
}

PeerLens lensOfModel(const std::string& model, const NumberList& list) {
  if (model == kRosPlumbBob) {
    const std::size_t count = list.numbers.size();
    if (count != kBrown && count != kPlumbBob) refuseCount(list, model, "4 or 5");
    return lensOf(list.numbers);
  }
  if (model == kRosRational) return rationalLens(list);
  return equidistantLens(list, model);
}

bool isIdentity(const std::vector<double>& r) {
  return r == std::vector<double>{1, 0, 0, 0, 1, 0, 0, 0, 1};
}

/// Whether P is [K 0].
bool isProjectionOf(const std::vector<double>& p, const std::vector<double>& k) {
  return p == std::vector<double>{k[0], k[1], k[2], 0, k[3], k[4], k[5], 0, k[6], k[7], k[8], 0};
}

}  // namespace

PeerFile fileOfRosNumbers(const RosNumbers& numbers, calibration::PixelOrigin origin) {
  PeerFile file;
  PeerCamera camera;
  camera.name = numbers.name;
  camera.size = numbers.size;
  setCameraMatrix(numbers.camera_matrix, origin, &camera);
  if (camera.skew != 0) file.notes.push_back(noteOfSkew(numbers.camera_matrix, "ROS"));
  camera.lens = lensOfModel(numbers.model, numbers.coefficients);
  if (numbers.rectification && !isIdentity(numbers.rectification->numbers)) {
    file.not_taken_over.push_back({numbers.rectification->key, kReasonOfRectified});
  }
  if (numbers.projection &&
      !isProjectionOf(numbers.projection->numbers, numbers.camera_matrix.numbers)) {
    file.not_taken_over.push_back({numbers.projection->key, kReasonOfRectified});
  }
  file.cameras.push_back(camera);
  return file;
}

}  // namespace norv::interop

#include "tools/input/pose_numbers.h"

#include <algorithm>
#include <cstddef>

#include "tools/input/number_list.h"

namespace norv::tools {
namespace {

constexpr const char* kBlanks = " \t\n\r";

/// Takes the next number off `text`, with what separates it from the one after: blanks, a comma, or
/// both.
std::optional<double> takeNumber(std::string* text) {
  text->erase(0, std::min(text->find_first_not_of(kBlanks), text->size()));
  const std::size_t end = std::min(text->find_first_of(" \t\n\r,"), text->size());
  const std::optional<double> number = parseNumber(text->substr(0, end));
  text->erase(0, end);
  text->erase(0, std::min(text->find_first_not_of(kBlanks), text->size()));
  const bool goes_on = text->size() > 1 && text->front() == ',';
  if (goes_on) text->erase(0, 1);
  return number;
}

}  // namespace

std::optional<PoseNumbers> parsePose(const std::string& text) {
  PoseNumbers numbers{};
  std::string rest = text;
  for (double& number : numbers) {
    const std::optional<double> taken = takeNumber(&rest);
    if (!taken) return std::nullopt;
    number = *taken;
  }
  if (!rest.empty()) return std::nullopt;
  return numbers;
}

interop::RigidPose rigidPoseOf(const PoseNumbers& numbers) {
  constexpr double kMillimetresPerMetre = 1000;
  interop::RigidPose pose;
  for (int r = 0; r < 3; ++r) {
    const std::size_t row = 4 * static_cast<std::size_t>(r);
    pose.rotation.row(r) << numbers[row], numbers[row + 1], numbers[row + 2];
    pose.translation[r] = numbers[row + 3] / kMillimetresPerMetre;
  }
  return pose;
}

calibration::CameraExtrinsics extrinsicsOf(const PoseNumbers& numbers) {
  calibration::CameraExtrinsics extrinsics;
  for (const double number : numbers) extrinsics.add_a(number);
  return extrinsics;
}

}  // namespace norv::tools

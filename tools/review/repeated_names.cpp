#include "tools/review/repeated_names.h"

namespace norv::tools {

std::set<std::string> findRepeatedNames(const calibration::RobotCalibration& robot) {
  std::set<std::string> names;
  std::set<std::string> repeated;
  for (const auto& camera : robot.camera_calibration()) {
    if (!names.insert(camera.name()).second) repeated.insert(camera.name());
  }
  return repeated;
}

}  // namespace norv::tools

#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "calibration_common/camera_parameters.h"

namespace norv::calibration {

/// Reaches into cameras and sets, to bring about what no calibration does.
struct CameraParametersPeer {
  static std::vector<CameraParameters::Intrinsics>& table(CameraParameters* camera) {
    return camera->intrinsics_;
  }
  static std::map<std::string, std::shared_ptr<CameraParameters>>& cameras(
      CameraParametersSet* set) {
    return set->cameras_;
  }
};

}  // namespace norv::calibration

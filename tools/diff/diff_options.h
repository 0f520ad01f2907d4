#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "calibration_common/calibration_diff.h"
#include "tools/input/image_size.h"

namespace norv::tools {

/// How far B may be from A; a limit that is not given does not apply.
struct DiffLimits {
  std::optional<double> pixels;       ///< of the largest difference "as is"
  std::optional<double> millimetres;  ///< between the origins of two poses
  std::optional<double> degrees;      ///< between two poses

  bool any() const { return pixels || millimetres || degrees; }
};

/// What the verb `diff` is asked for.
struct DiffVerbOptions {
  std::string path_a;
  std::string path_b;
  std::optional<std::string> camera;  ///< without it all of them
  std::optional<ImageSize> size;      ///< without it those that both cameras deliver
  std::vector<double> distances;      ///< metres; without any those of the library
  DiffLimits limits;
  bool json = false;
  std::optional<std::string> csv_path;
};

/// What a comparison came to, of any kind of calibration.
using Difference = std::variant<calibration::RobotDifference, calibration::PtzDifference,
                                calibration::BaseDifference>;

/// Two calibrations that were compared.
struct DiffResult {
  std::string name_a;  ///< of the files, as they were given
  std::string name_b;
  Difference difference;
  std::vector<std::string> exceeded;  ///< sentences: which limits are, and by what
};

}  // namespace norv::tools

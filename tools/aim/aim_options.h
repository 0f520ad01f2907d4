#pragma once

/// What the verb `aim` is asked for on the command line.

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "calibration_common/ptz_aiming.h"
#include "tools/aim/aim.h"

namespace norv::tools {

/// A question for `calibration::aim`, in its units but for angles, which are degrees. `pixel` is
/// the target where nothing else is, and otherwise where the target is wanted.
struct SearchOptions {
  std::optional<std::array<double, 2>> pixel;
  std::optional<std::array<double, 4>> box;
  std::vector<std::array<double, 3>> points;
  std::optional<double> distance;
  std::optional<double> radius;
  std::optional<double> fill;
  std::optional<double> fov;
  std::optional<double> focal;
  std::optional<calibration::AimPlace> place;
  std::optional<calibration::AimChoice> choice;
  bool strict = false;
  std::optional<double> tolerance;
  bool all = false;
};

struct AimOptions {
  std::string path;
  AimRequest request;  ///< for the fixed operations, in their precision
  SearchOptions search;
  std::optional<std::string> track;  ///< name of a file of targets
  bool json = false;
};

/// Whether the target comes from `--pixel`.
inline bool aimsAtPixel(const AimOptions& options) {
  return options.search.pixel && options.search.points.empty() && !options.track;
}

/// Whether `calibration::aim` is to answer and not the fixed operations: where something is asked
/// for that those do not know.
bool isSearch(const AimOptions& options);

/// Why what is asked for does not go together, in a sentence; "" where it does.
std::string findMisuse(const AimOptions& options);

}  // namespace norv::tools

#pragma once

/// A calibration's cameras as they are written for other programs.

#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "interop/peer_writing.h"
#include "python/bindings/calibration_source.h"

namespace norv::python {

/// Which cameras are wanted.
struct WantedCameras {
  std::vector<std::string> names;           ///< all where there is none
  std::optional<std::pair<int, int>> size;  ///< one that they deliver; the full frame without it
};

/// Why cameras are not to be had.
struct CameraProblem {
  std::string sentence;
  std::string missing_name;  ///< of a camera that there is not
};

/// At the full frame cameras have the message's doubles, at another size the library's floats as
/// the doubles with the fewest digits. Needs no lock of the interpreter.
std::variant<std::vector<interop::WrittenCamera>, CameraProblem> chooseCameras(
    const calibration::RobotCalibration& robot, const WantedCameras& wanted);

}  // namespace norv::python

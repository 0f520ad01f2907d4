#pragma once

/// Points of the robot's frame and the pixels at which cameras saw them, from a table.

#include <Eigen/Core>
#include <string>
#include <variant>
#include <vector>

#include "interop/format_problem.h"
#include "interop/peer_reading.h"
#include "support/camera_matrix.h"

namespace norv::interop {

/// A point and where it was seen. A plain value.
struct ObservedPoint {
  Eigen::Vector3d position = Eigen::Vector3d::Zero();  ///< robot frame, metres
  Eigen::Vector2d pixel = Eigen::Vector2d::Zero();     ///< counted from the image's corner
};

/// The points of a table of comma-separated values, a list for each of `cameras`.
///
/// The first line that is not blank names the columns, in any order: x, y, z (robot frame, metres),
/// u, v (pixels, counted from `origin`), and camera, which may be missing where there is one
/// camera. Every further line is a point; blank ones count for nothing. Values may stand in double
/// quotes, a quote in them being doubled. A byte order mark and CRLF are fine.
///
/// A problem with line and column is returned for a column that is missing, named twice or not
/// known, a line with another number of values, a value that is no finite number, and a name that
/// none of the cameras has. Thread-safe.
std::variant<std::vector<std::vector<ObservedPoint>>, FormatProblem> readObservedPoints(
    const SourceFile& file, const std::vector<std::string>& cameras,
    calibration::PixelOrigin origin);

}  // namespace norv::interop

#pragma once

#include <Eigen/Core>
#include <optional>
#include <string>

namespace norv::tools {

/// A target of a track.
struct TrackTarget {
  std::string time;  ///< as it was written, a number; "" where there is none
  Eigen::Vector3d point;
};

/// What a line of a track says: a target, nothing (blank or a comment), or why it is neither.
struct TrackLine {
  std::optional<TrackTarget> target;
  std::string problem;  ///< "" where there is none
};

/// Reads X, Y, Z, or a time and these: finite numbers with a comma, blanks or tabs between them.
/// From # on a line is a comment.
TrackLine parseTrackLine(const std::string& line);

}  // namespace norv::tools

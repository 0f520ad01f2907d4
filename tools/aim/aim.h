#pragma once

/// What is asked of aim, and what it answers.

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "proto/norv_pan_tilt_system.pb.h"
#include "support/matrix_types.h"

namespace norv::tools {

/// What to bring where. One of `pixel`, `box` and `point` at least; `pixel` with `point` says where
/// the point is wanted.
struct AimRequest {
  std::array<int, 3> at = {};                 ///< pan, tilt and zoom now, motor steps
  std::optional<std::array<float, 2>> pixel;  ///< of the picture now
  std::optional<std::array<float, 4>> box;    ///< two opposite corners, pixels of the picture now
  std::optional<std::array<float, 3>> point;  ///< world coordinates, metres
};

struct Motors {
  int pan;
  int tilt;
  int zoom;
};

/// What a box covers, pixels.
struct BoxCover {
  Vector2_f low;   ///< smallest x and y
  Vector2_f high;  ///< largest x and y
  float outside;   ///< by how much it reaches out of the picture, pixels; 0 where it is all inside
};

/// The answer, and the target looked at from there.
struct Aim {
  Vector3_f target;  ///< the point that was aimed at, world coordinates, metres
  float distance;    ///< of the target from the camera before the move, metres
  /// Where to go; none where there is no solution. Then what follows is empty.
  std::optional<Motors> motors;
  Motors unlimited;                 ///< without the motors' range; the zoom has none
  std::optional<Vector2_f> wanted;  ///< where the target was to be seen; none without a lens there
  std::optional<Vector2_f> lands;   ///< where it is seen, if it is
  std::optional<BoxCover> box;      ///< what the box covers after the move, if that is known
  /// Why what was asked for is not reached, a sentence each.
  std::vector<std::string> obstacles;
  /// What else is to be known, a sentence each.
  std::vector<std::string> remarks;
  /// The head in a frame that pointing serves better, where that may be what stands in the way.
  std::optional<calibration::PanTiltSystemParameters> better_head;

  bool isReached() const { return obstacles.empty(); }
  bool isLimited() const {
    return motors && (motors->pan != unlimited.pan || motors->tilt != unlimited.tilt);
  }
};

}  // namespace norv::tools

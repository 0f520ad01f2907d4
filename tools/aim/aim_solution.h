#pragma once

/// Where the head must go, and what the answer is worth.

#include <array>
#include <optional>
#include <string>

#include "calibration_common/ptz_camera_model.h"
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

/// The answer, and the target looked at from there.
struct Aim {
  Motors motors;
  Motors unlimited;                 ///< without the motors' range; the zoom has none
  Vector3_f target;                 ///< the point that was aimed at, world coordinates, metres
  float distance;                   ///< of the target from the camera before the move, metres
  std::optional<Vector2_f> wanted;  ///< where the target was to be seen; none without a lens there
  std::optional<Vector2_f> lands;   ///< where it is seen
  std::string why_unseen;           ///< when `lands` is empty
  /// Smallest x and y, largest x and y that the box covers after the move, if that is known.
  std::optional<std::array<float, 4>> box_lands;

  bool isLimited() const { return motors.pan != unlimited.pan || motors.tilt != unlimited.tilt; }
};

/// Points the camera as the library does. A pixel is taken as a point 1 m away, a box as the sum of
/// the unit rays of its corners. Throws ToolError, without the name of the file, when there is no
/// answer.
Aim findAim(const calibration::PTZCameraModelPtr& model, const AimRequest& request);

}  // namespace norv::tools

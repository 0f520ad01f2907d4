#pragma once

/// Where a pan-tilt-zoom camera must go so that something comes where it is wanted in its picture:
/// at its distance, in whole steps within the range of the motors, the short way round, with any
/// head. Units and frames: docs/conventions.md; an introduction: docs/pan_tilt_heads.md.
///
/// Everything is computed in double from the numbers that `PTZCameraModelConfiguration` holds in
/// single precision, so that such a camera at the answer's motor positions sees what the answer
/// says. Failures are values; nothing is logged and nothing allocated. Thread-safe.

#include <Eigen/Core>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <variant>

#include "../support/export.h"
#include "../support/point_array.h"
#include "pan_tilt_roots.h"
#include "ptz_camera_model.h"

namespace norv::calibration {

/// Positions of the three motors, steps.
struct MotorPositions {
  int pan = 0;
  int tilt = 0;
  int zoom = 0;
};

/// Numbers that were not set, which `aim` refuses.
template <class Vector>
inline Vector unsetNumbers() {
  return Vector::Constant(std::numeric_limits<double>::quiet_NaN());
}

/// What the picture of the present position shows at a pixel, `distance` metres from the optical
/// centre.
struct PixelTarget {
  Eigen::Vector2d pixel = unsetNumbers<Eigen::Vector2d>();
  double distance = 0;
};

/// A point of the world, metres: the base frame of the head.
struct PointTarget {
  Eigen::Vector3d point = unsetNumbers<Eigen::Vector3d>();
};

/// Several points of the world, one at least; what is centred is the middle of what they cover in
/// the picture. They have to live until the answer is there.
struct PointsTarget {
  PointArray<const double> points;
  std::size_t count;
};

/// A box in the picture of the present position, given by opposite corners, each of its four
/// corners `distance` metres from the optical centre; centred as several points are.
struct BoxTarget {
  Eigen::Vector2d corner = unsetNumbers<Eigen::Vector2d>();
  Eigen::Vector2d opposite = unsetNumbers<Eigen::Vector2d>();
  double distance = 0;
};

/// A sphere, metres: centred as its outline is, or as its centre where the outline is beyond the
/// lens.
struct SphereTarget {
  Eigen::Vector3d centre = unsetNumbers<Eigen::Vector3d>();
  double radius = 0;
};

using AimTarget = std::variant<PixelTarget, PointTarget, PointsTarget, BoxTarget, SphereTarget>;

/// Where in the picture the target is wanted.
enum class AimPlace {
  kImageMiddle,     ///< half of the image's width and height
  kPrincipalPoint,  ///< of the zoom that is chosen
  kPixel,           ///< `AimRequest::pixel`
};

/// Which zoom is wanted.
enum class AimZoom {
  kKeep,         ///< the present one
  kFill,         ///< the longest at which the target lies within a share of the picture
  kFieldOfView,  ///< the one with this angle between the middles of the left and the right border
  kFocalLength,  ///< the one with this focal length
};

/// Which of several positions is to be the first.
enum class AimChoice {
  kNearest,  ///< the one that the slower of pan and tilt reaches first: by the larger angle
  kUpright,  ///< the one whose picture is most upright, as long as one is more so than another
  kNoFlip,   ///< one whose picture is upright if the present one is, and upside down if it is not
};

/// What is asked for.
struct AimRequest {
  AimTarget target;
  MotorPositions now;  ///< where the motors are: where pixels and boxes are seen from

  AimPlace place = AimPlace::kImageMiddle;
  Eigen::Vector2d pixel = Eigen::Vector2d::Zero();  ///< for `AimPlace::kPixel`

  AimZoom zoom = AimZoom::kKeep;
  /// For `kFill` the share, in (0, 1], of the picture within which the target has to lie: of what
  /// there is on each side of the place. For `kFieldOfView` radians, for `kFocalLength` pixels:
  /// where a zoom table turns back and has that at several zooms, one of them is taken.
  double zoom_value = 1;

  AimChoice choice = AimChoice::kNearest;
};

/// Why there is no position.
enum class AimFailure {
  kNone,          ///< there is one
  kInvalidModel,  ///< the model is not valid, has no image size, or has motors that do not turn or
                  ///< whose offset is so large that single precision loses the steps
  kInvalidRequest,  ///< a number is not finite or makes no sense: a distance that is not positive,
                    ///< a share beyond (0, 1], a sphere around the present camera or around any
                    ///< that sees its centre at the place, no points, a picture filled with a
                    ///< single point (a box of equal corners is one) or around a pixel that is not
                    ///< inside of it
  kNoPresentLens,   ///< pixels are asked for, but at the present zoom there is no lens
  kNoRay,           ///< no ray is imaged at a pixel that was given, or at the place
  kNoZoom,          ///< the zoom has no range in which there is a lens
  kOutOfReach,      ///< no angles of the head bring the target there: `PanTiltReach::kOutOfReach`
  kBehind,          ///< `PanTiltReach::kBehind`
  kParallelAxes,    ///< `PanTiltReach::kParallelAxes`
  kOutOfSight,      ///< nothing of it is seen, since the limits of the motors keep it behind the
                    ///< camera or off its lens, or its parts lie around
};

/// The end of a motor's range that a position is bound by: it is there, or at one of the two steps
/// before if the target is seen nearer to the place from there.
enum class MotorBound { kNone, kLowest, kHighest };

/// A position of the motors, and the target looked at from there.
struct AimPosition {
  MotorPositions motors;
  MotorBound pan_bound = MotorBound::kNone;
  MotorBound tilt_bound = MotorBound::kNone;
  /// For the zoom, whether another one would have been chosen with a longer range.
  MotorBound zoom_bound = MotorBound::kNone;

  double miss = std::numeric_limits<double>::quiet_NaN();  ///< of `wanted` by `lands`, pixels
  /// Pixel at which the target is seen: the point itself, or the middle of what the points, the
  /// box or the sphere cover. Where only a part is seen (`is_whole`), the middle of that part; of a
  /// sphere whose outline is beyond the lens, its centre.
  Eigen::Vector2d lands = unsetNumbers<Eigen::Vector2d>();
  Eigen::Vector2d wanted = unsetNumbers<Eigen::Vector2d>();  ///< where it was to be

  /// What the target covers, pixels: smallest and largest x and y. Both `lands` for a single point.
  Eigen::Vector2d low = unsetNumbers<Eigen::Vector2d>();
  Eigen::Vector2d high = unsetNumbers<Eigen::Vector2d>();

  /// How far each motor goes from where it is now, steps.
  std::int64_t pan_travel = 0;
  std::int64_t tilt_travel = 0;
  std::int64_t zoom_travel = 0;

  /// Whether all of the target lies before the camera and on its lens.
  bool is_whole = false;
  /// Whether, besides, all of it lies in the picture, border included.
  bool is_inside = false;
  /// Whether the camera's down points below the horizon of the base frame.
  bool is_upright = false;

  bool isLimited() const {
    return pan_bound != MotorBound::kNone || tilt_bound != MotorBound::kNone ||
           zoom_bound != MotorBound::kNone;
  }
};

/// The answer: the positions of the different pairs of angles, the best first. Those within the
/// range of pan and tilt come before those that a limit keeps from the target; the latter are
/// there only when there are no others.
///
/// Where a limit keeps the head from the target there is a position for each end of a range from
/// which turning back would lead away from it: of a pan range that leaves out a sector, for targets
/// in that sector, both. They are in the order of `AimChoice`, too, but one that misses by more
/// than twice the angle of another one comes after it. So a loop that follows a target through the
/// sector goes to the other end once, and one that wobbles in its middle leaves the head where it
/// is.
struct Aim {
  static constexpr std::size_t kMaxCount = PanTiltRoots::kMaxCount;

  AimFailure failure = AimFailure::kInvalidRequest;
  std::size_t count = 0;
  std::array<AimPosition, kMaxCount> positions;

  bool empty() const { return count == 0; }
  std::size_t size() const { return count; }
  const AimPosition& operator[](std::size_t i) const { return positions[i]; }
  const AimPosition& best() const { return positions[0]; }
  const AimPosition* begin() const { return positions.data(); }
  const AimPosition* end() const { return positions.data() + count; }
};

/// Where the camera must go.
///
/// Angles are taken modulo full turns into the motors' range, at the turn that is nearest to the
/// present position that single precision still tells from its neighbours: steps of 5e-4 radians up
/// to 2.8 million from the offset. Of the whole steps around the exact position, or of an end that
/// binds a motor and the two before it, the best are taken; place, zoom
/// and steps are solved together, since the principal point moves with the zoom. With `kFill` all
/// of the target that is before the camera (`is_whole`) lies within its share of the picture, and
/// one zoom step more towards the longer lens would lose a part, with these steps of pan and tilt
/// as with any of the four around the exact position, unless the range ends. The zoom is always one
/// at which there is a lens
/// (`zoomRange`).
///
/// What the head comes near to within 0.02 radians without reaching it, as targets close to the pan
/// axis, is aimed at as nearly as it can be: no limit binds such a position, and its miss says how
/// near it is. Where every pan will do, on the axis, the pan stays where it is, or at the end of
/// the range that is nearest. Where a limit keeps a motor from the target, the other one goes where
/// that is seen nearest to the place, by angle.
///
/// The inverse is `PTZCameraModelConfiguration::project3dToCamera` at the answer.
NORV_EXPORT Aim aim(const PTZCameraModel& model, const AimRequest& request);

/// Zoom positions, steps, the ends included.
struct ZoomRange {
  int lowest;
  int highest;

  bool empty() const { return lowest > highest; }
};

/// Where the zoom motor may go: `min_zoom` to `max_zoom` of the calibration, as far as there is a
/// finite lens with a positive focal length. A limit that is absent is the end of the samples: the
/// first one, and the last position before the last one. Where such positions lie apart, the
/// longest run of them; empty where there are none.
NORV_EXPORT ZoomRange zoomRange(const PTZCameraModel& model);

}  // namespace norv::calibration

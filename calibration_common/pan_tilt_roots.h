#pragma once

/// All ways in which a pan-tilt head sees a point in a direction: the answer of
/// `PanTiltModel::solveAll`. Units and frames: docs/conventions.md; the head, its equations and
/// what makes a target singular: docs/pan_tilt_heads.md.

#include <array>
#include <cstddef>
#include <limits>

namespace norv::calibration {

/// Whether there is a pair of angles, and why not.
enum class PanTiltReach {
  kReached,  ///< there is one pair of angles or more
  kAnyPan,   ///< the point lies on the pan axis and is seen at every pan; one root stands for all
  kAnyTilt,  ///< it lies on the tilt axis, as the ray does: every tilt will do
  kOutOfReach,    ///< none: too near for the lever arms, or where the optical axis never points
  kBehind,        ///< none, but the point is met on the ray's extension behind the camera
  kParallelAxes,  ///< the head's two axes are parallel, so that it has no direction to spare
  kNotFinite,     ///< the question, or the head, is not finite or has a singular pose
};

/// A pair of angles at which the point is seen in the direction that was asked for.
struct PanTiltRoot {
  double pan = std::numeric_limits<double>::quiet_NaN();  ///< radians, in (-pi, pi], as the next
  double tilt = std::numeric_limits<double>::quiet_NaN();
  /// Distance of the point from the optical centre, metres.
  double range = std::numeric_limits<double>::quiet_NaN();
  /// Angle between the point and the ray, radians: rounding, at most 1e-12, unless the head comes
  /// only that near, within `PanTiltSearch::tolerance`.
  double miss = std::numeric_limits<double>::quiet_NaN();
  /// By how much the angles change, at most, per radian by which the ray turns; large where the
  /// head is near a singular position, and infinite in one.
  double sensitivity = std::numeric_limits<double>::quiet_NaN();
};

/// What `PanTiltModel::solveAll` is to take for an answer.
struct PanTiltSearch {
  /// Where the head does not reach the ray but comes this near, radians, that is a root too: the
  /// head's poses are rounded to single precision, after which axes that meet pass each other.
  double tolerance = 1e-6;
  /// The angles for the root of a point that is seen at every pan, or every tilt: radians.
  double free_pan = 0;
  double free_tilt = 0;
};

/// The roots, in increasing order of pan, then of tilt: the equations allow four.
struct PanTiltRoots {
  static constexpr std::size_t kMaxCount = 4;

  PanTiltReach reach = PanTiltReach::kNotFinite;
  std::size_t count = 0;
  std::array<PanTiltRoot, kMaxCount> roots;

  bool empty() const { return count == 0; }
  std::size_t size() const { return count; }
  const PanTiltRoot& operator[](std::size_t i) const { return roots[i]; }
  const PanTiltRoot* begin() const { return roots.data(); }
  const PanTiltRoot* end() const { return roots.data() + count; }
};

}  // namespace norv::calibration

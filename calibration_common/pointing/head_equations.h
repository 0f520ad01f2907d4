#pragma once

/// The equations of a pan-tilt head with the tilt angle eliminated.

#include <Eigen/Core>
#include <array>

#include "calibration_common/pan_tilt_solver.h"
#include "support/numeric/circle_conic.h"

namespace norv::internal {

/// A point and the ray on which it is to be seen, both in the frame of the tilt joint.
///
/// At the pan p, and before the tilt turns it, the point is y(p) = along_cos cos p + along_sin sin
/// p
/// + constant; the ray is origin + r direction, r being the distance from the optical centre. The
/// tilt turns about z, so that it can bring the one onto the other where both have the same height
/// and the same distance from that axis:
///
///     y_z(p) = origin_z + r direction_z,     |y_xy(p)|^2 = |origin_xy + r direction_xy|^2.
///
/// All lengths, r too, are in units of `unit` metres.
struct HeadEquations {
  Eigen::Vector3d along_cos;
  Eigen::Vector3d along_sin;
  Eigen::Vector3d constant;
  Eigen::Vector3d origin;
  Eigen::Vector3d direction;
  Eigen::Matrix3d camera_from_tilt;  ///< the last pose without its translation
  double unit;

  Eigen::Vector3d pointAt(double cos_pan, double sin_pan) const {
    return along_cos * cos_pan + along_sin * sin_pan + constant;
  }
};

/// The equations for `world` (base frame, metres) on the ray in the direction `dev` = (x/z, y/z) of
/// the camera frame; not finite where one of the numbers is not, or the last pose is singular.
HeadEquations makeHeadEquations(const PanTiltPoses& head, const Eigen::Vector3d& world,
                                const Eigen::Vector2d& dev);

/// The conic in (cos p, sin p) that is left when r is eliminated, too.
Conic eliminateRange(const HeadEquations& equations);

/// A pan angle by its cosine and sine, with a distance on the ray.
struct PanAndRange {
  double cos_pan;
  double sin_pan;
  double range;
};

/// The distances on the ray that suit a pan angle, by the second equation or, where the ray is not
/// nearly square to the tilt axis, the first: one or two.
struct Ranges {
  int count;
  std::array<double, 2> values;
};
Ranges findRanges(const HeadEquations& equations, double cos_pan, double sin_pan);

/// Newton's iteration for the two equations from `*at`. Whether it has come to an end; what is
/// not near a solution need not.
bool refine(const HeadEquations& equations, PanAndRange* at);

}  // namespace norv::internal

#pragma once

/// By how much a pan-tilt head misses a point, with derivatives: what the inverse solver brings to
/// zero.

#include <Eigen/Core>
#include <array>

#include "support/auto_diff.h"
#include "support/auto_diff_eigen.h"
#include "support/matrix_types.h"
#include "support/numeric/lanes.h"

namespace norv::internal {

/// A number with its derivatives with respect to the pan and the tilt angle.
using PanTiltDual = autodiff::AutoDiff1<double, 2>;

/// The head and the point that it is to see in a direction.
struct PointingProblem {
  Matrix4x4_f tilt_to_camera;
  Matrix4x4_f pan_to_tilt;
  Matrix4x4_f base_to_pan;
  Vector3_f world;  ///< base frame, metres
  Vector2_f dev;    ///< direction (x/z, y/z) in the camera frame
  Eigen::Matrix<float, 4, 1>
      point_in_pan;  ///< base_to_pan (world, 1), in the pan frame at zero pan
};

/// Rotation Ry(tilt) Rz(pan) by angles in radians, both counter-clockwise.
Eigen::Matrix3d makePanTiltRotation(double pan, double tilt);

/// Rotation about z by a dual angle: the twin of `rotationZTransf`, with the same sign.
Eigen::Matrix<PanTiltDual, 4, 4, Eigen::RowMajor> rotationZTransfAD(const PanTiltDual& angle);

/// e x q with e = (dev, 1) and q the point in the camera frame at two angles in radians. It
/// vanishes where the point lies on the line of the ray, before the camera or behind it.
std::array<PanTiltDual, 3> pointingResidual(const PointingProblem& problem, const PanTiltDual& pan,
                                            const PanTiltDual& tilt);

/// The residual and its derivatives at one pair of angles.
struct PointingState {
  std::array<double, 3> residual;
  std::array<double, 3> by_pan;
  std::array<double, 3> by_tilt;
};

/// `pointingResidual` for many pairs of angles, to the same bits in a tenth of the time: without
/// the products with what is known to be zero, and with a value and its derivative by the tilt
/// angle computed side by side. Only input that is not finite gives other results: infinity times
/// one of those zeros is NaN there and nothing here.
class PointingEvaluator {
 public:
  explicit PointingEvaluator(const PointingProblem& problem);

  PointingState evaluate(double pan, double tilt) const;

 private:
  std::array<std::array<double, 4>, 3> tilt_to_camera_;
  std::array<std::array<double, 4>, 4> pan_to_tilt_;
  std::array<double, 4> point_in_pan_;
  double dev_x_;
  double dev_y_;
};

}  // namespace norv::internal

#pragma once

/// The inverse of a pan-tilt head in angles: a closed form for the start, Gauss-Newton steps on the
/// whole chain for the answer. Reads no motor scale, logs nothing, allocates nothing; the result
/// holds what led to it, for whoever reports it.

#include <Eigen/Core>
#include <array>
#include <cstddef>
#include <optional>

#include "support/camera_transform.h"
#include "support/matrix_types.h"
#include "support/numeric/homogeneous.h"

namespace norv::internal {

/// The steps are always that many, without damping and without an early end.
constexpr std::size_t kGaussNewtonSteps = 5;

/// The fixed poses of a head, each forward from the frame named first. They belong to the model.
struct PanTiltPoses {
  const CameraTransform& base_to_pan;
  const CameraTransform& pan_to_tilt;
  const CameraTransform& tilt_to_camera;
};

/// Axes of the head in the pan frame, both angles zero. Not normalised.
struct HeadAxes {
  Vector3_f pan;
  Vector3_f tilt;  ///< perpendicular to the pan axis and the optical axis
  Vector3_f roll;
  float tilt_sign;  ///< 1 where the tilt joint's own axis points along `tilt`, otherwise -1
};

/// Pan and tilt angle, radians.
struct PanTiltAngles {
  float pan;
  float tilt;
};

/// The closed form, and what it works with.
struct PanTiltStart {
  Vector4_f point_in_pan;  ///< the target in the pan frame, homogeneous, metres
  HeadAxes axes;
  Vector3_f target;  ///< direction of the target, combined by the axes
  Vector3_f ray;     ///< direction in which it is to be seen, combined by the axes
  std::optional<PanTiltAngles> angles;  ///< of the joints; none where the closed form finds none
};

/// A Gauss-Newton step, with the residual that it starts from and its square.
struct GaussNewtonStep {
  double error;
  double pan_change;  ///< radians, as the next
  double tilt_change;
  std::array<double, 3> residual;
};

/// The steps in order.
using GaussNewtonTrace = std::array<GaussNewtonStep, kGaussNewtonSteps>;

/// The refined angles in radians, and the error that the last step starts from: what the answer is
/// judged by.
struct PanTiltRefinement {
  double pan;
  double tilt;
  double last_error;
};

/// The inverse, stage by stage.
struct PanTiltInverse {
  PanTiltStart start;
  PanTiltRefinement refined;  ///< zeros where the start has no angles
};

/// The angles at which `world` (base frame, metres) is seen in the direction `dev` = (x/z, y/z) of
/// the camera frame.
///
/// The closed form turns the direction of the point onto the ray as if all poses were pure
/// rotations: its start is the first of at most four pairs of angles, with the tilt within a
/// quarter turn before `tilt_sign` is applied. Gauss-Newton steps bring `pointingResidual` to zero
/// from there. A singular normal matrix leaves angles as they are; what is not finite stays so.
/// The steps are written to `*trace`, if the start has angles; null asks for none.
PanTiltInverse findPanTilt(const PanTiltPoses& head, const Vector3_f& world, const Vector2_f& dev,
                           GaussNewtonTrace* trace);

}  // namespace norv::internal

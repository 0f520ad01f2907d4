#pragma once

/// The kinematics of a motorised pan-tilt head. Units and frames: docs/conventions.md; which heads
/// the inverse serves and how to write one so that it does: docs/pan_tilt_heads.md.

#include <limits>

#include "../support/camera_transform.h"
#include "../support/export.h"
#include "../support/matrix_types.h"
#include "pan_tilt_roots.h"
#include "proto/norv_pan_tilt_system.pb.h"

namespace norv::calibration {

/// How the inverse of a pan-tilt head came out.
enum class PanTiltVerdict {
  kSolved,         ///< the error is at most 1e-5
  kNoCandidate,    ///< the closed form finds no angles to start from
  kHighResidual,   ///< the error is beyond 1e-5 and at most 0.01
  kLargeResidual,  ///< the error is beyond 0.01
};

/// Answer of `PanTiltModel::solve`. Without a candidate all its numbers are NaN; otherwise they are
/// what the solver arrived at, good or not.
struct PanTiltSolution {
  PanTiltVerdict verdict = PanTiltVerdict::kNoCandidate;

  /// Motor positions in steps, neither rounded nor limited to the motors' range nor wrapped to one
  /// turn; scales of zero make them infinite or NaN.
  float pan = std::numeric_limits<float>::quiet_NaN();
  float tilt = std::numeric_limits<float>::quiet_NaN();

  /// Angles of the joints, in radians, that the closed form gave.
  float start_pan = std::numeric_limits<float>::quiet_NaN();
  float start_tilt = std::numeric_limits<float>::quiet_NaN();

  /// The square of |e x q| before the last step, with e = (dev, 1) and q the point in the camera
  /// frame: square metres for a ray near the axis.
  double error = std::numeric_limits<double>::quiet_NaN();

  bool solved() const { return verdict == PanTiltVerdict::kSolved; }
};

/// A head that turns a camera by two motors: three fixed poses with a rotation about the local z
/// axis between each two.
///
///     camera_from_base = tilt_to_camera Rz(tilt) pan_to_tilt Rz(pan) base_to_pan
///
/// Motor positions are steps; a joint's angle is (steps - offset) * scale radians, in single
/// precision.
///
/// A plain value, read-only once loaded; the const operations may then be called concurrently.
class NORV_EXPORT PanTiltModel {
 public:
  /// All poses with their inverses, scales and offsets zero: unusable until `readFromPB` succeeds.
  PanTiltModel();

  /// Loads the head. False, with an error line and the model as it was, when one of the three poses
  /// has fewer than 12 values; nothing else is checked. The motor limits are not part of the model.
  /// The inverse is `writeToPB`.
  bool readFromPB(const PanTiltSystemParameters& params);

  /// Stores the head. Motor limits and idle positions of `*params` stay as they are.
  void writeToPB(PanTiltSystemParameters* params) const;

  /// Pose of the camera, camera_from_base and its inverse, at two motor positions in steps. The
  /// inverse question is `computePanTilt`.
  CameraTransform getFullTransform(float pan, float tilt) const;

  /// Motor positions at which the point `world` (base frame, metres) is seen in the direction
  /// `dev` = (x/z, y/z) of the camera frame; (0, 0) is the optical axis.
  ///
  /// A closed form that treats all poses as rotations gives the start, and five Gauss-Newton steps
  /// on the whole chain the answer; the verdict is on the error before the last step. A point
  /// behind the camera on the same line counts as seen. Input that is not finite has no candidate.
  /// `getFullTransform` of the answer gives the pose, which undoes this.
  ///
  /// Logs nothing and allocates nothing.
  PanTiltSolution solve(const Vector3_f& world, const Vector2_f& dev) const;

  /// `solve`, with its motor positions written to `*pan` and `*tilt`, its reasons logged, and true
  /// when it solved. Without a candidate nothing is written. An error line tells that there is no
  /// candidate and that the residual is large, a warning that it is high; each stage is traced at
  /// the levels info and debug.
  ///
  /// Allocates nothing while its log statements are disabled.
  bool computePanTilt(const Vector3_f& world, const Vector2_f& dev, float* pan, float* tilt) const;

  /// Every pair of angles, modulo full turns, at which the point `world` (base frame, metres) lies
  /// on the ray in the direction `dev` = (x/z, y/z), before the camera. For any head whose two axes
  /// are not parallel, whatever frames and lever arms it is written with; in double precision, of
  /// the chain as the model holds it.
  ///
  /// Points that no pair of angles brings there, as those within the reach of the lever arms, have
  /// none, and the reason is told. Motor positions and scales play no part: a joint's motor
  /// position is angle / scale + offset, and full turns may be added to the angle. Logs nothing and
  /// allocates nothing. `solve` gives one pair only, of heads that its closed form serves.
  PanTiltRoots solveAll(const Eigen::Vector3d& world, const Eigen::Vector2d& dev,
                        const PanTiltSearch& search = {}) const;

  /// The chain's fixed poses, each forward from the frame named first.
  const CameraTransform& getBaseToPan() const { return base_to_pan_; }
  const CameraTransform& getPanToTilt() const { return pan_to_tilt_; }
  const CameraTransform& getTiltToCamera() const { return tilt_to_camera_; }

  /// Radians per step.
  float getPanScale() const { return pan_scale_; }
  float getTiltScale() const { return tilt_scale_; }

  /// Steps at which the angles are zero.
  float getPanOffset() const { return pan_offset_; }
  float getTiltOffset() const { return tilt_offset_; }

  /// Values that are carried along unused.
  float getAuxValue1() const { return aux_value_1_; }
  float getAuxValue2() const { return aux_value_2_; }

 private:
  CameraTransform base_to_pan_;
  CameraTransform pan_to_tilt_;
  CameraTransform tilt_to_camera_;
  float pan_scale_ = 0;
  float tilt_scale_ = 0;
  float pan_offset_ = 0;
  float tilt_offset_ = 0;
  float aux_value_1_ = 0;
  float aux_value_2_ = 0;
};

/// Limits motor positions, in steps, to the ranges that the head states; a limit that is absent
/// does not apply, and where a minimum exceeds its maximum the maximum wins. Thread-safe.
NORV_EXPORT void limitToMotorRange(const PanTiltSystemParameters& params, int* pan, int* tilt);

}  // namespace norv::calibration

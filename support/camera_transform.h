#pragma once

#include "export.h"
#include "matrix_types.h"

namespace norv {

/// A pose together with its inverse: of a camera on the robot, or of a joint of a pan-tilt head.
///
/// `transform` maps coordinates of the parent frame (world, robot, or the previous joint) into the
/// local frame, p_local = transform * p_parent; `inverse` maps them back. Translations in metres.
/// Frames and the words forward and inverse: docs/conventions.md.
///
/// A plain value; the const operations may be called concurrently.
struct NORV_EXPORT CameraTransform {
  /// How `setTransform` reads the matrix that it is given.
  enum MatrixType {
    kForward = 0,  ///< parent to local
    kInverse = 1,  ///< local to parent
  };

  /// Sets both matrices from one of them; `type` says which one `m` is. `m` may be `transform` or
  /// `inverse` itself: `pose.setTransform(pose.transform, kInverse)` turns the pose around.
  ///
  /// The other one is the general inverse of `m`, so that any invertible 4 x 4 is accepted, rigid
  /// or not. A singular matrix gives infinite or NaN elements; nothing is checked.
  void setTransform(const Matrix4x4_f& m, MatrixType type);

  /// Origin of the local frame in the parent frame: for a camera pose, its optical centre in world
  /// or robot coordinates, metres. It is the translation column of `inverse`.
  Vector3_f getCameraCenter() const;

  Matrix4x4_f transform = Matrix4x4_f::Zero();  ///< forward: parent to local
  Matrix4x4_f inverse = Matrix4x4_f::Zero();    ///< inverse: local to parent
};

}  // namespace norv

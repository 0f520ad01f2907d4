#include "support/camera_transform.h"

#include <Eigen/LU>

namespace norv {

void CameraTransform::setTransform(const Matrix4x4_f& m, MatrixType type) {
  // In this order `m` may be one of the two members: it is read before it is written.
  const Matrix4x4_f inverted = m.inverse();
  if (type == kForward) {
    transform = m;
    inverse = inverted;
  } else {
    inverse = m;
    transform = inverted;
  }
}

Vector3_f CameraTransform::getCameraCenter() const { return inverse.col(3).head<3>(); }

}  // namespace norv

#include "support/camera_transform.h"

#include <Eigen/LU>

namespace norv {

void CameraTransform::setTransform(const Matrix4x4_f& m, MatrixType type) {
  const Matrix4x4_f inverted = m.inverse();
  transform = type == kForward ? m : inverted;
  inverse = type == kForward ? inverted : m;
}

Vector3_f CameraTransform::getCameraCenter() const { return inverse.col(3).head<3>(); }

}  // namespace norv

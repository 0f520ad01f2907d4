#include "support/rotation_z.h"

#include <cmath>

namespace norv {

Matrix4x4_f rotationZTransf(float angle) {
  const float c = std::cos(angle);
  const float s = std::sin(angle);
  Matrix4x4_f m = Matrix4x4_f::Identity();
  m(0, 0) = c;
  m(0, 1) = -s;
  m(1, 0) = s;
  m(1, 1) = c;
  return m;
}

}  // namespace norv

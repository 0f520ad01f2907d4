#include "support/rotation_z.h"

#include "support/numeric/matrix_rows.h"

namespace norv {

Matrix4x4_f rotationZTransf(float angle) {
  return internal::toMatrix(internal::rotationZRows(angle));
}

}  // namespace norv

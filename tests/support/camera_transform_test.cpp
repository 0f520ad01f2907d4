#include "support/camera_transform.h"

#include <gtest/gtest.h>

#include <cmath>

namespace norv {
namespace {

Matrix4x4_f translated(float x, float y, float z) {
  Matrix4x4_f m = Matrix4x4_f::Identity();
  m.topRightCorner<3, 1>() << x, y, z;
  return m;
}

TEST(CameraTransform, DefaultHoldsZeros) {
  const CameraTransform pose;
  EXPECT_EQ(pose.transform, Matrix4x4_f::Zero());
  EXPECT_EQ(pose.inverse, Matrix4x4_f::Zero());
  EXPECT_EQ(pose.getCameraCenter(), Vector3_f::Zero());
}

TEST(CameraTransform, CentreOfAForwardTranslation) {
  CameraTransform pose;
  pose.setTransform(translated(1, 2, 3), CameraTransform::kForward);
  EXPECT_EQ(pose.getCameraCenter(), Vector3_f(-1, -2, -3));
  EXPECT_EQ(pose.transform, translated(1, 2, 3));
  EXPECT_EQ(pose.inverse, translated(-1, -2, -3));
}

TEST(CameraTransform, InverseTypeStoresTheMatrixAsTheInverse) {
  EXPECT_EQ(static_cast<int>(CameraTransform::kForward), 0);
  EXPECT_EQ(static_cast<int>(CameraTransform::kInverse), 1);
  CameraTransform pose;
  pose.setTransform(translated(1, 2, 3), CameraTransform::kInverse);
  EXPECT_EQ(pose.inverse, translated(1, 2, 3));
  EXPECT_EQ(pose.transform, translated(-1, -2, -3));
  EXPECT_EQ(pose.getCameraCenter(), Vector3_f(1, 2, 3));
}

TEST(CameraTransform, SetFromOneOfItsOwnMatrices) {
  for (const auto type : {CameraTransform::kForward, CameraTransform::kInverse}) {
    // What the matrix that is not given must come out as, for either of the two.
    const bool forward = type == CameraTransform::kForward;
    CameraTransform pose;
    pose.setTransform(translated(1, 2, 3), CameraTransform::kForward);
    pose.setTransform(pose.transform, type);
    EXPECT_EQ(forward ? pose.transform : pose.inverse, translated(1, 2, 3));
    EXPECT_EQ(forward ? pose.inverse : pose.transform, translated(-1, -2, -3));
    pose.setTransform(translated(1, 2, 3), CameraTransform::kForward);
    pose.setTransform(pose.inverse, type);
    EXPECT_EQ(forward ? pose.transform : pose.inverse, translated(-1, -2, -3));
    EXPECT_EQ(forward ? pose.inverse : pose.transform, translated(1, 2, 3));
  }
}

TEST(CameraTransform, RotationAndTranslation) {
  // A quarter turn about z, then one metre along x: p' = (1 - y, x, z).
  Matrix4x4_f m;
  m << 0, -1, 0, 1,  //
      1, 0, 0, 0,    //
      0, 0, 1, 0,    //
      0, 0, 0, 1;
  CameraTransform pose;
  pose.setTransform(m, CameraTransform::kForward);
  EXPECT_TRUE(pose.getCameraCenter().isApprox(Vector3_f(0, 1, 0)));
  EXPECT_TRUE((pose.transform * pose.inverse).isApprox(Matrix4x4_f::Identity()));
}

TEST(CameraTransform, NonRigidMatricesPassThrough) {
  Matrix4x4_f m;
  m << 2, 0, 0, 0,  //
      0, 4, 0, 0,   //
      0, 0, 8, 0,   //
      0, 0, 1, 1;
  CameraTransform pose;
  pose.setTransform(m, CameraTransform::kForward);
  Matrix4x4_f inverse;
  inverse << 0.5F, 0, 0, 0,  //
      0, 0.25F, 0, 0,        //
      0, 0, 0.125F, 0,       //
      0, 0, -0.125F, 1;
  EXPECT_EQ(pose.transform, m);
  EXPECT_EQ(pose.inverse, inverse);
}

TEST(CameraTransform, SingularMatrixHasNoFiniteInverse) {
  CameraTransform pose;
  pose.setTransform(Matrix4x4_f::Zero(), CameraTransform::kForward);
  EXPECT_EQ(pose.transform, Matrix4x4_f::Zero());
  EXPECT_FALSE(pose.inverse.allFinite());
}

}  // namespace
}  // namespace norv

#include "support/fit/fitted_camera.h"

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <cmath>
#include <limits>

#include "tests/support/fit/known_camera.h"

namespace norv::internal::fit {
namespace {

FittedCamera someCamera() { return KnownView(distortedCamera()).truth; }

TEST(FittedCamera, LensHasTheCoefficientsInTheirPlaces) {
  const calibration::LensDistortion<double> lens = someCamera().lens();
  EXPECT_EQ(lens.k1, 0.3);
  EXPECT_EQ(lens.k2, 0.05);
  EXPECT_EQ(lens.k3, 0.01);
  EXPECT_EQ(lens.k4, 0.5);
  EXPECT_EQ(lens.k5, 0.1);
  EXPECT_EQ(lens.k6, 0.02);
  EXPECT_EQ(lens.p1, 0.002);
  EXPECT_EQ(lens.p2, -0.003);
}

TEST(FittedCamera, StepsAddUpButForTheRotation) {
  const FittedCamera camera = someCamera();
  ParameterVector step;
  for (int i = 0; i < kParameterCount; ++i) step[i] = 0.01 * (i + 1);
  const FittedCamera moved = camera.moved(step);
  EXPECT_EQ(moved.intrinsics, camera.intrinsics + step.head<kIntrinsicCount>());
  EXPECT_EQ(moved.translation, camera.translation + Eigen::Vector3d(0.16, 0.17, 0.18));
  const Eigen::Vector3d w(0.13, 0.14, 0.15);
  const Eigen::Matrix3d turn = Eigen::AngleAxisd(w.norm(), w.normalized()).toRotationMatrix();
  EXPECT_LT((moved.rotation - turn * camera.rotation).norm(), 1e-15);  // measured 1.3e-16
}

TEST(FittedCamera, NoStepChangesNothing) {
  const FittedCamera camera = someCamera();
  const FittedCamera moved = camera.moved(ParameterVector::Zero());
  EXPECT_EQ(moved.intrinsics, camera.intrinsics);
  EXPECT_LT((moved.rotation - camera.rotation).norm(), 1e-15);
}

TEST(FittedCamera, TinyTurnsAreExact) {
  FittedCamera camera = someCamera();
  camera.rotation.setIdentity();
  ParameterVector step = ParameterVector::Zero();
  step.segment<3>(kRotation) << 1e-12, -2e-12, 3e-12;
  // To the products of two components.
  const Eigen::Matrix3d moved = camera.moved(step).rotation;
  EXPECT_NEAR(moved(2, 1), 1e-12, 1e-23);
  EXPECT_NEAR(moved(0, 2), -2e-12, 1e-23);
  EXPECT_NEAR(moved(1, 0), 3e-12, 1e-23);
}

TEST(FittedCamera, RotationStaysOrthonormalOverManySteps) {
  FittedCamera camera = someCamera();
  ParameterVector step = ParameterVector::Zero();
  step.segment<3>(kRotation) << 0.3, -0.2, 0.7;
  for (int i = 0; i < 100000; ++i) camera = camera.moved(step);
  const Eigen::Matrix3d error =
      camera.rotation * camera.rotation.transpose() - Eigen::Matrix3d::Identity();
  EXPECT_LT(error.norm(), 2e-15);  // measured 2.4e-16
}

TEST(FittedCamera, ImplausibleCameras) {
  const FittedCamera good = someCamera();
  EXPECT_TRUE(good.isPlausible());
  for (const int index : {kFx, kFy}) {
    for (const double value : {0.02, 0.0, -1.0}) {
      FittedCamera camera = good;
      camera.intrinsics[index] = value;
      EXPECT_FALSE(camera.isPlausible());
    }
  }
  for (const double value : {std::nan(""), HUGE_VAL}) {
    FittedCamera camera = good;
    camera.intrinsics[kP2] = value;
    EXPECT_FALSE(camera.isPlausible());
    camera = good;
    camera.rotation(1, 2) = value;
    EXPECT_FALSE(camera.isPlausible());
    camera = good;
    camera.translation[0] = -value;
    EXPECT_FALSE(camera.isPlausible());
  }
}

}  // namespace
}  // namespace norv::internal::fit

#include "calibration_common/stored_pose.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace norv::internal {
namespace {

using calibration::CameraExtrinsics;

/// The values 1 to `size`.
CameraExtrinsics counting(int size) {
  CameraExtrinsics stored;
  for (int i = 0; i < size; ++i) stored.add_a(i + 1);
  return stored;
}

TEST(StoredPose, NeedsTwelveValues) {
  EXPECT_FALSE(hasPose(CameraExtrinsics()));
  EXPECT_FALSE(hasPose(counting(11)));
  EXPECT_TRUE(hasPose(counting(12)));
  EXPECT_TRUE(hasPose(counting(13)));
}

TEST(StoredPose, ReadsRowsAndMillimetres) {
  Matrix4x4_f expected;
  expected << 1, 2, 3, 0.004F,  //
      5, 6, 7, 0.008F,          //
      9, 10, 11, 0.012F,        //
      0, 0, 0, 1;
  EXPECT_EQ(readPose(counting(12)), expected);
  EXPECT_EQ(readPose(counting(15)), expected);  // the rest is ignored
}

TEST(StoredPose, StoresThreeRowsInMillimetresOverWhatWasThere) {
  Matrix4x4_f pose;
  pose << 1, 2, 3, 0.5F,   //
      5, 6, 7, 0.25F,      //
      9, 10, 11, -0.125F,  //
      77, 77, 77, 77;
  CameraExtrinsics stored = counting(20);
  storePose(pose, &stored);
  const double expected[] = {1, 2, 3, 500, 5, 6, 7, 250, 9, 10, 11, -125};
  ASSERT_EQ(stored.a_size(), kPoseValues);
  for (int i = 0; i < kPoseValues; ++i) EXPECT_EQ(stored.a(i), expected[i]) << i;
}

TEST(StoredPose, ValuesThatAreNotFinitePass) {
  CameraExtrinsics stored = counting(12);
  stored.set_a(0, std::numeric_limits<double>::quiet_NaN());
  stored.set_a(3, std::numeric_limits<double>::infinity());
  const Matrix4x4_f pose = readPose(stored);
  EXPECT_TRUE(std::isnan(pose(0, 0)));
  EXPECT_EQ(pose(0, 3), std::numeric_limits<float>::infinity());
  CameraExtrinsics back;
  storePose(pose, &back);
  EXPECT_TRUE(std::isnan(back.a(0)));
  EXPECT_EQ(back.a(3), std::numeric_limits<double>::infinity());
}

}  // namespace
}  // namespace norv::internal

#include "tools/input/pose_numbers.h"

#include <gtest/gtest.h>

namespace norv::tools {
namespace {

const PoseNumbers kPose = {1, 0, 0, 1500, 0, -1, 0, -0.25, 0, 0, -1, 3e-3};

TEST(PoseNumbers, BlanksAndCommas) {
  for (const char* text :
       {"1 0 0 1500 0 -1 0 -0.25 0 0 -1 3e-3", "1,0,0,1500,0,-1,0,-0.25,0,0,-1,3e-3",
        " 1, 0, 0, 1500,\n0 -1 0 -.25\t0 , 0 , -1 ,0.003 "}) {
    EXPECT_EQ(parsePose(text), kPose) << text;
  }
}

TEST(PoseNumbers, AnythingElse) {
  for (const char* text :
       {"", "1", "1 0 0 1500 0 -1 0 -0.25 0 0 -1", "1 0 0 1500 0 -1 0 -0.25 0 0 -1 3 4",
        "1 0 0 1500 0 -1 0 -0.25 0 0 -1 3,", "1,,0 0 1500 0 -1 0 -0.25 0 0 -1 3",
        ",1 0 0 1500 0 -1 0 -0.25 0 0 -1 3", "1 0 0 1500 0 -1 0 -0.25 0 0 -1 nan",
        "1 0 0 1500 0 -1 0 -0.25 0 0 -1 1e999", "1 0 0 1500 0 -1 0 -0.25 0 0 -1 3mm",
        "1;0;0;1500;0;-1;0;-0.25;0;0;-1;3"}) {
    EXPECT_EQ(parsePose(text), std::nullopt) << text;
  }
}

TEST(PoseNumbers, PosesAreInMetresAndMessagesInMillimetres) {
  const interop::RigidPose pose = rigidPoseOf(kPose);
  Eigen::Matrix3d rotation;
  rotation << 1, 0, 0, 0, -1, 0, 0, 0, -1;
  EXPECT_EQ(pose.rotation, rotation);
  EXPECT_EQ(pose.translation, Eigen::Vector3d(1.5, -0.00025, 3e-6));
  const calibration::CameraExtrinsics extrinsics = extrinsicsOf(kPose);
  EXPECT_EQ(PoseNumbers(kPose).size(), static_cast<std::size_t>(extrinsics.a_size()));
  for (int i = 0; i < extrinsics.a_size(); ++i) {
    EXPECT_EQ(extrinsics.a(i), kPose[static_cast<std::size_t>(i)]);
  }
}

}  // namespace
}  // namespace norv::tools

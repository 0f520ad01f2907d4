#include <gtest/gtest.h>

#include <string>

#include "testing/peer_samples.h"

namespace norv::interop {
namespace {

using norv::testing::kPeerSamples;
using norv::testing::largestPoseMiss;
using norv::testing::peerSample;
using norv::testing::readPeer;

constexpr const char* kExpected = "kalibr_camchain_imucam.yaml";

std::string sampleText() {
  return peerSample(kPeerSamples, "kalibr/kalibr_camchain_imucam.yaml").contents;
}

PeerFile read(const std::string& text) { return readPeer({"f", text}, PeerFormat::kKalibr); }

std::string refusalOf(const std::string& text) {
  return norv::testing::refusalOf(text, PeerFormat::kKalibr);
}

/// The text without the first pose `key` from `from` on.
std::string withoutPose(std::string text, const std::string& key, std::size_t from = 0) {
  constexpr const char* kLastRow = "[0.0, 0.0, 0.0, 1.0]\n";
  const std::size_t begin = text.find("  " + key + ":", from);
  EXPECT_NE(begin, std::string::npos);
  const std::size_t end = text.find(kLastRow, begin) + std::string(kLastRow).size();
  return text.erase(begin, end - begin);
}

std::string withoutImu() {
  return withoutPose(withoutPose(sampleText(), "T_cam_imu"), "T_cam_imu");
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t begin = text.find(from);
  EXPECT_NE(begin, std::string::npos) << from;
  return text.replace(begin, from.size(), to);
}

/// A camera on one line, with the rest of its keys given.
std::string camera(int number, const std::string& poses) {
  return "cam" + std::to_string(number) +
         ": {camera_model: pinhole, intrinsics: [1, 1, 0, 0], distortion_model: none, resolution: "
         "[2, 2]" +
         poses + "}\n";
}

/// ", KEY: rows" of a shift along x.
std::string shift(const std::string& key, const std::string& x) {
  return ", " + key + ": [[1, 0, 0, " + x + "], [0, 1, 0, 0], [0, 0, 1, 0], [0, 0, 0, 1]]";
}

TEST(KalibrChain, MapsFromTheImu) {
  const PeerFile file = read(sampleText());
  ASSERT_EQ(file.cameras.size(), 2U);
  EXPECT_EQ(file.parent, "imu");
  // Measured: 4.8e-16 m.
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_LT(largestPoseMiss(*file.cameras[i].camera_from_parent, kExpected, i), 1e-9);
  }
}

TEST(KalibrChain, MapsFromTheFirstCameraWithoutAnImu) {
  const PeerFile with_imu = read(sampleText());
  const PeerFile file = read(withoutImu());
  ASSERT_EQ(file.cameras.size(), 2U);
  EXPECT_EQ(file.parent, "cam0");
  EXPECT_EQ(file.cameras[0].camera_from_parent->rotation, Eigen::Matrix3d::Identity());
  EXPECT_EQ(file.cameras[0].camera_from_parent->translation, Eigen::Vector3d::Zero());
  const RigidPose cam0_from_imu = *with_imu.cameras[0].camera_from_parent;
  for (std::size_t i = 0; i < 2; ++i) {
    const RigidPose pose = compose(*file.cameras[i].camera_from_parent, cam0_from_imu);
    // Measured: 4.8e-16 m.
    EXPECT_LT(largestPoseMiss(pose, kExpected, i), 1e-9);
  }
}

TEST(KalibrChain, ReachesCamerasWithoutAPoseOfTheirOwn) {
  const std::string text = sampleText();
  const PeerFile file = read(withoutPose(text, "T_cam_imu", text.find("cam1:")));
  ASSERT_EQ(file.cameras.size(), 2U);
  EXPECT_EQ(file.parent, "imu");
  EXPECT_LT(largestPoseMiss(*file.cameras[1].camera_from_parent, kExpected, 1), 1e-9);
}

TEST(KalibrChain, ComposesLinkByLink) {
  const PeerFile file = read(camera(0, "") + camera(1, shift("T_cn_cnm1", "0.25")) +
                             camera(2, shift("T_cn_cnm1", "-0.125")));
  ASSERT_EQ(file.cameras.size(), 3U);
  EXPECT_EQ(file.cameras[1].camera_from_parent->translation, Eigen::Vector3d(0.25, 0, 0));
  EXPECT_EQ(file.cameras[2].camera_from_parent->translation, Eigen::Vector3d(0.125, 0, 0));
}

TEST(KalibrChain, HasNoPosesWithoutALink) {
  const PeerFile single = read(camera(0, ""));
  ASSERT_EQ(single.cameras.size(), 1U);
  EXPECT_EQ(single.parent, "");
  EXPECT_FALSE(single.cameras[0].camera_from_parent);

  const PeerFile broken =
      read(camera(0, shift("T_cn_cnm1", "1")) + camera(1, "") + camera(2, shift("T_cn_cnm1", "1")));
  ASSERT_EQ(broken.cameras.size(), 3U);
  EXPECT_EQ(broken.parent, "");
  for (const PeerCamera& camera : broken.cameras) EXPECT_FALSE(camera.camera_from_parent);
  ASSERT_EQ(broken.not_taken_over.size(), 2U);
  EXPECT_EQ(broken.not_taken_over[0].key, "cam0.T_cn_cnm1");
  EXPECT_EQ(broken.not_taken_over[0].reason, "there is no camera before cam0");
  EXPECT_EQ(broken.not_taken_over[1].key, "cam2.T_cn_cnm1");
  EXPECT_EQ(broken.not_taken_over[1].reason, "the camera before it has no pose");
}

TEST(KalibrChain, RefusesAMillimetreBetweenTheTwoWays) {
  EXPECT_EQ(refusalOf(replaced(sampleText(), "[1.0, 0.0, 0.0, -0.11]", "[1.0, 0.0, 0.0, -0.109]")),
            "f:22:3: cam1.T_cn_cnm1: differs from what T_cam_imu of this camera and the one before "
            "it say by 1.0 mm, and by 0 in the rotation's elements");
}

TEST(KalibrChain, HoldsTheTwoWaysToAMicrometre) {
  const auto refusal = [](const std::string& x) {
    return refusalOf(camera(0, shift("T_cam_imu", "0")) +
                     camera(1, shift("T_cam_imu", "1") + shift("T_cn_cnm1", x)));
  };
  EXPECT_EQ(refusal("1.0000009"), "");
  EXPECT_EQ(refusal("1.000002"),
            "f:2:181: cam1.T_cn_cnm1: differs from what T_cam_imu of this camera and the one "
            "before it say by 0.002 mm, and by 0 in the rotation's elements");
  EXPECT_EQ(refusal("3e9"),
            "f:2:181: cam1.T_cn_cnm1: differs from what T_cam_imu of this camera and the one "
            "before it say by 3e+12 mm, and by 0 in the rotation's elements");
  // By a turn of 2e-6 radians about z, with the small angle's sine.
  EXPECT_EQ(refusalOf(camera(0, shift("T_cam_imu", "0")) +
                      camera(1, shift("T_cam_imu", "1") +
                                    ", T_cn_cnm1: [[1, -2e-6, 0, 1], [2e-6, 1, 0, 0], "
                                    "[0, 0, 1, 0], [0, 0, 0, 1]]")),
            "f:2:181: cam1.T_cn_cnm1: differs from what T_cam_imu of this camera and the one "
            "before it say by 0 mm, and by 2e-06 in the rotation's elements");
}

TEST(KalibrChain, RefusesReflectionsAndFlatMaps) {
  const auto refusal = [](const std::string& rows) {
    return refusalOf(camera(0, ", T_cam_imu: [" + rows + ", [0, 0, 0, 1]]"));
  };
  EXPECT_EQ(refusal("[1, 0, 0, 0], [0, 1, 0, 0], [0, 0, -1, 0]"),
            "f:1:112: cam0.T_cam_imu: has no rotation: its determinant is -1, which must be 1");
  EXPECT_EQ(refusal("[1, 0, 0, 0], [0, 1, 0, 0], [0, 0, 0, 0]"),
            "f:1:112: cam0.T_cam_imu: has no rotation: its determinant is 0, which must be 1");
  EXPECT_EQ(refusalOf(camera(0, "") + camera(1,
                                             ", T_cn_cnm1: [[-1, 0, 0, 0], [0, 1, 0, 0], "
                                             "[0, 0, 1, 0], [0, 0, 0, 1]]")),
            "f:2:112: cam1.T_cn_cnm1: has no rotation: its determinant is -1, which must be 1");
  // A transposed rotation is a rotation.
  EXPECT_EQ(refusal("[0, 0, 1, 0], [-1, 0, 0, 0], [0, -1, 0, 0]"), "");
}

TEST(KalibrChain, RefusesRowsThatAreNoPose) {
  const auto refusal = [](const std::string& rows) {
    return refusalOf(camera(0, ", T_cam_imu: " + rows));
  };
  EXPECT_EQ(refusal("[[1, 0, 0, 0]]"), "f:1:112: cam0.T_cam_imu: has 1 rows where 4 are needed");
  EXPECT_EQ(refusal("[[1, 0, 0, 0], [0, 1, 0], [0, 0, 1, 0], [0, 0, 0, 1]]"),
            "f:1:127: cam0.T_cam_imu[1]: has 3 numbers where 4 are needed");
  EXPECT_EQ(refusal("[[1, 0, 0, 0], [0, 1, 0, 0], [0, 0, 1, 0], [0, 0, 1, 1]]"),
            "f:1:155: cam0.T_cam_imu[3]: is the last row of a pose, which must be 0, 0, 0, 1");
  EXPECT_EQ(refusal("[[1, 0, 0, .inf], [0, 1, 0, 0], [0, 0, 1, 0], [0, 0, 0, 1]]"),
            "f:1:123: cam0.T_cam_imu[0][3]: is not finite: .inf");
}

TEST(KalibrChain, RefusesPosesBeyondTheRangeOfDouble) {
  EXPECT_EQ(refusalOf(camera(0,
                             ", T_cam_imu: [[1e150, 0, 0, 0], [0, 1e150, 0, 0], "
                             "[0, 0, 1e150, 0], [0, 0, 0, 1]]")),
            "f:1:112: cam0.T_cam_imu: has no rotation: its determinant is inf, which must be 1");
  EXPECT_EQ(refusalOf(camera(0, "") + camera(1, shift("T_cn_cnm1", "1.5e308")) +
                      camera(2, shift("T_cn_cnm1", "1.5e308"))),
            "f:3:112: cam2.T_cn_cnm1: gives a pose beyond the range of double");
}

TEST(KalibrChain, RefusesAnImuThatTheFirstCameraDoesNotKnow) {
  EXPECT_EQ(refusalOf(camera(0, "") + camera(1, shift("T_cam_imu", "1"))),
            "f:2:112: cam1.T_cam_imu: cam0 has none, so that the poses have no common frame");
}

}  // namespace
}  // namespace norv::interop

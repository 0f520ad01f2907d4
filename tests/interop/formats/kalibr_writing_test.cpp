#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <regex>
#include <sstream>
#include <string>

#include "interop/peer_writing.h"
#include "testing/peer_samples.h"
#include "testing/written_cameras.h"

namespace norv::interop {
namespace {

using norv::testing::peerTextOf;
using norv::testing::poseAt;
using norv::testing::randomRig;
using norv::testing::readPeer;
using norv::testing::refusalToWrite;
using norv::testing::requireSameRig;
using norv::testing::rigOf;
using norv::testing::writtenBy;

WriteOptions forKalibr(const std::string& parent = "imu") {
  return {PeerFormat::kKalibr, Syntax::kUsual, {}, parent};
}

TEST(KalibrWriting, WritesEveryKeyThatKalibrAsksFor) {
  auto cameras = rigOf({"left", "right"});
  cameras[0].model.lens.k1 = 1e-5;
  cameras[0].camera_from_parent = poseAt({0, 0, 0});
  cameras[1].camera_from_parent = poseAt({-0.25, 1e20, 0});
  EXPECT_EQ(peerTextOf(cameras, forKalibr()),
            "# Pixels are counted from the centre of the first pixel, as Kalibr does.\n"
            "cam0:\n"
            "  T_cam_imu:\n"
            "  - [1.0, 0.0, 0.0, 0.0]\n"
            "  - [0.0, 1.0, 0.0, 0.0]\n"
            "  - [0.0, 0.0, 1.0, 0.0]\n"
            "  - [0.0, 0.0, 0.0, 1.0]\n"
            "  cam_overlaps: []\n"
            "  camera_model: pinhole\n"
            "  distortion_coeffs: [1.0e-05, 0.0, 0.0, 0.0]\n"
            "  distortion_model: radtan\n"
            "  intrinsics: [400.0, 410.25, 320.0, 239.75]\n"
            "  resolution: [640, 480]\n"
            "  rostopic: /left/image_raw\n"
            "cam1:\n"
            "  T_cam_imu:\n"
            "  - [1.0, 0.0, 0.0, -0.25]\n"
            "  - [0.0, 1.0, 0.0, 1.0e+20]\n"
            "  - [0.0, 0.0, 1.0, 0.0]\n"
            "  - [0.0, 0.0, 0.0, 1.0]\n"
            "  T_cn_cnm1:\n"
            "  - [1.0, 0.0, 0.0, -0.25]\n"
            "  - [0.0, 1.0, 0.0, 1.0e+20]\n"
            "  - [0.0, 0.0, 1.0, 0.0]\n"
            "  - [0.0, 0.0, 0.0, 1.0]\n"
            "  cam_overlaps: []\n"
            "  camera_model: pinhole\n"
            "  distortion_coeffs: [0.0, 0.0, 0.0, 0.0]\n"
            "  distortion_model: radtan\n"
            "  intrinsics: [400.0, 410.25, 320.0, 239.75]\n"
            "  resolution: [640, 480]\n"
            "  rostopic: /right/image_raw\n");
}

TEST(KalibrWriting, WritesTheChainAloneForParentsThatAreNoImu) {
  auto cameras = rigOf({"left", "right"});
  cameras[0].camera_from_parent = poseAt({1, 0, 0});
  cameras[1].camera_from_parent = poseAt({3, 0, 0});
  const PeerWriting writing = writtenBy(cameras, forKalibr("robot"));
  EXPECT_EQ(writing.notes,
            (std::vector<std::string>{"Kalibr's files have no place for the pose of cam0 in the "
                                      "frame robot, only in that of an IMU"}));
  EXPECT_TRUE(writtenBy(cameras, forKalibr("imu")).notes.empty());
  const std::string text = writing.files.at(0).contents;
  EXPECT_EQ(text.find("T_cam_imu"), std::string::npos);
  const PeerFile file = readPeer({"f", text}, PeerFormat::kKalibr);
  ASSERT_EQ(file.cameras.size(), 2U);
  EXPECT_EQ(file.parent, "cam0");
  EXPECT_EQ(file.cameras[1].camera_from_parent->translation, Eigen::Vector3d(2, 0, 0));
}

TEST(KalibrWriting, WritesNoPosesWhereThereAreNone) {
  const PeerWriting writing = writtenBy(rigOf({"left", "right"}), forKalibr("robot"));
  EXPECT_TRUE(writing.notes.empty());
  const std::string text = writing.files.at(0).contents;
  EXPECT_EQ(text.find("T_c"), std::string::npos);
  const PeerFile file = readPeer({"f", text}, PeerFormat::kKalibr);
  EXPECT_EQ(file.parent, "");
}

TEST(KalibrWriting, CountsPixelsFromTheCornerWhereTold) {
  WriteOptions options = forKalibr();
  options.pixel_origin = calibration::PixelOrigin::kImageCorner;
  const std::string text = peerTextOf(rigOf({"left"}), options);
  EXPECT_EQ(text.rfind("# Pixels are counted from the image's corner, unlike Kalibr.\n", 0), 0U);
  EXPECT_NE(text.find("intrinsics: [400.0, 410.25, 320.5, 240.25]"), std::string::npos);
}

TEST(KalibrWriting, CallsCamerasAsTopicsMayBeCalled) {
  const auto written = writeCameras(rigOf({"front left", "", "a/b-c.d"}), forKalibr());
  const auto& writing = std::get<PeerWriting>(written);
  ASSERT_EQ(writing.notes.size(), 3U);
  EXPECT_EQ(writing.notes[0], "camera front left is called front_left in its topic");
  EXPECT_EQ(writing.notes[1], "a camera without a name is called cam1 in its topic");
  EXPECT_EQ(writing.notes[2], "camera a/b-c.d is called a_b_c_d in its topic");
  const PeerFile file = readPeer({"f", writing.files.at(0).contents}, PeerFormat::kKalibr);
  ASSERT_EQ(file.cameras.size(), 3U);
  EXPECT_EQ(file.cameras[0].name, "front_left");
  EXPECT_EQ(file.cameras[1].name, "cam1");
}

TEST(KalibrWriting, RefusesWhatKalibrCannotHold) {
  const auto refusal = [](void (*change)(WrittenCamera*)) {
    auto cameras = rigOf({"left"});
    change(cameras.data());
    return refusalToWrite(cameras, forKalibr());
  };
  EXPECT_EQ(refusal([](WrittenCamera* camera) { camera->model.skew = 0.25; }),
            "camera left has a skew of 0.25 px, which Kalibr cannot hold");
  EXPECT_EQ(refusal([](WrittenCamera* camera) { camera->model.lens.k3 = 1e-9; }),
            "camera left has a lens of more than the four coefficients of Kalibr's radtan");
  EXPECT_EQ(refusal([](WrittenCamera* camera) { camera->model.lens.k6 = 1e-9; }),
            "camera left has a lens of more than the four coefficients of Kalibr's radtan");
  EXPECT_EQ(refusal([](WrittenCamera* camera) { camera->model.cx = 0.25; }),
            "camera left has its principal point at (-0.25, 239.75), and Kalibr reads no negative "
            "one");
  EXPECT_EQ(refusal([](WrittenCamera* camera) { camera->model.fy = -400; }),
            "camera left has the focal lengths 400 and -400 px, which must be above 0 for Kalibr");
  EXPECT_EQ(refusal([](WrittenCamera* camera) { camera->model.lens.p1 = std::nan(""); }),
            "camera left has a number that is not finite");
  EXPECT_EQ(refusal([](WrittenCamera* camera) {
              camera->camera_from_parent = poseAt({0, 0, 0});
              camera->camera_from_parent->rotation(1, 1) = -1;
            }),
            "camera left has a pose whose rotation has the determinant -1, which must be 1");
}

TEST(KalibrWriting, RefusesPosesOfSomeCamerasAndTopicsOfSeveral) {
  auto first = rigOf({"left", "right"});
  auto second = first;
  first[0].camera_from_parent = poseAt({0, 0, 0});
  EXPECT_EQ(refusalToWrite(first, forKalibr()),
            "camera right has no pose, and Kalibr's chain has those of all cameras or of none");
  second[1].camera_from_parent = poseAt({0, 0, 0});
  EXPECT_EQ(refusalToWrite(second, forKalibr()),
            "camera left has no pose, and Kalibr's chain has those of all cameras or of none");
  EXPECT_EQ(refusalToWrite(rigOf({"a-b", "a b"}), forKalibr()),
            "camera a b would share the topic /a_b/image_raw with another one");
}

/// What a line's list holds, without blanks; none where it is no list.
std::vector<std::string> itemsOf(const std::string& line) {
  const std::size_t open = line.find('[');
  std::vector<std::string> items;
  if (open == std::string::npos) return items;
  std::istringstream list(line.substr(open + 1, line.find(']') - open - 1));
  for (std::string item; std::getline(list >> std::ws, item, ',');) items.push_back(item);
  return items;
}

TEST(KalibrWriting, WritesNumbersThatPythonTakesForFloats) {
  // PyYAML follows YAML 1.1, whose floats have a point, and a sign in the exponent.
  const std::regex is_float(R"([-+]?[0-9]+\.[0-9]*([eE][-+][0-9]+)?)");
  const std::regex is_integer("[1-9][0-9]*");
  std::mt19937 random(20261121);
  std::size_t count = 0;
  for (int i = 0; i < 100; ++i) {
    std::istringstream text(peerTextOf(randomRig(2, 4, &random), forKalibr()));
    for (std::string line; std::getline(text, line);) {
      const bool is_size = line.find("resolution") != std::string::npos;
      for (const std::string& item : itemsOf(line)) {
        EXPECT_TRUE(std::regex_match(item, is_size ? is_integer : is_float)) << line;
        ++count;
      }
    }
  }
  // Two sizes, four intrinsics, four coefficients, and three poses in both.
  EXPECT_EQ(count, 100U * (2 * (2 + 4 + 4) + 3 * 16));
}

TEST(KalibrWriting, ReadsBackAThousandCameras) {
  std::mt19937 random(20261122);
  double pose_error = 0;
  for (int i = 0; i < 500; ++i) {
    const auto rig = randomRig(2, 4, &random);
    const PeerFile file = readPeer({"f", peerTextOf(rig, forKalibr())}, PeerFormat::kKalibr);
    pose_error =
        std::fmax(pose_error, requireSameRig(file, rig, calibration::PixelOrigin::kPixelCentre));
    EXPECT_EQ(file.cameras.at(1).name, rig[1].name);
  }
  EXPECT_EQ(pose_error, 0);  // T_cam_imu is written as it is
}

TEST(KalibrWriting, ReadsBackTheChainOfAThousandCameras) {
  std::mt19937 random(20261123);
  double pose_error = 0;
  for (int i = 0; i < 200; ++i) {
    auto rig = randomRig(5, 4, &random);
    const PeerFile file = readPeer({"f", peerTextOf(rig, forKalibr("robot"))}, PeerFormat::kKalibr);
    const RigidPose parent_from_first = inverse(*rig[0].camera_from_parent);
    for (WrittenCamera& camera : rig) {
      camera.camera_from_parent = compose(*camera.camera_from_parent, parent_from_first);
    }
    pose_error =
        std::fmax(pose_error, requireSameRig(file, rig, calibration::PixelOrigin::kPixelCentre));
  }
  EXPECT_LT(pose_error, 1e-12);  // 3.7e-15 was measured
  RecordProperty("largest", std::to_string(pose_error * 1e15) + "e-15");
}

}  // namespace
}  // namespace norv::interop

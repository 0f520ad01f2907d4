#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <string>

#include "interop/peer_writing.h"
#include "support/lens_validity.h"
#include "testing/peer_samples.h"
#include "testing/written_cameras.h"

namespace norv::interop {
namespace {

using norv::testing::kPeerSamples;
using norv::testing::peerSample;
using norv::testing::peerTextOf;
using norv::testing::poseAt;
using norv::testing::randomRig;
using norv::testing::readPeer;
using norv::testing::refusalToWrite;
using norv::testing::requireSameRig;
using norv::testing::rigOf;

WriteOptions forBasalt(const std::string& parent = "imu") {
  return {PeerFormat::kBasalt, Syntax::kUsual, {}, parent};
}

std::vector<WrittenCamera> placedRig(const std::vector<std::string>& names) {
  auto cameras = rigOf(names);
  for (WrittenCamera& camera : cameras) camera.camera_from_parent = poseAt({0.5, -2, 0.25});
  return cameras;
}

nlohmann::json intrinsicsOf(const std::vector<WrittenCamera>& cameras, std::size_t index = 0) {
  return nlohmann::json::parse(peerTextOf(cameras, forBasalt()))
      .at("value0")
      .at("intrinsics")
      .at(index)
      .at("intrinsics");
}

TEST(BasaltWriting, WritesWhatTheSampleHas) {
  auto cameras = placedRig({"left"});
  cameras[0].model.lens = {0.125, -0.25, 0.5, -0.5, 1, 2, 3, 4};
  const auto written = nlohmann::json::parse(peerTextOf(cameras, forBasalt()));
  const auto sample =
      nlohmann::json::parse(peerSample(kPeerSamples, "basalt/basalt_calib.json").contents);
  // The same keys of the same kinds and lengths, whatever the numbers are.
  for (const auto& [key, value] : sample.at("value0").items()) {
    ASSERT_TRUE(written.at("value0").contains(key)) << key;
    EXPECT_EQ(written.at("value0").at(key).is_array(), value.is_array()) << key;
    EXPECT_EQ(written.at("value0").at(key).size(), value.size()) << key;
  }
  EXPECT_EQ(written.at("value0").size(), sample.at("value0").size());
  EXPECT_EQ(written.at("value0").at("resolution"), nlohmann::json::parse("[[640, 480]]"));
  EXPECT_EQ(written.at("value0").at("intrinsics").at(0).at("camera_type"), "pinhole-radtan8");
  // No rotation: the camera is where the IMU's origin is not.
  EXPECT_EQ(written.at("value0").at("T_imu_cam"),
            nlohmann::json::parse(R"([{"px": -0.5, "py": 2, "pz": -0.25, "qx": 0, "qy": 0, "qz": 0,
                                      "qw": 1}])"));
}

TEST(BasaltWriting, WritesEveryCoefficientUnderItsName) {
  auto cameras = placedRig({"left"});
  cameras[0].model.lens = {0.125, -0.25, 0.5, -0.5, 1, 2, 3, 4};
  auto numbers = intrinsicsOf(cameras);
  EXPECT_EQ(numbers.at("rpmax").get<double>(), calibration::validRadius(cameras[0].model.lens));
  numbers.erase("rpmax");
  EXPECT_EQ(numbers, nlohmann::json::parse(
                         R"({"fx": 400, "fy": 410.25, "cx": 320, "cy": 239.75, "k1": 0.125,
                             "k2": -0.25, "p1": 0.5, "p2": -0.5, "k3": 1, "k4": 2, "k5": 3,
                             "k6": 4})"));
}

TEST(BasaltWriting, LimitsTheRadiusWhereTheLensEnds) {
  auto cameras = placedRig({"straight", "folding"});
  // r (1 - r^2) rises up to r = 1 / sqrt(3).
  cameras[1].model.lens.k1 = -1;
  EXPECT_EQ(intrinsicsOf(cameras, 0).at("rpmax").get<double>(), 0);
  EXPECT_NEAR(intrinsicsOf(cameras, 1).at("rpmax").get<double>(), 1 / std::sqrt(3), 1e-9);
}

TEST(BasaltWriting, CountsPixelsFromTheCornerWhereTold) {
  WriteOptions options = forBasalt();
  options.pixel_origin = calibration::PixelOrigin::kImageCorner;
  const std::string text = peerTextOf(placedRig({"left"}), options);
  EXPECT_NE(text.find(R"("cx": 320.5, "cy": 240.25,)"), std::string::npos);
}

TEST(BasaltWriting, SaysWhatTheFormatDoesNotHold) {
  const auto notesOf = [](const std::vector<WrittenCamera>& cameras, const std::string& parent) {
    return std::get<PeerWriting>(writeCameras(cameras, forBasalt(parent))).notes;
  };
  const std::string names = "basalt has no names; the cameras stand in this order: left, right";
  const std::string imu =
      "the IMU's own numbers are zeros: basalt needs them to be there, and to be filled in before "
      "it uses an IMU";
  auto cameras = placedRig({"left", "right"});
  EXPECT_EQ(notesOf(cameras, "imu"), (std::vector<std::string>{names, imu}));
  EXPECT_EQ(
      notesOf(cameras, "robot"),
      (std::vector<std::string>{
          names, "T_imu_cam are poses of the frame robot, which basalt takes for the IMU's", imu}));
  // Of a few digits: no quaternion has this rotation, which is one times hypot(0.8661, 0.5).
  cameras[1].camera_from_parent->rotation << 1, 0, 0, 0, 0.8661, -0.5, 0, 0.5, 0.8661;
  const auto notes = notesOf(cameras, "imu");
  ASSERT_EQ(notes.size(), 3U);
  EXPECT_EQ(notes[0], "camera right has a rotation that the written one misses by 5.6e-05");
}

TEST(BasaltWriting, RefusesWhatBasaltCannotHold) {
  const auto refusal = [](void (*change)(WrittenCamera*)) {
    auto cameras = placedRig({"left"});
    change(cameras.data());
    return refusalToWrite(cameras, forBasalt());
  };
  EXPECT_EQ(refusal([](WrittenCamera* camera) { camera->model.skew = -3; }),
            "camera left has a skew of -3 px, which basalt cannot hold");
  EXPECT_EQ(refusal([](WrittenCamera* camera) { camera->camera_from_parent.reset(); }),
            "camera left has no pose, which basalt needs of every camera");
  EXPECT_EQ(refusal([](WrittenCamera* camera) { camera->model.fx = 0; }),
            "camera left has the focal lengths 0 and 410.25 px, which must be above 0 for basalt");
  EXPECT_EQ(refusal([](WrittenCamera* camera) { camera->model.lens.k4 = 1e300; }),
            "camera left has a coefficient of its lens beyond the range of float");
  EXPECT_EQ(refusal([](WrittenCamera* camera) { camera->camera_from_parent->rotation *= 1.1; }),
            "camera left has a pose whose rotation is 0.1 off the next one");
  EXPECT_EQ(
      refusal([](WrittenCamera* camera) { camera->camera_from_parent->translation[0] = HUGE_VAL; }),
      "camera left has a pose with a number that is not finite");
  EXPECT_EQ(refusal([](WrittenCamera* camera) { camera->camera_from_parent->rotation *= -1; }),
            "camera left has a pose whose rotation has the determinant -1, which must be 1");
}

TEST(BasaltWriting, ReadsBackAThousandCameras) {
  std::mt19937 random(20261124);
  double pose_error = 0;
  for (int i = 0; i < 200; ++i) {
    const auto rig = randomRig(5, 8, &random);
    const PeerFile file = readPeer({"f", peerTextOf(rig, forBasalt())}, PeerFormat::kBasalt);
    EXPECT_EQ(file.parent, "imu");
    pose_error =
        std::fmax(pose_error, requireSameRig(file, rig, calibration::PixelOrigin::kPixelCentre));
  }
  EXPECT_LT(pose_error, 1e-12);  // 5.9e-15 was measured
  RecordProperty("largest", std::to_string(pose_error * 1e15) + "e-15");
}

TEST(BasaltWriting, KeepsTheTranslationOfARoundedRotation) {
  auto cameras = placedRig({"left"});
  // That of a camera 75 degrees off, with nine digits.
  cameras[0].camera_from_parent->rotation << 0, -1, 0, -0.258819045, 0, -0.965925826, 0.965925826,
      0, -0.258819045;
  const PeerFile file = readPeer({"f", peerTextOf(cameras, forBasalt())}, PeerFormat::kBasalt);
  ASSERT_EQ(file.cameras.size(), 1U);
  const RigidPose pose = *file.cameras[0].camera_from_parent;
  const RigidPose expected = *cameras[0].camera_from_parent;
  EXPECT_LT((pose.translation - expected.translation).norm(), 4e-15);  // 1.1e-15 was measured
  EXPECT_LT((pose.rotation - expected.rotation).cwiseAbs().maxCoeff(), 1e-9);
}

}  // namespace
}  // namespace norv::interop

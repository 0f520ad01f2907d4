#include "interop/formats/basalt.h"

#include <gtest/gtest.h>

#include <string>

#include "testing/peer_samples.h"

namespace norv::interop {
namespace {

using norv::testing::kPeerSamples;
using norv::testing::largestPixelMiss;
using norv::testing::largestPoseMiss;
using norv::testing::peerSample;
using norv::testing::readPeer;

SourceFile sample() { return peerSample(kPeerSamples, "basalt/basalt_calib.json"); }

PeerFile read(const std::string& text) { return readPeer({"f", text}, PeerFormat::kBasalt); }

std::string refusalOf(const std::string& text) {
  return norv::testing::refusalOf(text, PeerFormat::kBasalt);
}

constexpr const char* kPose = R"({"px": 1, "py": 2, "pz": 3, "qx": 0, "qy": 0, "qz": 0, "qw": 1})";

/// A file on one line, without the outer "value0".
std::string textOf(const std::string& type, const std::string& numbers,
                   const std::string& pose = kPose, const std::string& size = "[640, 480]") {
  return R"({"T_imu_cam": [)" + pose + R"(], "resolution": [)" + size +
         R"(], "intrinsics": [{"camera_type": ")" + type + R"(", "intrinsics": {)" + numbers +
         "}}]}";
}

constexpr const char* kMatrix = R"("fx": 400, "fy": 410, "cx": 320, "cy": 240)";

std::string lensRefusal(const std::string& type, const std::string& numbers) {
  return refusalOf(textOf(type, std::string(kMatrix) + numbers));
}

RadialMap mapOf(const std::string& type, const std::string& numbers) {
  const PeerFile file = read(textOf(type, std::string(kMatrix) + numbers));
  EXPECT_TRUE(file.not_taken_over.empty());
  return file.cameras.empty() ? RadialMap{} : std::get<RadialMap>(file.cameras[0].lens);
}

std::string poseRefusal(const std::string& pose) {
  return refusalOf(textOf("pinhole", kMatrix, pose));
}

/// No distortion, with this rpmax.
std::string rational(const std::string& limit) {
  return textOf("pinhole-radtan8",
                std::string(kMatrix) +
                    R"(, "k1": 0, "k2": 0, "p1": 0, "p2": 0, "k3": 0, "k4": 0, "k5": 0, "k6": 0)" +
                    limit);
}

TEST(Basalt, ReadsTheSample) {
  const PeerFile file = readPeer(sample(), PeerFormat::kBasalt);
  ASSERT_EQ(file.cameras.size(), 1U);
  const PeerCamera& camera = file.cameras[0];
  EXPECT_EQ(file.parent, "imu");
  EXPECT_EQ(camera.name, "");
  EXPECT_EQ(camera.size.width, 1280);
  EXPECT_EQ(camera.size.height, 960);
  EXPECT_EQ(camera.fx, 1000.25);
  EXPECT_EQ(camera.fy, 1001.5);
  EXPECT_EQ(camera.skew, 0);
  EXPECT_EQ(camera.cx, 641);
  EXPECT_EQ(camera.cy, 480.75);
  EXPECT_TRUE(file.notes.empty());
}

TEST(Basalt, ProjectsLikeTheSamplesProgram) {
  const PeerFile file = readPeer(sample(), PeerFormat::kBasalt);
  ASSERT_EQ(file.cameras.size(), 1U);
  // Measured: 1.2e-13 px and 4.8e-16 m.
  EXPECT_LT(largestPixelMiss(file.cameras[0], "basalt_calib.json", 0), 1e-9);
  EXPECT_LT(largestPoseMiss(*file.cameras[0].camera_from_parent, "basalt_calib.json", 0), 1e-9);
}

TEST(Basalt, HasThePoseOfTheSameCameraInKalibrsSample) {
  const PeerFile ours = readPeer(sample(), PeerFormat::kBasalt);
  const PeerFile theirs =
      readPeer(peerSample(kPeerSamples, "kalibr/kalibr_camchain_imucam.yaml"), PeerFormat::kKalibr);
  ASSERT_FALSE(ours.cameras.empty() || theirs.cameras.empty());
  const RigidPose pose = *ours.cameras[0].camera_from_parent;
  EXPECT_EQ(pose.rotation, theirs.cameras[0].camera_from_parent->rotation);
  EXPECT_EQ(pose.translation, theirs.cameras[0].camera_from_parent->translation);
}

TEST(Basalt, ReadsWithoutTheOuterObject) {
  const auto json = nlohmann::json::parse(sample().contents);
  const PeerFile inner = read(json.at("value0").dump());
  ASSERT_EQ(inner.cameras.size(), 1U);
  EXPECT_EQ(inner.cameras[0].fx, 1000.25);
  EXPECT_EQ(inner.not_taken_over.at(0).key, "accel_bias_std");
}

TEST(Basalt, NamesWhatIsNotTakenOver) {
  std::string text = sample().contents;
  text.insert(text.rfind('}'), R"(, "value1": 3)");
  std::string keys;
  for (const NotTakenOver& item : read(text).not_taken_over) {
    keys += item.key + ": " + item.reason + "\n";
  }
  const std::string imu = ": the IMU's own numbers are not stored\n";
  EXPECT_EQ(keys, "value0.calib_accel_bias" + imu + "value0.calib_gyro_bias" + imu +
                      "value0.imu_update_rate" + imu + "value0.accel_noise_std" + imu +
                      "value0.gyro_noise_std" + imu + "value0.accel_bias_std" + imu +
                      "value0.gyro_bias_std" + imu +
                      "value0.cam_time_offset_ns: times are not stored\n"
                      "value0.vignette: brightness is not stored\n"
                      "value1: stands beside value0\n");
}

TEST(Basalt, NamesWhatIsNotTakenOverOfACamera) {
  std::string text = textOf("pinhole", std::string(kMatrix) + R"(, "k1": 0.5)",
                            R"({"px": 1, "py": 2, "pz": 3, "qx": 0, "qy": 0, "qz": 0, "qw": 1, )"
                            R"("scale": 2})");
  text.insert(text.rfind("}]}"), R"(, "lens": "f2")");
  text.insert(text.rfind('}'), R"(, "mocap": 1)");
  std::string keys;
  for (const NotTakenOver& item : read(text).not_taken_over) {
    keys += item.key + ": " + item.reason + "\n";
  }
  EXPECT_EQ(keys,
            "intrinsics[0].intrinsics.k1: not a number of this camera type\n"
            "intrinsics[0].lens: not a key that is known of basalt\n"
            "T_imu_cam[0].scale: not a number of a pose\n"
            "mocap: not a key that is known of basalt\n");
}

TEST(Basalt, OriginCanBeTheImagesCorner) {
  ReadOptions options;
  options.pixel_origin = calibration::PixelOrigin::kImageCorner;
  const PeerFile file = readPeer(sample(), PeerFormat::kBasalt, options);
  ASSERT_EQ(file.cameras.size(), 1U);
  EXPECT_EQ(file.cameras[0].cx, 640.5);
  EXPECT_EQ(file.cameras[0].cy, 480.25);
}

TEST(Basalt, EveryTypeReadsItsParameters) {
  using Parameters = std::array<double, 4>;
  const RadialMap kb4 = mapOf("kb4", R"(, "k1": 1, "k2": 2, "k3": 3, "k4": 4)");
  EXPECT_EQ(kb4.kind, RadialKind::kKannalaBrandt);
  EXPECT_EQ(kb4.parameters, (Parameters{1, 2, 3, 4}));
  const RadialMap ds = mapOf("ds", R"(, "xi": -0.2, "alpha": 0.6)");
  EXPECT_EQ(ds.kind, RadialKind::kDoubleSphere);
  EXPECT_EQ(ds.parameters, (Parameters{-0.2, 0.6}));
  const RadialMap eucm = mapOf("eucm", R"(, "alpha": 0.6, "beta": 1.1)");
  EXPECT_EQ(eucm.kind, RadialKind::kEnhancedUnified);
  EXPECT_EQ(eucm.parameters, (Parameters{0.6, 1.1}));
  const RadialMap ucm = mapOf("ucm", R"(, "alpha": 0.6)");
  EXPECT_EQ(ucm.kind, RadialKind::kEnhancedUnified);
  EXPECT_EQ(ucm.parameters, (Parameters{0.6, 1}));
  const RadialMap fov = mapOf("fov", R"(, "w": 0.9)");
  EXPECT_EQ(fov.kind, RadialKind::kFieldOfView);
  EXPECT_EQ(fov.parameters, (Parameters{0.9}));
  const PeerFile pinhole = read(textOf("pinhole", kMatrix));
  EXPECT_EQ(
      std::get<calibration::LensDistortion<double>>(pinhole.cameras.at(0).lens).toCoefficients(),
      (std::array<double, 8>{}));
}

TEST(Basalt, NormalisesQuaternionsOfFewDigits) {
  // A turn by 90 degrees about z: a camera's x is the IMU's y.
  const PeerFile file =
      read(textOf("pinhole", kMatrix,
                  R"({"px": 1, "py": 2, "pz": 3, "qx": 0, "qy": 0, "qz": 0.7071, "qw": 0.7071})"));
  ASSERT_EQ(file.cameras.size(), 1U);
  const RigidPose pose = *file.cameras[0].camera_from_parent;
  Eigen::Matrix3d expected;
  expected << 0, 1, 0, -1, 0, 0, 0, 0, 1;
  EXPECT_LT((pose.rotation - expected).cwiseAbs().maxCoeff(), 1e-15);
  EXPECT_LT((pose.translation - Eigen::Vector3d(-2, 1, -3)).norm(), 1e-15);
}

TEST(Basalt, RefusesPosesThatAreNone) {
  EXPECT_EQ(poseRefusal(R"({"px": 1, "py": 2, "pz": 3, "qx": 0, "qy": 0, "qz": 0, "qw": 1.002})"),
            "f:1:16: T_imu_cam[0]: has a quaternion of length 1.002, which must be 1");
  EXPECT_EQ(
      poseRefusal(R"({"px": 1, "py": 2, "pz": 3, "qx": 0, "qy": 0, "qz": 0, "qw": 0.9991})").size(),
      0U);
  EXPECT_EQ(poseRefusal(R"({"px": 1, "py": 2, "pz": 3, "qx": 0, "qy": 0, "qz": 0, "qw": 0})"),
            "f:1:16: T_imu_cam[0]: has a quaternion of length 0, which must be 1");
  EXPECT_EQ(poseRefusal(R"({"px": 1, "py": 2, "pz": 3, "qx": 0, "qy": 0, "qz": 0})"),
            "f:1:16: T_imu_cam[0].qw: is missing");
  EXPECT_EQ(poseRefusal(R"({"px": NaN, "py": 2, "pz": 3, "qx": 0, "qy": 0, "qz": 0, "qw": 1})"),
            "f:1:23: T_imu_cam[0].px: is not finite: NaN");
  EXPECT_EQ(poseRefusal(R"({"px": 1e999, "py": 2, "pz": 3, "qx": 0, "qy": 0, "qz": 0, "qw": 1})"),
            "f:1:23: T_imu_cam[0].px: exceeds the range of double: 1e999");
  EXPECT_EQ(poseRefusal(R"({"px": 1.7e308, "py": 1.7e308, "pz": 0, "qx": 0, "qy": 0, )"
                        R"("qz": 0.38268, "qw": 0.92388})"),
            "f:1:16: T_imu_cam[0]: gives a pose beyond the range of double");
  EXPECT_EQ(poseRefusal("[1, 2, 3]"), "f:1:16: T_imu_cam[0]: is not a map of keys and values");
}

TEST(Basalt, RefusesTypesAndNumbersThatItDoesNotHave) {
  EXPECT_EQ(lensRefusal("bal", ""),
            "f:1:141: intrinsics[0].camera_type: is a camera type that is not read, only pinhole, "
            "pinhole-radtan8, kb4, ds, eucm, ucm and fov: bal");
  EXPECT_EQ(lensRefusal("kb4", R"(, "k1": 1, "k2": 2, "k3": 3)"),
            "f:1:162: intrinsics[0].intrinsics.k4: is missing");
  EXPECT_EQ(lensRefusal("ds", R"(, "xi": -2, "alpha": 0)"),
            "f:1:212: intrinsics[0].intrinsics.xi: is xi, which must be above -1: -2");
  EXPECT_EQ(lensRefusal("ucm", R"(, "alpha": 2)"),
            "f:1:216: intrinsics[0].intrinsics.alpha: is alpha, which must be from 0 to 1: 2");
  EXPECT_EQ(lensRefusal("eucm", R"(, "alpha": 1, "beta": -1)"),
            "f:1:228: intrinsics[0].intrinsics.beta: is beta, which must be above 0: -1");
  EXPECT_EQ(lensRefusal("fov", R"(, "w": 4)"),
            "f:1:212: intrinsics[0].intrinsics.w: is a field of view, which must be from 0 to "
            "below pi: 4");
  EXPECT_EQ(refusalOf(textOf("pinhole", R"("fx": 0, "fy": 1, "cx": 0, "cy": 0)")),
            "f:1:173: intrinsics[0].intrinsics.fx: is a focal length, which must be above 0: 0");
  EXPECT_EQ(refusalOf(textOf("pinhole", R"("fx": 1, "fy": 1, "cx": "0", "cy": 0)")),
            "f:1:191: intrinsics[0].intrinsics.cx: is not a number, but a text");
  EXPECT_EQ(refusalOf(textOf("pinhole", kMatrix, kPose, "[640, -480]")),
            "f:1:103: resolution[0][1]: is not from 1 to 16777216: -480");
}

TEST(Basalt, RefusesListsOfDifferentLengths) {
  EXPECT_EQ(refusalOf(textOf("pinhole", kMatrix, kPose, "[640, 480], [640, 480]")),
            "f:1:96: resolution: has 2 elements where intrinsics has 1");
  EXPECT_EQ(refusalOf(textOf("pinhole", kMatrix, "")),
            "f:1:15: T_imu_cam: has 0 elements where intrinsics has 1");
  EXPECT_EQ(refusalOf(R"({"T_imu_cam": [], "resolution": [], "intrinsics": []})"),
            "f:1:51: intrinsics: has no camera");
  EXPECT_EQ(refusalOf(R"({"T_imu_cam": [], "resolution": []})"), "f:1:1: intrinsics: is missing");
  EXPECT_EQ(refusalOf(R"({"value0": {"intrinsics": [], "resolution": []}})"),
            "f:1:12: value0.T_imu_cam: is missing");
  EXPECT_EQ(refusalOf(R"({"value0": {"intrinsics": []}})"),
            "f:1:12: value0.resolution: is missing");
  EXPECT_EQ(refusalOf(R"({"value0": 1})"), "f:1:12: value0: is not a map of keys and values");
  EXPECT_EQ(refusalOf(R"({"intrinsics": 1, "intrinsics": 2})"),
            "f:1:19: intrinsics: stands there twice");
}

TEST(Basalt, SaysWhereItsLimitExcludesAPartOfThePicture) {
  // No distortion: the farthest corner, (0, 0) of the image, is the ray (-320.5 / 400, -240.5 /
  // 410).
  const auto notes = [](const std::string& limit) { return read(rational(limit)).notes; };
  EXPECT_TRUE(notes("").empty());
  EXPECT_TRUE(notes(R"(, "rpmax": 0)").empty());
  EXPECT_TRUE(notes(R"(, "rpmax": -1)").empty());
  EXPECT_TRUE(notes(R"(, "rpmax": 0.9931)").empty());
  ASSERT_EQ(notes(R"(, "rpmax": 0.9929)").size(), 1U);
  EXPECT_EQ(notes(R"(, "rpmax": 0.9929)")[0],
            "intrinsics[0].intrinsics.rpmax is 0.9929, but the picture's corners have the radius "
            "0.993; the lens is taken over without a limit");
  EXPECT_EQ(refusalOf(rational(R"(, "rpmax": -2)")),
            "f:1:300: intrinsics[0].intrinsics.rpmax: is neither a radius nor 0 nor -1: -2");
}

TEST(Basalt, SaysWhereCornersHaveNoRay) {
  // r (1 - r^2) is at most 0.385, and the nearest corner at 0.98.
  const PeerFile file =
      read(textOf("pinhole-radtan8", std::string(kMatrix) +
                                         R"(, "k1": -1, "k2": 0, "p1": 0, "p2": 0, "k3": 0, )"
                                         R"("k4": 0, "k5": 0, "k6": 0, "rpmax": 0.57)"));
  ASSERT_EQ(file.notes.size(), 1U);
  EXPECT_EQ(file.notes[0],
            "intrinsics[0].intrinsics.rpmax is 0.57, but the picture's corners have no ray; the "
            "lens is taken over without a limit");
}

}  // namespace
}  // namespace norv::interop

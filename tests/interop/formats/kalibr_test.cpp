#include "interop/formats/kalibr.h"

#include <gtest/gtest.h>

#include <string>

#include "interop/syntax/yaml.h"
#include "testing/peer_samples.h"

namespace norv::interop {
namespace {

using norv::testing::kPeerSamples;
using norv::testing::largestPixelMiss;
using norv::testing::peerSample;
using norv::testing::readPeer;
using norv::testing::refusalOf;

constexpr const char* kExpected = "kalibr_camchain_imucam.yaml";

SourceFile sample() { return peerSample(kPeerSamples, "kalibr/kalibr_camchain_imucam.yaml"); }

PeerFile readSample() { return readPeer(sample(), PeerFormat::kKalibr); }

/// A camera of the chain, "cam0: {...}", with a part of it replaced.
std::string camera(const std::string& key, const std::string& more = "",
                   const std::string& topic = "/left/image_raw") {
  return key + ":\n  camera_model: pinhole\n  intrinsics: [400.0, 410.0, 320.0, 240.0]\n" +
         "  distortion_model: none\n  distortion_coeffs: []\n  resolution: [640, 480]\n" +
         (topic.empty() ? "" : "  rostopic: " + topic + "\n") + more;
}

/// One of `model` with these intrinsics and this distortion.
std::string lensText(const std::string& model, const std::string& intrinsics,
                     const std::string& distortion, const std::string& coefficients) {
  return "cam0: {camera_model: " + model + ", intrinsics: [" + intrinsics +
         "], distortion_model: " + distortion + ", distortion_coeffs: [" + coefficients +
         "], resolution: [640, 480]}";
}

std::string lensRefusal(const std::string& model, const std::string& intrinsics,
                        const std::string& distortion = "none",
                        const std::string& coefficients = "") {
  return refusalOf(lensText(model, intrinsics, distortion, coefficients), PeerFormat::kKalibr);
}

PeerCamera readLens(const std::string& model, const std::string& intrinsics,
                    const std::string& distortion = "none", const std::string& coefficients = "") {
  const PeerFile file =
      readPeer({"f", lensText(model, intrinsics, distortion, coefficients)}, PeerFormat::kKalibr);
  return file.cameras.empty() ? PeerCamera{} : file.cameras[0];
}

TEST(Kalibr, ReadsTheSample) {
  const PeerFile file = readSample();
  ASSERT_EQ(file.cameras.size(), 2U);
  EXPECT_EQ(file.parent, "imu");
  EXPECT_TRUE(file.notes.empty());
  const PeerCamera& first = file.cameras[0];
  EXPECT_EQ(first.name, "cam0");
  EXPECT_EQ(first.size.width, 752);
  EXPECT_EQ(first.size.height, 480);
  EXPECT_EQ(first.fx, 461.629);
  EXPECT_EQ(first.fy, 460.152);
  EXPECT_EQ(first.skew, 0);
  EXPECT_EQ(first.cx, 362.68 + 0.5);
  EXPECT_EQ(first.cy, 246.049 + 0.5);
  EXPECT_EQ(file.cameras[1].name, "cam1");
}

TEST(Kalibr, ProjectsLikeTheSamplesProgram) {
  const PeerFile file = readSample();
  ASSERT_EQ(file.cameras.size(), 2U);
  // Measured: 1.1e-13 px.
  EXPECT_LT(largestPixelMiss(file.cameras[0], kExpected, 0), 1e-9);
  EXPECT_LT(largestPixelMiss(file.cameras[1], kExpected, 1), 1e-9);
}

TEST(Kalibr, NamesWhatIsNotTakenOver) {
  const PeerFile file = readSample();
  std::string keys;
  for (const NotTakenOver& item : file.not_taken_over) keys += item.key + ": " + item.reason + "\n";
  EXPECT_EQ(keys,
            "cam0.rostopic: topics are not stored, but for their first part as the camera's name\n"
            "cam0.cam_overlaps: which cameras see the same is not stored\n"
            "cam0.timeshift_cam_imu: times are not stored\n"
            "cam1.rostopic: topics are not stored, but for their first part as the camera's name\n"
            "cam1.cam_overlaps: which cameras see the same is not stored\n"
            "cam1.timeshift_cam_imu: times are not stored\n");
  const PeerFile unknown = readPeer({"f", camera("cam0", "  T_BS: 7\n", "")}, PeerFormat::kKalibr);
  ASSERT_EQ(unknown.not_taken_over.size(), 1U);
  EXPECT_EQ(unknown.not_taken_over[0].key, "cam0.T_BS");
  EXPECT_EQ(unknown.not_taken_over[0].reason, "not a key that is known of Kalibr");
}

TEST(Kalibr, OriginCanBeTheImagesCorner) {
  ReadOptions options;
  options.pixel_origin = calibration::PixelOrigin::kImageCorner;
  const PeerFile file = readPeer(sample(), PeerFormat::kKalibr, options);
  ASSERT_EQ(file.cameras.size(), 2U);
  EXPECT_EQ(file.cameras[0].cx, 362.68);
  EXPECT_EQ(file.cameras[1].cy, 248.375);
}

TEST(Kalibr, CamerasComeInTheOrderOfTheirNumbers) {
  // As its writer sorts them.
  std::string text =
      camera("cam0", "", "/a/x") + camera("cam1", "", "/b/x") + camera("cam10", "", "/k/x");
  for (int i = 2; i < 10; ++i) {
    text += camera("cam" + std::to_string(i), "", std::string("/") + "abcdefghij"[i] + "/x");
  }
  const PeerFile file = readPeer({"f", text}, PeerFormat::kKalibr);
  ASSERT_EQ(file.cameras.size(), 11U);
  std::string names;
  for (const PeerCamera& camera : file.cameras) names += camera.name;
  EXPECT_EQ(names, "abcdefghijk");
}

TEST(Kalibr, NamesThatTopicsDoNotTellApartAreNumbers) {
  const PeerFile equal =
      readPeer({"f", camera("cam0", "", "/cam1/raw") + camera("cam1", "", "/stereo/left") +
                         camera("cam2", "", "/stereo/right")},
               PeerFormat::kKalibr);
  ASSERT_EQ(equal.cameras.size(), 3U);
  EXPECT_EQ(equal.cameras[0].name, "cam0");
  EXPECT_EQ(equal.cameras[1].name, "cam1");
  EXPECT_EQ(equal.cameras[2].name, "cam2");
  ASSERT_EQ(equal.notes.size(), 1U);
  EXPECT_EQ(
      equal.notes[0],
      "several topics begin with the same word, so the cameras are called cam0, cam1 and so on");

  const PeerFile without = readPeer(
      {"f", camera("cam0", "", "") + camera("cam1", "", "//") + camera("cam2", "", "right")},
      PeerFormat::kKalibr);
  ASSERT_EQ(without.cameras.size(), 3U);
  EXPECT_EQ(without.cameras[0].name, "cam0");
  EXPECT_EQ(without.cameras[1].name, "cam1");
  EXPECT_EQ(without.cameras[2].name, "right");
  EXPECT_TRUE(without.notes.empty());
}

TEST(Kalibr, EveryModelReadsItsParametersInOrder) {
  const auto map = [](const PeerCamera& camera) { return std::get<RadialMap>(camera.lens); };
  const PeerCamera omni = readLens("omni", "1.5, 700, 710, 320, 240", "radtan", "1, 2, 3, 4");
  EXPECT_EQ(map(omni).kind, RadialKind::kOmni);
  EXPECT_EQ(map(omni).parameters, (std::array<double, 4>{1.5}));
  EXPECT_EQ(map(omni).then.toCoefficients(), (std::array<double, 8>{1, 2, 3, 4}));
  EXPECT_EQ(omni.fx, 700);
  EXPECT_EQ(omni.fy, 710);
  EXPECT_EQ(omni.cx, 320.5);
  EXPECT_EQ(omni.cy, 240.5);
  EXPECT_EQ(map(readLens("omni", "1.5, 700, 710, 320, 240")).then.k1, 0);

  const PeerCamera eucm = readLens("eucm", "0.6, 1.1, 400, 410, 320, 240");
  EXPECT_EQ(map(eucm).kind, RadialKind::kEnhancedUnified);
  EXPECT_EQ(map(eucm).parameters, (std::array<double, 4>{0.6, 1.1}));
  EXPECT_EQ(eucm.fy, 410);

  const PeerCamera ds = readLens("ds", "-0.2, 0.6, 400, 410, 320, 240");
  EXPECT_EQ(map(ds).kind, RadialKind::kDoubleSphere);
  EXPECT_EQ(map(ds).parameters, (std::array<double, 4>{-0.2, 0.6}));

  const PeerCamera fov = readLens("pinhole", "400, 410, 320, 240", "fov", "0.9");
  EXPECT_EQ(map(fov).kind, RadialKind::kFieldOfView);
  EXPECT_EQ(map(fov).parameters, (std::array<double, 4>{0.9}));

  const PeerCamera fisheye = readLens("pinhole", "400, 410, 320, 240", "equidistant", "1, 2, 3, 4");
  EXPECT_EQ(map(fisheye).kind, RadialKind::kKannalaBrandt);
  EXPECT_EQ(map(fisheye).parameters, (std::array<double, 4>{1, 2, 3, 4}));

  const PeerCamera none = readLens("pinhole", "400, 410, 320, 240", "none", "0, 0, 0.0, 0");
  EXPECT_EQ(std::get<calibration::LensDistortion<double>>(none.lens).toCoefficients(),
            (std::array<double, 8>{}));
}

TEST(Kalibr, RefusesModelsThatItDoesNotHave) {
  EXPECT_EQ(lensRefusal("spline", "400, 410, 320, 240"),
            "f:1:22: cam0.camera_model: is a model that is not read, only pinhole, omni, eucm and "
            "ds: spline");
  EXPECT_EQ(lensRefusal("pinhole", "400, 410, 320, 240", "radtan8", "1"),
            "f:1:83: cam0.distortion_model: is not read of a camera of the model pinhole, only "
            "radtan, none, equidistant and fov: radtan8");
  EXPECT_EQ(lensRefusal("omni", "1, 400, 410, 320, 240", "equidistant", "1, 2, 3, 4"),
            "f:1:83: cam0.distortion_model: is not read of a camera of the model omni, only radtan "
            "and none: equidistant");
  EXPECT_EQ(lensRefusal("eucm", "0.5, 1, 400, 410, 320, 240", "radtan", "1, 2, 3, 4"),
            "f:1:88: cam0.distortion_model: is not read of a camera of the model eucm, only none: "
            "radtan");
  EXPECT_EQ(lensRefusal("ds", "0.5, 1, 400, 410, 320, 240", "fov", "1"),
            "f:1:86: cam0.distortion_model: is not read of a camera of the model ds, only none: "
            "fov");
}

TEST(Kalibr, RefusesNumbersThatAreNone) {
  EXPECT_EQ(lensRefusal("pinhole", "400, 410, 320"),
            "f:1:43: cam0.intrinsics: has 3 numbers where 4 are needed");
  EXPECT_EQ(lensRefusal("ds", "400, 410, 320, 240"),
            "f:1:38: cam0.intrinsics: has 4 numbers where 6 are needed");
  EXPECT_EQ(lensRefusal("pinhole", "-400, 410, 320, 240"),
            "f:1:44: cam0.intrinsics[0]: is a focal length, which must be above 0: -400");
  EXPECT_EQ(lensRefusal("pinhole", "400, 0, 320, 240"),
            "f:1:49: cam0.intrinsics[1]: is a focal length, which must be above 0: 0");
  EXPECT_EQ(lensRefusal("pinhole", "400, 410, .nan, 240"),
            "f:1:54: cam0.intrinsics[2]: is not finite: .nan");
  EXPECT_EQ(lensRefusal("pinhole", "400, 410, 320, 1e999"),
            "f:1:59: cam0.intrinsics[3]: exceeds the range of double: 1e999");
  EXPECT_EQ(lensRefusal("pinhole", "400, 410, 320, 240", "radtan", "1, 2, 3, 4, 5"),
            "f:1:110: cam0.distortion_coeffs: has 5 numbers where 4 are needed");
  EXPECT_EQ(lensRefusal("pinhole", "400, 410, 320, 240", "none", "0, 1"),
            "f:1:112: cam0.distortion_coeffs[1]: is not 0, though the distortion model is none: 1");
  EXPECT_EQ(lensRefusal("pinhole", "400, 410, 320, 240", "fov", "-1"),
            "f:1:108: cam0.distortion_coeffs[0]: is a field of view, which must be from 0 to "
            "below pi: -1");
  EXPECT_EQ(lensRefusal("omni", "-1, 400, 410, 320, 240"),
            "f:1:41: cam0.intrinsics[0]: is xi, which must be above -1: -1");
  EXPECT_EQ(lensRefusal("ds", "0, 1.5, 400, 410, 320, 240"),
            "f:1:42: cam0.intrinsics[1]: is alpha, which must be from 0 to 1: 1.5");
  EXPECT_EQ(lensRefusal("eucm", "-0.1, 1, 400, 410, 320, 240"),
            "f:1:41: cam0.intrinsics[0]: is alpha, which must be from 0 to 1: -0.1");
  EXPECT_EQ(lensRefusal("eucm", "1, 0, 400, 410, 320, 240"),
            "f:1:44: cam0.intrinsics[1]: is beta, which must be above 0: 0");
}

TEST(Kalibr, RefusesSizesThatAreNone) {
  const auto refusal = [](const std::string& size) {
    return refusalOf(
        "cam0: {camera_model: pinhole, intrinsics: [1, 1, 0, 0], distortion_model: "
        "none, resolution: " +
            size + "}",
        PeerFormat::kKalibr);
  };
  EXPECT_EQ(refusal("[640, 480]"), "");
  EXPECT_EQ(refusal("[640]"), "f:1:93: cam0.resolution: has 1 numbers where 2 are needed");
  EXPECT_EQ(refusal("[0, 480]"), "f:1:94: cam0.resolution[0]: is not from 1 to 16777216: 0");
  EXPECT_EQ(refusal("[640, 480.5]"), "f:1:99: cam0.resolution[1]: is not a whole number: 480.5");
  EXPECT_EQ(refusal("640"), "f:1:93: cam0.resolution: is not a list");
}

TEST(Kalibr, RefusesWhatIsNoChain) {
  const auto refusal = [](const std::string& text) { return refusalOf(text, PeerFormat::kKalibr); };
  const std::string not_here =
      "does not belong here: a camchain has cam0, cam1 and so on without a gap, and nothing else";
  EXPECT_EQ(refusal(camera("cam0") + camera("cam2")), "f:8:1: cam2: " + not_here);
  EXPECT_EQ(refusal(camera("cam1")), "f:1:1: cam1: " + not_here);
  EXPECT_EQ(refusal(camera("cam0") + "imu0: 1\n"), "f:8:1: imu0: " + not_here);
  EXPECT_EQ(refusal(camera("cam0") + camera("cam0")), "f:8:1: cam0: stands there twice");
  EXPECT_EQ(refusal("{}"), "f:1:1: cam0: is missing");
  EXPECT_EQ(refusal("[1, 2]"), "f:1:1: is not a map of keys and values");
  EXPECT_EQ(refusal("cam0: 1"), "f:1:7: cam0: is not a map of keys and values");
  EXPECT_EQ(refusal("cam0: {intrinsics: [1]}"), "f:1:7: cam0.camera_model: is missing");
  EXPECT_EQ(refusal("cam0: {camera_model: pinhole}"), "f:1:7: cam0.intrinsics: is missing");
  EXPECT_EQ(refusal("cam0: {camera_model: pinhole, intrinsics: [1, 1, 0, 0]}"),
            "f:1:7: cam0.distortion_model: is missing");
  EXPECT_EQ(refusal("cam0: {camera_model: pinhole, intrinsics: [1, 1, 0, 0], distortion_model: "
                    "radtan}"),
            "f:1:7: cam0.distortion_coeffs: is missing");
  EXPECT_EQ(refusal("cam0: {camera_model: pinhole, intrinsics: [1, 1, 0, 0], distortion_model: "
                    "none}"),
            "f:1:7: cam0.resolution: is missing");
}

}  // namespace
}  // namespace norv::interop

#include "interop/formats/mrcal.h"

#include <gtest/gtest.h>

#include <string>

#include "testing/peer_formulas.h"

namespace norv::interop {
namespace {

using testing::expectedOfSamples;
using testing::largestMiss;
using testing::peerSample;
using testing::pointsOf;

const std::string kFolder = CAMERA_PARAMETERS_SOURCE_DIR "/tests/data/interop";

PeerReading readText(const std::string& text, const ReadOptions& options = {}) {
  return readCameras({"f", text}, PeerFormat::kMrcal, options);
}

PeerFile read(const std::string& text, const ReadOptions& options = {}) {
  PeerReading reading = readText(text, options);
  if (const auto* problem = std::get_if<FormatProblem>(&reading)) {
    ADD_FAILURE() << describe(*problem);
    return {};
  }
  return std::get<PeerFile>(std::move(reading));
}

/// The refusal of a text; "" of one that is read.
std::string problemOf(const std::string& text) {
  const PeerReading reading = readText(text);
  const auto* problem = std::get_if<FormatProblem>(&reading);
  return problem == nullptr ? "" : describe(*problem);
}

std::string pinhole(const std::string& rest) {
  return "{'lensmodel': 'LENSMODEL_PINHOLE', 'intrinsics': [900, 901, 640, 480],\n'imagersize': "
         "[1280, 960],\n" +
         rest + "}";
}

TEST(Mrcal, PutsThePointsOfItsSamplesWhereMrcalDoes) {
  const nlohmann::json expected = expectedOfSamples(kFolder);
  const auto points = pointsOf(expected.at("points_camera"));
  for (const char* const lens :
       {"PINHOLE", "OPENCV4", "OPENCV5", "OPENCV8", "OPENCV12", "STEREOGRAPHIC"}) {
    const std::string name = "mrcal_" + std::string(lens) + ".cameramodel";
    SCOPED_TRACE(name);
    const PeerFile file = read(peerSample(kFolder, "mrcal/" + name).contents);
    ASSERT_EQ(file.cameras.size(), 1U);
    const PeerCamera& camera = file.cameras[0];
    const nlohmann::json& entry = expected.at("files").at(name).at(0);
    EXPECT_LT(largestMiss(camera, entry, points), 1e-9);  // 3e-13 was measured
    ASSERT_TRUE(camera.camera_from_parent);
    EXPECT_LT(
        largestMiss(*camera.camera_from_parent, pointsOf(entry.at("points_reference")), points),
        1e-9);  // metres; 2e-15 was measured
    EXPECT_EQ(file.parent, "reference");
    EXPECT_EQ(camera.name, "");
    EXPECT_EQ(camera.size, (calibration::PixelSize{1280, 960}));
    EXPECT_TRUE(file.not_taken_over.empty());
    EXPECT_TRUE(file.notes.empty());
  }
}

TEST(Mrcal, KeepsTheDoublesAndAddsHalfAPixelUnlessToldOtherwise) {
  const std::string text = peerSample(kFolder, "mrcal/mrcal_OPENCV8.cameramodel").contents;
  const PeerCamera camera = read(text).cameras.at(0);
  EXPECT_EQ(camera.fx, 1000.25);
  EXPECT_EQ(camera.fy, 1001.5);
  EXPECT_EQ(camera.cx, 641.0);
  EXPECT_EQ(camera.cy, 480.75);
  EXPECT_EQ(camera.skew, 0);
  const auto& lens = std::get<calibration::LensDistortion<double>>(camera.lens);
  EXPECT_EQ(lens.toCoefficients(),
            (std::array<double, 8>{0.3, -0.1, 0.001, -0.0005, 0.02, 0.6, 0.05, 0.01}));
  ReadOptions corner;
  corner.pixel_origin = calibration::PixelOrigin::kImageCorner;
  EXPECT_EQ(read(text, corner).cameras.at(0).cx, 640.5);
  EXPECT_EQ(read(text, corner).cameras.at(0).cy, 480.25);
}

TEST(Mrcal, TakesTwelveCoefficientsForEightWhenTheRestIsZero) {
  const std::string begin =
      "{'lensmodel': 'LENSMODEL_OPENCV12', 'imagersize': [640, 480], 'intrinsics': (9, 9, 3, 2, "
      "1, 2, 3, 4, 5, 6, 7, 8, ";
  const PeerFile plain = read(begin + "0, 0, 0, 0)}");
  const auto* lens = std::get_if<calibration::LensDistortion<double>>(&plain.cameras.at(0).lens);
  ASSERT_NE(lens, nullptr);
  EXPECT_EQ(lens->k6, 8);
  const PeerFile prisms = read(begin + "0, 0, 0, 0.5)}");
  const auto* extended = std::get_if<ExtendedLens>(&prisms.cameras.at(0).lens);
  ASSERT_NE(extended, nullptr);
  EXPECT_EQ(extended->rational.k6, 8);
  EXPECT_EQ(extended->s4, 0.5);
}

TEST(Mrcal, KnowsTheKeysOfItsOlderAndNewerVersions) {
  const std::string tail = "'intrinsics': [9, 9, 3, 2], 'imagersize': [640, 480]}";
  EXPECT_EQ(problemOf("{'distortion_model': 'DISTORTION_PINHOLE', " + tail), "");
  EXPECT_EQ(problemOf("{'lens_model': 'LENSMODEL_PINHOLE', " + tail), "");
  const std::string pose = "[0, 0, 0, 1, 2, 3]";
  for (const std::string& keys :
       {"'extrinsics': " + pose, "'rt_cam_ref': " + pose,
        "'rt_cam_ref': " + pose + ", 'extrinsics': [0, 0, 0., 1, 2.0, 3]"}) {
    const PeerFile file = read(pinhole(keys));
    ASSERT_TRUE(file.cameras.at(0).camera_from_parent) << keys;
    EXPECT_EQ(file.cameras[0].camera_from_parent->translation, Eigen::Vector3d(1, 2, 3));
    EXPECT_EQ(file.cameras[0].camera_from_parent->rotation, Eigen::Matrix3d::Identity());
  }
  const PeerFile without = read(pinhole(""));
  EXPECT_FALSE(without.cameras.at(0).camera_from_parent);
  EXPECT_EQ(without.parent, "");
}

TEST(Mrcal, RefusesARotationThatExceedsDouble) {
  EXPECT_EQ(problemOf(pinhole("'extrinsics': [1e200, 0, 0, 1, 2, 3]")),
            "f:3:15: extrinsics: is a rotation beyond the range of double");
  EXPECT_EQ(problemOf(pinhole("'extrinsics': [1e150, 0, 0, 1, 2, 3]")), "");
}

TEST(Mrcal, NamesWhatItDoesNotTakeOver) {
  const std::string inputs(3000000, 'z');
  const PeerFile file =
      read(pinhole("'valid_intrinsics_region': [[0, 0], [1, 0], [1, 1], [0, 0]],\n"
                   "'optimization_inputs': b'" +
                   inputs + "',\n'icam_intrinsics': 0, 'colour': {'a': [None, True]},\n" +
                   "'distortion_model': 'DISTORTION_PINHOLE',"));
  std::vector<std::string> lines;
  for (const NotTakenOver& item : file.not_taken_over)
    lines.push_back(item.key + ": " + item.reason);
  EXPECT_EQ(lines,
            (std::vector<std::string>{
                "valid_intrinsics_region: the part of the picture that was calibrated well has no "
                "place here",
                "optimization_inputs: what the camera was computed from has no place here",
                "icam_intrinsics: it belongs to optimization_inputs",
                "colour: not a key of mrcal's", "distortion_model: lensmodel is there too"}));
}

TEST(Mrcal, RefusesLensesByName) {
  const auto refusal = [](const std::string& lens) {
    return problemOf("{'lensmodel': '" + lens + "'}");
  };
  for (const std::string lens :
       {"LENSMODEL_CAHVOR", "LENSMODEL_CAHVORE_linearity=0.37", "DISTORTION_CAHVOR",
        "LENSMODEL_LATLON", "LENSMODEL_LONLAT",
        "LENSMODEL_SPLINED_STEREOGRAPHIC_order=3_Nx=30_Ny=20_fov_x_deg=170"}) {
    EXPECT_EQ(refusal(lens), "f:1:15: lensmodel: is a lens that is not read: " + lens);
  }
  EXPECT_EQ(refusal("LENSMODEL_OPENCV14"),
            "f:1:15: lensmodel: is no lens of mrcal's: LENSMODEL_OPENCV14");
  EXPECT_EQ(problemOf("{'lensmodel': [1]}"), "f:1:15: lensmodel: is not a word");
}

TEST(Mrcal, RefusesWhatIsMissingOrWrong) {
  EXPECT_EQ(problemOf("[1]"), "f:1:1: is not a map of keys and values");
  EXPECT_EQ(problemOf("{}"), "f:1:1: lensmodel: is missing");
  EXPECT_EQ(problemOf("{'lensmodel': 'LENSMODEL_PINHOLE'}"), "f:1:1: intrinsics: is missing");
  const auto camera = [](const std::string& lens, const std::string& numbers,
                         const std::string& size) {
    return problemOf("{'lensmodel': 'LENSMODEL_" + lens + "',\n'intrinsics': [" + numbers +
                     "],\n'imagersize': " + size + "}");
  };
  EXPECT_EQ(camera("PINHOLE", "1, 2, 3", "[4, 3]"),
            "f:2:15: intrinsics: has 3 numbers where 4 are needed");
  EXPECT_EQ(camera("OPENCV8", "1, 2, 3, 4", "[4, 3]"),
            "f:2:15: intrinsics: has 4 numbers where 12 are needed");
  EXPECT_EQ(camera("OPENCV12", "1, 2, 3, 4", "[4, 3]"),
            "f:2:15: intrinsics: has 4 numbers where 16 are needed");
  EXPECT_EQ(camera("PINHOLE", "0, 2, 3, 4", "[4, 3]"),
            "f:2:16: intrinsics[0]: is a focal length, which must be above 0: 0");
  EXPECT_EQ(camera("PINHOLE", "1, -2, 3, 4", "[4, 3]"),
            "f:2:19: intrinsics[1]: is a focal length, which must be above 0: -2");
  EXPECT_EQ(camera("PINHOLE", "1, 2, nan, 4", "[4, 3]"),
            "f:2:22: intrinsics[2]: is not finite: nan");
  EXPECT_EQ(camera("PINHOLE", "1, 2, 3, 1e999", "[4, 3]"),
            "f:2:25: intrinsics[3]: exceeds the range of double: 1e999");
  EXPECT_EQ(camera("PINHOLE", "1, 2, 3, '4'", "[4, 3]"),
            "f:2:25: intrinsics[3]: is not a number, but a text");
  EXPECT_EQ(camera("PINHOLE", "1, 2, 3, None", "[4, 3]"), "f:2:25: intrinsics[3]: is not a number");
  EXPECT_EQ(camera("PINHOLE", "1, 2, 3, 4", "[4, 0]"),
            "f:3:19: imagersize[1]: is not from 1 to 16777216: 0");
  EXPECT_EQ(camera("PINHOLE", "1, 2, 3, 4", "[4.5, 3]"),
            "f:3:16: imagersize[0]: is not a whole number: 4.5");
  EXPECT_EQ(camera("PINHOLE", "1, 2, 3, 4", "[4, 3, 2]"),
            "f:3:15: imagersize: has 3 numbers where 2 are needed");
  EXPECT_EQ(camera("PINHOLE", "1, 2, 3, 4", "4"), "f:3:15: imagersize: is not a list");
  EXPECT_EQ(problemOf(pinhole("'extrinsics': [0, 0, 0, 1, 2]")),
            "f:3:15: extrinsics: has 5 numbers where 6 are needed");
  EXPECT_EQ(problemOf(pinhole("'extrinsics': [1e200, 0, 0, 1, 2, 3]")),
            "f:3:15: extrinsics: is a rotation beyond the range of double");
  EXPECT_EQ(
      problemOf(pinhole("'extrinsics': [0, 0, 0, 1, 2, 3],\n'rt_cam_ref': [0, 0, 0, 1, 2, 4]")),
      "f:4:15: rt_cam_ref: is not the same as extrinsics");
}

TEST(Mrcal, ReadsOtherEndsOfLinesAndSurvivesHostileTexts) {
  std::string text = pinhole("'extrinsics': [0, 0, 0, 1, 2, 3],");
  for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 2)) {
    text.replace(at, 1, "\r\n");
  }
  EXPECT_EQ(problemOf("\xEF\xBB\xBF" + text), "");
  EXPECT_EQ(problemOf(pinhole("'lensmodel': 'LENSMODEL_PINHOLE'")),
            "f:3:1: lensmodel: stands there twice");
  EXPECT_EQ(problemOf(pinhole("'x': " + std::string(100000, '['))), "f:3:69: is nested too deeply");
  EXPECT_EQ(problemOf(std::string(100000000, ' ')), "f: is longer than 16 MiB");
  EXPECT_EQ(problemOf(""), "f: is empty");
}

}  // namespace
}  // namespace norv::interop

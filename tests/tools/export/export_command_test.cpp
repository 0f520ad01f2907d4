// The verb `export`, run as the user runs it: what it writes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/tools/export/export_example.h"

namespace norv {
namespace {

namespace fs = std::filesystem;
using calibration::CameraCalibration;
using calibration::CameraIntrinsics;
using calibration::RobotCalibration;
using testing::compiledIn;
using testing::contentsOf;
using testing::ExportFolder;
using ::testing::HasSubstr;
using ::testing::Not;
using testing::ProgramResult;
using testing::runTool;
using testing::toolJson;
using testing::toolOutput;

struct Target {
  const char* name;
  const char* words;   ///< for export
  const char* output;  ///< file or folder
  bool has_poses;
};

class ExportRoundTrip : public ::testing::TestWithParam<Target> {};

void expectWithinUlp(double a, double b) {
  EXPECT_LE(std::abs(a - b), std::nextafter(std::abs(b), 1e300) - std::abs(b)) << a << " " << b;
}

void expectSameIntrinsics(const CameraIntrinsics& a, const CameraIntrinsics& b) {
  EXPECT_EQ(a.fx(), b.fx());
  EXPECT_EQ(a.fy(), b.fy());
  EXPECT_EQ(a.skew(), b.skew());
  expectWithinUlp(a.cx(), b.cx());
  expectWithinUlp(a.cy(), b.cy());
  EXPECT_EQ(a.width(), b.width());
  EXPECT_EQ(a.height(), b.height());
  ASSERT_EQ(a.radial_size(), 6);
  ASSERT_EQ(a.tangential_size(), 2);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(a.radial(i), b.radial(i)) << i;
  for (int i = 0; i < 2; ++i) EXPECT_EQ(a.tangential(i), b.tangential(i)) << i;
}

/// Largest difference of two poses, translations in metres.
double poseDifference(const CameraCalibration& a, const CameraCalibration& b) {
  double largest = a.extrinsics().a_size() == 12 ? 0 : HUGE_VAL;
  for (int i = 0; i < 12 && std::isfinite(largest); ++i) {
    const double unit = i % 4 == 3 ? 1000 : 1;
    largest = std::max(largest, std::abs(a.extrinsics().a(i) - b.extrinsics().a(i)) / unit);
  }
  return largest;
}

TEST_P(ExportRoundTrip, TheCompiledInCamerasComeBack) {
  const Target& target = GetParam();
  const RobotCalibration robot = compiledIn();
  ASSERT_EQ(robot.camera_calibration_size(), 2);
  for (const CameraCalibration& camera : robot.camera_calibration()) {
    const ExportFolder files;
    const std::string choice = std::string(target.words) + " --camera " + camera.name();
    const std::string report = toolOutput(files.words(choice, target.output));
    EXPECT_THAT(report, HasSubstr("\n  " + camera.name() + ": exact at 1280x960\n"));
    const RobotCalibration back =
        files.importBack(target.output, "--parent robot --scale 1 --name " + camera.name());
    ASSERT_EQ(back.camera_calibration_size(), 1);
    expectSameIntrinsics(back.camera_calibration(0).intrinsics(), camera.intrinsics());
    if (!target.has_poses) continue;
    // Nine digits are no rotation to more than nine digits, which these formats cannot hold.
    const double limit = camera.name() == "head_camera" ? 1e-9 : 1e-12;
    EXPECT_LE(poseDifference(back.camera_calibration(0), camera), limit);
    EXPECT_EQ(report.find("has a rotation that the written one misses by ") != std::string::npos,
              camera.name() == "head_camera");
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, ExportRoundTrip,
                         ::testing::Values(Target{"ros", "--format ros", "c.yaml", false},
                                           Target{"opencv_yaml", "--format opencv", "c.yml", false},
                                           Target{"opencv_xml", "--format opencv", "c.xml", false},
                                           Target{"opencv_json", "--format opencv", "c.json",
                                                  false},
                                           Target{"mrcal", "--format mrcal", "c.cameramodel", true},
                                           Target{"colmap", "--format colmap", "scene", true},
                                           Target{"basalt", "--format basalt", "rig.json", true}),
                         [](const auto& test) { return test.param.name; });

const std::string kNavigation = " --camera navigation_camera ";

TEST(ExportCommand, SaysWhatItDid) {
  const ExportFolder files;
  EXPECT_EQ(toolOutput(files.words("--format opencv" + kNavigation, "c.yml")),
            "compiled-in default calibration: format opencv, pixels counted from the centre of the "
            "first pixel: 0.5 subtracted from cx and cy\n"
            "  navigation_camera: exact at 1280x960\n"
            "note: OpenCV's files have no place for the name and the pose of camera "
            "navigation_camera\n" +
                files.folder.path("c.yml") + ": written\n");
}

TEST(ExportCommand, StandardOutputHoldsTheFileAlone) {
  const ExportFolder files;
  toolOutput(files.words("--format mrcal" + kNavigation, "c"));
  const ProgramResult result = runTool("export default --format mrcal -o -" + kNavigation);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, contentsOf(files.folder.path("c")));
  EXPECT_EQ(result.errors,
            "compiled-in default calibration: format mrcal, pixels counted from the centre of the "
            "first pixel: 0.5 subtracted from cx and cy\n"
            "  navigation_camera: exact at 1280x960\n");
}

TEST(ExportCommand, StandardInput) {
  const ProgramResult result =
      testing::runProgram(testing::toolCommand() + "convert default --binary -o - | " +
                          testing::toolCommand() + "export - --format mrcal -o -" + kNavigation);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, runTool("export default --format mrcal -o -" + kNavigation).output);
  EXPECT_THAT(result.errors, HasSubstr("standard input: format mrcal, "));
}

TEST(ExportCommand, SyntaxIsTheExtensionsOrTheOnesAskedFor) {
  const ExportFolder files;
  const auto contents = [&](const std::string& words, const std::string& output) {
    toolOutput(files.words(words + kNavigation, output));
    return contentsOf(files.folder.path(output));
  };
  const std::string yaml = contents("--format opencv", "a");
  EXPECT_EQ(yaml.rfind("%YAML:1.0\n", 0), 0U);
  EXPECT_EQ(contents("--format opencv", "a.yml"), yaml);
  EXPECT_EQ(contents("--format opencv --syntax yaml", "a.xml"), yaml);
  const std::string xml = contents("--format opencv", "a.xml");
  EXPECT_EQ(xml.rfind("<?xml", 0), 0U);
  EXPECT_EQ(contents("--format opencv --syntax xml", "a.json"), xml);
  const std::string json = contents("--format opencv", "a.json");
  EXPECT_EQ(json.rfind('{', 0), 0U);
  EXPECT_EQ(contents("--format opencv --syntax json", "b"), json);
  const std::string ini = contents("--format ros", "a.ini");
  EXPECT_THAT(ini, HasSubstr("\n[image]\n"));
  EXPECT_EQ(contents("--format ros --syntax ini", "a.yaml"), ini);
  EXPECT_THAT(contents("--format ros", "a.yaml"), HasSubstr("image_width: 1280\n"));
}

TEST(ExportCommand, OriginOfPixels) {
  const ExportFolder files;
  const std::string words = "--format mrcal --pixel-origin corner" + kNavigation;
  EXPECT_THAT(toolOutput(files.words(words, "c")),
              HasSubstr("format mrcal, pixels counted from the image's corner: cx and cy as they "
                        "are\n"));
  EXPECT_THAT(contentsOf(files.folder.path("c")), HasSubstr("[ 905, 905, 640, 480, "));
  toolOutput(files.words("--format colmap --pixel-origin centre" + kNavigation, "c.txt"));
  EXPECT_THAT(contentsOf(files.folder.path("c.txt")),
              HasSubstr("\n1 OPENCV 1280 960 905 905 639.5 479.5 "));
}

TEST(ExportCommand, SizesHaveTheLibrarysNumbers) {
  const ExportFolder files;
  toolOutput(files.words("--format colmap --camera head_camera --size 640x480", "c.txt"));
  const RobotCalibration back = files.importBack("c.txt", "--force");
  ASSERT_EQ(back.camera_calibration_size(), 1);
  const CameraIntrinsics& in = back.camera_calibration(0).intrinsics();
  EXPECT_EQ(in.width(), 640);
  // What `show` prints of that size: floats with as few digits as possible.
  const nlohmann::json shown =
      toolJson("show default --camera head_camera").at("cameras").at(0).at("intrinsics").at(0);
  ASSERT_EQ(shown.at("width"), 640);
  const nlohmann::json& k = shown.at("camera_matrix");
  EXPECT_EQ(in.fx(), k.at(0).at(0).get<double>());
  EXPECT_EQ(in.fy(), k.at(1).at(1).get<double>());
  EXPECT_EQ(in.cx(), k.at(0).at(2).get<double>());
  EXPECT_EQ(in.cy(), k.at(1).at(2).get<double>());
  EXPECT_NE(in.fx(), 324);
}

TEST(ExportCommand, LensesOfFewerCoefficientsAreMeasured) {
  const ExportFolder files;
  struct Case {
    const char* words;
    double expected;
  };
  for (const Case& one :
       {Case{"--format kalibr", 4.8}, Case{"--format ros --distortion-model plumb_bob", 0.94}}) {
    const std::string words = std::string(one.words) + " --camera head_camera";
    files.folder.write("c.yaml", testing::kOtherFile);
    const ProgramResult refused = runTool(files.words(words, "c.yaml"));
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.output, "");
    EXPECT_EQ(contentsOf(files.folder.path("c.yaml")), testing::kOtherFile);
    const std::string report = toolOutput(files.words(words + " --max-error 10", "c.yaml"));
    const std::string before = "\n  head_camera: max ";
    ASSERT_THAT(report, HasSubstr(before));
    const std::string printed = report.substr(report.find(before) + before.size());
    EXPECT_NEAR(std::stod(printed), one.expected, 0.05 * one.expected);
    // The refusal has the same figures.
    EXPECT_EQ(refused.errors,
              "camera-parameters: compiled-in default calibration: camera head_camera would be "
              "written with max " +
                  printed.substr(0, printed.find('\n')) +
                  ", more than the 0.1 px that are allowed\n");
  }
}

TEST(ExportCommand, LensesOfRosHaveAsManyCoefficientsAsAskedFor) {
  const ExportFolder files;
  const auto model = [&](const std::string& words) {
    toolOutput(files.words("--format ros" + kNavigation + words, "c.yaml"));
    return contentsOf(files.folder.path("c.yaml"));
  };
  const std::string five =
      "distortion_model: plumb_bob\ndistortion_coefficients:\n  rows: 1\n  "
      "cols: 5\n  data: [-0.28, 0.07, 0.0003, -0.0002, 0]\n";
  EXPECT_THAT(model(""), HasSubstr(five));
  EXPECT_THAT(model("--distortion-model plumb_bob"), HasSubstr(five));
  EXPECT_THAT(model("--distortion-model rational_polynomial"),
              HasSubstr("distortion_model: rational_polynomial\ndistortion_coefficients:\n  rows: "
                        "1\n  cols: 8\n  data: [-0.28, 0.07, 0.0003, -0.0002, 0, 0, 0, 0]\n"));
  EXPECT_EQ(files.importBack("c.yaml", "").camera_calibration(0).intrinsics().radial(0), -0.28);
}

TEST(ExportCommand, PosesOfAnotherFrame) {
  const ExportFolder files;
  // The inertial unit is turned by 90 degrees about z, 1 m above the robot's origin.
  const std::string between = " --parent-from-robot '0 1 0 0  -1 0 0 0  0 0 1 -1000'";
  for (const std::string format : {"mrcal", "basalt", "kalibr"}) {
    const std::string words = "--format " + format + kNavigation + "--parent imu" + between;
    toolOutput(files.words(words, "rig"));
    const RobotCalibration moved =
        files.importBack("rig", "--parent imu --name navigation_camera" + between);
    EXPECT_LE(poseDifference(moved.camera_calibration(0), compiledIn().camera_calibration(1)),
              1e-12);
    const RobotCalibration not_moved = files.importBack("rig", "--parent robot --name n");
    EXPECT_GT(poseDifference(not_moved.camera_calibration(0), compiledIn().camera_calibration(1)),
              0.9);
  }
}

TEST(ExportCommand, KalibrHasPosesOfTheImuAlone) {
  const ExportFolder files;
  const std::string words = "--format kalibr --max-error 10";
  const std::string relative = toolOutput(files.words(words, "chain.yaml"));
  EXPECT_THAT(relative, HasSubstr("note: Kalibr's files have no place for the pose of cam0 in the "
                                  "frame robot, only in that of an IMU\n"));
  std::string chain = contentsOf(files.folder.path("chain.yaml"));
  EXPECT_THAT(chain, Not(HasSubstr("T_cam_imu")));
  EXPECT_THAT(chain, HasSubstr("T_cn_cnm1"));
  const std::string of_imu = toolOutput(files.words(words + " --parent imu", "chain.yaml"));
  EXPECT_THAT(of_imu, HasSubstr("note: the robot's frame is written as that of imu; "
                                "--parent-from-robot says where else it is\n"));
  EXPECT_THAT(of_imu, Not(HasSubstr("have no place")));
  chain = contentsOf(files.folder.path("chain.yaml"));
  EXPECT_THAT(chain, HasSubstr("T_cam_imu"));
  const RobotCalibration back = files.importBack("chain.yaml", "--parent robot");
  ASSERT_EQ(back.camera_calibration_size(), 2);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(back.camera_calibration(i).name(), compiledIn().camera_calibration(i).name());
    EXPECT_LE(poseDifference(back.camera_calibration(i), compiledIn().camera_calibration(i)),
              1e-12);
  }
}

TEST(ExportCommand, CamerasInTheOrderThatIsAskedFor) {
  const ExportFolder files;
  toolOutput(files.words("--format colmap --camera navigation_camera --camera head_camera", "s"));
  const RobotCalibration back = files.importBack("s", "--parent robot --scale 1");
  ASSERT_EQ(back.camera_calibration_size(), 2);
  EXPECT_EQ(back.camera_calibration(0).name(), "navigation_camera");
  EXPECT_EQ(back.camera_calibration(1).name(), "head_camera");
}

TEST(ExportCommand, ColmapsFolder) {
  const ExportFolder files;
  const std::string scene = files.folder.path("new/scene");
  EXPECT_THAT(toolOutput(files.words("--format colmap", "new/scene")),
              ::testing::EndsWith(scene + "/cameras.txt: written\n" + scene +
                                  "/images.txt: written\n" + scene + "/points3D.txt: written\n"));
  for (const std::string name : {"cameras.txt", "images.txt", "points3D.txt"}) {
    EXPECT_TRUE(fs::exists(fs::path(scene) / name)) << name;
  }
  EXPECT_THAT(toolOutput(files.words("--format colmap", "cameras.txt")),
              HasSubstr("note: poses are in COLMAP's images.txt, which goes into a folder alone\n" +
                        files.folder.path("cameras.txt") + ": written\n"));
  EXPECT_EQ(contentsOf(files.folder.path("cameras.txt")), contentsOf(scene + "/cameras.txt"));
}

}  // namespace
}  // namespace norv

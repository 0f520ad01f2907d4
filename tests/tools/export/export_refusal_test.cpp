// What the verb `export` refuses: with which words, and an output that is not touched.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/message_printing.h"
#include "testing/calibration_messages.h"
#include "tests/tools/export/export_example.h"

namespace norv {
namespace {

namespace fs = std::filesystem;
using testing::contentsOf;
using testing::expectToolRefuses;
using testing::expectUsage;
using testing::ExportFolder;
using testing::importedCamera;
using testing::robotOf;

TEST(ExportRefusal, CallsThatAreWrong) {
  expectUsage("export", "FILE is required", "export");
  expectUsage("export f", "--format is required", "export");
  expectUsage("export f --format ros", "--output is required", "export");
  expectUsage("export '' --format ros -o a", "FILE: the name of the file is empty", "export");
  expectUsage("export f --format ros -o ''", "--output: the name of the file is empty", "export");
  expectUsage("export f --format ros -o a -o b", "--output: At Most 1 required but received 2",
              "export");
  expectUsage("export f --format ros -o a --size", "--size: 1 required WxH missing", "export");
  expectUsage("export f --format matlab -o a",
              "--format: not one of ros|kalibr|opencv|mrcal|colmap|basalt: matlab", "export");
  expectUsage("export f --format ros -o a --camera ''", "--camera: the name of a camera is empty",
              "export");
  expectUsage("export f --format ros -o a --pixel-origin middle",
              "--pixel-origin: not one of centre|corner: middle", "export");
  expectUsage("export f --format ros -o a --max-error -1",
              "--max-error: not a number from 0 on: -1", "export");
  expectUsage("export f --format colmap -o -",
              "colmap is written to a folder, not to standard output", "export");
}

TEST(ExportRefusal, OptionsThatDoNotGoTogether) {
  expectUsage("export f --format ros -o a --syntax xml", "ros is written as yaml or ini", "export");
  expectUsage("export f --format opencv -o a --syntax ini",
              "opencv is written as yaml, xml or json", "export");
  expectUsage("export f --format mrcal -o a --syntax yaml", "mrcal is written in one syntax alone",
              "export");
  expectUsage("export f --format ros -o a --syntax toml",
              "--syntax: not one of yaml|xml|json|ini: toml", "export");
  expectUsage("export f --format opencv -o a --distortion-model plumb_bob",
              "--distortion-model is for --format ros", "export");
  expectUsage("export f --format ros -o a.ini --distortion-model rational_polynomial",
              "--distortion-model rational_polynomial is for yaml, since ini has five coefficients",
              "export");
  expectUsage("export f --format ros -o a --distortion-model equidistant",
              "--distortion-model: not one of plumb_bob|rational_polynomial: equidistant",
              "export");
  expectUsage("export f --format mrcal -o a --parent ''",
              "--parent: the name of the frame is empty", "export");
  const std::string pose = " --parent-from-robot '1 0 0 0 0 1 0 0 0 0 1 0'";
  for (const std::string parent : {"", " --parent robot"}) {
    expectUsage("export f --format mrcal -o a" + parent + pose,
                "--parent-from-robot needs --parent, the name of a frame that is not robot",
                "export");
  }
  expectUsage("export f --format mrcal -o a --parent imu --parent-from-robot '1 2 3'",
              "--parent-from-robot: not 12 numbers, the top three rows of a pose, in quotes: 1 2 3",
              "export");
}

TEST(ExportRefusal, CamerasAndSizesThatThereAreNot) {
  const ExportFolder files;
  files.expectRefused("--format ros --camera nobody",
                      "no camera \"nobody\" (there are: head_camera, navigation_camera)");
  files.expectRefused("--format ros --camera head_camera --camera head_camera",
                      "the camera \"head_camera\" is to be written more than once");
  files.expectRefused("--format mrcal --camera head_camera --size 1x1",
                      "the camera \"head_camera\" does not deliver 1x1 (but 640x480, 1280x960, "
                      "1280x720)");
}

TEST(ExportRefusal, SeveralCamerasInFilesOfOne) {
  const ExportFolder files;
  files.expectRefused("--format ros",
                      "ROS' files hold one camera each, and there are 2: choose with --camera");
  files.expectRefused("--format opencv",
                      "OpenCV's files hold one camera each, and there are 2: choose with --camera");
  files.expectRefused("--format mrcal",
                      "mrcal's files hold one camera each, and there are 2: choose with --camera");
}

TEST(ExportRefusal, LensesOfMoreCoefficients) {
  const ExportFolder files;
  files.expectRefused("--format ros --camera head_camera",
                      "camera head_camera has a lens of 8 coefficients, and ROS' INI files have 5: "
                      "--distortion-model plumb_bob fits these",
                      "output.ini");
}

TEST(ExportRefusal, CalibrationsThatAreNone) {
  const ExportFolder files;
  const auto words = [&](const std::string& path) {
    return "export '" + path + "' --format mrcal -o '" + files.folder.path("output") + "'";
  };
  expectToolRefuses(words("nowhere"), "nowhere: there is no such file");
  const std::string empty = files.folder.write("empty", "");
  expectToolRefuses(words(empty), empty + ": is empty");
  const std::string base = files.folder.write("base", "wheel_base: 1\n");
  expectToolRefuses(words(base),
                    base + ": holds the calibration of a mobile base, not of fixed cameras");
  const std::string none = files.folder.write("none", "{\"cameraCalibration\": []}");
  expectToolRefuses(words(none), none + ": holds no camera");
  EXPECT_FALSE(fs::exists(files.folder.path("output")));
}

TEST(ExportRefusal, SkewsThatAFormatHasNot) {
  const ExportFolder files;
  calibration::CameraCalibration skewed = importedCamera("skewed");
  skewed.mutable_intrinsics()->set_skew(2);
  const std::string path = files.folder.write("robot", printText(robotOf({skewed})));
  const std::string output = files.folder.write("output", testing::kOtherFile);
  for (const std::string format : {"ros", "opencv", "mrcal", "kalibr", "basalt"}) {
    const testing::ProgramResult result =
        testing::runTool("export '" + path + "' --format " + format + " -o '" + output + "'");
    EXPECT_EQ(result.status, 1) << format;
    EXPECT_THAT(result.errors, ::testing::StartsWith("camera-parameters: " + path +
                                                     ": camera skewed has a skew of 2 "));
    EXPECT_EQ(contentsOf(output), testing::kOtherFile) << format;
  }
}

TEST(ExportRefusal, OutputThatIsTheCalibrationOrNoFile) {
  const ExportFolder files;
  const std::string robot =
      files.folder.write("robot", printText(robotOf({importedCamera("left")})));
  const std::string link = files.folder.path("link");
  fs::create_hard_link(robot, link);
  const std::string before = contentsOf(robot);
  for (const std::string& output : {robot, link}) {
    for (const std::string format : {"mrcal", "colmap"}) {
      if (format == "colmap" && output == link) continue;
      const testing::ProgramResult result =
          testing::runTool("export '" + robot + "' --format " + format + " -o '" + output + "'");
      EXPECT_EQ(result.status, 1) << format;
      EXPECT_EQ(contentsOf(robot), before) << format;
    }
    expectToolRefuses(
        "export '" + robot + "' --format mrcal -o '" + output + "'",
        output + ": is one of the files that are read, which is not to be written over");
  }
  const std::string room = files.folder.path("room");
  fs::create_directory(room);
  expectToolRefuses("export '" + robot + "' --format mrcal -o '" + room + "'",
                    room + ": cannot be written: not a regular file");
  expectToolRefuses("export '" + robot + "' --format colmap -o '" + link + "'",
                    link + ": cannot be made a folder: Not a directory");
  const std::string nowhere = files.folder.path("missing/output");
  expectToolRefuses("export '" + robot + "' --format mrcal -o '" + nowhere + "'",
                    nowhere + ": cannot be written: No such file or directory");
}

TEST(ExportRefusal, FolderThatHoldsTheCalibrationStaysAsItWas) {
  const ExportFolder files;
  const std::string robot =
      files.folder.write("images.txt", printText(robotOf({importedCamera("left")})));
  const std::string before = contentsOf(robot);
  expectToolRefuses("export '" + robot + "' --format colmap -o '" + files.folder.path() + "'",
                    robot + ": is one of the files that are read, which is not to be written over");
  EXPECT_EQ(contentsOf(robot), before);
  EXPECT_FALSE(fs::exists(files.folder.path("cameras.txt")));
}

TEST(ExportRefusal, NoRoomOnTheDisk) {
  const ExportFolder files;
  const std::string output = files.folder.write("output", testing::kOtherFile);
  const testing::ProgramResult result = testing::runProgram(
      "ulimit -f 1; " + testing::toolCommand() + files.words("--format basalt", "output"));
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors,
            "camera-parameters: " + output + ": cannot be written: File too large\n");
  EXPECT_EQ(contentsOf(output), testing::kOtherFile);
}

}  // namespace
}  // namespace norv

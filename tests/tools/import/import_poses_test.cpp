// Where the poses of imported cameras come from.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/message_printing.h"
#include "testing/calibration_messages.h"
#include "tests/tools/import/import_example.h"

namespace norv {
namespace {

using testing::contentsOf;
using ::testing::HasSubstr;
using testing::importedCamera;
using testing::mrcalPose;
using testing::noPose;
using testing::PeerFiles;
using testing::ProgramResult;
using testing::quoted;
using testing::readRobot;
using testing::robotOf;
using testing::runTool;

const std::string kExact = "exact at 1280x960; ";

/// Imports one file, expects these words on its camera, and returns the pose that was written.
std::vector<double> poseOf(const PeerFiles& files, const std::string& arguments,
                           const std::string& words, const std::string& errors = "") {
  const ProgramResult result = runTool(files.import(arguments));
  EXPECT_EQ(result.status, 0) << arguments << "\n" << result.errors;
  EXPECT_EQ(result.errors, errors) << arguments;
  EXPECT_THAT(result.output, HasSubstr(kExact + words + "\n"));
  const calibration::RobotCalibration robot = readRobot(files.output);
  const auto& a = robot.camera_calibration(0).extrinsics().a();
  return {a.begin(), a.end()};
}

const std::string kNone = "no pose: identity; --parent, --extrinsics or --extrinsics-of gives one";

TEST(ImportPoses, NoParentNoPose) {
  const PeerFiles files;
  const std::string not_taken =
      "not taken over: " + files.mrcal +
      ": pose of right (it is of the frame reference, and --parent says which frame that is)\n";
  EXPECT_EQ(poseOf(files, quoted(files.mrcal), kNone, not_taken), noPose());
  EXPECT_EQ(poseOf(files, quoted(files.ros), kNone), noPose());
  EXPECT_EQ(poseOf(files, quoted(files.ros) + " --parent robot", kNone), noPose());
}

TEST(ImportPoses, ParentIsTheRobot) {
  const PeerFiles files;
  EXPECT_EQ(poseOf(files, quoted(files.mrcal) + " --parent robot", "pose of the file"),
            mrcalPose());
}

TEST(ImportPoses, ParentFromRobotIsInBetween) {
  const PeerFiles files;
  // x of the reference is y of the robot, y is -x, and the reference's origin is 1 m above.
  const std::string between = "'0 1 0 0  -1 0 0 0  0 0 1 -1000'";
  const std::vector<double> expected = {0, 1, 0, 250, -1, 0, 0, -500, 0, 0, 1, 500};
  for (const std::string parent : {"", " --parent reference"}) {
    EXPECT_EQ(poseOf(files, quoted(files.mrcal) + parent + " --parent-from-robot " + between,
                     "pose of the file with --parent-from-robot"),
              expected);
  }
}

TEST(ImportPoses, OtherNamesOfTheParentAreNoted) {
  const PeerFiles files;
  const ProgramResult result = runTool(files.import(
      quoted(files.mrcal) + " --parent imu --parent-from-robot '1,0,0,0,0,1,0,0,0,0,1,0'"));
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("note: the poses of " + files.mrcal +
                                       " are of the frame reference, which --parent calls imu\n"));
}

TEST(ImportPoses, Extrinsics) {
  const PeerFiles files;
  // The numbers pass through as they are.
  const std::vector<double> pose = {1, 0, 0, 0.1, 0, 1, 0, 123.4, 0, 0, 1, -1000.3};
  const std::string words = " --extrinsics '1 0 0 0.1 0 1 0 123.4 0 0 1 -1000.3'";
  EXPECT_EQ(poseOf(files, quoted(files.ros) + words, "pose of --extrinsics"), pose);
  // Poses of the files come first, where their parent is known.
  EXPECT_EQ(poseOf(files, quoted(files.mrcal) + words + " --parent robot", "pose of the file"),
            mrcalPose());
}

TEST(ImportPoses, ExtrinsicsOfAnotherCamera) {
  const PeerFiles files;
  const std::string robot = files.folder.write(
      "ro:bot", printText(robotOf({importedCamera("a"), importedCamera("b", mrcalPose())})));
  EXPECT_EQ(poseOf(files, quoted(files.ros) + " --extrinsics-of '" + robot + ":b'",
                   "pose of --extrinsics-of"),
            mrcalPose());
  files.expectRefused(quoted(files.ros) + " --extrinsics-of '" + robot + ":c'",
                      robot + ": no camera \"c\" (there are: a, b)");
  files.expectRefused(quoted(files.ros) + " --extrinsics-of b",
                      "b: is not FILE:CAMERA, a calibration and a camera of it");
  files.expectRefused(quoted(files.ros) + " --extrinsics-of nowhere:b",
                      "nowhere: there is no such file");
  const std::string without =
      files.folder.write("without", "camera_calibration { name: \"d\" extrinsics { a: [1, 2] } }");
  files.expectRefused(
      quoted(files.ros) + " --extrinsics-of '" + without + ":d'",
      without + ":1:45: camera_calibration[0].extrinsics.a: holds 2 values, 12 are needed");
}

TEST(ImportPoses, RotationsThatAreNoneAreRefused) {
  const PeerFiles files;
  const std::string stretched = "--extrinsics '1.1 0 0 0 0 1 0 0 0 0 1 500'";
  files.folder.write("output", testing::kOtherFile);
  const ProgramResult result = runTool(files.import(quoted(files.ros) + " " + stretched));
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(result.errors,
              HasSubstr(files.output + ": error: camera_calibration[0].extrinsics.a: "));
  EXPECT_THAT(result.errors, HasSubstr(" [pose-rotation]\n"));
  EXPECT_THAT(result.errors, HasSubstr("\ncamera-parameters: " + files.output +
                                       ": not written, since it would have 1 error; --force "
                                       "writes it all the same\n"));
  EXPECT_EQ(contentsOf(files.output), testing::kOtherFile);
  const std::string mirrored = "--extrinsics '1 0 0 0 0 1 0 0 0 0 -1 500'";
  EXPECT_THAT(runTool(files.import(quoted(files.ros) + " " + mirrored)).errors,
              HasSubstr(" [pose-mirror]\n"));
  EXPECT_EQ(contentsOf(files.output), testing::kOtherFile);
}

}  // namespace
}  // namespace norv

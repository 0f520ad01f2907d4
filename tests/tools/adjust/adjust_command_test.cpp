// The verb `adjust`, run as the user runs it.

#include <gmock/gmock.h>
#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <random>
#include <string>

#include "proto/norv_base_calibration.pb.h"
#include "proto/norv_robot_calibration.pb.h"
#include "testing/calibration_messages.h"
#include "testing/file_contents.h"
#include "testing/random_head.h"
#include "testing/temporary_folder.h"
#include "testing/tree_calibrations.h"
#include "tests/tools/run_tool.h"

namespace norv {
namespace {

namespace fs = std::filesystem;
using calibration::BaseCalibrationProto;
using calibration::CameraCalibration;
using calibration::RobotCalibration;
using testing::contentsOf;
using testing::exampleCamera;
using testing::expectBadUsage;
using testing::expectToolRefuses;
using testing::readPose;
using testing::robotOf;
using testing::runProgram;
using testing::TemporaryFolder;
using testing::toolCommand;
using testing::toolOutput;

BaseCalibrationProto baseOf(const Eigen::Matrix4d& pose) {
  BaseCalibrationProto base;
  testing::storePose(pose, base.mutable_global_transform_adjustment()->mutable_global_transform());
  return base;
}

/// A base half a metre along y.
BaseCalibrationProto shiftedBase() {
  Eigen::Matrix4d pose = Eigen::Matrix4d::Identity();
  pose(1, 3) = 0.5;
  return baseOf(pose);
}

/// A camera at 1 m along x, looking along z, its lens without distortion.
CameraCalibration shiftedCamera(const std::string& name) {
  CameraCalibration camera = exampleCamera(name, "lab");
  camera.mutable_extrinsics()->set_a(3, 1000);
  for (double& k : *camera.mutable_intrinsics()->mutable_radial()) k = 0;
  for (double& p : *camera.mutable_intrinsics()->mutable_tangential()) p = 0;
  return camera;
}

/// What a camera becomes that the shifted base moves from `y` to there.
void expectShift(double y, CameraCalibration* camera) {
  camera->mutable_extrinsics()->set_a(7, y);
  *camera->add_adjusted_by() = shiftedBase().global_transform_adjustment();
}

/// A folder with a calibration and a base in it.
struct Files {
  TemporaryFolder folder;
  std::string robot;
  std::string base;
  std::string output;

  explicit Files(const std::string& robot_data)
      : robot(folder.write("robot", robot_data)),
        base(folder.write("base", shiftedBase().SerializeAsString())),
        output(folder.path("output")) {}

  std::string adjust(const std::string& further = "") const { return adjust(robot, base, further); }
  std::string adjust(const std::string& from, const std::string& by,
                     const std::string& further = "") const {
    return "adjust '" + from + "' --base '" + by + "' --output '" + output + "' " + further;
  }
  std::string said(const std::string& cameras, const std::string& format) const {
    return output + ": " + cameras + " moved by the global transform of " + base + ", written in " +
           format + " format\n";
  }
  int count() const {
    return static_cast<int>(
        std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()));
  }
};

RobotCalibration parseBinary(const std::string& path) {
  RobotCalibration robot;
  EXPECT_TRUE(robot.ParseFromString(contentsOf(path)));
  return robot;
}

TEST(AdjustCommand, MovesACamera) {
  const Files files(robotOf({shiftedCamera("lab")}).SerializeAsString());
  EXPECT_EQ(toolOutput(files.adjust()), files.said("1 camera", "binary"));
  RobotCalibration expected = robotOf({shiftedCamera("lab")});
  expectShift(500, expected.mutable_camera_calibration(0));
  EXPECT_EQ(contentsOf(files.output), expected.SerializeAsString());
  EXPECT_EQ(files.count(), 3);
}

TEST(AdjustCommand, FormatIsThatOfTheCalibrationUnlessGiven) {
  RobotCalibration expected = robotOf({shiftedCamera("a"), shiftedCamera("b")});
  const std::string binary = expected.SerializeAsString();
  const std::string text = "# comment\n" + expected.DebugString();
  for (auto& camera : *expected.mutable_camera_calibration()) expectShift(500, &camera);
  for (const std::string& data : {binary, text}) {
    const Files files(data);
    EXPECT_EQ(toolOutput(files.adjust()),
              files.said("2 cameras", data == binary ? "binary" : "text"));
    EXPECT_EQ(toolOutput(files.adjust("--binary")), files.said("2 cameras", "binary"));
    EXPECT_EQ(contentsOf(files.output), expected.SerializeAsString());
    EXPECT_EQ(toolOutput(files.adjust("--text")), files.said("2 cameras", "text"));
    RobotCalibration written;
    ASSERT_TRUE(google::protobuf::TextFormat::ParseFromString(contentsOf(files.output), &written));
    EXPECT_EQ(written.SerializeAsString(), expected.SerializeAsString());
  }
}

TEST(AdjustCommand, PoseTimesGlobalTransform) {
  std::mt19937_64 random(21);
  RobotCalibration robot;
  for (int i = 0; i < 20; ++i) {
    *robot.add_camera_calibration() = shiftedCamera("camera" + std::to_string(i));
    testing::storePose(testing::randomPose(2, &random),
                       robot.mutable_camera_calibration(i)->mutable_extrinsics());
  }
  const Eigen::Matrix4d base_pose = testing::randomPose(1, &random);
  const Files files(robot.SerializeAsString());
  const std::string base = files.folder.write("turned", baseOf(base_pose).SerializeAsString());
  toolOutput(files.adjust(files.robot, base));
  const RobotCalibration adjusted = parseBinary(files.output);
  for (int i = 0; i < 20; ++i) {
    const Eigen::Matrix4d expected = readPose(robot.camera_calibration(i).extrinsics()) * base_pose;
    // Single precision; measured 1.4e-7.
    EXPECT_LT(
        (readPose(adjusted.camera_calibration(i).extrinsics()) - expected).cwiseAbs().maxCoeff(),
        1e-6);
  }
}

TEST(AdjustCommand, ShowSeesTheMovedCamera) {
  const Files files(robotOf({shiftedCamera("lab")}).DebugString());
  toolOutput(files.adjust());
  EXPECT_THAT(toolOutput("show '" + files.output + "'"),
              ::testing::HasSubstr("\n  moved by a base's global transform of no stated time\n"));
  EXPECT_THAT(toolOutput("show '" + files.robot + "'"),
              ::testing::Not(::testing::HasSubstr("moved by")));
  EXPECT_THAT(toolOutput("show '" + files.robot + "'"),
              ::testing::HasSubstr("centre on the robot (-1.0000, 0.0000, 0.0000) m"));
  EXPECT_THAT(toolOutput("show '" + files.output + "'"),
              ::testing::HasSubstr("centre on the robot (-1.0000, -0.5000, 0.0000) m"));
}

TEST(AdjustCommand, CalibrationCanBeReplacedByItself) {
  Files files(robotOf({shiftedCamera("lab")}).SerializeAsString());
  ASSERT_EQ(::chmod(files.robot.c_str(), 0640), 0);
  fs::create_symlink("robot", files.folder.path("link"));
  files.output = files.folder.path("link");
  toolOutput(files.adjust());
  toolOutput(files.adjust("--again"));
  // Adjusting twice moves twice.
  EXPECT_EQ(parseBinary(files.robot).camera_calibration(0).extrinsics().a(7), 1000);
  EXPECT_TRUE(fs::is_symlink(files.output));
  struct stat status = {};
  ASSERT_EQ(::stat(files.robot.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
  EXPECT_EQ(files.count(), 3);
}

TEST(AdjustCommand, DefaultCalibrationsFiles) {
  Files files("");
  files.base = testing::kCalibrations + "default_base_cal.txt";
  files.robot = testing::kCalibrations + "default_head_cal.txt";
  EXPECT_EQ(toolOutput(files.adjust()), files.said("2 cameras", "text"));
  RobotCalibration before;
  RobotCalibration after;
  ASSERT_TRUE(google::protobuf::TextFormat::ParseFromString(contentsOf(files.robot), &before));
  ASSERT_TRUE(google::protobuf::TextFormat::ParseFromString(contentsOf(files.output), &after));
  for (RobotCalibration* robot : {&before, &after}) {
    for (auto& camera : *robot->mutable_camera_calibration()) {
      camera.clear_extrinsics();
      camera.clear_adjusted_by();
    }
  }
  EXPECT_EQ(after.SerializeAsString(), before.SerializeAsString());
}

TEST(AdjustCommand, NoCameras) {
  const Files files("# no camera\n");
  expectToolRefuses(files.adjust(), files.robot + ": holds no camera that could be moved");
  EXPECT_FALSE(fs::exists(files.output));
}

TEST(AdjustCommand, EmptyFiles) {
  const Files files("");
  expectToolRefuses(files.adjust(), files.robot + ": is empty");
  const std::string robot =
      files.folder.write("full", robotOf({shiftedCamera("lab")}).SerializeAsString());
  expectToolRefuses(files.adjust(robot, files.robot), files.robot + ": is empty");
  EXPECT_FALSE(fs::exists(files.output));
}

TEST(AdjustCommand, RepeatedNamesAreSaid) {
  CameraCalibration first = shiftedCamera("lab");
  first.mutable_extrinsics()->set_a(3, 7000);
  const Files files(robotOf({first, shiftedCamera("lab")}).SerializeAsString());
  EXPECT_EQ(toolOutput(files.adjust("--force")),
            files.robot +
                ": error: camera_calibration[1].name: the name is that of camera_calibration[0], "
                "which is lost: the later entry wins [name-duplicate]\n" +
                files.said("2 cameras", "binary") +
                "note: \"lab\" is listed more than once; all entries are of the last one's camera, "
                "which was moved once for each\n");
  // The name's one camera is that of the last entry; each entry has its pose after its own turn.
  const RobotCalibration adjusted = parseBinary(files.output);
  EXPECT_EQ(adjusted.camera_calibration(0).extrinsics().a(3), 1000);
  EXPECT_EQ(adjusted.camera_calibration(0).extrinsics().a(7), 500);
  EXPECT_EQ(adjusted.camera_calibration(1).extrinsics().a(7), 1000);
}

TEST(AdjustCommand, FieldsOfALaterVersion) {
  RobotCalibration robot = robotOf({shiftedCamera("lab")});
  robot.GetReflection()->MutableUnknownFields(&robot)->AddVarint(77, 1);
  const Files files(robot.SerializeAsString());
  EXPECT_EQ(toolOutput(files.adjust()), files.said("1 camera", "binary"));
  const RobotCalibration adjusted = parseBinary(files.output);
  EXPECT_EQ(robot.GetReflection()->GetUnknownFields(adjusted).field_count(), 1);
  EXPECT_EQ(toolOutput(files.adjust("--text")),
            files.said("1 camera", "text") +
                "note: fields that this version does not know were left out: 1\n");
  RobotCalibration written;
  EXPECT_TRUE(google::protobuf::TextFormat::ParseFromString(contentsOf(files.output), &written));
}

TEST(AdjustCommand, NothingIsWrittenFromBadInput) {
  const Files files(robotOf({shiftedCamera("lab")}).SerializeAsString());
  const std::string missing = files.folder.path("missing");
  expectToolRefuses(files.adjust(missing, files.base), missing + ": there is no such file");
  expectToolRefuses(files.adjust(files.robot, missing), missing + ": there is no such file");
  expectToolRefuses(files.adjust(files.base, files.base),
                    files.base + ": holds the calibration of a mobile base, not of fixed cameras");
  expectToolRefuses(files.adjust(files.robot, files.robot),
                    files.robot + ": holds the calibration of fixed cameras, not of a mobile base");
  CameraCalibration camera = shiftedCamera("bad");
  camera.mutable_extrinsics()->mutable_a()->Truncate(11);
  const std::string bad =
      files.folder.write("bad", robotOf({shiftedCamera("lab"), camera}).SerializeAsString());
  expectToolRefuses(files.adjust(bad, files.base),
                    bad +
                        ": camera_calibration[1].extrinsics.a: holds 11 values, at least 12 are "
                        "needed");
  const std::string empty = files.folder.write("empty.txt", "wheel_base: 1\n");
  expectToolRefuses(files.adjust(files.robot, empty),
                    empty +
                        ": global_transform_adjustment.global_transform.a: holds 0 values, at "
                        "least 12 are needed");
  const std::string text = files.folder.write("text", "wheel_base: 1\nwheel_bose: 2\n");
  expectToolRefuses(files.adjust(files.robot, text),
                    text +
                        ":2:1: wheel_bose: Message type \"norv.calibration.BaseCalibrationProto\" "
                        "has no field named \"wheel_bose\".");
  EXPECT_FALSE(fs::exists(files.output));
  EXPECT_EQ(files.count(), 5);
}

TEST(AdjustCommand, OutputsThatCannotBeWritten) {
  Files files(robotOf({shiftedCamera("lab")}).SerializeAsString());
  files.output = files.folder.path("missing/output");
  expectToolRefuses(files.adjust(),
                    files.output + ": cannot be written: No such file or directory");
  files.output = files.folder.path();
  expectToolRefuses(files.adjust(), files.output + ": cannot be written: not a regular file");
  files.output = "/dev/null";
  expectToolRefuses(files.adjust(), "/dev/null: cannot be written: not a regular file");
  EXPECT_EQ(files.count(), 2);
}

TEST(AdjustCommand, BaseIsNotWrittenOver) {
  Files files(robotOf({shiftedCamera("lab")}).SerializeAsString());
  fs::create_symlink("base", files.folder.path("link"));
  files.output = files.folder.path("link");
  expectToolRefuses(files.adjust(),
                    files.output + ": is the base calibration, which is not to be written over");
  EXPECT_EQ(contentsOf(files.base), shiftedBase().SerializeAsString());
}

TEST(AdjustCommand, StandardInputAndOutput) {
  RobotCalibration expected = robotOf({shiftedCamera("lab")});
  Files files(expected.SerializeAsString());
  expectShift(500, expected.mutable_camera_calibration(0));
  const std::string from_input =
      "cat '" + files.robot + "' | " + toolCommand() + files.adjust("-", files.base);
  EXPECT_EQ(runProgram(from_input).output, files.said("1 camera", "binary"));
  EXPECT_EQ(contentsOf(files.output), expected.SerializeAsString());

  const std::string base_from_input =
      "cat '" + files.base + "' | " + toolCommand() + files.adjust(files.robot, "-");
  EXPECT_EQ(runProgram(base_from_input).output,
            files.output +
                ": 1 camera moved by the global transform of standard input, written in binary "
                "format\n");

  files.output = "-";
  const testing::ProgramResult result = testing::runTool(files.adjust("--text"));
  EXPECT_EQ(result.status, 0);
  RobotCalibration written;
  EXPECT_TRUE(google::protobuf::TextFormat::ParseFromString(result.output, &written));
  EXPECT_EQ(written.SerializeAsString(), expected.SerializeAsString());
  files.output = "standard output";
  EXPECT_EQ(result.errors, files.said("1 camera", "text"));
}

TEST(AdjustCommand, FileThatIsNamedLikeStandardInput) {
  Files files(robotOf({shiftedCamera("lab")}).SerializeAsString());
  fs::copy_file(files.robot, files.folder.path("-"));
  files.output = "./-";
  const std::string in_folder = "cd '" + files.folder.path() + "'; " + toolCommand();
  EXPECT_EQ(runProgram(in_folder + files.adjust("./-", files.base)).output,
            files.said("1 camera", "binary"));
  EXPECT_EQ(parseBinary(files.folder.path("-")).camera_calibration(0).extrinsics().a(7), 500);
}

TEST(AdjustCommand, NothingIsPrintedOfWhatCannotBeMoved) {
  Files files("");
  files.output = "-";
  expectToolRefuses(files.adjust(), files.robot + ": is empty");
}

TEST(AdjustCommand, LimitOfFileSizes) {
  RobotCalibration robot;
  for (int i = 0; i < 50; ++i) {
    *robot.add_camera_calibration() = shiftedCamera("lab" + std::to_string(i));
  }
  const Files files(robot.DebugString());
  const testing::ProgramResult result =
      runProgram("ulimit -f 4; " + toolCommand() + files.adjust());
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.errors,
            "camera-parameters: " + files.output + ": cannot be written: File too large\n");
  EXPECT_EQ(files.count(), 2);
}

TEST(AdjustCommand, BadUsage) {
  const Files files(robotOf({shiftedCamera("lab")}).SerializeAsString());
  expectBadUsage("adjust");
  expectBadUsage("adjust '" + files.robot + "' --output '" + files.output + "'");
  expectBadUsage("adjust '" + files.robot + "' --base '" + files.base + "'");
  expectBadUsage("adjust --base '" + files.base + "' --output '" + files.output + "'");
  expectBadUsage(files.adjust("--text --binary"));
  expectBadUsage(files.adjust("-", "-"));
  EXPECT_FALSE(fs::exists(files.output));
  Files to_stream(robotOf({shiftedCamera("lab")}).SerializeAsString());
  to_stream.output = "-";
  expectBadUsage(to_stream.adjust("--json"));
  expectBadUsage(to_stream.adjust("--backup"));
}

}  // namespace
}  // namespace norv

// What the verb `adjust` does not do unless it is told to, and what it leaves of what was there.

#include <gmock/gmock.h>
#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <string>

#include "proto/norv_base_calibration.pb.h"
#include "proto/norv_robot_calibration.pb.h"
#include "testing/calibration_messages.h"
#include "testing/file_contents.h"
#include "testing/temporary_folder.h"
#include "tests/tools/run_tool.h"

namespace norv {
namespace {

namespace fs = std::filesystem;
using calibration::BaseCalibrationProto;
using calibration::CameraCalibration;
using calibration::RobotCalibration;
using google::protobuf::TextFormat;
using nlohmann::json;
using testing::contentsOf;
using testing::exampleCamera;
using ::testing::HasSubstr;
using testing::ProgramResult;
using testing::robotOf;
using testing::runTool;
using ::testing::StartsWith;
using testing::toolOutput;

template <class Message>
Message parseText(const std::string& text) {
  Message message;
  EXPECT_TRUE(TextFormat::ParseFromString(text, &message)) << text;
  return message;
}

/// A base half a metre along y.
constexpr const char* kBase = R"(wheel_base: 0.4
base_width: 0.5
base_length: 0.6
gyroscope { gain: 1 }
global_transform_adjustment {
  global_transform {
    a: [1, 0, 0, 0]
    a: [0, 1, 0, 500]
    a: [0, 0, 1, 0]
  }
  metadata { calibration_time: 1715677200000000000 }
}
)";

/// A camera at 1 m along x, with values that single precision does not hold.
constexpr const char* kCamera = R"(camera_calibration {
  intrinsics {
    fx: 1000
    fy: 1000
    cx: 640
    cy: 480
    radial: [0, 0, 0, 0, 0, 0]
    tangential: [0, 0]
    width: 1280
    height: 960
  }
  extrinsics {
    a: [1, 0, 0, 1000.1]
    a: [0, 1, 0, 0.3]
    a: [0, 0, 1, 1e-09]
  }
  name: "lab"
}
)";

std::string replaced(std::string text, const std::string& part, const std::string& by) {
  const std::size_t position = text.find(part);
  EXPECT_NE(position, std::string::npos) << part;
  return text.replace(position, part.size(), by);
}

/// What is said when a camera was moved by any base before.
constexpr const char* kOnTop =
    "note: 1 camera had been moved by a base before; this move comes on top\n";

/// A calibration, which is also what is written, and a base.
class AdjustRefusal : public ::testing::Test {
 public:
  std::string adjust(const std::string& further = "") const {
    return "adjust '" + robot_ + "' --base '" + base_ + "' --output '" + robot_ + "' " + further;
  }

  void useRobot(const std::string& text) { robot_ = folder_.write("robot.txt", text); }
  void useBase(const std::string& text) { base_ = folder_.write("base.txt", text); }

  RobotCalibration written() const { return parseText<RobotCalibration>(contentsOf(robot_)); }

  std::string said() const {
    return robot_ + ": 1 camera moved by the global transform of " + base_ +
           ", written in text format\n";
  }

  /// Expects status 1 with these lines on standard error, and the file as it was.
  void expectRefused(const std::string& lines, const std::string& further = "") const {
    const std::string before = contentsOf(robot_);
    const ProgramResult result = runTool(adjust(further));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, lines);
    EXPECT_EQ(contentsOf(robot_), before);
    EXPECT_FALSE(fs::exists(robot_ + ".bak"));
  }

  testing::TemporaryFolder folder_;
  std::string robot_ = folder_.write("robot.txt", kCamera);
  std::string base_ = folder_.write("base.txt", kBase);
};

TEST_F(AdjustRefusal, SameBaseMovesOnce) {
  EXPECT_EQ(toolOutput(adjust()), said());
  EXPECT_EQ(written().camera_calibration(0).adjusted_by_size(), 1);
  const std::string objection = "camera-parameters: " + robot_ +
                                ": not adjusted, since the global transform of " + base_ +
                                " was applied before to \"lab\"; --again applies it once more\n";
  expectRefused(objection);
  expectRefused(objection, "--force --backup");
  EXPECT_EQ(toolOutput(adjust("--again")), said() + kOnTop);
  EXPECT_EQ(written().camera_calibration(0).adjusted_by_size(), 2);
  EXPECT_NEAR(written().camera_calibration(0).extrinsics().a(7), 1000.3, 1e-3);
  expectRefused(objection);
}

TEST_F(AdjustRefusal, RecordSurvivesBothFormats) {
  toolOutput(adjust("--binary"));
  EXPECT_EQ(runTool(adjust("--text")).status, 1);
  toolOutput(adjust("--text --again"));
  EXPECT_EQ(runTool(adjust("--binary")).status, 1);
}

TEST_F(AdjustRefusal, OtherBasesMoveOn) {
  toolOutput(adjust());
  useBase(replaced(kBase, "0, 1, 0, 500", "0, 1, 0, 250"));
  EXPECT_EQ(toolOutput(adjust()), said() + kOnTop);
  useBase(replaced(kBase, "17156772", "17156773"));
  toolOutput(adjust());
  EXPECT_EQ(written().camera_calibration(0).adjusted_by_size(), 3);
  EXPECT_NEAR(written().camera_calibration(0).extrinsics().a(7), 1250.3, 1e-3);
}

TEST_F(AdjustRefusal, OneMovedCameraIsEnough) {
  toolOutput(adjust());
  std::string cameras = contentsOf(robot_);
  for (const char* name : {"b", "c", "d", "e", "f", "g"}) {
    cameras += replaced(kCamera, "\"lab\"", std::string("\"") + name + "\"");
  }
  useRobot(cameras);
  EXPECT_THAT(runTool(adjust()).errors, HasSubstr("applied before to \"lab\"; --again"));
  toolOutput(adjust("--again"));
  EXPECT_THAT(
      runTool(adjust()).errors,
      HasSubstr("applied before to \"lab\", \"b\", \"c\", \"d\", \"e\" and 2 more; --again"));
}

TEST_F(AdjustRefusal, NamesCannotActOnTheTerminal) {
  useRobot(replaced(kCamera, "\"lab\"", R"("\033[2J")"));
  toolOutput(adjust());
  EXPECT_THAT(runTool(adjust()).errors, HasSubstr(R"(applied before to "\x1b[2J"; --again)"));
}

TEST_F(AdjustRefusal, BaseWithAnError) {
  useBase(replaced(kBase, "0, 1, 0, 500", "0, 5, 0, 500"));
  const ProgramResult result = runTool(adjust());
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(result.errors,
              StartsWith(base_ + ":7:5: error: global_transform_adjustment.global_transform"));
  EXPECT_THAT(result.errors, HasSubstr("[pose-rotation]\n"));
  EXPECT_THAT(result.errors,
              HasSubstr("camera-parameters: " + robot_ + ": not adjusted, since " + base_ +
                        " has 1 error and the moved calibration has 1 "
                        "error; --force does it all the same\n"));
  EXPECT_EQ(contentsOf(robot_), kCamera);
  const std::string forced = toolOutput(adjust("--force"));
  EXPECT_THAT(forced, HasSubstr("[pose-rotation]\n"));
  EXPECT_THAT(forced, HasSubstr(said()));
  EXPECT_EQ(written().camera_calibration(0).extrinsics().a(5), 5);
}

TEST_F(AdjustRefusal, BaseThatIsNoNumber) {
  useBase(replaced(kBase, "0, 1, 0, 500", "0, nan, 0, 500"));
  const ProgramResult result = runTool(adjust());
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.errors, HasSubstr(base_ + ":8:12: error: "));
  EXPECT_THAT(result.errors, HasSubstr("[not-finite]"));
  EXPECT_EQ(contentsOf(robot_), kCamera);
}

TEST_F(AdjustRefusal, CalibrationWithAnError) {
  useRobot(replaced(kCamera, "fx: 1000", "fx: -1000"));
  const ProgramResult result = runTool(adjust());
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.errors,
              StartsWith(robot_ + ":3:5: error: camera_calibration[0].intrinsics.fx: "));
  EXPECT_THAT(result.errors, HasSubstr("not adjusted, since the moved calibration has 1 error;"));
  EXPECT_THAT(toolOutput(adjust("--force")), HasSubstr(said()));
}

TEST_F(AdjustRefusal, WarningsOfTheMoveAreSaid) {
  useBase(replaced(kBase, "0, 1, 0, 500", "0, 1, 0, 45000"));
  const std::string output = toolOutput(adjust());
  EXPECT_THAT(output, HasSubstr(base_ + ":7:5: warning: global_transform_adjustment"));
  EXPECT_THAT(output, HasSubstr(robot_ + ":13:5: warning: camera_calibration[0].extrinsics.a: "));
  EXPECT_THAT(output, HasSubstr(said()));
}

TEST_F(AdjustRefusal, WarningsThatWereThereBeforeAreNot) {
  useRobot(replaced(kCamera, "name: \"lab\"", ""));
  useBase(replaced(kBase, "gain: 1", ""));
  EXPECT_EQ(toolOutput(adjust()), said());
}

TEST_F(AdjustRefusal, NothingMovesByTheIdentity) {
  useBase(replaced(kBase, "0, 1, 0, 500", "0, 1, 0, 0"));
  EXPECT_EQ(toolOutput(adjust()),
            said() +
                "note: the global transform is the identity, so that all poses are as they "
                "were\n");
  RobotCalibration expected = parseText<RobotCalibration>(kCamera);
  *expected.mutable_camera_calibration(0)->add_adjusted_by() =
      parseText<BaseCalibrationProto>(contentsOf(base_)).global_transform_adjustment();
  EXPECT_EQ(written().SerializeAsString(), expected.SerializeAsString());
}

TEST_F(AdjustRefusal, TextIsWrittenAsByHand) {
  useBase(replaced(kBase, "0, 1, 0, 500", "0, 1, 0, 0"));
  toolOutput(adjust());
  EXPECT_EQ(contentsOf(robot_), replaced(kCamera, "  name: \"lab\"\n}\n", R"(  name: "lab"
  adjusted_by {
    global_transform {
      a: [1, 0, 0, 0]
      a: [0, 1, 0, 0]
      a: [0, 0, 1, 0]
    }
    metadata {
      calibration_time: 1715677200000000000
    }
  }
}
)"));
}

TEST_F(AdjustRefusal, BackupKeepsWhatWasThere) {
  const std::string backup = robot_ + ".bak";
  EXPECT_EQ(toolOutput(adjust("--backup")), said() + backup + ": has what the file was before\n");
  EXPECT_EQ(contentsOf(backup), kCamera);
  const std::string moved = contentsOf(robot_);
  EXPECT_THAT(toolOutput(adjust("--backup --again")), HasSubstr(backup + "2: has what"));
  EXPECT_EQ(contentsOf(backup), kCamera);
  EXPECT_EQ(contentsOf(backup + "2"), moved);
}

TEST_F(AdjustRefusal, NewFileHasNoBackup) {
  const std::string output = folder_.path("new.txt");
  toolOutput("adjust '" + robot_ + "' --base '" + base_ + "' --backup --output '" + output + "'");
  EXPECT_FALSE(fs::exists(output + ".bak"));
}

TEST_F(AdjustRefusal, NoBackupIsLeftOfAFileThatIsNotWritten) {
  std::string cameras;
  for (int i = 0; i < 100; ++i) {
    cameras += replaced(kCamera, "\"lab\"", "\"lab" + std::to_string(i) + "\"");
  }
  useRobot(cameras);
  const ProgramResult result =
      testing::runProgram("ulimit -f 4; " + testing::toolCommand() + adjust("--backup"));
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.errors,
            "camera-parameters: " + robot_ + ".bak: cannot be written: File too large\n");
  EXPECT_FALSE(fs::exists(robot_ + ".bak"));
  EXPECT_EQ(contentsOf(robot_), cameras);
}

TEST_F(AdjustRefusal, Json) {
  const json first = testing::toolJson(adjust("--backup"));
  EXPECT_EQ(first["source"], robot_);
  EXPECT_EQ(first["base"], base_);
  EXPECT_EQ(first["output"], robot_);
  EXPECT_EQ(first["format"], "text");
  EXPECT_EQ(first["written"], true);
  EXPECT_EQ(first["objection"], nullptr);
  EXPECT_EQ(first["backup"], robot_ + ".bak");
  EXPECT_EQ(first["notes"], json::array());
  ASSERT_EQ(first["cameras"].size(), 1U);
  const json& camera = first["cameras"][0];
  EXPECT_EQ(camera["name"], "lab");
  EXPECT_EQ(camera["moved_before"], false);
  EXPECT_NEAR(camera["center_on_robot_before"][0].get<double>(), -1.0001, 1e-6);
  EXPECT_NEAR(camera["center_on_robot_before"][1].get<double>(), -0.0003, 1e-6);
  EXPECT_NEAR(camera["center_on_robot"][0].get<double>(), -1.0001, 1e-6);
  EXPECT_NEAR(camera["center_on_robot"][1].get<double>(), -0.5003, 1e-6);

  const ProgramResult refused = runTool(adjust("--json"));
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.errors, "");
  const json second = json::parse(refused.output);
  EXPECT_EQ(second["written"], false);
  EXPECT_THAT(second["objection"].get<std::string>(), HasSubstr("--again applies it once more"));
  EXPECT_EQ(second["cameras"][0]["moved_before"], true);
}

TEST_F(AdjustRefusal, ShowSaysByWhatCamerasWereMoved) {
  EXPECT_EQ(testing::toolJson("show '" + robot_ + "'")["cameras"][0]["adjusted_by"], json::array());
  toolOutput(adjust());
  EXPECT_THAT(toolOutput("show '" + robot_ + "'"),
              HasSubstr("\n  moved by a base's global transform of 2024-05-14 09:00:00 UTC\n"));
  const json record = testing::toolJson("show '" + robot_ + "'")["cameras"][0]["adjusted_by"];
  ASSERT_EQ(record.size(), 1U);
  EXPECT_EQ(record[0]["global_transform"], json({1, 0, 0, 0, 0, 1, 0, 500, 0, 0, 1, 0}));
  EXPECT_EQ(record[0]["metadata"]["calibration_time_ns"], 1715677200000000000);
}

TEST_F(AdjustRefusal, FindingsInJson) {
  useRobot(replaced(kCamera, "fx: 1000", "fx: -1000"));
  useBase(replaced(kBase, "0, 1, 0, 500", "0, 1, 0, 4500"));
  const ProgramResult refused = runTool(adjust("--json"));
  EXPECT_EQ(refused.status, 1);
  const json findings = json::parse(refused.output)["findings"];
  ASSERT_GE(findings.size(), 2U);
  EXPECT_EQ(findings[0]["severity"], "warning");
  EXPECT_EQ(findings[0]["file"], base_);
  EXPECT_EQ(findings[0]["line"], 7);
  const auto is_focal = [](const json& finding) { return finding["check"] == "focal"; };
  const auto focal = std::find_if(findings.begin(), findings.end(), is_focal);
  ASSERT_NE(focal, findings.end());
  EXPECT_EQ((*focal)["severity"], "error");
  EXPECT_EQ((*focal)["file"], robot_);
  EXPECT_EQ((*focal)["line"], 3);
  EXPECT_EQ((*focal)["field"], "camera_calibration[0].intrinsics.fx");
}

}  // namespace
}  // namespace norv

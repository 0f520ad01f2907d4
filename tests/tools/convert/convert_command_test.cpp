// The verb `convert`, run as the user runs it.

#include <gmock/gmock.h>
#include <google/protobuf/unknown_field_set.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "proto/norv_ptz_camera.pb.h"
#include "support/message_parsing.h"
#include "testing/file_contents.h"
#include "testing/review_findings.h"
#include "testing/run_program.h"
#include "testing/temporary_folder.h"
#include "testing/tree_calibrations.h"
#include "tests/tools/run_tool.h"

namespace norv {
namespace {

using calibration::CameraIntrinsics;
using calibration::RobotCalibration;
using testing::contentsOf;
using testing::expectBadUsage;
using testing::expectToolRefuses;
using ::testing::HasSubstr;
using testing::kCalibrations;
using testing::ProgramResult;
using testing::runProgram;
using testing::runTool;
using testing::TemporaryFolder;
using testing::toolCommand;
using testing::toolOutput;

/// Two cameras, and numbers that are easily changed: limits of the types, the smallest ones,
/// thirds, zeros with a sign, what is not finite, letters of all sorts.
RobotCalibration awkwardRobot() {
  RobotCalibration robot = testing::defaultRobot();
  robot.mutable_camera_calibration(0)->set_name("a\"\\\n\x01\t\xc3\xa9\xe2\x82\xac </script> -0,");
  CameraIntrinsics* in = robot.mutable_camera_calibration(0)->mutable_intrinsics();
  in->set_fx(-0.0);
  in->set_fy(1.0 / 3);
  in->set_skew(std::numeric_limits<double>::denorm_min());
  in->set_cx(std::numeric_limits<double>::infinity());
  in->set_cy(std::numeric_limits<double>::quiet_NaN());
  in->set_radial(0, std::numeric_limits<double>::max());
  in->set_radial(1, -0.0);
  in->set_radial(5, -0.0);  // at the end of a list
  in->set_height(std::numeric_limits<int>::min());
  in->mutable_samples(0)->set_image_x(-0.0F);
  in->mutable_samples(0)->set_image_y(std::numeric_limits<float>::denorm_min());
  in->mutable_samples(1)->set_image_x(std::numeric_limits<float>::max());
  in->mutable_samples(1)->set_image_y(-std::numeric_limits<float>::infinity());
  in->mutable_samples(2)->Clear();
  robot.add_camera_calibration();
  return robot;
}

/// The bytes after `data` has been written in each of the formats, one after the other.
std::string throughAllFormats(const TemporaryFolder& folder, const std::string& data,
                              const std::vector<std::string>& formats) {
  std::string path = folder.write("0", data);
  for (std::size_t i = 0; i < formats.size(); ++i) {
    const std::string next = folder.path(std::to_string(i + 1));
    const ProgramResult result =
        runTool("convert '" + path + "' " + formats[i] + " -o '" + next + "'");
    EXPECT_EQ(result.status, 0) << formats[i];
    EXPECT_EQ(result.errors, "") << formats[i];
    path = next;
  }
  return contentsOf(path);
}

TEST(ConvertCommand, AllFormatsHoldTheSame) {
  const TemporaryFolder folder;
  std::vector<std::string> calibrations = {awkwardRobot().SerializeAsString()};
  for (const char* name : {"default_head_cal.txt", "default_base_cal.txt", "example_ptz_cal.txt"}) {
    calibrations.push_back(toolOutput("convert " + kCalibrations + name + " --binary"));
  }
  for (const std::string& binary : calibrations) {
    EXPECT_EQ(throughAllFormats(folder, binary, {"--text", "--binary"}), binary);
    EXPECT_EQ(throughAllFormats(folder, binary, {"--json", "--binary"}), binary);
    EXPECT_EQ(throughAllFormats(folder, binary,
                                {"--binary", "--json", "--text", "--json", "--text", "--binary"}),
              binary);
  }
}

TEST(ConvertCommand, WhatItWritesIsTheMessageOfTheFile) {
  RobotCalibration expected;
  ASSERT_TRUE(parseText(contentsOf(kCalibrations + "default_head_cal.txt"), &expected));
  EXPECT_EQ(toolOutput("convert default --binary"), expected.SerializeAsString());
  RobotCalibration text;
  ASSERT_TRUE(parseText(runTool("convert default --text").output, &text));
  EXPECT_EQ(text.SerializeAsString(), expected.SerializeAsString());
}

TEST(ConvertCommand, JsonIsTheMappingOfProtocolBuffers) {
  const TemporaryFolder folder;
  const std::string path = folder.write(
      "base.txt",
      "wheel_base: 0.5 gyroscope { gain: -0 metadata { calibration_time: 9007199254740993 } }");
  EXPECT_EQ(toolOutput("convert '" + path + "' --json"),
            "{\n"
            " \"wheelBase\": 0.5,\n"
            " \"gyroscope\": {\n"
            "  \"gain\": -0.0,\n"
            "  \"metadata\": {\n"
            "   \"calibrationTime\": \"9007199254740993\"\n"
            "  }\n"
            " }\n"
            "}\n");
}

TEST(ConvertCommand, JsonMayHaveTheNamesOfTheMessage) {
  const TemporaryFolder folder;
  const std::string path =
      folder.write("base.json", "  {\"wheel_base\": 0.5, \"gyroscope\": {\"gain\": 1}}");
  EXPECT_EQ(toolOutput("convert '" + path + "' --text"),
            "wheel_base: 0.5\n\ngyroscope {\n  gain: 1\n}\n");
}

TEST(ConvertCommand, OtherVerbsReadJson) {
  const TemporaryFolder folder;
  const std::string json = folder.write("robot.json", toolOutput("convert default --json"));
  EXPECT_EQ(toolOutput("validate '" + json + "'"), json + ": 0 errors, 0 warnings\n");
  EXPECT_THAT(toolOutput("show '" + json + "'"), HasSubstr(json + ": 2 cameras\n"));
  const std::string ptz = folder.write(
      "ptz.json", toolOutput("convert " + kCalibrations + "example_ptz_cal.txt --json"));
  EXPECT_EQ(
      toolOutput("aim '" + ptz + "' --at 500,200,2500 --pixel 400,300"),
      toolOutput("aim " + kCalibrations + "example_ptz_cal.txt --at 500,200,2500 --pixel 400,300"));
}

TEST(ConvertCommand, JsonErrorsHaveAPlaceOrAField) {
  const TemporaryFolder folder;
  const auto refuse = [&](const std::string& json, const std::string& problem) {
    const std::string path = folder.write("bad.json", json);
    expectToolRefuses("convert '" + path + "' --text", path + problem);
  };
  refuse(
      "{\n  \"wheelBase\": 1,5\n}",
      ":2:18: syntax error while parsing object key - unexpected number literal; expected string "
      "literal");
  refuse("{\"cameraCalibration\": [{\"intrinsics\": {\"fx\": \"abc\"}}]}",
         ": camera_calibration[0].intrinsics.fx: invalid value \"abc\" for type TYPE_DOUBLE");
  refuse("{\"cameraCalibration\": [{\"nam\": \"x\"}]}",
         ": camera_calibration[0]: nam: Cannot find field.");
}

TEST(ConvertCommand, HostileJsonIsRefused) {
  const TemporaryFolder folder;
  for (const std::string& json :
       {std::string("{"), "{\"a\":" + std::string(100000, '['), std::string("{\"name\": \"\xff\"}"),
        "{" + std::string(1, '\0') + "}", std::string("{\"wheelBase\": 1e999}"),
        std::string("{} {}"), std::string("{\"cameraCalibration\": [{\"name\": \"\\ud800\"}]}")}) {
    const ProgramResult result = runTool("convert '" + folder.write("j", json) + "' --binary");
    EXPECT_EQ(result.status, 1) << json.substr(0, 40);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, ::testing::StartsWith("camera-parameters: " + folder.path("j")));
  }
}

RobotCalibration robotOfTheFuture() {
  RobotCalibration robot = testing::defaultRobot();
  const auto add = [](google::protobuf::Message* message, int number) {
    message->GetReflection()->MutableUnknownFields(message)->AddLengthDelimited(number, "later");
  };
  add(robot.mutable_camera_calibration(1)->mutable_intrinsics(), 15);
  add(robot.mutable_camera_calibration(0), 77);
  return robot;
}

TEST(ConvertCommand, UnknownFieldsSurviveInBinary) {
  const TemporaryFolder folder;
  const std::string binary = robotOfTheFuture().SerializeAsString();
  EXPECT_EQ(throughAllFormats(folder, binary, {"--binary"}), binary);
}

TEST(ConvertCommand, UnknownFieldsAreNamedWhereTheyCannotSurvive) {
  const TemporaryFolder folder;
  const std::string path = folder.write("robot.bin", robotOfTheFuture().SerializeAsString());
  const std::string names = "camera_calibration[0].77, camera_calibration[1].intrinsics.15";
  const std::string output = folder.path("out");
  expectToolRefuses("convert '" + path + "' --text -o '" + output + "'",
                    path + ": the text format cannot hold " + names + "; --lossy writes the rest");
  EXPECT_NE(::access(output.c_str(), F_OK), 0);
  expectToolRefuses("convert '" + path + "' --json",
                    path + ": JSON cannot hold " + names + "; --lossy writes the rest");
  for (const std::string format : {"--text", "--json"}) {
    const ProgramResult lossy = runTool("convert --lossy '" + path + "' " + format);
    EXPECT_EQ(lossy.status, 0);
    EXPECT_THAT(lossy.errors, HasSubstr(" does not hold " + names + "\n"));
    const std::string known = folder.write("known", lossy.output);
    EXPECT_EQ(toolOutput("convert '" + known + "' --binary"),
              testing::defaultRobot().SerializeAsString());
  }
}

TEST(ConvertCommand, ManyLossesAreCounted) {
  const TemporaryFolder folder;
  RobotCalibration robot = testing::defaultRobot();
  for (auto& sample :
       *robot.mutable_camera_calibration(0)->mutable_intrinsics()->mutable_samples()) {
    sample.GetReflection()->MutableUnknownFields(&sample)->AddVarint(9, 1);
  }
  const std::string path = folder.write("robot.bin", robot.SerializeAsString());
  EXPECT_THAT(runTool("convert '" + path + "' --text").errors,
              HasSubstr(" and 120 more; --lossy writes the rest\n"));
}

TEST(ConvertCommand, OtherLossesAreNamedToo) {
  const TemporaryFolder folder;
  RobotCalibration robot = testing::defaultRobot();
  robot.mutable_camera_calibration(1)->set_name("a\xff");
  const std::string name = folder.write("name.bin", robot.SerializeAsString());
  EXPECT_EQ(throughAllFormats(folder, robot.SerializeAsString(), {"--text", "--binary"}),
            robot.SerializeAsString());
  EXPECT_THAT(runTool("convert '" + name + "' --json").errors, HasSubstr("JSON cannot hold "));

  robot = testing::defaultRobot();
  const unsigned long long bits = 0xFFF8000000000001;  // a NaN with a sign and a payload
  double nan = 0;
  static_assert(sizeof nan == sizeof bits);
  std::memcpy(&nan, &bits, sizeof nan);
  robot.mutable_camera_calibration(1)->mutable_intrinsics()->set_cx(nan);
  const std::string path = folder.write("nan.bin", robot.SerializeAsString());
  expectToolRefuses("convert '" + path + "' --json",
                    path +
                        ": JSON cannot hold camera_calibration[1].intrinsics.cx; --lossy writes "
                        "the rest");
}

TEST(ConvertCommand, OutputIsReplacedInPlace) {
  const TemporaryFolder folder;
  const std::string path = folder.write("robot", toolOutput("convert default --binary"));
  ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
  EXPECT_EQ(toolOutput("convert '" + path + "' --json --output '" + path + "'"),
            path + ": the calibration of fixed cameras, written in JSON\n");
  EXPECT_EQ(contentsOf(path), toolOutput("convert default --json"));
  struct stat status = {};
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0640U);
  expectToolRefuses("convert default --json -o '" + folder.path() + "'",
                    folder.path() + ": cannot be written: not a regular file");
}

TEST(ConvertCommand, StandardInputAndOutput) {
  const ProgramResult result = runProgram(toolCommand() + " convert default --json | " +
                                          toolCommand() + " convert - --binary -o -");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, toolOutput("convert default --binary"));
}

TEST(ConvertCommand, CommentsAreMissed) {
  const TemporaryFolder folder;
  const auto notes = [&](const std::string& text) {
    return runTool("convert --text '" + folder.write("base.txt", text) + "'").errors;
  };
  EXPECT_EQ(notes("wheel_base: 0.5  # metres"), "note: comments are not kept\n");
  EXPECT_EQ(notes("gyroscope { metadata { validity_key: 'a\\'#' tool_version: \"#\" } }"), "");
  const std::string commented = folder.write("base.txt", "# metres\nwheel_base: 0.5");
  EXPECT_EQ(runTool("convert --binary '" + commented + "'").errors, "");
}

TEST(ConvertCommand, TheKindIsWhatTheUserSays) {
  // The same bytes: a base with an unknown field, and fixed cameras.
  const TemporaryFolder folder;
  const std::string path = folder.write("robot.bin", testing::defaultRobot().SerializeAsString());
  EXPECT_EQ(runTool("convert --kind robot '" + path + "' --binary").status, 0);
  expectToolRefuses("convert --kind base '" + path + "' --binary",
                    path + ": holds the calibration of fixed cameras, not of a mobile base");
  const std::string empty = folder.write("empty", "");
  expectToolRefuses("convert '" + empty + "' --json", empty + ": is empty");
}

TEST(ConvertCommand, WrongCalls) {
  expectBadUsage("convert");
  expectBadUsage("convert --text");
  expectBadUsage("convert '' --text");
  expectBadUsage("convert default");
  expectBadUsage("convert default --text --json");
  expectBadUsage("convert default --binary --json");
  expectBadUsage("convert default --text --binary");
  expectBadUsage("convert default --text -o ''");
  expectBadUsage("convert default default --text");
}

}  // namespace
}  // namespace norv

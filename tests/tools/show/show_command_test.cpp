// The verb `show`, run as the user runs it: what it reads and refuses, and its log.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <string>

#include "testing/calibration_messages.h"
#include "testing/run_program.h"
#include "testing/temporary_folder.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/show/show_example.h"

namespace norv {
namespace {

using testing::expectShowRefuses;
using ::testing::HasSubstr;
using testing::plainCamera;
using testing::ProgramResult;
using testing::robotOf;
using testing::runProgram;
using testing::runTool;
using ::testing::StartsWith;
using testing::TemporaryFolder;

TEST(ShowCommand, FilesThatCannotBeRead) {
  const TemporaryFolder folder;
  expectShowRefuses(folder.path("missing"), folder.path("missing") + ": there is no such file");
  expectShowRefuses(folder.path("missing/file"),
                    folder.path("missing/file") + ": there is no such file");
  expectShowRefuses(folder.path(), folder.path() + ": is a folder");
  expectShowRefuses("/dev/zero", "/dev/zero: cannot be read: A device that may have no end");
}

/// Processor time in seconds of the programs that this one has run.
double childrensTime() {
  rusage usage = {};
  getrusage(RUSAGE_CHILDREN, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         1e-6 * static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

TEST(ShowCommand, WhatIsNoTextIsRefusedAtOnce) {
  const TemporaryFolder folder;
  const std::string path = folder.write("zeros", std::string(std::size_t{64} << 20, '\0'));
  const std::string refusal = path + ": neither a binary nor a text-format RobotCalibration";
  const double start = childrensTime();
  testing::expectToolRefuses("show --kind robot '" + path + "'", refusal);
  const double of_one_kind = childrensTime() - start;
  expectShowRefuses(path, refusal);
  const double of_any_kind = childrensTime() - start - of_one_kind;
  // Measured: 0.10 s and 0.10 s; 0.9 s where each kind's fields were searched for.
  EXPECT_LT(of_any_kind, 3 * of_one_kind + 0.1);
}

TEST(ShowCommand, StandardInputAndFifos) {
  const TemporaryFolder folder;
  const std::string path = folder.write("robot", robotOf({plainCamera("lab")}).SerializeAsString());
  const std::string expected = testing::toolOutput("show '" + path + "'").substr(path.size());
  const std::string show = testing::toolCommand() + "show ";
  EXPECT_EQ(runProgram("cat '" + path + "' | " + show + "-").output, "standard input" + expected);
  EXPECT_EQ(runProgram(show + "- < '" + path + "'").output, "standard input" + expected);
  EXPECT_EQ(runProgram("cat '" + path + "' | " + show + "/dev/stdin").output,
            "/dev/stdin" + expected);
  const std::string fifo = folder.path("fifo");
  EXPECT_EQ(runProgram("mkfifo '" + fifo + "'; cat '" + path + "' > '" + fifo + "' & " + show +
                       "'" + fifo + "'")
                .output,
            fifo + expected);
}

TEST(ShowCommand, StandardInputThatCannotBeRead) {
  const std::string show = testing::toolCommand() + "show - ";
  const std::string refused = "camera-parameters: standard input: cannot be read: ";
  EXPECT_EQ(runProgram(show + "<&-").errors, refused + "Bad file descriptor\n");
  EXPECT_EQ(runProgram(show + "< /").errors, refused + "Is a directory\n");
  EXPECT_EQ(runProgram(show + "< /dev/zero").errors, refused + "A device that may have no end\n");
  EXPECT_EQ(runProgram(show + "<&-").status, 1);
  const ProgramResult syntax = runProgram("echo hello: 1 | " + show);
  EXPECT_THAT(syntax.errors, StartsWith("camera-parameters: standard input:1:1: hello: Message"));
}

TEST(ShowCommand, SystemsReasonForAFileThatCannotBeRead) {
  const TemporaryFolder folder;
  const std::string path = folder.write("secret", "");
  ASSERT_EQ(::chmod(path.c_str(), 0), 0);
  // Whoever may read everything reads it: the file is empty.
  if (::geteuid() != 0) expectShowRefuses(path, path + ": cannot be read: Permission denied");
  const std::string longest = folder.path(std::string(256, 'n'));
  expectShowRefuses(longest, longest + ": cannot be read: File name too long");
}

TEST(ShowCommand, FilesThatAreNoCalibration) {
  const TemporaryFolder folder;
  std::string path = folder.write("binary", std::string("\xff\x00\x01", 3));
  expectShowRefuses(path, path + ": neither a binary nor a text-format RobotCalibration");
  path = folder.write("unknown", "camera_calibration {\n  nme: \"x\"\n}\n");
  expectShowRefuses(path, path +
                              ":2:3: camera_calibration[0].nme: Message type "
                              "\"norv.calibration.CameraCalibration\" has no field named \"nme\".");
  path = folder.write("type", "camera_calibration {\n  intrinsics {\n    width: \"x\"\n  }\n}\n");
  expectShowRefuses(path,
                    path +
                        ":3:12: camera_calibration[0].intrinsics.width: Expected integer, got: "
                        "\"x\"");
  path = folder.write("other", "hello: world");
  expectShowRefuses(path,
                    path +
                        ":1:1: hello: Message type \"norv.calibration.RobotCalibration\" has no "
                        "field named \"hello\".");
}

TEST(ShowCommand, LogIsForThoseWhoAskForIt) {
  const TemporaryFolder folder;
  const std::string path = folder.write("robot", robotOf({plainCamera("lab")}).SerializeAsString());
  const std::string quiet = testing::toolOutput("show --size 320x240 '" + path + "'");
  const ProgramResult result = runTool("show --size 320x240 '" + path + "'", "NORV_LOG=info");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, quiet);
  EXPECT_THAT(result.errors, HasSubstr("1280 960 320 240"));
}

TEST(ShowCommand, UnknownCamera) {
  const ProgramResult result = runTool("show --camera Head_Camera");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(
      result.errors,
      "camera-parameters: compiled-in default calibration: no camera \"Head_Camera\" (there are: "
      "head_camera, navigation_camera); did you mean head_camera?\n");
  EXPECT_EQ(runTool("show --camera navigation").errors,
            "camera-parameters: compiled-in default calibration: no camera \"navigation\" (there "
            "are: head_camera, navigation_camera); did you mean navigation_camera?\n");
}

TEST(ShowCommand, UnknownCameraAmongMany) {
  const TemporaryFolder folder;
  calibration::RobotCalibration robot;
  for (int i = 0; i < 23; ++i) *robot.add_camera_calibration() = plainCamera(std::to_string(i));
  robot.mutable_camera_calibration(1)->set_name("one\n\x1b[31m");
  const std::string path = folder.write("robot", robot.SerializeAsString());
  testing::expectToolRefuses(
      "show --camera x '" + path + "'",
      path +
          ": no camera \"x\" (there are: 0, one\\n\\x1b[31m, 2, 3, 4, 5, 6, 7, "
          "8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19 and 3 more)");
}

TEST(ShowCommand, TextThatIsNestedTooDeeply) {
  const TemporaryFolder folder;
  std::string text;
  for (int i = 0; i < 200; ++i) text += "camera_calibration {";
  const ProgramResult result = runTool("show '" + folder.write("deep", text) + "'");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(result.errors, StartsWith("camera-parameters: " + folder.path("deep") + ":1:"));
}

TEST(ShowCommand, OutputThatCannotBeWritten) {
  const ProgramResult result = runTool("show > /dev/full");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.errors, "camera-parameters: cannot write to standard output\n");
}

}  // namespace
}  // namespace norv

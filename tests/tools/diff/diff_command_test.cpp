// The verb `diff`, run as the user runs it: what it reads, refuses and never writes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "testing/calibration_edits.h"
#include "testing/calibration_messages.h"
#include "testing/file_contents.h"
#include "testing/tree_calibrations.h"
#include "tests/tools/diff/diff_example.h"
#include "tests/tools/run_tool.h"

namespace norv {
namespace {

using testing::contentsOf;
using testing::DiffCommand;
using testing::expectBadUsage;
using testing::expectToolRefuses;
using ::testing::HasSubstr;
using testing::kCalibrations;
using testing::pinholeCamera;
using testing::ProgramResult;
using testing::robotOf;
using testing::runProgram;
using testing::runTool;
using testing::toolCommand;

TEST_F(DiffCommand, ReadsStandardInput) {
  const ProgramResult result =
      runProgram(toolCommand() + "diff default - < " + writeShifted() + " --fail-above 1");
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.output, HasSubstr("\nB: standard input\n"));
}

TEST_F(DiffCommand, DoesNotWriteTheGridOverACalibration) {
  const std::string path = writeShifted();
  const std::string before = contentsOf(path);
  expectToolRefuses("diff default " + path + " --csv " + path,
                    path + ": is a calibration, which is not to be written over");
  EXPECT_EQ(contentsOf(path), before);
  EXPECT_EQ(runTool("diff default default --csv /nonexistent/grid.csv").status, 1);
}

TEST_F(DiffCommand, RefusesCalibrationsOfDifferentKinds) {
  const std::string ptz = kCalibrations + "example_ptz_cal.txt";
  expectToolRefuses("diff default " + ptz,
                    "compiled-in default calibration holds the calibration of fixed cameras, " +
                        ptz + " that of a pan-tilt-zoom camera");
}

TEST_F(DiffCommand, RefusesWhatDoesNotLoad) {
  const std::string text = folder_.write(
      "bad.txt",
      "camera_calibration { name: 'a'\n  intrinsics { radial: [1, 2] tangential: [0, 0] } }\n");
  expectToolRefuses("diff default " + text,
                    text +
                        ":2:16: camera_calibration[0].intrinsics.radial: holds 2 values, at "
                        "least 6 are needed");
  expectToolRefuses("diff " + text + " default",
                    text +
                        ":2:16: camera_calibration[0].intrinsics.radial: holds 2 values, at "
                        "least 6 are needed");
  expectToolRefuses("diff default /nonexistent/b.txt", "/nonexistent/b.txt: there is no such file");
  const std::string empty = folder_.write("empty.txt", "");
  expectToolRefuses("diff default " + empty, empty + ": is empty");
}

TEST_F(DiffCommand, RefusesANameThatNeitherHas) {
  expectToolRefuses("diff default default --camera navigation_camra",
                    "no camera \"navigation_camra\" in compiled-in default calibration or "
                    "compiled-in default calibration; did you mean navigation_camera?");
}

TEST_F(DiffCommand, NamesCannotActOnTheTerminal) {
  const std::string a = write("a.bin", robotOf({pinholeCamera("\x1b[31mred", 100, 100),
                                                pinholeCamera("\x1b]gone", 100, 100)}));
  const std::string b = write("b.bin", robotOf({pinholeCamera("\x1b[31mred", 100, 100)}));
  const ProgramResult result = runTool("diff " + a + " " + b + " --fail-above 1");
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.output.find('\x1b'), std::string::npos);
}

TEST_F(DiffCommand, RefusesWrongCalls) {
  expectBadUsage("diff");
  expectBadUsage("diff default");
  expectBadUsage("diff default default default");
  expectBadUsage("diff - -");
  expectBadUsage("diff '' default");
  expectBadUsage("diff default default --camera ''");
  expectBadUsage("diff default default --size 640");
  for (const char* wrong : {"0", "-1", "nan", "3m", "''", "1e999", "-inf"}) {
    expectBadUsage(std::string("diff default default --distance ") + wrong);
  }
  for (const char* option : {"--fail-above", "--fail-above-mm", "--fail-above-deg"}) {
    for (const char* wrong : {"-1", "nan", "inf", "1px", "''"}) {
      expectBadUsage(std::string("diff default default ") + option + " " + wrong);
    }
  }
  expectBadUsage("diff default default --csv ''");
}

}  // namespace
}  // namespace norv

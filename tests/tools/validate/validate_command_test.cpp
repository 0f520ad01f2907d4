// The verb `validate`, run as the user runs it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "testing/calibration_messages.h"
#include "testing/review_findings.h"
#include "testing/run_program.h"
#include "testing/temporary_folder.h"
#include "testing/tree_calibrations.h"
#include "tests/tools/run_tool.h"

namespace norv {
namespace {

using calibration::RobotCalibration;
using nlohmann::json;
using testing::expectBadUsage;
using ::testing::HasSubstr;
using testing::kCalibrations;
using testing::ProgramResult;
using testing::runProgram;
using testing::runTool;
using testing::TemporaryFolder;
using testing::toolCommand;
using testing::toolOutput;

/// A camera with a warning in line 2 and an error in line 3.
constexpr const char* kFaulty =
    "camera_calibration { name: 'nav' model: 'lab'\n"
    "  intrinsics { fx: 905 fy: 905 cx: 640 cy: 480 skew: 5 width: 1280 height: 960\n"
    "    tangential: [0, 0] radial: [0, 0, 0, nan, 0, 0] }\n"
    "  extrinsics { a: [0, -1, 0, 30, 0, 0, -1, 350, 1, 0, 0, -250] } }\n";

constexpr const char* kSkewLine =
    ":2:48: warning: camera_calibration[0].intrinsics.skew: skew is 5 and not 0: rectifyPoint "
    "knows "
    "none and errs by up to 2.65193 px [skew]\n";
constexpr const char* kRadialLine =
    ":3:42: error: camera_calibration[0].intrinsics.radial[3]: radial[3] is nan, where a finite "
    "number up to 3.40282e+38 is needed [not-finite]\n";

TEST(ValidateCommand, FindsNothingWrongInWhatComesWithTheLibrary) {
  EXPECT_EQ(toolOutput("validate default"),
            "compiled-in default calibration: 0 errors, 0 warnings\n");
  for (const char* name : {"default_head_cal.txt", "default_base_cal.txt"}) {
    const std::string path = kCalibrations + name;
    EXPECT_EQ(toolOutput("validate --strict " + path), path + ": 0 errors, 0 warnings\n");
  }
  const std::string ptz = kCalibrations + "example_ptz_cal.txt";
  EXPECT_THAT(toolOutput("validate --strict " + ptz),
              HasSubstr("[zoom-end]\n" + ptz + ": 0 errors, 0 warnings, 1 info\n"));
}

TEST(ValidateCommand, ALineForEachFindingAndOneForTheFile) {
  const TemporaryFolder folder;
  const std::string path = folder.write("robot.txt", kFaulty);
  const ProgramResult result = runTool("validate '" + path + "'");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.output, path + kSkewLine + path + kRadialLine + path + ": 1 error, 1 warning\n");
}

TEST(ValidateCommand, WarningsAloneAreNoFailureUnlessStrict) {
  const TemporaryFolder folder;
  RobotCalibration robot = testing::defaultRobot();
  robot.mutable_camera_calibration(1)->mutable_intrinsics()->set_skew(5);
  const std::string path = folder.write("robot.bin", robot.SerializeAsString());
  const ProgramResult plain = runTool("validate '" + path + "'");
  EXPECT_EQ(plain.status, 0);
  EXPECT_THAT(plain.output, HasSubstr(path + ": warning: camera_calibration[1].intrinsics.skew: "));
  EXPECT_THAT(plain.output, HasSubstr("\n" + path + ": 0 errors, 1 warning\n"));
  const ProgramResult strict = runTool("validate --strict '" + path + "'");
  EXPECT_EQ(strict.status, 1);
  EXPECT_THAT(strict.output, HasSubstr(path + ": error: camera_calibration[1].intrinsics.skew: "));
  EXPECT_THAT(strict.output, HasSubstr("\n" + path + ": 1 error, 0 warnings\n"));
}

TEST(ValidateCommand, AllowedFindingsAreInfos) {
  const TemporaryFolder folder;
  const std::string path = folder.write("robot.txt", kFaulty);
  const ProgramResult one = runTool("validate --strict --allow skew '" + path + "'");
  EXPECT_EQ(one.status, 1);
  EXPECT_THAT(one.output, HasSubstr(":2:48: info: "));
  EXPECT_THAT(one.output, HasSubstr(": 1 error, 0 warnings, 1 info\n"));
  const ProgramResult both =
      runTool("validate --allow skew --allow not-finite --strict '" + path + "'");
  EXPECT_EQ(both.status, 0);
  EXPECT_THAT(both.output, HasSubstr(": 0 errors, 0 warnings, 2 infos\n"));
}

TEST(ValidateCommand, WhatDoesNotLoadIsAnErrorWhateverIsAllowed) {
  const TemporaryFolder folder;
  RobotCalibration robot = testing::defaultRobot();
  robot.mutable_camera_calibration(1)->mutable_extrinsics()->mutable_a()->Truncate(11);
  const std::string path = folder.write("robot.bin", robot.SerializeAsString());
  const ProgramResult result = runTool("validate --allow list-short '" + path + "'");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output,
            path +
                ": info: camera_calibration[1].extrinsics.a: the list has 11 values, fewer than "
                "the 12 that are needed [list-short]\n" +
                path +
                ": error: camera_calibration[1].extrinsics.a: does not load: holds 11 "
                "values, at least 12 are needed [parse]\n" +
                path + ": 1 error, 0 warnings, 1 info\n");
}

TEST(ValidateCommand, WhatDoesNotParseIsAFinding) {
  const TemporaryFolder folder;
  const std::string path = folder.write("robot.txt", "camera_calibration {\n  name: 9\n}\n");
  const ProgramResult result = runTool("validate '" + path + "'");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.output, path +
                               ":2:9: error: camera_calibration[0].name: Expected string, got: "
                               "9 [parse]\n" +
                               path + ": 1 error, 0 warnings\n");
}

TEST(ValidateCommand, EveryFileIsReviewedAndCounted) {
  const TemporaryFolder folder;
  const std::string bad = folder.write("bad.txt", kFaulty);
  const std::string missing = folder.path("missing.txt");
  const ProgramResult result =
      runTool("validate '" + missing + "' '" + bad + "' '" + folder.path() + "' default");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, missing + ": error: there is no such file [parse]\n" + missing +
                               ": 1 error, 0 warnings\n" + bad + kSkewLine + bad + kRadialLine +
                               bad + ": 1 error, 1 warning\n" + folder.path() +
                               ": error: is a folder [parse]\n" + folder.path() +
                               ": 1 error, 0 warnings\n"
                               "compiled-in default calibration: 0 errors, 0 warnings\n");
}

TEST(ValidateCommand, StandardInput) {
  const TemporaryFolder folder;
  const std::string path = folder.write("robot.txt", kFaulty);
  const ProgramResult result = runProgram("cat '" + path + "' | " + toolCommand() + " validate -");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("standard input:2:48: warning: "));
  EXPECT_THAT(result.output, HasSubstr("\nstandard input: 1 error, 1 warning\n"));
}

TEST(ValidateCommand, AnEmptyFileIsAnEmptyCalibration) {
  const TemporaryFolder folder;
  const std::string path = folder.write("empty", "");
  const ProgramResult result = runTool("validate '" + path + "'");
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr(path + ": warning: "));
  EXPECT_THAT(result.output, HasSubstr("[empty]\n"));
}

TEST(ValidateCommand, TheKindIsWhatTheUserSays) {
  const std::string base = kCalibrations + "default_base_cal.txt";
  EXPECT_EQ(runTool("validate --kind base " + base).status, 0);
  const ProgramResult text = runTool("validate --kind robot " + base);
  EXPECT_EQ(text.status, 1);
  EXPECT_EQ(text.output,
            base +
                ": error: holds the calibration of a mobile base, not of fixed cameras "
                "[parse]\n" +
                base + ": 1 error, 0 warnings\n");
  const TemporaryFolder folder;
  const std::string binary = folder.write("robot.bin", testing::defaultRobot().SerializeAsString());
  const ProgramResult other = runTool("validate --kind ptz '" + binary + "'");
  EXPECT_EQ(other.status, 1);
  EXPECT_THAT(other.output, HasSubstr(binary + ": error: holds the calibration of fixed cameras, "
                                               "not of a pan-tilt-zoom camera [parse]\n"));
}

TEST(ValidateCommand, JsonHasOneObjectAFinding) {
  const TemporaryFolder folder;
  const std::string path = folder.write("robot.txt", kFaulty);
  const ProgramResult result = runTool("validate --json '" + path + "' default");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.errors, "");
  const json document = json::parse(result.output, nullptr, false);
  const json expected_files = {{{"file", path},
                                {"kind", "robot"},
                                {"format", "text"},
                                {"errors", 1},
                                {"warnings", 1},
                                {"infos", 0}},
                               {{"file", "compiled-in default calibration"},
                                {"kind", "robot"},
                                {"format", "text"},
                                {"errors", 0},
                                {"warnings", 0},
                                {"infos", 0}}};
  EXPECT_EQ(document["files"], expected_files);
  ASSERT_EQ(document["findings"].size(), 2U);
  const json expected_skew = {{"severity", "warning"},
                              {"check", "skew"},
                              {"file", path},
                              {"line", 2},
                              {"column", 48},
                              {"field", "camera_calibration[0].intrinsics.skew"},
                              {"camera", "nav"},
                              {"size", nullptr},
                              {"value", 5},
                              {"threshold", 0},
                              {"text",
                               "skew is 5 and not 0: rectifyPoint knows none and errs by up to "
                               "2.65193 px"}};
  EXPECT_EQ(document["findings"][0], expected_skew);
  const json& radial = document["findings"][1];
  EXPECT_EQ(radial["check"], "not-finite");
  EXPECT_EQ(radial["value"], nullptr);  // NaN
}

TEST(ValidateCommand, JsonOfAFileThatCannotBeRead) {
  const json document = json::parse(runTool("validate --json /nonexistent/file").output);
  const json expected_file = {{"file", "/nonexistent/file"},
                              {"kind", nullptr},
                              {"format", nullptr},
                              {"errors", 1},
                              {"warnings", 0},
                              {"infos", 0}};
  EXPECT_EQ(document["files"], json::array({expected_file}));
  EXPECT_EQ(document["findings"][0]["check"], "parse");
  EXPECT_EQ(document["findings"][0]["line"], nullptr);
  EXPECT_EQ(document["findings"][0]["field"], nullptr);
}

TEST(ValidateCommand, JsonNamesImageSizes) {
  const TemporaryFolder folder;
  RobotCalibration robot = testing::plainRobot(1280, 960, 905);
  robot.mutable_camera_calibration(0)->mutable_intrinsics()->set_cx(833);
  const std::string path = folder.write("robot.bin", robot.SerializeAsString());
  const json finding = testing::toolJson("validate '" + path + "'")["findings"][0];
  EXPECT_EQ(finding["check"], "principal-point");
  EXPECT_EQ(finding["size"], json({1280, 960}));
  EXPECT_EQ(finding["line"], nullptr);
  EXPECT_EQ(finding["value"], 833);
}

TEST(ValidateCommand, NamesOfFilesCannotActOnTheTerminal) {
  const ProgramResult result = runTool("validate \"$(printf 'a\\033[2J')\"");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("a\\x1b[2J: error: "));
  EXPECT_EQ(result.output.find('\x1b'), std::string::npos);
}

TEST(ValidateCommand, ExplainsChecks) {
  const std::string text = toolOutput("validate --explain lens-tangential");
  EXPECT_EQ(text,
            "lens-tangential: error, warning\n"
            "  found when: hypot(p1, p2) above 0.1 (error) or 0.01 (warning)\n"
            "  reason: 0.01 is twice what the library's own fit expects of a lens; those that\n"
            "    come with the library have 0.0005 at most\n");
  const json document = testing::toolJson("validate --explain lens-tangential");
  EXPECT_EQ(document["check"], "lens-tangential");
  EXPECT_EQ(document["severities"], json({"error", "warning"}));
  EXPECT_EQ(document["found_when"], "hypot(p1, p2) above 0.1 (error) or 0.01 (warning)");
}

TEST(ValidateCommand, EveryCheckCanBeExplainedWithinATerminal) {
  for (const calibration::CheckDescription& check : calibration::calibrationChecks()) {
    const std::string text = toolOutput("validate --explain " + check.id);
    EXPECT_THAT(text, ::testing::StartsWith(check.id + ": "));
    testing::expectFitsTerminal(text);
  }
}

TEST(ValidateCommand, WrongCalls) {
  expectBadUsage("validate");
  expectBadUsage("validate ''");
  expectBadUsage("validate - -");
  expectBadUsage("validate default --explain skew");
  expectBadUsage("validate default --kind camera");
  expectBadUsage("validate default --allow");
  expectBadUsage("validate default --allow parse");
  EXPECT_THAT(runTool("validate default --allow lens-fol").errors,
              HasSubstr("no check \"lens-fol\". Did you mean lens-fold?"));
  EXPECT_THAT(runTool("validate --explain zzzzzz").errors, HasSubstr("no check \"zzzzzz\"\n"));
}

TEST(ValidateCommand, FilesMayFollowAnAllowedCheck) {
  EXPECT_EQ(toolOutput("validate --allow skew default"),
            "compiled-in default calibration: 0 errors, 0 warnings\n");
}

}  // namespace
}  // namespace norv

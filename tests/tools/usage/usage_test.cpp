// What the tool says of its own use, run as the user runs it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

#include "testing/run_program.h"
#include "tests/tools/run_tool.h"

namespace norv {
namespace {

using testing::expectUsage;
using ::testing::HasSubstr;
using testing::ProgramResult;
using testing::runTool;

/// All verbs, as a mistyped one is answered.
const std::string kVerbs =
    "show, aim, adjust, validate, convert, diff, view, import, export, report";

TEST(Usage, UnknownVerbs) {
  expectUsage("", "a verb is needed; there are " + kVerbs, "");
  expectUsage("shwo", "no verb \"shwo\"; there are " + kVerbs + ". Did you mean show?", "");
  expectUsage("ajust f --base b",
              "no verb \"ajust\"; there are " + kVerbs + ". Did you mean adjust?", "");
  expectUsage("hepl", "no verb \"hepl\"; there are " + kVerbs + ". Did you mean help?", "");
  expectUsage("frobnicate", "no verb \"frobnicate\"; there are " + kVerbs, "");
  expectUsage("''", "no verb \"\"; there are " + kVerbs, "");
}

TEST(Usage, UnknownOptions) {
  expectUsage("show --josn", "show has no option --josn. Did you mean --json?", "show");
  expectUsage("show -json", "show has no option -json. Did you mean --json?", "show");
  expectUsage("show --sise=640x480", "show has no option --sise. Did you mean --size?", "show");
  expectUsage("show --frobnicate", "show has no option --frobnicate", "show");
  expectUsage("aim f --at 1,2,3 --pixle 1,2", "aim has no option --pixle. Did you mean --pixel?",
              "aim");
  expectUsage("--versoin", "no option --versoin. Did you mean --version?", "");
  expectUsage("show a b", "show takes no further argument: \"b\"", "show");
}

TEST(Usage, MissingAndBadValues) {
  expectUsage("adjust", "CALIBRATION is required", "adjust");
  expectUsage("show --camera", "--camera: 1 required NAME missing", "show");
  expectUsage("adjust - --base - --output f",
              "CALIBRATION and --base cannot both be standard input", "adjust");
}

TEST(Usage, LibrarysLinesAreForThoseWhoAskForThem) {
  const std::string show = "show --camera head_camera";
  const std::string output = testing::toolOutput(show);
  EXPECT_EQ(runTool(show, "NORV_LOG=").errors, "");
  for (const std::string levels : {"info", "camera_parameters=info"}) {
    const ProgramResult result = runTool(show, "NORV_LOG=" + levels);
    EXPECT_THAT(result.errors, HasSubstr("error per point="));
    EXPECT_EQ(result.output, output);
  }
  EXPECT_EQ(runTool(show, "NORV_LOG=off").errors, "");
}

TEST(Usage, SizesAndNamesOfCameras) {
  expectUsage("show --size 99999x99999",
              "--size: not a size such as 640x480, each side at most 65535: 99999x99999", "show");
  expectUsage("show --camera ''", "--camera: the name of a camera is empty", "show");
  EXPECT_EQ(testing::toolOutput("show --size 640X480"), testing::toolOutput("show --size 640x480"));
}

TEST(Usage, EmptyNamesOfFiles) {
  const std::string empty = ": the name of the file is empty";
  expectUsage("show ''", "FILE" + empty, "show");
  expectUsage("aim '' --at 0,0,0 --pixel 1,1", "CALIBRATION" + empty, "aim");
  expectUsage("adjust '' --base b --output f", "CALIBRATION" + empty, "adjust");
  expectUsage("adjust - --base '' --output f", "--base" + empty, "adjust");
  expectUsage("adjust - --base b --output ''", "--output" + empty, "adjust");
}

TEST(Usage, WordsOfTheCommandLineCannotActOnTheTerminal) {
  expectUsage("\"$(printf 'a\\033]0;b\\007\\nc')\"",
              "no verb \"a\\x1b]0;b\\x07\\nc\"; there are " + kVerbs, "");
  expectUsage("show \"$(printf -- '--a\\302\\233\\377')\"", "show has no option --a\\xc2\\x9b\\xff",
              "show");
}

TEST(Usage, BadUsageIsStatusTwo) {
  for (const char* arguments :
       {"", "frobnicate", "show --frobnicate", "show a b", "show --size", "show --size 640",
        "show --size 640x", "show --size x480", "show --size 640x480x2", "show --size -1x2",
        "show --size 0x480", "show --size 99999999999x1", "show --camera"}) {
    const ProgramResult result = runTool(arguments);
    EXPECT_EQ(result.status, 2) << arguments;
    EXPECT_EQ(result.output, "") << arguments;
    EXPECT_NE(result.errors, "") << arguments;
  }
}

TEST(Usage, Version) {
  for (const char* option : {"--version", "-V"}) {
    const ProgramResult result = runTool(option);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_THAT(result.output, ::testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+\n"));
  }
}

TEST(Usage, HelpInAllItsSpellings) {
  const std::string help = testing::toolOutput("--help");
  EXPECT_EQ(testing::toolOutput("-h"), help);
  EXPECT_EQ(testing::toolOutput("help"), help);
  for (const std::string verb : {"show", "aim", "adjust", "validate", "convert", "diff", "view",
                                 "import", "export", "report"}) {
    EXPECT_THAT(help, HasSubstr("\n  " + verb + " "));
    const std::string verbs_help = testing::toolOutput(verb + " --help");
    EXPECT_EQ(testing::toolOutput("help " + verb), verbs_help);
    EXPECT_THAT(verbs_help, HasSubstr("Usage: camera-parameters " + verb + " [OPTIONS]"));
  }
}

TEST(Usage, HelpOfShow) {
  const ProgramResult result = runTool("show --help");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(result.output, HasSubstr("--size WxH"));
}

TEST(Usage, HelpSaysHowFarAwayABoxIsTaken) {
  EXPECT_THAT(runTool("aim --help", "COLUMNS=500").output,
              HasSubstr("Frame the box with these corners, pixels. Without --distance, what is "
                        "centred lies where the unit rays of the two, added up, end: about 2 m "
                        "away, less for a wide box\n"));
}

TEST(Usage, HelpNamesTheExitStatusesAndWhatAdjustRefuses) {
  EXPECT_THAT(
      testing::toolOutput("--help"),
      HasSubstr("Exit status: 0 done; 1 the input is bad, validate found an error, or the output\n"
                "cannot be written; 2 called wrongly; 3 aim does not reach what it was asked for,\n"
                "diff exceeds a limit, or view has no such straightened picture.\n"));
  EXPECT_THAT(testing::toolOutput("adjust --help"),
              HasSubstr("is not moved by the\nsame one again"));
}

std::size_t longestLine(const std::string& text) {
  std::size_t longest = 0;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) longest = std::max(longest, line.size());
  return longest;
}

TEST(Usage, HelpFitsTheTerminal) {
  for (const std::string verb : {"", "show", "aim", "adjust", "validate", "convert", "diff", "view",
                                 "import", "export", "report"}) {
    EXPECT_LE(longestLine(testing::toolOutput("help " + verb)), 80U) << verb;
    for (const std::string columns : {"0", "", "-3", "90x", "99999999999999999999"}) {
      EXPECT_EQ(runTool("help " + verb, "COLUMNS=" + columns).output,
                testing::toolOutput("help " + verb));
    }
    EXPECT_LE(longestLine(runTool("help " + verb, "COLUMNS=60").output), 60U) << verb;
    EXPECT_LE(longestLine(runTool("help " + verb, "COLUMNS=1").output), 60U) << verb;
    EXPECT_GT(longestLine(runTool("help " + verb, "COLUMNS=200").output), 80U) << verb;
  }
}

TEST(Usage, HelpThatCannotBeWritten) {
  for (const char* arguments :
       {"--help > /dev/full", "show --help > /dev/full", "--version > /dev/full", "--help >&-"}) {
    const ProgramResult result = runTool(arguments);
    EXPECT_EQ(result.status, 1) << arguments;
    EXPECT_EQ(result.errors, "camera-parameters: cannot write to standard output\n") << arguments;
  }
}

}  // namespace
}  // namespace norv

// The verb `aim`, run as the user runs it: what it refuses, its help, its log and its width.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <sstream>
#include <string>

#include "testing/calibration_messages.h"
#include "testing/document.h"
#include "testing/temporary_folder.h"
#include "tests/tools/aim/aim_example.h"
#include "tests/tools/run_tool.h"

namespace norv {
namespace {

using calibration::PTZCameraParameters;
using testing::aimExample;
using testing::expectBadUsage;
using testing::expectToolRefuses;
using testing::foldingPtz;
using testing::plainPtz;
using testing::StoredPtz;
using testing::TemporaryFolder;
using testing::toolOutput;
using testing::toolRefusalJson;

TEST(AimCommand, CallersEnvironmentDoesNotReachTheTests) {
  const StoredPtz calibration(plainPtz());
  const std::string arguments = calibration.aim("--at 0,0,0 --pixel 1264.065,540");
  EXPECT_EQ(setenv("NORV_LOG", "info", 1), 0);
  const testing::ProgramResult quiet = testing::runTool(arguments);
  const testing::ProgramResult loud = testing::runTool(arguments, "NORV_LOG=info");
  EXPECT_EQ(unsetenv("NORV_LOG"), 0);
  EXPECT_EQ(quiet.errors, "");
  EXPECT_THAT(loud.errors, ::testing::HasSubstr("zoom=0 a1=1.000000, a2=0.000000"));
  EXPECT_EQ(quiet.output, loud.output);
}

TEST(AimCommand, SolversTraceIsThereForThoseWhoAskForIt) {
  const StoredPtz calibration(plainPtz());
  const auto count = [&](const std::string& environment) {
    const testing::ProgramResult result =
        testing::runTool(calibration.aim("--at 0,0,0 --pixel 1000,500"), environment);
    EXPECT_EQ(result.status, 0);
    int steps = 0;
    std::istringstream errors(result.errors);
    for (std::string line; std::getline(errors, line);) {
      if (line.rfind("DEBUG pan_tilt_model", 0) == 0) ++steps;
    }
    return steps;
  };
  EXPECT_EQ(count("NORV_LOG=pan_tilt_model=debug"), 5);
  EXPECT_EQ(count("NORV_LOG=pan_tilt_model=info"), 0);
}

TEST(AimCommand, TargetsThatCannotBeReached) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_pan_tilt()->mutable_tilt_to_camera()->set_a(3, 500);
  const StoredPtz calibration(ptz);
  // The optical axis passes the pan axis, and a target on that, at half a metre. Where it stands
  // upright and both are parallel, it is not nearer.
  EXPECT_EQ(toolRefusalJson(calibration.aim("--at 0,0,0 --point 0,0,3"))["note"],
            "the head cannot point there: the best solution passes the target by 0.5 m");
  const StoredPtz plain(plainPtz());
  expectToolRefuses(plain.aim("--at 0,0,0 --pixel 1e30,1e30"),
                    plain.path() + ": no ray reaches pixel 1e+30,1e+30");
}

TEST(AimCommand, PixelsThatNoRayReaches) {
  const StoredPtz calibration(foldingPtz());
  const std::string reason = calibration.path() + ": no ray reaches pixel ";
  expectToolRefuses(calibration.aim("--at 0,0,0 --pixel 2400,540"), reason + "2400,540");
  expectToolRefuses(calibration.aim("--at 0,0,0 --box 0,0,-500,10.5"), reason + "-500,10.5");
  expectToolRefuses(calibration.aim("--at 0,0,0 --point 5,0,0 --pixel 960,3000"),
                    reason + "960,3000");
}

TEST(AimCommand, PositionsWithoutALens) {
  const StoredPtz calibration(plainPtz());
  for (const char* zoom : {"11000", "12000", "2147483647"}) {
    expectToolRefuses(calibration.aim("--at 0,0," + std::string(zoom) + " --pixel 0,0"),
                      calibration.path() + ": --at: zoom position " + zoom +
                          " is at or beyond the last lens sample, where the lens is not known");
  }
}

TEST(AimCommand, PositionsBelowTheFirstSample) {
  PTZCameraParameters ptz = plainPtz();
  const StoredPtz calibration(ptz);
  // From a whole interval below it on there is no lens; nearer, that of the first two goes on.
  for (const char* zoom : {"-1000", "-2147483648"}) {
    expectToolRefuses(calibration.aim("--at 0,0," + std::string(zoom) + " --pixel 0,0"),
                      calibration.path() + ": --at: zoom position " + zoom +
                          " is below the first lens sample, where the lens is not known");
  }
  EXPECT_THAT(toolOutput(calibration.aim("--at 0,0,-999 --pixel 960,540")),
              ::testing::EndsWith("\nnote: zoom position -999 is below the first lens sample: the "
                                  "lens there is\n  extrapolated\n"));
}

TEST(AimCommand, PositionsBetweenSamplesThatGiveNone) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_intrinsics()->mutable_samples(1)->set_focal_length(std::nan(""));
  const StoredPtz calibration(ptz);
  expectToolRefuses(
      calibration.aim("--at 0,0,500 --pixel 0,0"),
      calibration.path() +
          ": --at: zoom position 500 is between lens samples that give none, where the "
          "lens is not known");
}

TEST(AimCommand, FitsATerminalOf80Columns) {
  for (const char* arguments :
       {"--at 500,200,2500 --pixel 400,300", "--at 500,200,2500 --point 3,1,1.5",
        "--at 500,200,2500 --box 300,200,700,500", "--at 0,0,0 --box 959,539,961,541",
        "--at -99999,-99999,-500 --point -5,0.1,1.2 --pixel 1800,1000",
        "--at 0,0,0 --box -300,0,2220,1080"}) {
    testing::expectFitsTerminal(testing::runTool(aimExample(arguments)).output);
  }
}

TEST(AimCommand, MotorsThatDoNotTurn) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_pan_tilt()->clear_pan_scale();
  const StoredPtz calibration(ptz);
  expectToolRefuses(calibration.aim("--at 0,0,0 --pixel 1,1"),
                    calibration.path() + ": the head cannot point there: a motor's step is 0 rad");
  ptz.mutable_pan_tilt()->set_pan_scale(1);
  ptz.mutable_pan_tilt()->set_tilt_scale(std::nanf(""));
  const StoredPtz unknown(ptz);
  expectToolRefuses(unknown.aim("--at 0,0,0 --pixel 1,1"),
                    unknown.path() + ": the head cannot point there: a motor's step is nan rad");
}

TEST(AimCommand, FilesThatAreRefused) {
  const TemporaryFolder folder;
  const std::string at = "' --at 0,0,0 --pixel 1,1";
  std::string path = folder.path("missing");
  expectToolRefuses("aim '" + path + at, path + ": there is no such file");
  path = folder.write("robot",
                      testing::robotOf({testing::exampleCamera("a", "b910")}).SerializeAsString());
  expectToolRefuses(
      "aim '" + path + at,
      path + ": holds the calibration of fixed cameras, not of a pan-tilt-zoom camera");
  path = folder.write("empty", "");
  expectToolRefuses("aim '" + path + at, path + ": is empty");
  path = folder.write("text", "intrinsics { samples { zoom: x } }");
  expectToolRefuses("aim '" + path + at,
                    path + ":1:30: intrinsics.samples[0].zoom: Expected double, got: x");
}

TEST(AimCommand, HelpSaysHowFarAwayAPixelIsTakenToBe) {
  EXPECT_THAT(testing::inOneLine(testing::toolOutput("aim --help")),
              ::testing::HasSubstr("Centre what this pixel shows 1 m away;"));
}

TEST(AimCommand, BadUsage) {
  const StoredPtz calibration(plainPtz());
  for (const char* arguments :
       {"", "--at 0,0,0", "--pixel 1,1", "--at 0,0 --pixel 1,1", "--at 0,0,0.5 --pixel 1,1",
        "--at 0,0,0 --pixel 1", "--at 0,0,0 --pixel 1,nan", "--at 0,0,0 --box 1,2,3",
        "--at 0,0,0 --point 1,2", "--at 0,0,0 --pixel", "--at 0,0,0 --box 1,2,3,4 --pixel 1,1",
        "--at 0,0,0 --box 1,2,3,4 --point 1,1,1", "--at 0,0,0 --at 0,0,0 --pixel 1,1",
        "--at 0,0,0 --pixel 1,1 further"}) {
    expectBadUsage(calibration.aim(arguments));
  }
  expectBadUsage("aim --at 0,0,0 --pixel 1,1");
}

}  // namespace
}  // namespace norv

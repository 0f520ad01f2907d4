// The verb `aim` with a track: a line of targets each, and an answer for each line.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "testing/temporary_folder.h"
#include "tests/tools/aim/aim_example.h"
#include "tests/tools/run_tool.h"

namespace norv {
namespace {

using calibration::PTZCameraParameters;
using nlohmann::json;
using ::testing::ElementsAre;
using testing::plainPtz;
using testing::pointToTheRight;
using testing::ProgramResult;
using testing::runTool;
using testing::StoredPtz;
using testing::TemporaryFolder;

const char* const kHeader =
    "line,time,pan,tilt,zoom,lands_x,lands_y,distance_pixels,limited,inside,upright,reason\n";

/// The cells of each line, its first line left out.
std::vector<std::vector<std::string>> rowsOf(const std::string& csv) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream lines(csv);
  for (std::string line; std::getline(lines, line);) {
    std::vector<std::string> cells;
    std::istringstream stream(line + ",");
    for (std::string cell; std::getline(stream, cell, ',');) cells.push_back(cell);
    rows.push_back(cells);
  }
  if (!rows.empty()) rows.erase(rows.begin());
  return rows;
}

class AimTrack : public ::testing::Test {
 protected:
  /// What the tool makes of a track in a file.
  ProgramResult follow(const PTZCameraParameters& ptz, const std::string& track,
                       const std::string& options = "") {
    const StoredPtz calibration(ptz);
    path_ = folder_.write("track", track);
    return runTool(calibration.aim("--at 0,0,0 --track '" + path_ + "' " + options));
  }

  TemporaryFolder folder_;
  std::string path_;
};

TEST_F(AimTrack, AnswersEachTargetByALine) {
  const ProgramResult result =
      follow(plainPtz(), "# where it was\n5,0,0\n\n  \t\n1.5 " + pointToTheRight(0.2) +
                             " # later\n+2e0,\t" + pointToTheRight(-0.1) + "\n");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.output.substr(0, result.output.find('\n') + 1), kHeader);
  const auto rows = rowsOf(result.output);
  ASSERT_EQ(rows.size(), 3U);
  const std::size_t line = 0, time = 1, pan = 2, tilt = 3, zoom = 4;
  const auto motors = [&](const std::vector<std::string>& row) {
    return std::vector<std::string>{row.at(line), row.at(time), row.at(pan), row.at(tilt),
                                    row.at(zoom)};
  };
  EXPECT_THAT(motors(rows[0]), ElementsAre("2", "", "0", "0", "0"));
  EXPECT_THAT(motors(rows[1]), ElementsAre("5", "1.5", "400", "0", "0"));
  EXPECT_THAT(motors(rows[2]), ElementsAre("6", "+2e0", "-200", "0", "0"));
  for (const auto& row : rows) {
    ASSERT_EQ(row.size(), 12U);
    EXPECT_NEAR(std::stod(row[5]), 960, 0.01);
    EXPECT_NEAR(std::stod(row[6]), 540, 0.01);
    EXPECT_NEAR(std::stod(row[7]), 0, 0.01);
    EXPECT_EQ(row[8] + row[9] + row[10] + row[11], "noyesyes");
  }
}

TEST_F(AimTrack, PrintsALineOfJsonForEach) {
  const ProgramResult result = follow(
      plainPtz(), "1700000000123456789,5,0,0\n-0.5 " + pointToTheRight(0.2) + "\n1,2\n", "--json");
  EXPECT_EQ(result.status, 1);
  std::istringstream lines(result.output);
  std::vector<json> answers;
  for (std::string line; std::getline(lines, line);) {
    answers.push_back(json::parse(line, nullptr, false));
  }
  ASSERT_EQ(answers.size(), 3U);
  EXPECT_EQ(answers[0]["time"], 1700000000123456789);
  EXPECT_EQ(answers[0]["target"], (json{5, 0, 0}));
  EXPECT_EQ(answers[1]["time"], -0.5);
  EXPECT_EQ(answers[1]["line"], 2);
  EXPECT_EQ(answers[1]["pan"], 400);
  EXPECT_EQ(answers[1]["travel"], (json{400, 0, 0}));
  EXPECT_TRUE(answers[1]["reason"].is_null());
  EXPECT_EQ(answers[2]["reason"], "bad-line");
  EXPECT_EQ(answers[2]["note"], "holds 2 values, not X,Y,Z or TIME,X,Y,Z");
  EXPECT_EQ(answers[2]["pan"], 400);
}

TEST_F(AimTrack, GoesOnFromTheLastAnswer) {
  PTZCameraParameters ptz = plainPtz();
  for (auto clear : {&calibration::PanTiltSystemParameters::clear_min_pan,
                     &calibration::PanTiltSystemParameters::clear_max_pan}) {
    (ptz.mutable_pan_tilt()->*clear)();
  }
  // Twice around in steps of 0.1 rad: 200 steps each, and no jump where a turn is full.
  std::string track;
  for (int i = 0; i <= 126; ++i) track += pointToTheRight(0.1 * i) + "\n";
  const auto rows = rowsOf(follow(ptz, track).output);
  ASSERT_EQ(rows.size(), 127U);
  for (std::size_t i = 0; i <= 126; ++i) EXPECT_EQ(rows[i].at(2), std::to_string(200 * i)) << i;
}

TEST_F(AimTrack, StaysWhereItIsWhenThereIsNoPosition) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_pan_tilt()->set_min_pan(-100);
  ptz.mutable_pan_tilt()->set_max_pan(600);
  // Behind the camera, and then beside what the limit allows.
  const std::string track =
      pointToTheRight(0.25) + "\n-5,-1,0\n" + pointToTheRight(0.5) + "\n" + pointToTheRight(0.05);
  const ProgramResult result = follow(ptz, track);
  const auto rows = rowsOf(result.output);
  EXPECT_EQ(result.status, 0);
  ASSERT_EQ(rows.size(), 4U);
  EXPECT_THAT(rows[1],
              ElementsAre("2", "", "500", "0", "0", "", "", "", "", "", "", "out-of-sight"));
  EXPECT_EQ(rows[2].at(2) + rows[2].at(8) + rows[2].at(11), "600yeslimited");
  EXPECT_EQ(rows[3].at(2) + rows[3].at(11), "100");
  EXPECT_EQ(follow(ptz, track, "--strict").status, 3);
  EXPECT_EQ(follow(ptz, pointToTheRight(0.25), "--strict").status, 0);
}

TEST_F(AimTrack, ZoomsAndPlacesAsItIsTold) {
  const auto row = [&](const std::string& options) {
    return rowsOf(follow(plainPtz(), "5,0,0\n", options).output).at(0);
  };
  EXPECT_EQ(row("--pixel 1264.065,540").at(2), "-400");
  // A sphere of half angle asin(0.1) on half of the height is 2686.5 px of focal length.
  const StoredPtz calibration(plainPtz());
  const json one =
      testing::toolJson(calibration.aim("--at 0,0,0 --point 5,0,0 --radius 0.5 --fill 0.5"));
  EXPECT_EQ(row("--radius 0.5 --fill 0.5").at(4), std::to_string(one["zoom"].get<int>()));
  EXPECT_GT(one["zoom"], 1000);
}

TEST_F(AimTrack, LinesThatAreNoTargets) {
  const auto expectBad = [&](const std::string& line, const std::string& problem) {
    const ProgramResult result = follow(plainPtz(), "5,0,0\n" + line + "\n5,0,0\n");
    EXPECT_EQ(result.status, 1) << line;
    EXPECT_EQ(result.errors, "camera-parameters: " + path_ + ":2: " + problem + "\n");
    const auto rows = rowsOf(result.output);
    ASSERT_EQ(rows.size(), 3U) << line;
    EXPECT_THAT(rows[1], ElementsAre("2", "", "0", "0", "0", "", "", "", "", "", "", "bad-line"));
    EXPECT_EQ(rows[2].at(0) + rows[2].at(2) + rows[2].at(11), "30");
  };
  expectBad("1,2", "holds 2 values, not X,Y,Z or TIME,X,Y,Z");
  expectBad("1,2,3,4,5", "holds 5 values, not X,Y,Z or TIME,X,Y,Z");
  expectBad("1,2,3,", "not a finite number: ");
  expectBad("1,,3", "not a finite number: ");
  expectBad(",1,2,3", "not a finite number: ");
  expectBad("1,2,nan", "not a finite number: nan");
  expectBad("inf 1 2 3", "not a finite number: inf");
  expectBad("1 2 1e39", "not a finite number: 1e39");
  expectBad("x y z", "not a finite number: x");
  expectBad("1;2;3", "holds 1 values, not X,Y,Z or TIME,X,Y,Z");
  expectBad("1 2 0x3", "not a finite number: 0x3");
  expectBad(std::string("1,2,3\0", 6), "not a finite number: 3\\x00");
  expectBad("1,2,\xff", "not a finite number: \\xff");
  expectBad("1,2,\x1b[2J", "not a finite number: \\x1b[2J");
}

TEST_F(AimTrack, HostileFiles) {
  EXPECT_EQ(follow(plainPtz(), "").output, kHeader);
  EXPECT_EQ(follow(plainPtz(), "").status, 0);
  EXPECT_EQ(follow(plainPtz(), "\n\n\r\n#\n", "--json").output, "");
  // Ends of lines of other systems, and none at the end.
  const ProgramResult crlf = follow(plainPtz(), "5,0,0\r\n5 0 0\r\n5, 0 , 0");
  EXPECT_EQ(crlf.status, 0);
  EXPECT_EQ(rowsOf(crlf.output).size(), 3U);
  // A line of 20 MB, which is not kept, between two others.
  const ProgramResult huge =
      follow(plainPtz(), "5,0,0\n" + std::string(20'000'000, '1') + "\n5,0,0\n");
  EXPECT_EQ(huge.status, 1);
  EXPECT_EQ(huge.errors, "camera-parameters: " + path_ + ":2: is longer than any target\n");
  EXPECT_EQ(rowsOf(huge.output).size(), 3U);
  const ProgramResult zeros = follow(plainPtz(), std::string(5000, '\0'));
  EXPECT_EQ(zeros.status, 1);
  EXPECT_EQ(rowsOf(zeros.output).size(), 1U);
}

TEST_F(AimTrack, FilesThatCannotBeRead) {
  const StoredPtz calibration(plainPtz());
  const auto aim = [&](const std::string& path) {
    return calibration.aim("--at 0,0,0 --json --track '" + path + "'");
  };
  const std::string missing = folder_.path("missing");
  testing::expectToolRefuses(aim(missing), missing + ": cannot be read: No such file or directory");
  const std::string folder = folder_.path("");
  testing::expectToolRefuses(aim(folder), folder + ": cannot be read: Is a directory");
  // Nor does the header line come before.
  testing::expectToolRefuses(calibration.aim("--at 0,0,0 --track '" + folder + "'"),
                             folder + ": cannot be read: Is a directory");
  const ProgramResult full = testing::runProgram(
      testing::toolCommand() + calibration.aim("--at 0,0,0 --track /dev/null") + " > /dev/full");
  EXPECT_EQ(full.status, 1);
  EXPECT_EQ(full.errors, "camera-parameters: cannot write to standard output\n");
}

TEST_F(AimTrack, HeadThatCannotBeAimed) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_pan_tilt()->clear_tilt_scale();
  const ProgramResult result = follow(ptz, "5,0,0\n");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.errors, ::testing::EndsWith(
                                 ": nothing can be aimed with this head: a motor does not turn\n"));
}

// Writes targets to the tool one by one, and waits for the answer of each before the next.
TEST_F(AimTrack, AnswersWhileThePipeIsOpen) {
  const StoredPtz calibration(plainPtz());
  const std::string in = folder_.path("in");
  const std::string out = folder_.path("out");
  const std::string await = "await() { n=0; while [ \"$(wc -l < '" + out +
                            "')\" -lt $1 ] && [ $n -lt 600 ]; do sleep 0.05; n=$((n + 1)); done; "
                            "echo $(wc -l < '" +
                            out + "'); }; ";
  const ProgramResult result = testing::runProgram(
      await + ": > '" + out + "'; mkfifo '" + in + "'; " + testing::toolCommand() +
      calibration.aim("--at 0,0,0 --track -") + " < '" + in + "' > '" + out + "' & exec 3> '" + in +
      "'; await 1; echo 5,0,0 >&3; await 2; echo 5,0,1 >&3; await 3; exec 3>&-; wait");
  EXPECT_EQ(result.output, "1\n2\n3\n");
  EXPECT_EQ(result.errors, "");
}

}  // namespace
}  // namespace norv

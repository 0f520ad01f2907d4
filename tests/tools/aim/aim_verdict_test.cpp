// The verb `aim` at a distance: what it calls reached, and the words for what it does not.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "testing/document.h"
#include "testing/example_ptz.h"
#include "testing/random_head.h"
#include "testing/temporary_folder.h"
#include "testing/tree_calibrations.h"
#include "tests/tools/aim/aim_example.h"
#include "tests/tools/run_tool.h"

namespace norv {
namespace {

using calibration::PTZCameraParameters;
using nlohmann::json;
using testing::aimExample;
using testing::foldingPtz;
using ::testing::HasSubstr;
using testing::inOneLine;
using testing::number;
using testing::plainPtz;
using testing::pointToTheRight;
using testing::StoredPtz;
using testing::toolJson;
using testing::toolOutput;
using testing::toolRefusal;
using testing::toolRefusalJson;
using testing::uniform;

/// A third of a turn from each other: whatever shows one has another behind it.
const std::string kPointsAround = " --point 5,0,0 --point -3,5.196,0 --point -3,-5.196,0";

TEST(AimVerdict, PointsAroundTheCameraAreNotReached) {
  const StoredPtz calibration(plainPtz());
  const std::string arguments = calibration.aim("--at 0,0,0" + kPointsAround);
  const json aim = toolRefusalJson(arguments);
  EXPECT_EQ(aim["reason"], "not-whole");
  EXPECT_EQ(aim["whole"], false);
  EXPECT_EQ(aim["inside"], false);
  const std::string text = toolRefusal(arguments);
  EXPECT_THAT(inOneLine(text), HasSubstr("not reached: not all of the points are seen: none of the "
                                         "positions found shows all of them"));
  EXPECT_THAT(text, HasSubstr("\nthe middle of what is seen lands at "));
  EXPECT_EQ(toolJson(calibration.aim("--at 0,0,0 --point 5,0,0 --point 5,1,0"))["whole"], true);
}

TEST(AimVerdict, SphereWiderThanTheLensIsNotReached) {
  const StoredPtz calibration(foldingPtz());
  // The lens ends 52 degrees off its axis. Half angles of asin 0.9 = 64 and asin 0.7 = 44 degrees.
  const std::string wide = calibration.aim("--at 0,0,0 --point 5,0,0 --radius 4.5");
  EXPECT_EQ(toolRefusalJson(wide)["reason"], "not-whole");
  EXPECT_THAT(
      inOneLine(toolRefusal(wide)),
      HasSubstr("not all of the sphere is seen: none of the positions found shows all of it"));
  const json narrow = toolJson(calibration.aim("--at 0,0,0 --point 5,0,0 --radius 3.5"));
  EXPECT_EQ(narrow["whole"], true);
  EXPECT_EQ(narrow["inside"], false);
}

TEST(AimVerdict, BoxPartlyOffTheLensIsNotReached) {
  PTZCameraParameters ptz = foldingPtz();
  ptz.mutable_pan_tilt()->set_min_pan(-100);
  ptz.mutable_pan_tilt()->set_max_pan(100);
  const StoredPtz calibration(ptz);
  // From the limit, 0.05 rad, the box lies 0.81 to 1.09 rad aside: the lens ends at 0.91 rad.
  const std::string arguments =
      calibration.aim("--at 2000,0,0 --box 760,440,1160,640 --distance 5 --focal 1500");
  EXPECT_EQ(toolRefusalJson(arguments)["reason"], "not-whole");
  const std::string text = toolRefusal(arguments);
  EXPECT_THAT(
      inOneLine(text),
      HasSubstr("not reached: not all of the box is seen: none of the positions found shows "
                "all of it not reached: the limits of the motors keep the target "));
  EXPECT_THAT(text, HasSubstr("the middle of what is seen, taken 5 m away, lands at "));
  EXPECT_THAT(text, HasSubstr(" of the 1920x1080 picture,\n  the rest of it is not seen\n"));
  testing::expectFitsTerminal(text);
}

TEST(AimVerdict, PointsAroundTheCameraFillNoPicture) {
  const json aim =
      toolRefusalJson(StoredPtz(plainPtz()).aim("--at 0,0,0 --fill 0.5" + kPointsAround));
  EXPECT_THAT(aim["reason"].get<std::string>(), ::testing::AnyOf("not-whole", "out-of-sight"));
}

TEST(AimVerdict, SphereBehindTheLimitsFillsNoPicture) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_pan_tilt()->set_min_pan(-100);
  ptz.mutable_pan_tilt()->set_max_pan(100);
  ptz.mutable_pan_tilt()->set_max_tilt(100);
  const StoredPtz calibration(ptz);
  const std::string sphere = "--at 0,0,0 --point -5,-1,0 --radius 0.1";
  const json aim = toolRefusalJson(calibration.aim(sphere + " --fill 0.5"));
  EXPECT_EQ(aim["reason"], "out-of-sight");
  EXPECT_EQ(aim["note"],
            "nothing of it is seen, or not all: the limits of the motors keep it away, or its "
            "parts lie around the camera");
  EXPECT_EQ(toolRefusalJson(calibration.aim(sphere))["note"],
            "the limits of the motors keep the target behind the camera or off its lens");
}

/// "--box ..." of a box of 20 to 400 pixels in the picture.
std::string randomBox(std::mt19937_64* random) {
  const double width = uniform(random, 20, 400);
  const double height = uniform(random, 20, 400);
  const double x = uniform(random, 0, 1920 - width);
  const double y = uniform(random, 0, 1080 - height);
  std::ostringstream text;
  text << "--box " << x << "," << y << "," << x + width << "," << y + height;
  return text.str();
}

// The longest zoom is preferred to the steps of pan and tilt that are nearest to the middle, so
// that a box lands up to a step of both from it.
TEST(AimVerdict, FramedBoxesAreReachedStrictly) {
  std::mt19937_64 random(31);
  int judged = 0;
  double worst = 0;
  for (int i = 0; i < 100; ++i) {
    std::ostringstream question;
    question << "--at 500,200," << static_cast<int>(uniform(&random, 0, 6000)) << " --distance "
             << uniform(&random, 1, 20) << " --strict " << randomBox(&random) << " --fill "
             << (i % 3 == 0   ? 1
                 : i % 3 == 1 ? 0.9
                              : 0.5);
    const json aim = testing::anyJson(aimExample(question.str()));
    if (aim["limited"] == true) continue;
    EXPECT_TRUE(aim["reason"].is_null()) << question.str() << aim["note"];
    worst = std::max(worst, number(aim, "distance_pixels") / number(aim, "tolerance_pixels"));
    ++judged;
  }
  EXPECT_GE(judged, 80);
  EXPECT_GT(worst, 0.5);  // many would fail with the larger of the two steps alone
}

TEST(AimVerdict, SaysWhatIsWrongWithAQuestion) {
  const StoredPtz calibration(plainPtz());
  const auto note = [&](const std::string& question) {
    const json aim = toolRefusalJson(calibration.aim("--at 0,0,0 --point 5,0,0 " + question));
    EXPECT_EQ(aim["reason"], "invalid-request") << question;
    return aim["note"].get<std::string>();
  };
  EXPECT_EQ(note("--radius 6"), "the camera is inside of the sphere");
  EXPECT_EQ(note("--radius 6 --fill 0.5"), "the camera is inside of the sphere");
  const std::string border =
      "a picture cannot be filled around a place on its border or outside of it";
  for (const char* place : {"0,5", "1920,5", "5,0", "5,1080"}) {
    EXPECT_EQ(note("--radius 0.1 --fill 0.5 --pixel " + std::string(place)), border);
  }
  EXPECT_EQ(note("--radius 0.1 --fill 0.5 --pixel -5,5"),
            border + "; pixel -5,5 lies outside of the 1920x1080 picture");
}

TEST(AimVerdict, SaysThatThePresentPositionHasNoLens) {
  const StoredPtz calibration(plainPtz());
  const json aim = toolRefusalJson(calibration.aim("--at 0,0,11000 --pixel 0,0 --distance 5"));
  EXPECT_EQ(aim["note"],
            "--at: zoom position 11000 is at or beyond the last lens sample, where the lens is not "
            "known");
  EXPECT_EQ(toolJson(calibration.aim("--at 0,0,11000 --point 5,0,0 --strict --focal 1500"))["zoom"],
            0);
}

TEST(AimVerdict, SaysWhenAChoiceCouldNotBeKept) {
  // Nothing but a picture upside down: the tilt reaches over the head's back alone.
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_pan_tilt()->set_min_tilt(6200);
  ptz.mutable_pan_tilt()->set_max_tilt(6400);
  const StoredPtz calibration(ptz);
  const auto aim = [&](const std::string& arguments) {
    return toolJson(calibration.aim(arguments + " --point " + pointToTheRight(0.25)));
  };
  const json upright = aim("--at 0,6283,0 --choice upright");
  EXPECT_EQ(upright["upright"], false);
  EXPECT_EQ(upright["note"], "no position was found whose picture is upright");
  EXPECT_TRUE(aim("--at 0,6283,0 --choice no-flip")["note"].is_null());
  EXPECT_TRUE(aim("--at 0,6283,0 --choice nearest")["note"].is_null());
  EXPECT_THAT(aim("--at 0,0,0 --choice no-flip")["note"].get<std::string>(),
              HasSubstr("the picture turns upside down: no position was found whose picture stays "
                        "as it is"));
}

TEST(AimVerdict, CallsTheZoomsRangeItsOwnWhereItIs) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_intrinsics()->set_min_zoom(-5000);
  ptz.mutable_intrinsics()->set_max_zoom(20000);
  EXPECT_THAT(toolOutput(StoredPtz(ptz).aim("--at 0,0,200 --point 5,0,0 --focal 1600")),
              HasSubstr("\nthe zoom is chosen from -999 to 10999, where there is a lens\n"));
}

TEST(AimVerdict, HeadThatReachesOverItsBackIsAsDocumented) {
  std::string head = testing::readDocument(testing::kCalibrations + "example_ptz_cal.txt");
  const std::string limit = "max_tilt: 3141";
  ASSERT_NE(head.find(limit), std::string::npos);
  head.replace(head.find(limit), limit.size(), "max_tilt: 6283");
  const testing::TemporaryFolder folder;
  const std::string path = folder.write("over.txt", head);
  std::istringstream page(
      testing::readDocument(CAMERA_PARAMETERS_SOURCE_DIR "/docs/pan_tilt_heads.md"));
  const std::string command = "    camera-parameters aim over.txt ";
  std::vector<json> answers;
  for (std::string line; std::getline(page, line);) {
    if (line.rfind(command, 0) != 0) continue;
    answers.push_back(toolJson("aim '" + path + "' " + line.substr(command.size())));
  }
  ASSERT_EQ(answers.size(), 2U);
  EXPECT_EQ(answers[0]["upright"], true);
  ASSERT_EQ(answers[0]["alternatives"].size(), 1U);
  EXPECT_EQ(answers[0]["alternatives"][0]["upright"], false);
  EXPECT_EQ(answers[1]["upright"], false);
  EXPECT_EQ(answers[1]["pan"], answers[0]["alternatives"][0]["pan"]);
}

// Where the documents promise a rule in so many words, all of them do.
TEST(AimVerdict, SaysWhereATargetGoes) {
  const std::string rule =
      "Without any of these, the target goes to the optical axis, not to the middle of the picture";
  EXPECT_THAT(inOneLine(toolOutput("aim --help")), HasSubstr(rule));
  for (const char* page : {"README.md", "docs/man/camera-parameters.1"}) {
    EXPECT_THAT(
        inOneLine(testing::readDocument(std::string(CAMERA_PARAMETERS_SOURCE_DIR "/") + page)),
        HasSubstr(rule))
        << page;
  }
}

}  // namespace
}  // namespace norv

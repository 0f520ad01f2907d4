// What the verb `aim` says of boxes, and of what the limits of motors and lens leave unreached.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "testing/random_head.h"
#include "tests/tools/aim/aim_example.h"
#include "tests/tools/run_tool.h"

namespace norv {
namespace {

using calibration::PTZCameraParameters;
using nlohmann::json;
using testing::expectPanTilt;
using testing::foldingPtz;
using testing::kFocalLength;
using testing::kRadians;
using testing::number;
using testing::plainPtz;
using testing::pointToTheRight;
using testing::StoredPtz;
using testing::toolJson;
using testing::toolOutput;
using testing::toolRefusal;
using testing::toolRefusalJson;

TEST(AimCommand, Box) {
  const StoredPtz calibration(plainPtz());
  // 200 x 100 px in the middle, at f = 1500: the corners are 100 / 1500 and 50 / 1500 off the
  // axis. They reach the picture's sides at f = 960 * 15 = 14400 and its top and bottom at 16200.
  // 14400 lies between the samples at 7000 and 8000.
  const json aim = toolJson(calibration.aim("--at 0,0,0 --box 860,490,1060,590"));
  expectPanTilt(aim, 0, 0);
  const double low = kFocalLength * std::pow(20, 0.7);
  const double high = kFocalLength * std::pow(20, 0.8);
  EXPECT_NEAR(number(aim, "zoom"), 7000 + 1000 * (14400 - low) / (high - low), 1);
  // One step of zoom is 4.3 px of focal length, 0.29 px at the sides.
  EXPECT_NEAR(aim["box_lands"][0].get<double>(), 0.15, 0.15);
  EXPECT_NEAR(aim["box_lands"][1].get<double>(), 540 - 480, 0.3);
  EXPECT_NEAR(aim["box_lands"][2].get<double>(), 1919.85, 0.15);
  EXPECT_NEAR(aim["box_lands"][3].get<double>(), 540 + 480, 0.3);
  EXPECT_NEAR(number(aim, "distance_pixels"), 0, 1e-2);
  EXPECT_TRUE(aim["note"].is_null());
}

TEST(AimCommand, BoxThatFits) {
  const StoredPtz calibration(plainPtz());
  // As above, from the corners' distance.
  EXPECT_THAT(toolOutput(calibration.aim("--at 0,0,0 --box 860,490,1060,590")),
              ::testing::HasSubstr("\npan and tilt are within their range\n"
                                   "the zoom is within the lens samples\n"));
}

TEST(AimCommand, BoxWiderThanThePicture) {
  const StoredPtz calibration(plainPtz());
  // The corners are (-0.84, -0.36) and (0.84, 0.36) off the axis: the sum of their unit rays is
  // 2 / |(0.84, 0.36, 1)| = 1.48 m long. The zoom stays, and so does what is seen.
  EXPECT_EQ(toolRefusal(calibration.aim("--at 0,0,0 --box -300,0,2220,1080")),
            "pan   0 steps  0.000 deg\n"
            "tilt  0 steps  0.000 deg\n"
            "zoom  0 steps    1.000 x\n"
            "pan and tilt are within their range\n"
            "the zoom is within the lens samples\n"
            "the target, taken 1.48 m away (see --distance), lands at 960.00, 540.00,\n"
            "  0.00 px from 960.00, 540.00\n"
            "the box spans -300.00, 0.00 to 2220.00, 1080.00 of the 1920x1080 picture,\n"
            "  not all of it inside: by 300.00 px\n"
            "not reached: even the widest lens, at zoom 0, shows not all of the box\n"
            "note: the box's corner -300,0 lies outside of the 1920x1080 picture\n"
            "note: the box's corner 2220,1080 lies outside of the 1920x1080 picture\n");
}

TEST(AimCommand, BoxThatTheLensShiftsOutOfThePicture) {
  PTZCameraParameters ptz = plainPtz();
  // The zoom is chosen for an axis in the middle of the picture, and this one is 30 px to the
  // right.
  for (auto& sample : *ptz.mutable_intrinsics()->mutable_samples()) sample.set_cx(990);
  const StoredPtz calibration(ptz);
  const std::string arguments = calibration.aim("--at 0,0,0 --box 890,490,1090,590");
  const std::string text = toolOutput(arguments);
  EXPECT_THAT(text, ::testing::HasSubstr(" of the 1920x1080 picture,\n"
                                         "  not all of it inside: by 29."));
  EXPECT_THAT(text, ::testing::EndsWith(
                        "\nnote: the zoom is chosen as for a lens without distortion whose axis "
                        "meets the\n  middle of the picture\n"));
  // One step of zoom is 0.29 px at the sides.
  EXPECT_NEAR(toolJson(arguments)["box_lands"][2].get<double>(), 1949.85, 0.15);
}

TEST(AimCommand, BoxWithACornerThatNoRayReaches) {
  const StoredPtz calibration(foldingPtz());
  // Rays end 1290 px off the axis. The given corners are 1251 and 884 px off, that at their outer
  // sides 1434.
  const std::string arguments = calibration.aim("--at 0,0,0 --box -290,500,1500,-160");
  const std::string reason =
      "no ray reaches the box's corner -290,-160: the zoom is chosen without it";
  EXPECT_THAT(
      toolRefusal(arguments),
      ::testing::EndsWith("\nnot reached: no ray reaches the box's corner -290,-160: the zoom "
                          "is chosen\n  without it\n"
                          "note: the box's corner -290,500 lies outside of the 1920x1080 picture\n"
                          "note: the box's corner 1500,-160 lies outside of the 1920x1080 "
                          "picture\n"));
  const json aim = toolRefusalJson(arguments);
  EXPECT_EQ(aim["note"], reason +
                             "; the box's corner -290,500 lies outside of the 1920x1080 picture"
                             "; the box's corner 1500,-160 lies outside of the 1920x1080 picture");
  EXPECT_EQ(aim["reached"], false);
  EXPECT_TRUE(aim["box_lands"].is_null());
  EXPECT_FALSE(aim["lands_at"].is_null());
}

TEST(AimCommand, BoxSmallerThanTheLongestLensShows) {
  const StoredPtz calibration(plainPtz());
  // The answer is the last sample's position, where there is no lens to look through.
  const std::string arguments = calibration.aim("--at 0,0,0 --box 959,539,961,541");
  EXPECT_EQ(toolRefusal(arguments),
            "pan       0 steps  0.000 deg\n"
            "tilt      0 steps  0.000 deg\n"
            "zoom  11000 steps   26.986 x\n"  // 20^1.1
            "pan and tilt are within their range\n"
            "not reached: zoom position 11000 is at or beyond the last lens sample, where the\n"
            "  lens is not known\n");
  const json aim = toolRefusalJson(arguments);
  EXPECT_EQ(aim["zoom"], 11000);
  EXPECT_EQ(aim["reached"], false);
  for (const char* key : {"lands_at", "wanted_at", "distance_pixels", "box_lands"}) {
    EXPECT_TRUE(aim[key].is_null()) << key;
  }
  EXPECT_EQ(
      aim["note"],
      "zoom position 11000 is at or beyond the last lens sample, where the lens is not known");
}

TEST(AimCommand, BoxBeyondTheRangeOfTheZoom) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_intrinsics()->set_max_zoom(4000);
  const StoredPtz calibration(ptz);
  // An eighth of the picture: 8 times the focal length, which 20^0.4 = 3.3 times does not reach.
  const json aim = toolRefusalJson(calibration.aim("--at 0,0,0 --box 840,472.5,1080,607.5"));
  const int zoom = aim["zoom"].get<int>();
  EXPECT_GT(zoom, 6000);
  EXPECT_THAT(aim["note"].get<std::string>(),
              ::testing::StartsWith("zoom " + std::to_string(zoom) +
                                    " is above its highest position, 4000"));
  EXPECT_EQ(toolJson(calibration.aim("--at 0,0,0 --box 600,337.5,1320,742.5"))["reached"], true);
  EXPECT_EQ(toolJson(calibration.aim("--at 0,0,4001 --point 5,0,0"))["note"],
            "zoom is said to be at 4001, above its highest position, 4000");
}

TEST(AimCommand, LimitOfAMotor) {
  const StoredPtz calibration(plainPtz());
  // 175 degrees to the right are 6109 steps, and 3141 or 5934 is the end: 174.65 steps, 0.087326
  // rad are left, and 1500 px tan 0.087326 = 131.32 px. At 6109,
  // where 6108.65 is meant, it would be seen 0.26 px on the other side.
  const std::string point = pointToTheRight(175 * kRadians);
  EXPECT_EQ(toolRefusal(calibration.aim("--at 0,0,0 --point " + point)),
            "pan   5934 steps  169.997 deg\n"
            "tilt     0 steps    0.000 deg\n"
            "zoom     0 steps      1.000 x\n"
            "limited by the range of the motors: pan 6109 is out of reach\n"
            "the target lands at 1091.32, 540.00,\n"
            "  131.32 px from 960.00, 540.00\n"
            "not reached: the limits of the motors keep the target 131.58 px from where it\n"
            "  would land without them\n");
  const json aim = toolRefusalJson(calibration.aim("--at 0,0,0 --point " + point));
  EXPECT_EQ(aim["reached"], false);
  EXPECT_EQ(aim["limited"], true);
  EXPECT_EQ(aim["unlimited_pan"], 6109);
  EXPECT_EQ(aim["unlimited_tilt"], 0);
}

TEST(AimCommand, LimitThatHardlyMattersIsNoObstacle) {
  PTZCameraParameters ptz = plainPtz();
  // A step is 0.75 px at this zoom and 15 px at 20 times.
  ptz.mutable_pan_tilt()->set_max_pan(399);
  const StoredPtz calibration(ptz);
  const json wide = toolJson(calibration.aim("--at 0,0,0 --pixel 1264.065,540"));
  EXPECT_EQ(wide["limited"], true);
  EXPECT_EQ(wide["reached"], true);
  EXPECT_TRUE(wide["note"].is_null());
  const json near = toolRefusalJson(calibration.aim("--at 200,0,10000 --pixel 3970.04,540"));
  EXPECT_EQ(near["unlimited_pan"], 400);
  EXPECT_EQ(near["note"],
            "the limits of the motors keep the target 15.00 px from where it would land without "
            "them; pixel 3970.04,540 lies outside of the 1920x1080 picture");
}

TEST(AimCommand, LimitsOfBothMotors) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_pan_tilt()->set_max_pan(390);
  ptz.mutable_pan_tilt()->set_max_tilt(-10);
  const StoredPtz calibration(ptz);
  EXPECT_THAT(toolRefusal(calibration.aim("--at 0,0,0 --pixel 1264.065,540")),
              ::testing::HasSubstr("\nlimited by the range of the motors: pan 400 is out of reach, "
                                   "tilt 0 is out of\n  reach\n"));
  // A box is limited in the same way.
  const json aim = toolRefusalJson(calibration.aim("--at 0,0,0 --box 1254.065,530,1274.065,550"));
  expectPanTilt(aim, 390, -10);
  EXPECT_EQ(aim["limited"], true);
  EXPECT_NEAR(number(aim, "unlimited_pan"), 400, 1);
}

TEST(AimCommand, RangesAsFarAsTheyAreStated) {
  PTZCameraParameters ptz = plainPtz();
  const std::string arguments = "--at 0,0,0 --pixel 1264.065,540";
  auto* head = ptz.mutable_pan_tilt();
  head->clear_min_tilt();
  head->clear_max_tilt();
  EXPECT_THAT(
      toolOutput(StoredPtz(ptz).aim(arguments)),
      ::testing::HasSubstr("\npan is within its range, the calibration states none for tilt\n"));
  head->clear_min_pan();
  head->clear_max_pan();
  EXPECT_THAT(toolOutput(StoredPtz(ptz).aim(arguments)),
              ::testing::HasSubstr("\nthe calibration states no range for pan and tilt\n"));
  head->set_max_tilt(1000);
  EXPECT_THAT(
      toolOutput(StoredPtz(ptz).aim(arguments)),
      ::testing::HasSubstr("\ntilt is within its range, the calibration states none for pan\n"));
}

TEST(AimCommand, StartOutOfTheRangeOfTheMotors) {
  const StoredPtz calibration(plainPtz());
  const std::string arguments = "--at -2147483648,3142,0 --point 5,0,0";
  EXPECT_THAT(toolOutput(calibration.aim(arguments)),
              ::testing::EndsWith(
                  "\nnote: pan is said to be at -2147483648, below its lowest position, -5934\n"
                  "note: tilt is said to be at 3142, above its highest position, 3141\n"));
  EXPECT_EQ(toolJson(calibration.aim(arguments))["note"],
            "pan is said to be at -2147483648, below its lowest position, -5934; tilt is said to "
            "be at 3142, above its highest position, 3141");
}

TEST(AimCommand, NoLimits) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_pan_tilt()->clear_min_pan();
  ptz.mutable_pan_tilt()->clear_max_pan();
  const StoredPtz calibration(ptz);
  const json aim = toolJson(calibration.aim("--at 5900,0,0 --pixel 1264.065,540"));
  EXPECT_EQ(aim["pan"], 6300 - 12566);  // 6300 steps are 3.15 rad; angles are found within one turn
  EXPECT_EQ(aim["limited"], false);
}

TEST(AimCommand, TargetOutsideOfThePicture) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_pan_tilt()->set_max_pan(0);
  const StoredPtz calibration(ptz);
  // 0.7 rad to the right of a head that cannot turn there: 1500 px tan 0.7 = 1263.43 px.
  const std::string point = pointToTheRight(0.7);
  EXPECT_THAT(toolRefusal(calibration.aim("--at 0,0,0 --point " + point)),
              ::testing::EndsWith(
                  "\nthe target lands at 2223.43, 540.00,\n"
                  "  1263.43 px from 960.00, 540.00, outside of the picture\n"
                  "not reached: the limits of the motors keep the target 1263.43 px from where it\n"
                  "  would land without them\n"));
}

TEST(AimCommand, TargetBehindTheCamera) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_pan_tilt()->set_max_pan(100);
  const StoredPtz calibration(ptz);
  const std::string arguments = "--at 0,0,0 --point -5,-1,0";
  EXPECT_THAT(toolRefusal(calibration.aim(arguments)),
              ::testing::EndsWith(" is out of reach\n"
                                  "not reached: the target is behind the camera\n"));
  const json aim = toolRefusalJson(calibration.aim(arguments));
  EXPECT_EQ(aim["note"], "the target is behind the camera");
  EXPECT_TRUE(aim["lands_at"].is_null());
}

TEST(AimCommand, TargetThatTheLensFoldsBackIntoThePicture) {
  PTZCameraParameters ptz = foldingPtz();
  ptz.mutable_pan_tilt()->set_max_pan(0);
  const StoredPtz calibration(ptz);
  // The radial factor is zero at 2.24, so that a target 66 degrees aside would be seen in the
  // middle.
  const json aim = toolRefusalJson(calibration.aim("--at 0,0,0 --point 1,-2.236,0"));
  EXPECT_EQ(aim["note"], "the target is far outside of the picture");
  EXPECT_TRUE(aim["lands_at"].is_null());
}

}  // namespace
}  // namespace norv

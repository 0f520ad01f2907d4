// The verb `aim`, run as the user runs it.

#include <gmock/gmock.h>
#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <sstream>
#include <string>

#include "calibration_common/ptz_camera_model.h"
#include "testing/calibration_messages.h"
#include "testing/document.h"
#include "testing/example_ptz.h"
#include "testing/random_head.h"
#include "testing/temporary_folder.h"
#include "testing/tree_calibrations.h"
#include "tests/tools/run_tool.h"

namespace norv {
namespace {

using calibration::PTZCameraModelConfiguration;
using calibration::PTZCameraModelPtr;
using calibration::PTZCameraParameters;
using nlohmann::json;
using testing::expectBadUsage;
using testing::expectToolRefuses;
using testing::kRadians;
using testing::TemporaryFolder;
using testing::toolJson;
using testing::toolOutput;
using testing::toolRefusal;
using testing::toolRefusalJson;
using testing::uniform;

constexpr double kFocalLength = 1500;  ///< of the lens at zoom 0, pixels
constexpr double kStep = 0.0005;       ///< radians

/// A camera whose numbers can be told by hand: no distortion, the picture's centre on the optical
/// axis, and no lever arms. Positive pan turns it to the right and positive tilt upwards.
PTZCameraParameters plainPtz() {
  PTZCameraParameters ptz;
  *ptz.mutable_intrinsics() = testing::pinholeLens();
  *ptz.mutable_pan_tilt() = testing::headWithoutLeverArms();
  return ptz;
}

/// A calibration in a file, and the command line that aims with it.
class Calibration {
 public:
  explicit Calibration(const PTZCameraParameters& ptz)
      : path_(folder_.write("ptz", ptz.SerializeAsString())) {}

  const std::string& path() const { return path_; }
  std::string aim(const std::string& arguments) const { return "aim '" + path_ + "' " + arguments; }

 private:
  TemporaryFolder folder_;
  std::string path_;
};

PTZCameraModelPtr exampleModel() {
  return testing::ptzModel(testing::treeCalibration<PTZCameraParameters>("example_ptz_cal.txt"));
}

std::string aimExample(const std::string& arguments) {
  return "aim '" + testing::kCalibrations + "example_ptz_cal.txt' " + arguments;
}

/// Expects the same floats: what the tool prints reads back as what it holds.
void expectPixel(const json& pixel, const Vector2_f& expected) {
  ASSERT_EQ(pixel.size(), 2U);
  EXPECT_EQ(pixel[0].get<float>(), expected.x());
  EXPECT_EQ(pixel[1].get<float>(), expected.y());
}

/// The answer where it does not matter whether it is within reach.
json anyJson(const std::string& arguments) {
  const testing::ProgramResult result = testing::runTool(arguments + " --json");
  EXPECT_TRUE(result.status == 0 || result.status == 3) << arguments;
  json answer = json::parse(result.output, nullptr, false);
  EXPECT_EQ(answer["reached"], result.status == 0) << arguments;
  return answer;
}

double number(const json& document, const char* key) { return document[key].get<double>(); }

TEST(AimCommand, PixelToTheRight) {
  const Calibration calibration(plainPtz());
  // 400 steps of 0.0005 rad are 0.2 rad, 11.459 degrees; 1500 px tan 0.2 are 304.065 px.
  EXPECT_EQ(toolOutput(calibration.aim("--at 0,0,0 --pixel 1264.065,540")),
            "pan   400 steps  11.459 deg\n"
            "tilt    0 steps   0.000 deg\n"
            "zoom    0 steps     1.000 x\n"
            "pan and tilt are within their range\n"
            "the target, taken 1.00 m away, lands at 960.00, 540.00,\n"
            "  0.00 px from 960.00, 540.00\n");
}

TEST(AimCommand, PixelAboveFromAnotherPosition) {
  const Calibration calibration(plainPtz());
  // From a pan of 1000 steps and a zoom of 10000, where the lens is 20 times as long; 0.1 rad are
  // 30000 px tan 0.1 = 3010.04 px above the middle.
  const json aim = toolJson(calibration.aim("--at 1000,0,10000 --pixel 960,-2470.04"));
  EXPECT_EQ(aim["pan"], 1000);
  EXPECT_EQ(aim["tilt"], 200);
  EXPECT_EQ(aim["zoom"], 10000);
  EXPECT_NEAR(number(aim, "pan_degrees"), 1000 * kStep / kRadians, 1e-5);
  EXPECT_NEAR(number(aim, "tilt_degrees"), 200 * kStep / kRadians, 1e-5);
  EXPECT_NEAR(number(aim, "zoom_factor"), 20, 1e-5);
  EXPECT_EQ(aim["limited"], false);
}

TEST(AimCommand, OffsetsCountInTheAngles) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_pan_tilt()->set_pan_offset(100);
  ptz.mutable_pan_tilt()->set_tilt_offset(-50);
  const Calibration calibration(ptz);
  const json aim = toolJson(calibration.aim("--at 100,-50,0 --pixel 1264.065,540"));
  EXPECT_EQ(aim["pan"], 500);
  EXPECT_EQ(aim["tilt"], -50);
  EXPECT_NEAR(number(aim, "pan_degrees"), 400 * kStep / kRadians, 1e-5);
  EXPECT_NEAR(number(aim, "tilt_degrees"), 0, 1e-5);
}

TEST(AimCommand, WorldPoint) {
  const Calibration calibration(plainPtz());
  // 0.25 rad to the right, 5 m away.
  const std::string point =
      std::to_string(5 * std::cos(0.25)) + "," + std::to_string(-5 * std::sin(0.25));
  EXPECT_EQ(toolOutput(calibration.aim("--at 7,8,0 --point " + point + ",0")),
            "pan   500 steps  14.324 deg\n"
            "tilt    0 steps   0.000 deg\n"
            "zoom    0 steps     1.000 x\n"
            "pan and tilt are within their range\n"
            "the target lands at 960.00, 540.00,\n"
            "  0.00 px from 960.00, 540.00\n");
}

TEST(AimCommand, WorldPointOnAPixel) {
  const Calibration calibration(plainPtz());
  // Straight ahead is wanted 304.065 px right of the middle: the head turns 0.2 rad to the left.
  const json aim = toolJson(calibration.aim("--at 0,0,0 --point 5,0,0 --pixel 1264.065,540"));
  EXPECT_EQ(aim["pan"], -400);
  EXPECT_EQ(aim["tilt"], 0);
  EXPECT_EQ(aim["target"], (json{5, 0, 0}));
  EXPECT_NEAR(aim["wanted_at"][0].get<double>(), 1264.065, 1e-3);
  EXPECT_NEAR(aim["lands_at"][0].get<double>(), 1264.065, 2e-3);
  EXPECT_NEAR(aim["lands_at"][1].get<double>(), 540, 2e-3);
  EXPECT_NEAR(number(aim, "distance_pixels"), 0, 3e-3);
}

TEST(AimCommand, PixelOutsideOfThePicture) {
  const Calibration calibration(plainPtz());
  // 0.6 rad to the left, 1200 steps, are 1500 px tan 0.6 = 1026.205 px: 66.205 px out of the
  // picture.
  EXPECT_EQ(toolOutput(calibration.aim("--at 0,0,0 --pixel -66.205,540")),
            "pan   -1200 steps  -34.377 deg\n"
            "tilt      0 steps    0.000 deg\n"
            "zoom      0 steps      1.000 x\n"
            "pan and tilt are within their range\n"
            "the target, taken 1.00 m away, lands at 960.00, 540.00,\n"
            "  0.00 px from 960.00, 540.00\n"
            "note: pixel -66.205,540 lies outside of the 1920x1080 picture\n");
  const std::string outside = " lies outside of the 1920x1080 picture";
  const auto note = [&](const std::string& question) {
    return anyJson(calibration.aim("--at 0,0,0 " + question))["note"];
  };
  EXPECT_EQ(note("--pixel -10,-10"), "pixel -10,-10" + outside);
  EXPECT_EQ(note("--pixel 960,1080.5"), "pixel 960,1080.5" + outside);
  EXPECT_EQ(note("--point 5,0,0 --pixel 1921,540"), "pixel 1921,540" + outside);
  // The border belongs to the picture.
  for (const char* border : {"--pixel 0,0", "--pixel 1920,1080", "--point 5,0,0"}) {
    EXPECT_TRUE(note(border).is_null()) << border;
  }
}

TEST(AimCommand, Box) {
  const Calibration calibration(plainPtz());
  // 200 x 100 px in the middle, at f = 1500: the corners are 100 / 1500 and 50 / 1500 off the
  // axis. They reach the picture's sides at f = 960 * 15 = 14400 and its top and bottom at 16200.
  // 14400 lies between the samples at 7000 and 8000.
  const json aim = toolJson(calibration.aim("--at 0,0,0 --box 860,490,1060,590"));
  EXPECT_EQ(aim["pan"], 0);
  EXPECT_EQ(aim["tilt"], 0);
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
  const Calibration calibration(plainPtz());
  // As above, from the corners' distance.
  EXPECT_THAT(toolOutput(calibration.aim("--at 0,0,0 --box 860,490,1060,590")),
              ::testing::HasSubstr("\npan and tilt are within their range\n"
                                   "the zoom is within the lens samples\n"));
}

TEST(AimCommand, BoxWiderThanThePicture) {
  const Calibration calibration(plainPtz());
  // The corners are (-0.84, -0.36) and (0.84, 0.36) off the axis: the sum of their unit rays is
  // 2 / |(0.84, 0.36, 1)| = 1.48 m long. The zoom stays, and so does what is seen.
  EXPECT_EQ(toolRefusal(calibration.aim("--at 0,0,0 --box -300,0,2220,1080")),
            "pan   0 steps  0.000 deg\n"
            "tilt  0 steps  0.000 deg\n"
            "zoom  0 steps    1.000 x\n"
            "pan and tilt are within their range\n"
            "the zoom is within the lens samples\n"
            "the target, taken 1.48 m away, lands at 960.00, 540.00,\n"
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
  const Calibration calibration(ptz);
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
  PTZCameraParameters ptz = plainPtz();
  // Rays end 1.29 (1 - 0.2 * 1.67) = 0.86 focal lengths, 1290 px, off the axis. The given corners
  // are 1251 and 884 px off, that at their outer sides 1434.
  for (auto& sample : *ptz.mutable_intrinsics()->mutable_samples()) sample.set_k1(-0.2);
  const Calibration calibration(ptz);
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
  const Calibration calibration(plainPtz());
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

TEST(AimCommand, LimitOfAMotor) {
  const Calibration calibration(plainPtz());
  // 175 degrees to the right are 6109 steps, and 3141 or 5934 is the end: 174.65 steps, 0.087326
  // rad are left, and 1500 px tan 0.087326 = 131.32 px. At 6109,
  // where 6108.65 is meant, it would be seen 0.26 px on the other side.
  const double angle = 175 * kRadians;
  const std::string point =
      std::to_string(5 * std::cos(angle)) + "," + std::to_string(-5 * std::sin(angle));
  EXPECT_EQ(toolRefusal(calibration.aim("--at 0,0,0 --point " + point + ",0")),
            "pan   5934 steps  169.997 deg\n"
            "tilt     0 steps    0.000 deg\n"
            "zoom     0 steps      1.000 x\n"
            "limited by the range of the motors: pan 6109 is out of reach\n"
            "the target lands at 1091.32, 540.00,\n"
            "  131.32 px from 960.00, 540.00\n"
            "not reached: the limits of the motors keep the target 131.58 px from where it\n"
            "  was to be\n");
  const json aim = toolRefusalJson(calibration.aim("--at 0,0,0 --point " + point + ",0"));
  EXPECT_EQ(aim["reached"], false);
  EXPECT_EQ(aim["limited"], true);
  EXPECT_EQ(aim["unlimited_pan"], 6109);
  EXPECT_EQ(aim["unlimited_tilt"], 0);
}

TEST(AimCommand, LimitThatHardlyMattersIsNoObstacle) {
  PTZCameraParameters ptz = plainPtz();
  // A step is 0.75 px at this zoom and 15 px at 20 times.
  ptz.mutable_pan_tilt()->set_max_pan(399);
  const Calibration calibration(ptz);
  const json wide = toolJson(calibration.aim("--at 0,0,0 --pixel 1264.065,540"));
  EXPECT_EQ(wide["limited"], true);
  EXPECT_EQ(wide["reached"], true);
  EXPECT_TRUE(wide["note"].is_null());
  const json near = toolRefusalJson(calibration.aim("--at 200,0,10000 --pixel 3970.04,540"));
  EXPECT_EQ(near["unlimited_pan"], 400);
  EXPECT_EQ(near["note"],
            "the limits of the motors keep the target 15.00 px from where it was to be; pixel "
            "3970.04,540 lies outside of the 1920x1080 picture");
}

TEST(AimCommand, LimitsOfBothMotors) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_pan_tilt()->set_max_pan(390);
  ptz.mutable_pan_tilt()->set_max_tilt(-10);
  const Calibration calibration(ptz);
  EXPECT_THAT(toolRefusal(calibration.aim("--at 0,0,0 --pixel 1264.065,540")),
              ::testing::HasSubstr("\nlimited by the range of the motors: pan 400 is out of reach, "
                                   "tilt 0 is out of\n  reach\n"));
  // A box is limited in the same way.
  const json aim = toolRefusalJson(calibration.aim("--at 0,0,0 --box 1254.065,530,1274.065,550"));
  EXPECT_EQ(aim["pan"], 390);
  EXPECT_EQ(aim["tilt"], -10);
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
      toolOutput(Calibration(ptz).aim(arguments)),
      ::testing::HasSubstr("\npan is within its range, the calibration states none for tilt\n"));
  head->clear_min_pan();
  head->clear_max_pan();
  EXPECT_THAT(toolOutput(Calibration(ptz).aim(arguments)),
              ::testing::HasSubstr("\nthe calibration states no range for pan and tilt\n"));
  head->set_max_tilt(1000);
  EXPECT_THAT(
      toolOutput(Calibration(ptz).aim(arguments)),
      ::testing::HasSubstr("\ntilt is within its range, the calibration states none for pan\n"));
}

TEST(AimCommand, StartOutOfTheRangeOfTheMotors) {
  const Calibration calibration(plainPtz());
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
  const Calibration calibration(ptz);
  const json aim = toolJson(calibration.aim("--at 5900,0,0 --pixel 1264.065,540"));
  EXPECT_EQ(aim["pan"], 6300 - 12566);  // 6300 steps are 3.15 rad; angles are found within one turn
  EXPECT_EQ(aim["limited"], false);
}

TEST(AimCommand, TargetOutsideOfThePicture) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_pan_tilt()->set_max_pan(0);
  const Calibration calibration(ptz);
  // 0.7 rad to the right of a head that cannot turn there: 1500 px tan 0.7 = 1263.43 px.
  const std::string point =
      std::to_string(5 * std::cos(0.7)) + "," + std::to_string(-5 * std::sin(0.7));
  EXPECT_THAT(toolRefusal(calibration.aim("--at 0,0,0 --point " + point + ",0")),
              ::testing::EndsWith(
                  "\nthe target lands at 2223.43, 540.00,\n"
                  "  1263.43 px from 960.00, 540.00, outside of the picture\n"
                  "not reached: the limits of the motors keep the target 1263.43 px from where it\n"
                  "  was to be\n"));
}

TEST(AimCommand, TargetBehindTheCamera) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_pan_tilt()->set_max_pan(100);
  const Calibration calibration(ptz);
  const std::string arguments = "--at 0,0,0 --point -5,-1,0";
  EXPECT_THAT(toolRefusal(calibration.aim(arguments)),
              ::testing::EndsWith(" is out of reach\n"
                                  "not reached: the target is behind the camera\n"));
  const json aim = toolRefusalJson(calibration.aim(arguments));
  EXPECT_EQ(aim["note"], "the target is behind the camera");
  EXPECT_TRUE(aim["lands_at"].is_null());
}

TEST(AimCommand, TargetThatTheLensFoldsBackIntoThePicture) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_pan_tilt()->set_max_pan(0);
  // The radial factor 1 - 0.2 r^2 has its largest radius at r = sqrt(1 / 0.6) = 1.29 and is zero at
  // 2.24, so that a target 66 degrees aside would be seen in the middle.
  for (auto& sample : *ptz.mutable_intrinsics()->mutable_samples()) sample.set_k1(-0.2);
  const Calibration calibration(ptz);
  const json aim = toolRefusalJson(calibration.aim("--at 0,0,0 --point 1,-2.236,0"));
  EXPECT_EQ(aim["note"], "the target is far outside of the picture");
  EXPECT_TRUE(aim["lands_at"].is_null());
}

TEST(AimCommand, IsWhatTheLibraryAnswersForPixels) {
  const PTZCameraModelPtr model = exampleModel();
  std::mt19937_64 random(11);
  for (int i = 0; i < 15; ++i) {
    const int at[] = {static_cast<int>(uniform(&random, -4000, 4000)),
                      static_cast<int>(uniform(&random, -900, 1500)),
                      static_cast<int>(uniform(&random, 0, 10999))};
    const auto x = static_cast<float>(static_cast<int>(uniform(&random, 0, 1920)));
    const auto y = static_cast<float>(static_cast<int>(uniform(&random, 0, 1080)));
    const PTZCameraModelConfiguration now(model, at[0], at[1], at[2]);
    int pan = 0;
    int tilt = 0;
    ASSERT_TRUE(now.getPanTilt({x, y}, &pan, &tilt));
    const PTZCameraModelConfiguration then(model, pan, tilt, at[2]);
    const Vector3_f target = now.getCameraCenter() + now.projectPixelToRay({x, y}).normalized();
    const Vector2_f lands = then.project3dToCamera(target);
    const Vector2_f wanted(then.getIntrinsics()(0, 2), then.getIntrinsics()(1, 2));

    std::ostringstream arguments;
    arguments << "--at " << at[0] << "," << at[1] << "," << at[2] << " --pixel " << x << "," << y;
    const json aim = anyJson(aimExample(arguments.str()));
    EXPECT_EQ(aim["pan"], pan);
    EXPECT_EQ(aim["tilt"], tilt);
    EXPECT_EQ(aim["zoom"], at[2]);
    expectPixel(aim["lands_at"], lands);
    expectPixel(aim["wanted_at"], wanted);
    EXPECT_EQ(aim["distance_pixels"].get<float>(), (lands - wanted).norm());
    // Half a step in both angles, where no limit is met.
    if (!aim["limited"].get<bool>()) {
      const double half_step = static_cast<double>(then.getIntrinsics()(0, 0)) * kStep / 2;
      EXPECT_LT(number(aim, "distance_pixels"), 1.05 * std::sqrt(2.0) * half_step);
    }
  }
}

TEST(AimCommand, IsWhatTheLibraryAnswersForBoxes) {
  const PTZCameraModelPtr model = exampleModel();
  std::mt19937_64 random(12);
  for (int i = 0; i < 15; ++i) {
    const auto coordinate = [&](double high) {
      return static_cast<float>(static_cast<int>(uniform(&random, 0, high)));
    };
    const float box[] = {coordinate(1920), coordinate(1080), coordinate(1920), coordinate(1080)};
    const PTZCameraModelConfiguration now(model, 100, 200, 1500);
    int pan = 0;
    int tilt = 0;
    int zoom = 0;
    ASSERT_TRUE(now.getPanTiltZoom({box[0], box[1]}, {box[2], box[3]}, &pan, &tilt, &zoom));
    std::ostringstream arguments;
    arguments << "--at 100,200,1500 --box " << box[0] << "," << box[1] << "," << box[2] << ","
              << box[3];
    const json aim = anyJson(aimExample(arguments.str()));
    EXPECT_EQ(aim["pan"], pan);
    EXPECT_EQ(aim["tilt"], tilt);
    EXPECT_EQ(aim["zoom"], zoom);
    // The library frames by the focal length alone; the lens shifts the corners by up to 10 px of
    // principal point and 7 % of distortion inwards.
    if (aim["box_lands"].is_null()) continue;
    EXPECT_GT(aim["box_lands"][0].get<double>(), -25);
    EXPECT_LT(aim["box_lands"][2].get<double>(), 1945);
    EXPECT_GT(aim["box_lands"][1].get<double>(), -25);
    EXPECT_LT(aim["box_lands"][3].get<double>(), 1105);
  }
}

TEST(AimCommand, IsWhatTheLibraryAnswersForPoints) {
  const PTZCameraModelPtr model = exampleModel();
  const PTZCameraModelConfiguration now(model, -300, 50, 2500);
  const Vector3_f target(4, -3, 2);
  float pan = 0;
  float tilt = 0;
  ASSERT_TRUE(now.getPanTilt(target, {300, 800}, &pan, &tilt));
  const json aim = toolJson(aimExample("--at -300,50,2500 --point 4,-3,2 --pixel 300,800"));
  EXPECT_EQ(aim["pan"], static_cast<int>(std::round(pan)));
  EXPECT_EQ(aim["tilt"], static_cast<int>(std::round(tilt)));
  EXPECT_EQ(aim["wanted_at"], (json{300, 800}));
  // Half a step, 0.00025 rad, of 2.7e3 px in both angles.
  EXPECT_LT(number(aim, "distance_pixels"), 1.2);
}

TEST(AimCommand, CallersEnvironmentDoesNotReachTheTests) {
  const Calibration calibration(plainPtz());
  const std::string arguments = calibration.aim("--at 0,0,0 --pixel 1264.065,540");
  EXPECT_EQ(setenv("NORV_LOG", "info", 1), 0);
  const testing::ProgramResult quiet = testing::runTool(arguments);
  const testing::ProgramResult loud = testing::runTool(arguments, "NORV_LOG=info");
  EXPECT_EQ(unsetenv("NORV_LOG"), 0);
  EXPECT_EQ(quiet.errors, "");
  EXPECT_THAT(loud.errors, ::testing::HasSubstr("zoom=0 a1=1.000000, a2=0.000000"));
  EXPECT_EQ(quiet.output, loud.output);
}

/// The camera on the example's place with its head turned in its own description: every pose is as
/// it was, the optical axis at this azimuth.
PTZCameraParameters turnedPtz(double azimuth) {
  PTZCameraParameters ptz = plainPtz();
  auto* head = ptz.mutable_pan_tilt();
  testing::storePose(testing::turnZ(azimuth) * testing::readPose(head->base_to_pan()),
                     head->mutable_base_to_pan());
  testing::storePose(testing::readPose(head->pan_to_tilt()) * testing::turnZ(-azimuth),
                     head->mutable_pan_to_tilt());
  return ptz;
}

/// The camera with its zero of tilt elsewhere, so that its optical axis stands that high there.
PTZCameraParameters raisedPtz(double elevation) {
  PTZCameraParameters ptz = plainPtz();
  auto* pose = ptz.mutable_pan_tilt()->mutable_tilt_to_camera();
  testing::storePose(testing::readPose(*pose) * testing::turnZ(elevation), pose);
  return ptz;
}

const char* const kNoSolution =
    "the head cannot point there: no solution with a tilt within 90 deg either way";
const char* const kOtherFrame =
    "this head should be written in another frame, every pose as it was";

TEST(AimCommand, HeadThatIsNotServed) {
  const Calibration calibration(turnedPtz(45 * kRadians));
  const std::string arguments = calibration.aim("--at 0,0,0 --point 5,1,4");
  const json aim = toolRefusalJson(arguments);
  EXPECT_EQ(toolRefusal(arguments),
            "not reached: the head cannot point there: no solution with a tilt within 90 deg\n"
            "  either way\n"
            "note: this head should be written in another frame, every pose as it was\n"
            "\n" +
                aim["better_pan_tilt"].get<std::string>());
  EXPECT_EQ(aim["reached"], false);
  EXPECT_EQ(aim["note"], std::string(kNoSolution) + "; " + kOtherFrame);
  EXPECT_EQ(aim["target"], (json{5, 1, 4}));
  for (const char* key : {"pan", "tilt", "zoom", "pan_degrees", "tilt_degrees", "zoom_factor",
                          "unlimited_pan", "unlimited_tilt", "lands_at", "wanted_at"}) {
    EXPECT_TRUE(aim[key].is_null()) << key;
  }
}

/// The target in the frame of the camera where the tool sends it: the chain in double precision,
/// multiplied out without the library.
Eigen::Vector4d seenFrom(const PTZCameraParameters& ptz, const json& aim,
                         const Eigen::Vector4d& target) {
  const testing::Steps steps = {number(aim, "pan"), number(aim, "tilt")};
  return testing::cameraFromBaseAtSteps(ptz.pan_tilt(), steps) * target;
}

/// The same camera with the head that an answer offers in the place of its own.
PTZCameraParameters withBetterHead(const PTZCameraParameters& ptz, const json& aim) {
  PTZCameraParameters better;
  EXPECT_TRUE(google::protobuf::TextFormat::ParseFromString(
      aim["better_pan_tilt"].get<std::string>(), &better));
  *better.mutable_intrinsics() = ptz.intrinsics();
  return better;
}

TEST(AimCommand, HeadInTheOfferedFrameReachesTheTarget) {
  const Eigen::Vector4d target(5, 1, 2, 1);
  for (const PTZCameraParameters& ptz : {turnedPtz(45 * kRadians), turnedPtz(-60 * kRadians)}) {
    const json refused = toolRefusalJson(Calibration(ptz).aim("--at 0,0,0 --point 5,1,2"));
    const PTZCameraParameters better = withBetterHead(ptz, refused);
    const json aim = toolJson(Calibration(better).aim("--at 0,0,0 --point 5,1,2"));
    EXPECT_EQ(aim["reached"], true);
    EXPECT_TRUE(aim["better_pan_tilt"].is_null());
    // By the chain of the head as it was first written: every pose is as it was. Half a step in
    // both angles is 3.6e-4 rad.
    const Eigen::Vector4d seen = seenFrom(ptz, aim, target);
    EXPECT_GT(seen.z(), 0);
    EXPECT_LT(std::hypot(seen.x(), seen.y()) / seen.z(), 4e-4);
  }
}

TEST(AimCommand, HeadWithItsZeroOfTiltElsewhere) {
  // Below the plane of pan by 50 degrees, which a tilt of 110 or 140 degrees would reach.
  for (const double elevation : {60.0, 89.0}) {
    const Calibration calibration(raisedPtz(elevation * kRadians));
    EXPECT_EQ(toolRefusalJson(calibration.aim("--at 0,0,0 --point 3,0,-3.575"))["note"],
              std::string(kNoSolution) + "; " + kOtherFrame);
  }
  // A head that is well written down gets no such advice: its optical axis is 30 degrees up, and
  // the target straight below.
  const Calibration served(raisedPtz(30 * kRadians));
  EXPECT_EQ(toolRefusalJson(served.aim("--at 0,0,0 --point 0.1,0,-5"))["note"], kNoSolution);
}

/// A target 5 m away.
Eigen::Vector4d randomTarget(std::mt19937_64* random) {
  const double pan = uniform(random, -175, 175) * kRadians;
  const double elevation = uniform(random, -40, 85) * kRadians;
  return {5 * std::cos(elevation) * std::cos(pan), 5 * std::cos(elevation) * std::sin(pan),
          5 * std::sin(elevation), 1};
}

std::string atTarget(const Eigen::Vector4d& target) {
  std::ostringstream point;
  point << "--at 0,0,0 --point " << target.x() << "," << target.y() << "," << target.z();
  return point.str();
}

TEST(AimCommand, SaysWhereTheCameraFacesAway) {
  // With the axis at 90 degrees the solver accepts answers that face away from steep targets.
  PTZCameraParameters ptz = turnedPtz(90 * kRadians);
  auto* head = ptz.mutable_pan_tilt();
  head->clear_min_pan();
  head->clear_max_pan();
  head->clear_min_tilt();
  head->clear_max_tilt();
  const Calibration calibration(ptz);
  std::mt19937_64 random(13);
  int away = 0;
  for (int i = 0; i < 60; ++i) {
    const Eigen::Vector4d target = randomTarget(&random);
    const json aim = anyJson(calibration.aim(atTarget(target)));
    if (aim["pan"].is_null()) continue;
    const bool in_front = seenFrom(ptz, aim, target).z() > 0;
    EXPECT_EQ(aim["reached"], in_front);
    EXPECT_EQ(aim["note"],
              in_front ? json(nullptr)
                       : json("the target is behind the camera; " + std::string(kOtherFrame)));
    if (!in_front) ++away;
  }
  EXPECT_GT(away, 10);
}

TEST(AimCommand, EveryRefusalOfABadlyWrittenHeadOffersABetterFrame) {
  // The motors' limits refuse answers here, too, which the same head in a level frame would not
  // have been given.
  const Calibration calibration(raisedPtz(90 * kRadians));
  std::mt19937_64 random(15);
  int refused = 0;
  int limited = 0;
  for (int i = 0; i < 40; ++i) {
    const json aim = anyJson(calibration.aim(atTarget(randomTarget(&random))));
    EXPECT_EQ(aim["better_pan_tilt"].is_null(), aim["reached"].get<bool>());
    if (!aim["reached"].get<bool>()) ++refused;
    if (aim["limited"].get<bool>()) ++limited;
  }
  EXPECT_GT(refused, 20);
  EXPECT_GT(limited, 0);
}

TEST(AimCommand, SolversTraceIsThereForThoseWhoAskForIt) {
  const Calibration calibration(plainPtz());
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

TEST(AimCommand, ReachedIsWhatIsInTheMiddle) {
  // Of heads in any frame and within their limits. Half a step in both angles, 0.53 px, a little
  // more for steep targets, and what the limits may move a target by, 1 px, are within 2 px.
  std::mt19937_64 random(14);
  int reached = 0;
  int refused = 0;
  for (const double azimuth : {0.0, 60.0, 90.0, 180.0}) {
    const PTZCameraParameters ptz = turnedPtz(azimuth * kRadians);
    const Calibration calibration(ptz);
    for (int i = 0; i < 25; ++i) {
      const Eigen::Vector4d target = randomTarget(&random);
      const json aim = anyJson(calibration.aim(atTarget(target)));
      ++(aim["reached"].get<bool>() ? reached : refused);
      if (!aim["reached"].get<bool>()) continue;
      const Eigen::Vector4d seen = seenFrom(ptz, aim, target);
      EXPECT_GT(seen.z(), 0);
      EXPECT_LT(kFocalLength * seen.head<2>().norm() / seen.z(), 2);
    }
  }
  EXPECT_GT(reached, 30);
  EXPECT_GT(refused, 10);
}

TEST(AimCommand, ReframedHeadReachesWhatItFacedAwayFrom) {
  const PTZCameraParameters ptz = turnedPtz(90 * kRadians);
  const Calibration calibration(ptz);
  const std::string point = "--at 0,0,0 --point 1,1,4";
  EXPECT_EQ(toolRefusalJson(calibration.aim(point))["reached"], false);
  const json shown = toolJson("show '" + calibration.path() + "'");
  PTZCameraParameters better;
  ASSERT_TRUE(google::protobuf::TextFormat::ParseFromString(
      shown["better_pan_tilt"].get<std::string>(), &better));
  *better.mutable_intrinsics() = ptz.intrinsics();
  EXPECT_EQ(toolJson(Calibration(better).aim(point))["reached"], true);
}

TEST(AimCommand, TargetsThatCannotBeReached) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_pan_tilt()->mutable_tilt_to_camera()->set_a(3, 500);
  const Calibration calibration(ptz);
  // The optical axis passes the pan axis, and a target on that, at half a metre. Where it stands
  // upright and both are parallel, it is not nearer.
  EXPECT_EQ(toolRefusalJson(calibration.aim("--at 0,0,0 --point 0,0,3"))["note"],
            "the head cannot point there: the best solution passes the target by 0.5 m");
  const Calibration plain(plainPtz());
  expectToolRefuses(plain.aim("--at 0,0,0 --pixel 1e30,1e30"),
                    plain.path() + ": no ray reaches pixel 1e+30,1e+30");
}

TEST(AimCommand, PixelsThatNoRayReaches) {
  PTZCameraParameters ptz = plainPtz();
  for (auto& sample : *ptz.mutable_intrinsics()->mutable_samples()) sample.set_k1(-0.2);
  const Calibration calibration(ptz);
  // No ray is seen farther out than 1.29 (1 - 0.2 * 1.67) = 0.86 focal lengths.
  const std::string reason = calibration.path() + ": no ray reaches pixel ";
  expectToolRefuses(calibration.aim("--at 0,0,0 --pixel 2400,540"), reason + "2400,540");
  expectToolRefuses(calibration.aim("--at 0,0,0 --box 0,0,-500,10.5"), reason + "-500,10.5");
  expectToolRefuses(calibration.aim("--at 0,0,0 --point 5,0,0 --pixel 960,3000"),
                    reason + "960,3000");
}

TEST(AimCommand, PositionsWithoutALens) {
  const Calibration calibration(plainPtz());
  for (const char* zoom : {"11000", "12000", "2147483647"}) {
    expectToolRefuses(calibration.aim("--at 0,0," + std::string(zoom) + " --pixel 0,0"),
                      calibration.path() + ": zoom position " + zoom +
                          " is at or beyond the last lens sample, where the lens is not known");
  }
}

TEST(AimCommand, PositionsBelowTheFirstSample) {
  PTZCameraParameters ptz = plainPtz();
  const Calibration calibration(ptz);
  // From a whole interval below it on there is no lens; nearer, that of the first two goes on.
  for (const char* zoom : {"-1000", "-2147483648"}) {
    expectToolRefuses(calibration.aim("--at 0,0," + std::string(zoom) + " --pixel 0,0"),
                      calibration.path() + ": zoom position " + zoom +
                          " is below the first lens sample, where the lens is not known");
  }
  EXPECT_THAT(toolOutput(calibration.aim("--at 0,0,-999 --pixel 960,540")),
              ::testing::EndsWith("\nnote: zoom position -999 is below the first lens sample: the "
                                  "lens there is\n  extrapolated\n"));
}

TEST(AimCommand, PositionsBetweenSamplesThatGiveNone) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_intrinsics()->mutable_samples(1)->set_focal_length(std::nan(""));
  const Calibration calibration(ptz);
  expectToolRefuses(calibration.aim("--at 0,0,500 --pixel 0,0"),
                    calibration.path() +
                        ": zoom position 500 is between lens samples that give none, where the "
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
  const Calibration calibration(ptz);
  expectToolRefuses(calibration.aim("--at 0,0,0 --pixel 1,1"),
                    calibration.path() + ": the head cannot point there: a motor's step is 0 rad");
  ptz.mutable_pan_tilt()->set_pan_scale(1);
  ptz.mutable_pan_tilt()->set_tilt_scale(std::nanf(""));
  const Calibration unknown(ptz);
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
  const Calibration calibration(plainPtz());
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

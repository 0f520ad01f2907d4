// The verb `aim` at a distance, within the range of the motors: positions worked out by hand, and
// what the camera sees there.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <sstream>
#include <string>

#include "calibration_common/ptz_camera_model.h"
#include "testing/example_ptz.h"
#include "testing/random_head.h"
#include "testing/tree_calibrations.h"
#include "tests/tools/aim/aim_example.h"
#include "tests/tools/run_tool.h"

namespace norv {
namespace {

using calibration::PTZCameraModelConfiguration;
using calibration::PTZCameraModelPtr;
using calibration::PTZCameraParameters;
using nlohmann::json;
using testing::aimExample;
using testing::expectPanTilt;
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
using testing::uniform;

/// Focal length of a plain camera.
double focalLength(int zoom) {
  const PTZCameraModelConfiguration camera(testing::ptzModel(plainPtz()), 0, 0, zoom);
  return static_cast<double>(camera.getIntrinsics()(0, 0));
}

/// Expects the zoom to be the last at which the focal length is not above a limit.
void expectLastZoomWithin(double limit, const json& aim) {
  const int zoom = aim["zoom"].get<int>();
  EXPECT_LE(focalLength(zoom), limit * (1 + 1e-6));
  EXPECT_GT(focalLength(zoom + 1), limit);
}

/// The plain camera with a tilt that reaches over its back, where it sees everything upside down.
PTZCameraParameters overturningPtz() {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_pan_tilt()->set_max_tilt(7000);
  return ptz;
}

TEST(AimSearch, PixelToTheRightAtADistance) {
  const StoredPtz calibration(plainPtz());
  // 400 steps of 0.0005 rad are 0.2 rad; 1500 px tan 0.2 are 304.065 px.
  EXPECT_EQ(toolOutput(calibration.aim("--at 0,0,0 --pixel 1264.065,540 --distance 12")),
            "pan   400 steps  11.459 deg\n"
            "tilt    0 steps   0.000 deg\n"
            "zoom    0 steps     1.000 x\n"
            "pan and tilt are within their range\n"
            "what the pixel shows, taken 12 m away, lands at 960.00, 540.00,\n"
            "  0.00 px from 960.00, 540.00\n"
            "the way there: pan +400, tilt +0, zoom +0 steps\n");
}

TEST(AimSearch, PixelsAreCentredAtTheirDistance) {
  const PTZCameraModelPtr model =
      testing::ptzModel(testing::treeCalibration<PTZCameraParameters>("example_ptz_cal.txt"));
  std::mt19937_64 random(21);
  for (int i = 0; i < 15; ++i) {
    const int zoom = static_cast<int>(uniform(&random, 0, 10000));
    const Vector2_f pixel = testing::randomPixel(&random);
    const auto distance = static_cast<float>(uniform(&random, 1, 20));
    std::ostringstream arguments;
    arguments.precision(9);
    arguments << "--at 500,200," << zoom << " --pixel " << pixel.x() << "," << pixel.y()
              << " --distance " << distance;
    const json aim = toolJson(aimExample(arguments.str()));
    // Looked at from there by the forward chain. Single precision is good to 0.1 px at 20 times.
    const PTZCameraModelConfiguration now(model, 500, 200, zoom);
    const PTZCameraModelConfiguration then(model, aim["pan"], aim["tilt"], aim["zoom"]);
    const Vector3_f place =
        now.getCameraCenter() + distance * now.projectPixelToRay(pixel).normalized();
    const Vector2_f seen = then.project3dToCamera(place);
    EXPECT_NEAR(aim["lands_at"][0].get<double>(), static_cast<double>(seen.x()), 0.1);
    EXPECT_NEAR(aim["lands_at"][1].get<double>(), static_cast<double>(seen.y()), 0.1);
    // Half a step of both motors, as the middle of the picture sees it.
    const double step = static_cast<double>(then.getIntrinsics()(0, 0)) * testing::kStep;
    EXPECT_LT(static_cast<double>((seen - Vector2_f(960, 540)).norm()), 0.75 * step + 0.1)
        << arguments.str();
    EXPECT_EQ(aim["zoom"], zoom);
    EXPECT_TRUE(aim["reason"].is_null());
  }
}

TEST(AimSearch, PlacesInThePicture) {
  PTZCameraParameters ptz = plainPtz();
  for (auto& sample : *ptz.mutable_intrinsics()->mutable_samples()) sample.set_cx(1264.065);
  const StoredPtz calibration(ptz);
  const auto aim = [&](const std::string& options) {
    return toolJson(calibration.aim("--at 0,0,0 --point 5,0,0 " + options));
  };
  // Straight ahead is on the axis, 0.2 rad right of the middle.
  const json axis = aim("--place axis");
  expectPanTilt(axis, 0, 0);
  EXPECT_NEAR(axis["wanted_at"][0].get<double>(), 1264.065, 1e-3);
  expectPanTilt(aim("--place middle"), 400, 0);
  expectPanTilt(aim("--strict"), 400, 0);
  expectPanTilt(aim("--pixel 1568.13,540 --strict"), -400, 0);
}

TEST(AimSearch, SphereThatFillsThePicture) {
  const StoredPtz calibration(plainPtz());
  // The outline of a sphere straight ahead is a circle of half angle asin(r / d); its radius may be
  // half of half the height.
  const json aim = toolJson(calibration.aim("--at 0,0,0 --point 5,0,0 --radius 0.5 --fill 0.5"));
  const double tangent = std::tan(std::asin(0.5 / 5));
  expectPanTilt(aim, 0, 0);
  expectLastZoomWithin(270 / tangent, aim);
  const double radius = focalLength(aim["zoom"]) * tangent;
  const double expected[] = {960 - radius, 540 - radius, 960 + radius, 540 + radius};
  for (std::size_t i = 0; i < 4; ++i)
    EXPECT_NEAR(aim["covers"][i].get<double>(), expected[i], 0.01) << i;
  EXPECT_EQ(aim["inside"], true);
  EXPECT_EQ(aim["travel"], (json{0, 0, aim["zoom"]}));
}

TEST(AimSearch, BoxIsFramed) {
  const StoredPtz calibration(plainPtz());
  // A quarter of the picture in its middle: the focal length may be four times as long.
  const std::string arguments = calibration.aim("--at 0,0,0 --box 720,405,1200,675 --distance 8");
  const json aim = toolJson(arguments);
  expectPanTilt(aim, 0, 0);
  expectLastZoomWithin(4 * kFocalLength, aim);
  EXPECT_EQ(aim["inside"], true);
  EXPECT_TRUE(aim["target"].is_null());
  EXPECT_THAT(toolOutput(arguments),
              ::testing::HasSubstr("\nthe zoom is chosen from 0 to 10999, where there is a lens\n"
                                   "the middle of the box, taken 8 m away, lands at 960.00, 540.00"
                                   ",\n  0.00 px from 960.00, 540.00\nit spans 0.0"));
  EXPECT_THAT(toolOutput(arguments),
              ::testing::HasSubstr(" of the 1920x1080 picture,\n  all of it inside\n"));
}

TEST(AimSearch, SeveralPointsAreCentredTogether) {
  const StoredPtz calibration(plainPtz());
  // 0.1 rad and 0.3 rad to the right: the middle of what they cover is at 0.2 rad but for the
  // curve of the tangent, which is the same on both sides.
  const std::string points = "--point " + pointToTheRight(0.1) + " --point " + pointToTheRight(0.3);
  const json aim = toolJson(calibration.aim("--at 0,0,0 " + points));
  expectPanTilt(aim, 400, 0);
  const double half = kFocalLength * std::tan(0.1);
  EXPECT_NEAR(aim["covers"][0].get<double>(), 960 - half, 0.01);
  EXPECT_NEAR(aim["covers"][2].get<double>(), 960 + half, 0.01);
  EXPECT_EQ(aim["zoom"], 0);
  const json filled = toolJson(calibration.aim("--at 0,0,0 --fill 0.8 " + points));
  expectLastZoomWithin(0.8 * 960 / std::tan(0.1), filled);
}

TEST(AimSearch, FieldOfViewAndFocalLength) {
  const StoredPtz calibration(plainPtz());
  const auto expectNear = [&](const std::string& option, double focal_length) {
    const json aim = toolJson(calibration.aim("--at 0,0,0 --point 5,0,0 " + option));
    EXPECT_GT(focalLength(aim["zoom"].get<int>() + 1), focal_length) << option;
    EXPECT_LT(focalLength(aim["zoom"].get<int>() - 1), focal_length) << option;
  };
  expectNear("--fov 30", 960 / std::tan(15 * kRadians));
  expectNear("--focal 5000", 5000);
}

TEST(AimSearch, EveryPosition) {
  const StoredPtz calibration(overturningPtz());
  // 0.25 rad to the right, or half a turn on in both: 500 - 6283.19 and 6283.19 steps.
  const std::string arguments =
      calibration.aim("--at 0,0,0 --all --point " + pointToTheRight(0.25));
  const json aim = toolJson(arguments);
  expectPanTilt(aim, 500, 0);
  EXPECT_EQ(aim["upright"], true);
  ASSERT_EQ(aim["alternatives"].size(), 1U);
  expectPanTilt(aim["alternatives"][0], -5783, 6283);
  EXPECT_EQ(aim["alternatives"][0]["upright"], false);
  const std::string text = toolOutput(arguments);
  EXPECT_THAT(text, ::testing::StartsWith("position 1 of 2\npan   500 steps"));
  EXPECT_THAT(text, ::testing::HasSubstr("steps\n\nposition 2 of 2\npan   -5783 steps"));
  EXPECT_THAT(text, ::testing::EndsWith("the picture is upside down\n"));
  testing::expectFitsTerminal(text);
}

TEST(AimSearch, ChoiceOfPositions) {
  const StoredPtz calibration(overturningPtz());
  const auto aim = [&](const std::string& choice) {
    return toolJson(calibration.aim("--at -5700,6200,0 --choice " + choice + " --point " +
                                    pointToTheRight(0.25)));
  };
  expectPanTilt(aim("nearest"), -5783, 6283);
  expectPanTilt(aim("no-flip"), -5783, 6283);
  expectPanTilt(aim("upright"), 500, 0);
  EXPECT_EQ(aim("upright")["travel"], (json{6200, -6200, 0}));
}

TEST(AimSearch, HeadThatTheFixedOperationsDoNotServe) {
  const PTZCameraParameters ptz = testing::turnedPtz(45 * kRadians);
  const StoredPtz calibration(ptz);
  const std::string point = "--at 0,0,0 --point 5,1,4";
  EXPECT_TRUE(toolRefusalJson(calibration.aim(point))["pan"].is_null());
  const json aim = toolJson(calibration.aim(point + " --strict"));
  const PTZCameraModelConfiguration then(testing::ptzModel(ptz), aim["pan"], aim["tilt"], 0);
  EXPECT_LT((then.project3dToCamera({5, 1, 4}) - Vector2_f(960, 540)).norm(), 0.6F);
}

TEST(AimSearch, SmallBoxEndsWhereThereIsALens) {
  const StoredPtz calibration(plainPtz());
  const std::string arguments = calibration.aim("--at 0,0,0 --box 959,539,961,541 --distance 5");
  const json aim = toolJson(arguments);
  EXPECT_EQ(aim["zoom"], 10999);
  EXPECT_EQ(aim["zoom_bound"], "highest");
  EXPECT_EQ(aim["limited"], true);
  EXPECT_THAT(toolOutput(arguments),
              ::testing::HasSubstr("\npan and tilt are within their range\n"
                                   "zoom is held at its highest position, 10999\n"));
  EXPECT_EQ(toolRefusalJson(arguments + " --strict")["reason"], "limited");
}

TEST(AimSearch, ZoomRangeThatTheCalibrationStates) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_intrinsics()->set_min_zoom(100);
  ptz.mutable_intrinsics()->set_max_zoom(10000);
  const StoredPtz calibration(ptz);
  EXPECT_THAT(toolOutput(calibration.aim("--at 0,0,200 --box 959,539,961,541 --distance 5")),
              ::testing::HasSubstr("\nzoom is held at its highest position, 10000\n"
                                   "the zoom is chosen from 100 to 10000, its range\n"));
}

TEST(AimSearch, LimitOfAMotor) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_pan_tilt()->set_max_pan(399);
  const StoredPtz calibration(ptz);
  // A step less than 0.2 rad is 0.75 px at this zoom, less than what is tolerated.
  const std::string near =
      calibration.aim("--at 0,0,0 --choice nearest --point " + pointToTheRight(0.2));
  const json aim = toolJson(near);
  EXPECT_EQ(aim["pan"], 399);
  EXPECT_EQ(aim["pan_bound"], "highest");
  // A step of pan and one of tilt.
  EXPECT_NEAR(number(aim, "tolerance_pixels"), 1.5, 0.001);
  EXPECT_EQ(toolRefusalJson(near + " --strict")["note"], "the range of a motor limits the answer");
  // 0.7 rad are 500.5 milliradians more: 1500 px tan 0.5005 = 820.43 px.
  const std::string far =
      calibration.aim("--at 0,0,0 --choice nearest --point " + pointToTheRight(0.7));
  EXPECT_EQ(toolRefusal(far),
            "pan   399 steps  11.431 deg\n"
            "tilt    0 steps   0.000 deg\n"
            "zoom    0 steps     1.000 x\n"
            "pan is held at its highest position, 399\n"
            "the target lands at 1780.43, 540.00,\n"
            "  820.43 px from 960.00, 540.00\n"
            "the way there: pan +399, tilt +0, zoom +0 steps\n"
            "not reached: the limits of the motors keep the target 820.43 px from where it\n"
            "  was to be\n");
  EXPECT_EQ(toolRefusalJson(far)["reason"], "limited");
}

TEST(AimSearch, TolerancesOfStrictness) {
  const StoredPtz calibration(plainPtz());
  // Half a step beside the nearest: 0.25 mrad of 1500 px.
  const std::string arguments =
      calibration.aim("--at 0,0,0 --strict --point " + pointToTheRight(400.5 * testing::kStep));
  EXPECT_NEAR(number(toolJson(arguments), "distance_pixels"), 0.375, 0.001);
  EXPECT_EQ(toolJson(arguments + " --tolerance 0.4")["reached"], true);
  const json missed = toolRefusalJson(arguments + " --tolerance 0.3");
  EXPECT_EQ(missed["reason"], "missed");
  EXPECT_THAT(missed["note"].get<std::string>(),
              ::testing::MatchesRegex(
                  "the target lands 0.3[78] px from where it was to be, more than 0.30 px"));
  // At 20 times a step is 15 px, and as much is tolerated for each motor.
  const json near = toolJson(calibration.aim("--at 0,0,10000 --strict --point " +
                                             pointToTheRight(400.5 * testing::kStep)));
  EXPECT_NEAR(number(near, "tolerance_pixels"), 30, 0.1);
}

TEST(AimSearch, WordsForWhatCannotBe) {
  const auto reason = [](const PTZCameraParameters& ptz, const std::string& arguments) {
    const json aim = toolRefusalJson(StoredPtz(ptz).aim(arguments));
    EXPECT_FALSE(aim["note"].get<std::string>().empty()) << arguments;
    EXPECT_TRUE(aim["pan"].is_null() && aim["tolerance_pixels"].is_null()) << arguments;
    return aim["reason"].get<std::string>();
  };
  PTZCameraParameters ptz = plainPtz();
  EXPECT_EQ(reason(ptz, "--at 0,0,11000 --pixel 0,0 --distance 5"), "no-present-lens");
  EXPECT_EQ(reason(ptz, "--at 0,0,0 --point 5,0,0 --radius 6"), "invalid-request");
  EXPECT_EQ(reason(testing::foldingPtz(), "--at 0,0,0 --pixel 2400,540 --distance 5"), "no-ray");
  ptz.mutable_pan_tilt()->set_min_pan(-100);
  ptz.mutable_pan_tilt()->set_max_pan(100);
  EXPECT_EQ(reason(ptz, "--at 0,0,0 --point -5,-1,0 --strict"), "out-of-sight");
  ptz = plainPtz();
  ptz.mutable_pan_tilt()->mutable_tilt_to_camera()->set_a(3, 500);
  // The optical axis passes the pan axis, and a target on that, at half a metre.
  EXPECT_EQ(reason(ptz, "--at 0,0,0 --point 0,0,3 --strict"), "out-of-reach");
  ptz = plainPtz();
  ptz.mutable_pan_tilt()->mutable_tilt_to_camera()->set_a(11, -500);
  // The camera sits half a metre ahead of where it turns, and looks away from what is nearer.
  EXPECT_EQ(reason(ptz, "--at 0,0,0 --point 0.2,0,0 --strict"), "behind");
  ptz = plainPtz();
  testing::storePose({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0},
                     ptz.mutable_pan_tilt()->mutable_pan_to_tilt());
  EXPECT_EQ(reason(ptz, "--at 0,0,0 --point 5,1,1 --strict"), "parallel-axes");
  ptz = plainPtz();
  ptz.mutable_intrinsics()->mutable_samples()->DeleteSubrange(1, 11);
  EXPECT_EQ(reason(ptz, "--at 0,0,0 --point 5,0,0 --strict"), "no-zoom");
}

TEST(AimSearch, BoxThatNoZoomShows) {
  const StoredPtz calibration(plainPtz());
  // Wider than the picture at the widest zoom.
  const json aim =
      toolRefusalJson(calibration.aim("--at 0,0,0 --box -300,0,2220,1080 --distance 5"));
  EXPECT_EQ(aim["reason"], "not-inside");
  EXPECT_EQ(aim["inside"], false);
  EXPECT_EQ(aim["zoom"], 0);
  EXPECT_EQ(aim["zoom_bound"], "lowest");
}

TEST(AimSearch, WhatIsOddIsNoted) {
  const StoredPtz calibration(plainPtz());
  EXPECT_EQ(toolJson(calibration.aim("--at 6000,0,0 --pixel -1,5 --distance 5"))["note"],
            "pan is said to be at 6000, above its highest position, 5934; pixel -1,5 lies outside "
            "of the 1920x1080 picture");
}

TEST(AimSearch, FitsATerminalOf80Columns) {
  for (const char* arguments :
       {"--at 500,200,2500 --pixel 400,300 --distance 12.3456789 --strict",
        "--at 500,200,2500 --point 3,1,1.5 --point 4,1,1.5 --fill 0.5 --all",
        "--at 500,200,2500 --box 300,200,700,500 --distance 5",
        "--at -99999,-99999,-500 --point -5,0.1,1.2 --strict --all",
        "--at 0,0,0 --box -300,0,2220,1080 --distance 1234.56789"}) {
    testing::expectFitsTerminal(testing::runTool(aimExample(arguments)).output);
  }
}

}  // namespace
}  // namespace norv

// What the verb `aim` answers: positions worked out by hand, and those of the library.

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
using testing::anyJson;
using testing::expectPanTilt;
using testing::kRadians;
using testing::kStep;
using testing::number;
using testing::plainPtz;
using testing::pointToTheRight;
using testing::StoredPtz;
using testing::toolJson;
using testing::toolOutput;
using testing::uniform;

PTZCameraModelPtr exampleModel() {
  return testing::ptzModel(testing::treeCalibration<PTZCameraParameters>("example_ptz_cal.txt"));
}

/// Expects the same floats: what the tool prints reads back as what it holds.
void expectPixel(const json& pixel, const Vector2_f& expected) {
  ASSERT_EQ(pixel.size(), 2U);
  EXPECT_EQ(pixel[0].get<float>(), expected.x());
  EXPECT_EQ(pixel[1].get<float>(), expected.y());
}

TEST(AimCommand, PixelToTheRight) {
  const StoredPtz calibration(plainPtz());
  // 400 steps of 0.0005 rad are 0.2 rad, 11.459 degrees; 1500 px tan 0.2 are 304.065 px.
  EXPECT_EQ(toolOutput(calibration.aim("--at 0,0,0 --pixel 1264.065,540")),
            "pan   400 steps  11.459 deg\n"
            "tilt    0 steps   0.000 deg\n"
            "zoom    0 steps     1.000 x\n"
            "pan and tilt are within their range\n"
            "the target, taken 1.00 m away (see --distance), lands at 960.00, 540.00,\n"
            "  0.00 px from 960.00, 540.00\n");
}

TEST(AimCommand, PixelAboveFromAnotherPosition) {
  const StoredPtz calibration(plainPtz());
  // From a pan of 1000 steps and a zoom of 10000, where the lens is 20 times as long; 0.1 rad are
  // 30000 px tan 0.1 = 3010.04 px above the middle.
  const json aim = toolJson(calibration.aim("--at 1000,0,10000 --pixel 960,-2470.04"));
  expectPanTilt(aim, 1000, 200);
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
  const StoredPtz calibration(ptz);
  const json aim = toolJson(calibration.aim("--at 100,-50,0 --pixel 1264.065,540"));
  expectPanTilt(aim, 500, -50);
  EXPECT_NEAR(number(aim, "pan_degrees"), 400 * kStep / kRadians, 1e-5);
  EXPECT_NEAR(number(aim, "tilt_degrees"), 0, 1e-5);
}

TEST(AimCommand, WorldPoint) {
  const StoredPtz calibration(plainPtz());
  // 0.25 rad to the right, 5 m away.
  EXPECT_EQ(toolOutput(calibration.aim("--at 7,8,0 --point " + pointToTheRight(0.25))),
            "pan   500 steps  14.324 deg\n"
            "tilt    0 steps   0.000 deg\n"
            "zoom    0 steps     1.000 x\n"
            "pan and tilt are within their range\n"
            "the target lands at 960.00, 540.00,\n"
            "  0.00 px from 960.00, 540.00\n");
}

TEST(AimCommand, WorldPointOnAPixel) {
  const StoredPtz calibration(plainPtz());
  // Straight ahead is wanted 304.065 px right of the middle: the head turns 0.2 rad to the left.
  const json aim = toolJson(calibration.aim("--at 0,0,0 --point 5,0,0 --pixel 1264.065,540"));
  expectPanTilt(aim, -400, 0);
  EXPECT_EQ(aim["target"], (json{5, 0, 0}));
  EXPECT_NEAR(aim["wanted_at"][0].get<double>(), 1264.065, 1e-3);
  EXPECT_NEAR(aim["lands_at"][0].get<double>(), 1264.065, 2e-3);
  EXPECT_NEAR(aim["lands_at"][1].get<double>(), 540, 2e-3);
  EXPECT_NEAR(number(aim, "distance_pixels"), 0, 3e-3);
}

TEST(AimCommand, PixelOutsideOfThePicture) {
  const StoredPtz calibration(plainPtz());
  // 0.6 rad to the left, 1200 steps, are 1500 px tan 0.6 = 1026.205 px: 66.205 px out of the
  // picture.
  EXPECT_EQ(toolOutput(calibration.aim("--at 0,0,0 --pixel -66.205,540")),
            "pan   -1200 steps  -34.377 deg\n"
            "tilt      0 steps    0.000 deg\n"
            "zoom      0 steps      1.000 x\n"
            "pan and tilt are within their range\n"
            "the target, taken 1.00 m away (see --distance), lands at 960.00, 540.00,\n"
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
    expectPanTilt(aim, pan, tilt);
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
    expectPanTilt(aim, pan, tilt);
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
  expectPanTilt(aim, static_cast<int>(std::round(pan)), static_cast<int>(std::round(tilt)));
  EXPECT_EQ(aim["wanted_at"], (json{300, 800}));
  // Half a step, 0.00025 rad, of 2.7e3 px in both angles.
  EXPECT_LT(number(aim, "distance_pixels"), 1.2);
}

}  // namespace
}  // namespace norv

// The verb `aim` with heads whose description the pointing computation does not serve.

#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <sstream>
#include <string>

#include "testing/example_ptz.h"
#include "testing/random_head.h"
#include "tests/tools/aim/aim_example.h"
#include "tests/tools/run_tool.h"

namespace norv {
namespace {

using calibration::PTZCameraParameters;
using nlohmann::json;
using testing::anyJson;
using testing::kFocalLength;
using testing::kRadians;
using testing::number;
using testing::plainPtz;
using testing::StoredPtz;
using testing::toolJson;
using testing::toolRefusal;
using testing::toolRefusalJson;
using testing::turnedPtz;
using testing::uniform;

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
  const StoredPtz calibration(turnedPtz(45 * kRadians));
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
    const json refused = toolRefusalJson(StoredPtz(ptz).aim("--at 0,0,0 --point 5,1,2"));
    const PTZCameraParameters better = withBetterHead(ptz, refused);
    const json aim = toolJson(StoredPtz(better).aim("--at 0,0,0 --point 5,1,2"));
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
    const StoredPtz calibration(raisedPtz(elevation * kRadians));
    EXPECT_EQ(toolRefusalJson(calibration.aim("--at 0,0,0 --point 3,0,-3.575"))["note"],
              std::string(kNoSolution) + "; " + kOtherFrame);
  }
  // A head that is well written down gets no such advice: its optical axis is 30 degrees up, and
  // the target straight below.
  const StoredPtz served(raisedPtz(30 * kRadians));
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
  const StoredPtz calibration(ptz);
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
  const StoredPtz calibration(raisedPtz(90 * kRadians));
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

TEST(AimCommand, ReachedIsWhatIsInTheMiddle) {
  // Of heads in any frame and within their limits. Half a step in both angles, 0.53 px, a little
  // more for steep targets, and what the limits may move a target by, 1 px, are within 2 px.
  std::mt19937_64 random(14);
  int reached = 0;
  int refused = 0;
  for (const double azimuth : {0.0, 60.0, 90.0, 180.0}) {
    const PTZCameraParameters ptz = turnedPtz(azimuth * kRadians);
    const StoredPtz calibration(ptz);
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
  const StoredPtz calibration(ptz);
  const std::string point = "--at 0,0,0 --point 1,1,4";
  EXPECT_EQ(toolRefusalJson(calibration.aim(point))["reached"], false);
  const json shown = toolJson("show '" + calibration.path() + "'");
  PTZCameraParameters better;
  ASSERT_TRUE(google::protobuf::TextFormat::ParseFromString(
      shown["better_pan_tilt"].get<std::string>(), &better));
  *better.mutable_intrinsics() = ptz.intrinsics();
  EXPECT_EQ(toolJson(StoredPtz(better).aim(point))["reached"], true);
}

}  // namespace
}  // namespace norv

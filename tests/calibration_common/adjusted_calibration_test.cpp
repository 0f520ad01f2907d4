// Calibrations that were moved by a base, and the record of it.

#include <google/protobuf/text_format.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "calibration_common/adjusted_calibration.h"
#include "calibration_common/camera_parameters.h"
#include "testing/calibration_messages.h"
#include "testing/log_capture.h"

namespace norv::calibration {
namespace {

using google::protobuf::util::MessageDifferencer;
using testing::exampleCamera;
using testing::robotOf;

constexpr std::int64_t kTime = 1715677200000000000;

/// A base that lies half a metre along y.
BaseCalibrationProto shiftedBase() {
  BaseCalibrationProto base;
  CameraCalibrationAdjustmentProto* adjustment = base.mutable_global_transform_adjustment();
  for (const double a : {1, 0, 0, 0, 0, 1, 0, 500, 0, 0, 1, 0}) {
    adjustment->mutable_global_transform()->add_a(a);
  }
  adjustment->mutable_metadata()->set_calibration_time(kTime);
  adjustment->mutable_metadata()->set_operator_note("after the service");
  return base;
}

BaseCalibrationData load(const BaseCalibrationProto& message) {
  BaseCalibrationData base;
  EXPECT_TRUE(base.loadFromString(message.SerializeAsString()));
  return base;
}

BaseCalibrationProto identityBase() {
  BaseCalibrationProto base = shiftedBase();
  base.mutable_global_transform_adjustment()->mutable_global_transform()->set_a(7, 0);
  return base;
}

/// Two cameras, one of them with values that single precision does not hold.
RobotCalibration twoCameras() {
  CameraCalibration fine = exampleCamera("fine", "any");
  fine.mutable_extrinsics()->set_a(0, 0.1);
  fine.mutable_extrinsics()->set_a(3, 1238.465568274);
  return robotOf({exampleCamera("plain", "any"), fine});
}

RobotCalibration adjusted(const RobotCalibration& robot, const BaseCalibrationProto& base) {
  const std::optional<RobotCalibration> result = adjustCalibration(robot, load(base));
  EXPECT_TRUE(result);
  return result.value_or(RobotCalibration());
}

TEST(AdjustedCalibration, PosesAreThoseOfTheSet) {
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromProto(twoCameras()));
  set.adjustUsingBaseCalibration(load(shiftedBase()));
  RobotCalibration result = adjusted(twoCameras(), shiftedBase());
  for (CameraCalibration& camera : *result.mutable_camera_calibration()) {
    ASSERT_EQ(camera.adjusted_by_size(), 1);
    EXPECT_TRUE(MessageDifferencer::Equals(camera.adjusted_by(0),
                                           shiftedBase().global_transform_adjustment()));
    camera.clear_adjusted_by();
  }
  EXPECT_EQ(result.SerializeAsString(), set.getRobotCalibration().SerializeAsString());
  EXPECT_EQ(result.camera_calibration(0).extrinsics().a(7), 500);
}

TEST(AdjustedCalibration, PosesStayToTheLastBitWhereNothingMoves) {
  RobotCalibration expected = twoCameras();
  for (CameraCalibration& camera : *expected.mutable_camera_calibration()) {
    *camera.add_adjusted_by() = identityBase().global_transform_adjustment();
  }
  EXPECT_EQ(adjusted(twoCameras(), identityBase()).SerializeAsString(),
            expected.SerializeAsString());
  // Values that single precision does not tell from the identity's move nothing, either.
  BaseCalibrationProto nearly = identityBase();
  auto* pose = nearly.mutable_global_transform_adjustment()->mutable_global_transform();
  pose->set_a(0, 1 + 1e-12);
  const RobotCalibration result = adjusted(twoCameras(), nearly);
  EXPECT_EQ(result.camera_calibration(1).extrinsics().SerializeAsString(),
            twoCameras().camera_calibration(1).extrinsics().SerializeAsString());
}

TEST(AdjustedCalibration, EachMoveIsRecorded) {
  const RobotCalibration once = adjusted(twoCameras(), shiftedBase());
  const RobotCalibration twice = adjusted(once, shiftedBase());
  EXPECT_EQ(twice.camera_calibration(0).extrinsics().a(7), 1000);
  ASSERT_EQ(twice.camera_calibration(0).adjusted_by_size(), 2);
  EXPECT_TRUE(MessageDifferencer::Equals(twice.camera_calibration(0).adjusted_by(0),
                                         twice.camera_calibration(0).adjusted_by(1)));
}

TEST(AdjustedCalibration, BaseIsRecognised) {
  const CameraCalibration before = twoCameras().camera_calibration(1);
  EXPECT_FALSE(wasAdjustedBy(before, load(shiftedBase())));
  const RobotCalibration once = adjusted(twoCameras(), shiftedBase());
  EXPECT_TRUE(wasAdjustedBy(once.camera_calibration(0), load(shiftedBase())));
  EXPECT_TRUE(wasAdjustedBy(once.camera_calibration(1), load(shiftedBase())));
  // Also when another base came after it.
  const RobotCalibration twice = adjusted(once, identityBase());
  EXPECT_TRUE(wasAdjustedBy(twice.camera_calibration(0), load(shiftedBase())));
  EXPECT_TRUE(wasAdjustedBy(twice.camera_calibration(0), load(identityBase())));
}

TEST(AdjustedCalibration, BaseIsKnownByItsTransformAndTime) {
  const CameraCalibration camera = adjusted(twoCameras(), shiftedBase()).camera_calibration(0);
  BaseCalibrationProto base = shiftedBase();
  CameraCalibrationAdjustmentProto* adjustment = base.mutable_global_transform_adjustment();
  adjustment->mutable_metadata()->set_operator_note("checked again");
  base.set_wheel_base(0.42F);
  adjustment->mutable_global_transform()->add_a(13);  // beyond what a pose has
  EXPECT_TRUE(wasAdjustedBy(camera, load(base)));
  adjustment->mutable_metadata()->set_calibration_time(kTime + 1);
  EXPECT_FALSE(wasAdjustedBy(camera, load(base)));
  adjustment->clear_metadata();
  EXPECT_TRUE(wasAdjustedBy(camera, load(base)));
  for (int i = 0; i < 12; ++i) {
    BaseCalibrationProto other = base;
    auto* pose = other.mutable_global_transform_adjustment()->mutable_global_transform();
    pose->set_a(i, std::nextafter(pose->a(i), 1e9));
    EXPECT_FALSE(wasAdjustedBy(camera, load(other))) << i;
  }
}

TEST(AdjustedCalibration, TransformsThatAreNoNumbersAreRecognised) {
  BaseCalibrationProto base = shiftedBase();
  base.mutable_global_transform_adjustment()->mutable_global_transform()->set_a(
      5, std::numeric_limits<double>::quiet_NaN());
  EXPECT_TRUE(wasAdjustedBy(adjusted(twoCameras(), base).camera_calibration(0), load(base)));
}

TEST(AdjustedCalibration, RecordThatIsCutOffIsNoRecord) {
  CameraCalibration camera = adjusted(twoCameras(), shiftedBase()).camera_calibration(0);
  camera.mutable_adjusted_by(0)->mutable_global_transform()->mutable_a()->Truncate(11);
  EXPECT_FALSE(wasAdjustedBy(camera, load(shiftedBase())));
}

TEST(AdjustedCalibration, BothFormatsKeepTheRecordAndLoadingIgnoresIt) {
  const RobotCalibration result = adjusted(twoCameras(), shiftedBase());
  std::string text;
  ASSERT_TRUE(google::protobuf::TextFormat::PrintToString(result, &text));
  RobotCalibration without = result;
  for (auto& camera : *without.mutable_camera_calibration()) camera.clear_adjusted_by();
  CameraParametersSet expected;
  ASSERT_TRUE(expected.loadFromProto(without));
  for (const std::string& data : {text, result.SerializeAsString()}) {
    CameraParametersSet set;
    ASSERT_TRUE(set.loadFromString(data));
    EXPECT_EQ(set.getRobotCalibration().SerializeAsString(), result.SerializeAsString());
    for (const char* name : {"plain", "fine"}) {
      EXPECT_EQ(set.getCamera(name)->getTransform().transform,
                expected.getCamera(name)->getTransform().transform);
      EXPECT_EQ(set.getCamera(name)->getIntrinsics(1280, 960),
                expected.getCamera(name)->getIntrinsics(1280, 960));
    }
  }
}

TEST(AdjustedCalibration, WithoutCameras) {
  EXPECT_EQ(adjusted(RobotCalibration(), shiftedBase()).SerializeAsString(), "");
}

TEST(AdjustedCalibration, CalibrationThatDoesNotLoad) {
  RobotCalibration robot = twoCameras();
  robot.mutable_camera_calibration(1)->mutable_extrinsics()->mutable_a()->Truncate(11);
  const testing::ScopedLogCapture quiet;
  EXPECT_FALSE(adjustCalibration(robot, load(shiftedBase())));
}

}  // namespace
}  // namespace norv::calibration

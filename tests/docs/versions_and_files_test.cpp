// docs/versions_and_files.md says what the library does with files of other versions.

#include <gmock/gmock.h>
#include <google/protobuf/unknown_field_set.h>
#include <gtest/gtest.h>

#include <string>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/camera_parameters.h"
#include "calibration_common/ptz_camera_model.h"
#include "support/message_parsing.h"
#include "testing/calibration_messages.h"
#include "testing/log_capture.h"

namespace norv::calibration {
namespace {

using ::testing::ElementsAre;
using testing::exampleCamera;
using testing::robotOf;
using testing::ScopedLogCapture;

/// A field that no version has yet.
constexpr int kNewField = 1000;
constexpr std::uint64_t kNewValue = 123456789;

template <class Message>
void addNewField(Message* message) {
  message->GetReflection()->MutableUnknownFields(message)->AddVarint(kNewField, kNewValue);
}

template <class Message>
bool hasNewField(const Message& message) {
  const auto& fields = message.GetReflection()->GetUnknownFields(message);
  return fields.field_count() == 1 && fields.field(0).number() == kNewField &&
         fields.field(0).varint() == kNewValue;
}

/// A calibration whose camera has the name of one of the default's.
RobotCalibration oneCamera() { return robotOf({exampleCamera("head_camera", "mine")}); }

RobotCalibration newerRobot() {
  RobotCalibration robot = oneCamera();
  addNewField(&robot);
  addNewField(robot.mutable_camera_calibration(0));
  addNewField(robot.mutable_camera_calibration(0)->mutable_intrinsics());
  return robot;
}

BaseCalibrationProto newerBase() {
  BaseCalibrationProto base;
  base.set_wheel_base(0.125F);
  for (const double a : {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}) {
    base.mutable_global_transform_adjustment()->mutable_global_transform()->add_a(a);
  }
  addNewField(&base);
  return base;
}

/// In text format, with a field of a name that no version has yet.
template <class Message>
std::string newerText(Message message) {
  message.DiscardUnknownFields();
  return message.DebugString() + "new_field: 5\n";
}

class VersionsAndFiles : public ::testing::Test {
 public:
  ScopedLogCapture quiet_;
};

TEST_F(VersionsAndFiles, NewFieldsOfABinaryRobotCalibrationAreKept) {
  CameraParametersSet set;
  ASSERT_TRUE(set.loadFromString(newerRobot().SerializeAsString()));
  const auto camera = set.getCamera("head_camera");
  EXPECT_EQ(camera->getModel(), "mine");
  EXPECT_TRUE(hasNewField(camera->getCalibration()));
  EXPECT_TRUE(hasNewField(set.getRobotCalibration()));
  RobotCalibration passed_on;
  ASSERT_TRUE(parseBinary(set.getRobotCalibration().SerializeAsString(), &passed_on));
  EXPECT_TRUE(hasNewField(passed_on));
  EXPECT_TRUE(hasNewField(passed_on.camera_calibration(0)));
  EXPECT_TRUE(hasNewField(passed_on.camera_calibration(0).intrinsics()));
  // Moved by a base they are still there.
  set.adjustUsingBaseCalibration(BaseCalibrationData());
  EXPECT_TRUE(hasNewField(set.getRobotCalibration().camera_calibration(0)));
}

TEST_F(VersionsAndFiles, NewFieldsOfATextRobotCalibrationPutTheDefaultInForce) {
  CameraParametersSet set;
  EXPECT_TRUE(set.loadFromString(oneCamera().DebugString()));
  EXPECT_EQ(set.getCamera("head_camera")->getModel(), "mine");
  EXPECT_FALSE(set.loadFromString(newerText(newerRobot())));
  EXPECT_EQ(set.getCamera("head_camera")->getModel(), "mk512h");
  EXPECT_THAT(set.getCameraNames(), ElementsAre("head_camera", "navigation_camera"));
}

TEST_F(VersionsAndFiles, NewFieldsOfABase) {
  BaseCalibrationData base;
  const float of_the_default = base.getWheelBase();
  ASSERT_TRUE(base.loadFromString(newerBase().SerializeAsString()));
  EXPECT_EQ(base.getWheelBase(), 0.125F);
  EXPECT_TRUE(hasNewField(base.getCalibration()));
  EXPECT_FALSE(base.loadFromString(newerText(newerBase())));
  EXPECT_EQ(base.getWheelBase(), of_the_default);
}

TEST_F(VersionsAndFiles, NewFieldsOfAPanTiltZoomCamera) {
  PTZCameraParameters newer;
  newer.mutable_intrinsics()->set_image_width(1920);
  addNewField(&newer);
  PTZCameraParameters read;
  ASSERT_TRUE(parseBinaryOrText(newer.SerializeAsString(), &read));
  EXPECT_TRUE(hasNewField(PTZCameraModel(read).getParams()));
  EXPECT_FALSE(parseBinaryOrText(newerText(newer), &read));
}

TEST_F(VersionsAndFiles, ModelOfALaterVersionLoadsInBothFormats) {
  const RobotCalibration robot = robotOf({exampleCamera("camera", "mk600")});
  for (const std::string& data : {robot.SerializeAsString(), robot.DebugString()}) {
    CameraParametersSet set;
    ASSERT_TRUE(set.loadFromString(data));
    EXPECT_EQ(set.getCamera("camera")->getIntrinsicsTable().size(), 1U);
  }
}

TEST_F(VersionsAndFiles, EmptyFileLoadsAndChangesNothing) {
  CameraParametersSet set;
  EXPECT_TRUE(set.loadFromString(""));
  EXPECT_THAT(set.getCameraNames(), ElementsAre("head_camera", "navigation_camera"));
}

TEST_F(VersionsAndFiles, BinaryFileThatIsCutOffCanBeAValidOne) {
  const RobotCalibration two =
      robotOf({exampleCamera("first", "mine"), exampleCamera("second", "mine")});
  const std::string first = robotOf({two.camera_calibration(0)}).SerializeAsString();
  const std::string both = two.SerializeAsString();
  CameraParametersSet set;
  EXPECT_TRUE(set.loadFromString(both.substr(0, first.size())));
  EXPECT_NE(set.getCamera("first"), nullptr);
  EXPECT_EQ(set.getCamera("second"), nullptr);
}

/// The rule that files of older versions stay readable: everything is optional or a list.
TEST_F(VersionsAndFiles, NoFieldIsRequired) {
  EXPECT_TRUE(RobotCalibration().IsInitialized());
  const auto expectNoneRequired = [](const google::protobuf::FileDescriptor& file) {
    for (int i = 0; i < file.message_type_count(); ++i) {
      for (int j = 0; j < file.message_type(i)->field_count(); ++j) {
        EXPECT_FALSE(file.message_type(i)->field(j)->is_required())
            << file.message_type(i)->field(j)->full_name();
      }
    }
  };
  for (const auto* descriptor :
       {RobotCalibration::descriptor(), CameraCalibration::descriptor(),
        CameraExtrinsics::descriptor(), BaseCalibrationProto::descriptor(),
        PTZCameraParameters::descriptor(), PanTiltSystemParameters::descriptor()}) {
    expectNoneRequired(*descriptor->file());
  }
}

}  // namespace
}  // namespace norv::calibration

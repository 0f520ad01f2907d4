#include <gmock/gmock.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>

#include "calibration_common/camera_parameters.h"
#include "testing/calibration_messages.h"
#include "testing/log_capture.h"

namespace norv::calibration {
namespace {

using google::protobuf::util::MessageDifferencer;
using testing::cameraMatrix;
using ::testing::ElementsAre;
using testing::exampleCamera;
using testing::ScopedLogCapture;

static_assert(!std::is_copy_constructible_v<CameraParameters>);
static_assert(!std::is_copy_assignable_v<CameraParameters>);
static_assert(!std::is_move_constructible_v<CameraParameters>);

/// Expects a rejection of `message`, with its one line.
void expectTooShort(CameraParameters* camera, const CameraCalibration& message) {
  ScopedLogCapture capture;
  EXPECT_FALSE(camera->readProto(message));
  const auto logs = capture.take();
  ASSERT_EQ(logs.size(), 1U);
  EXPECT_EQ(logs[0].level, 2);
  EXPECT_EQ(logs[0].channel, "camera_parameters");
  EXPECT_EQ(logs[0].text, "Parameter list too short in " + message.DebugString());
  EXPECT_EQ(logs[0].file, "calibration_common/camera_parameters.cpp");
  EXPECT_EQ(logs[0].function,
            "bool norv::calibration::CameraParameters::readProto("
            "const norv::calibration::CameraCalibration&)");
}

TEST(CameraParametersRecord, NewCameraIsEmpty) {
  const CameraParameters camera;
  EXPECT_TRUE(camera.getIntrinsicsTable().empty());
  EXPECT_TRUE(camera.getFullFrameDistortion().empty());
  EXPECT_TRUE(camera.getDistortion(640, 480).empty());
  EXPECT_EQ(camera.getModel(), "");
  EXPECT_EQ(camera.getRotation(), Matrix3x3_f::Zero());
  EXPECT_EQ(camera.getTranslation(), Vector3_f::Zero());
  EXPECT_EQ(camera.getTransform().transform, Matrix4x4_f::Zero());
  EXPECT_EQ(camera.getTransform().inverse, Matrix4x4_f::Zero());
  EXPECT_EQ(camera.getCalibration().ByteSizeLong(), 0U);
}

TEST(CameraParametersRecord, LoadsTheLeastThatIsAccepted) {
  CameraCalibration message = exampleCamera("camera", "any");
  message.mutable_intrinsics()->set_fx(1000.1);
  message.mutable_intrinsics()->set_fy(999.9);
  message.mutable_intrinsics()->set_skew(0.3);
  message.mutable_intrinsics()->set_cx(640.7);
  message.mutable_intrinsics()->set_cy(479.1);
  CameraParameters camera;
  ASSERT_TRUE(camera.readProto(message));
  EXPECT_EQ(camera.getFullFrameIntrinsics(), cameraMatrix(1000.1F, 999.9F, 0.3F, 640.7F, 479.1F));
  EXPECT_EQ(camera.getFullFrame().width, 1280);
  EXPECT_EQ(camera.getFullFrame().height, 960);
  EXPECT_EQ(camera.getModel(), "any");
  EXPECT_TRUE(MessageDifferencer::Equals(camera.getCalibration(), message));
}

TEST(CameraParametersRecord, DistortionOrder) {
  CameraParameters camera;
  ASSERT_TRUE(camera.readProto(exampleCamera("camera", "any")));
  EXPECT_THAT(camera.getFullFrameDistortion(), ElementsAre(1, 2, 7, 8, 3, 4, 5, 6));
  EXPECT_THAT(camera.getFullFrame().distortion, ElementsAre(1, 2, 7, 8, 3, 4, 5, 6));
}

TEST(CameraParametersRecord, FurtherCoefficientsAreIgnored) {
  CameraCalibration message = exampleCamera("camera", "any");
  message.mutable_intrinsics()->add_radial(99);
  message.mutable_intrinsics()->add_tangential(99);
  message.mutable_extrinsics()->add_a(99);
  CameraParameters camera;
  ASSERT_TRUE(camera.readProto(message));
  EXPECT_THAT(camera.getFullFrameDistortion(), ElementsAre(1, 2, 7, 8, 3, 4, 5, 6));
  EXPECT_EQ(camera.getTransform().transform, Matrix4x4_f::Identity());
}

TEST(CameraParametersRecord, PoseIsSplitAndInverted) {
  CameraCalibration message = exampleCamera("camera", "any");
  // Camera looking along the robot's x axis, 100 mm right of and 50 mm behind its own origin.
  message.mutable_extrinsics()->clear_a();
  for (const double a : {0, -1, 0, 100, 0, 0, -1, 0, 1, 0, 0, -50}) {
    message.mutable_extrinsics()->add_a(a);
  }
  CameraParameters camera;
  ASSERT_TRUE(camera.readProto(message));
  Matrix3x3_f rotation;
  rotation << 0, -1, 0,  //
      0, 0, -1,          //
      1, 0, 0;
  EXPECT_EQ(camera.getRotation(), rotation);
  EXPECT_EQ(camera.getTranslation(), Vector3_f(0.1F, 0, -0.05F));
  Matrix4x4_f camera_from_robot;
  camera_from_robot << 0, -1, 0, 0.1F,  //
      0, 0, -1, 0,                      //
      1, 0, 0, -0.05F,                  //
      0, 0, 0, 1;
  EXPECT_EQ(camera.getTransform().transform, camera_from_robot);
  Matrix4x4_f robot_from_camera;
  robot_from_camera << 0, 0, 1, 0.05F,  //
      -1, 0, 0, 0.1F,                   //
      0, -1, 0, 0,                      //
      0, 0, 0, 1;
  EXPECT_EQ(camera.getTransform().inverse, robot_from_camera);
  EXPECT_EQ(camera.getTransform().getCameraCenter(), Vector3_f(0.05F, 0.1F, 0));
}

TEST(CameraParametersRecord, ShortListsAreRejected) {
  CameraParameters camera;
  CameraCalibration message = exampleCamera("camera", "any");
  message.mutable_intrinsics()->mutable_radial()->RemoveLast();
  expectTooShort(&camera, message);
  message = exampleCamera("camera", "any");
  message.mutable_intrinsics()->mutable_tangential()->RemoveLast();
  expectTooShort(&camera, message);
  message = exampleCamera("camera", "any");
  message.mutable_extrinsics()->mutable_a()->RemoveLast();
  expectTooShort(&camera, message);
}

TEST(CameraParametersRecord, AbsentSubMessagesAreShort) {
  CameraParameters camera;
  expectTooShort(&camera, CameraCalibration());
  CameraCalibration message = exampleCamera("camera", "any");
  message.clear_intrinsics();
  expectTooShort(&camera, message);
  message = exampleCamera("camera", "any");
  message.clear_extrinsics();
  expectTooShort(&camera, message);
}

TEST(CameraParametersRecord, RejectedMessageChangesOnlyTheFullFramesNumbers) {
  CameraParameters camera;
  const CameraCalibration good = exampleCamera("good", "mk513n");
  ASSERT_TRUE(camera.readProto(good));
  CameraCalibration bad = exampleCamera("bad", "b910");
  bad.mutable_intrinsics()->set_fx(1);
  bad.mutable_intrinsics()->set_fy(2);
  bad.mutable_intrinsics()->set_skew(3);
  bad.mutable_intrinsics()->set_cx(4);
  bad.mutable_intrinsics()->set_cy(5);
  bad.mutable_intrinsics()->set_width(6);
  bad.mutable_intrinsics()->set_height(7);
  bad.mutable_intrinsics()->set_radial(0, 99);
  bad.mutable_intrinsics()->clear_tangential();
  bad.mutable_extrinsics()->set_a(3, 99);
  expectTooShort(&camera, bad);
  EXPECT_EQ(camera.getFullFrameIntrinsics(), cameraMatrix(1, 2, 3, 4, 5));
  EXPECT_EQ(camera.getFullFrame().width, 6);
  EXPECT_EQ(camera.getFullFrame().height, 7);
  EXPECT_TRUE(MessageDifferencer::Equals(camera.getCalibration(), bad));
  EXPECT_THAT(camera.getFullFrameDistortion(), ElementsAre(1, 2, 7, 8, 3, 4, 5, 6));
  EXPECT_EQ(camera.getModel(), "mk513n");
  EXPECT_EQ(camera.getTransform().transform, Matrix4x4_f::Identity());
  EXPECT_EQ(camera.getTranslation(), Vector3_f::Zero());
  EXPECT_EQ(camera.getIntrinsicsTable().size(), 3U);
}

TEST(CameraParametersRecord, DumpIsNotBuiltWhenErrorsAreDisabled) {
  ScopedLogCapture capture(kLogFatal);
  CameraParameters camera;
  EXPECT_FALSE(camera.readProto(CameraCalibration()));
  EXPECT_TRUE(capture.take().empty());
}

TEST(CameraParametersRecord, ReadingTwiceAppendsTheDistortion) {
  CameraParameters camera;
  CameraCalibration message = exampleCamera("camera", "any");
  ASSERT_TRUE(camera.readProto(message));
  message.mutable_intrinsics()->set_radial(0, 11);
  ASSERT_TRUE(camera.readProto(message));
  EXPECT_THAT(camera.getFullFrameDistortion(),
              ElementsAre(1, 2, 7, 8, 3, 4, 5, 6, 11, 2, 7, 8, 3, 4, 5, 6));
}

TEST(CameraParametersRecord, ReadingItsOwnMessage) {
  CameraParameters camera;
  ASSERT_TRUE(camera.readProto(exampleCamera("camera", "any")));
  ASSERT_TRUE(camera.readProto(camera.getCalibration()));
  EXPECT_EQ(camera.getFullFrameDistortion().size(), 16U);
}

TEST(CameraParametersRecord, FailureOfTheTableComesAfterEverythingElse) {
  CameraCalibration message = exampleCamera("camera", "any");
  message.mutable_intrinsics()->clear_width();
  message.mutable_extrinsics()->set_a(3, 2000);
  CameraParameters camera;
  EXPECT_FALSE(camera.readProto(message));
  EXPECT_EQ(camera.getModel(), "any");
  EXPECT_THAT(camera.getFullFrameDistortion(), ElementsAre(1, 2, 7, 8, 3, 4, 5, 6));
  EXPECT_EQ(camera.getTranslation(), Vector3_f(2, 0, 0));
  EXPECT_EQ(camera.getTransform().transform(0, 3), 2);
}

TEST(CameraParametersRecord, UnknownFieldsAreKept) {
  CameraCalibration message = exampleCamera("camera", "any");
  CameraCalibration::GetReflection()->MutableUnknownFields(&message)->AddLengthDelimited(1000,
                                                                                         "kept");
  CameraParameters camera;
  ASSERT_TRUE(camera.readProto(message));
  EXPECT_EQ(camera.getCalibration().SerializeAsString(), message.SerializeAsString());
}

TEST(CameraParametersRecord, ValuesThatAreNotFiniteAreKept) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinity = std::numeric_limits<double>::infinity();
  CameraCalibration message = exampleCamera("camera", "any");
  message.mutable_intrinsics()->set_fx(nan);
  message.mutable_intrinsics()->set_cy(-infinity);
  message.mutable_intrinsics()->set_radial(2, nan);
  message.mutable_intrinsics()->set_tangential(1, infinity);
  message.mutable_extrinsics()->set_a(11, infinity);
  ScopedLogCapture capture;
  CameraParameters camera;
  EXPECT_TRUE(camera.readProto(message));
  EXPECT_TRUE(capture.take().empty());
  EXPECT_TRUE(std::isnan(camera.getFullFrame().fx));
  EXPECT_EQ(camera.getFullFrame().cy, -infinity);
  EXPECT_TRUE(std::isnan(camera.getFullFrameDistortion()[4]));
  EXPECT_EQ(camera.getFullFrameDistortion()[3], infinity);
  EXPECT_EQ(camera.getTranslation()(2), infinity);
}

TEST(CameraParametersRecord, LargeValuesNarrowToInfinity) {
  CameraCalibration message = exampleCamera("camera", "any");
  message.mutable_intrinsics()->set_fx(1e300);
  CameraParameters camera;
  ASSERT_TRUE(camera.readProto(message));
  EXPECT_EQ(camera.getFullFrame().fx, std::numeric_limits<float>::infinity());
}

}  // namespace
}  // namespace norv::calibration

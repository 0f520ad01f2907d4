#include "support/message_parsing.h"

#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <string>

#include "proto/norv_robot_calibration.pb.h"

namespace norv::internal {
namespace {

using calibration::RobotCalibration;
using google::protobuf::util::MessageDifferencer;
using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

RobotCalibration example() {
  RobotCalibration robot;
  auto* camera = robot.add_camera_calibration();
  camera->set_name("camera \"one\"\n\xff");
  camera->mutable_intrinsics()->set_fx(720.125);
  for (int i = 0; i < 12; ++i) camera->mutable_extrinsics()->add_a(0.1 * i);
  return robot;
}

class MessageParsingTest : public ::testing::Test {
 public:
  MessageParsingTest() { CaptureStderr(); }
  ~MessageParsingTest() override { EXPECT_EQ(GetCapturedStderr(), ""); }

  RobotCalibration message_;
};

TEST_F(MessageParsingTest, BinaryAndText) {
  message_ = example();  // what was there before is replaced
  EXPECT_TRUE(parseBinaryOrText(example().SerializeAsString(), &message_));
  EXPECT_TRUE(MessageDifferencer::Equals(message_, example()));
  EXPECT_TRUE(parseBinaryOrText(example().DebugString(), &message_));
  EXPECT_TRUE(MessageDifferencer::Equals(message_, example()));
}

TEST_F(MessageParsingTest, EmptyIsAnEmptyBinaryMessage) {
  message_ = example();
  EXPECT_TRUE(parseBinary("", &message_));
  EXPECT_EQ(message_.camera_calibration_size(), 0);
}

TEST_F(MessageParsingTest, NeitherFormat) {
  EXPECT_FALSE(parseBinaryOrText("this is no calibration", &message_));
  EXPECT_FALSE(parseBinaryOrText("\xff\xff\xff", &message_));
}

TEST_F(MessageParsingTest, FirstErrorOfATextHasItsPlace) {
  TextParseError error;
  EXPECT_FALSE(parseText("camera_calibration {\n  nme: \"x\"\n  model: 7\n}", &message_, &error));
  EXPECT_EQ(error.line, 2);
  EXPECT_EQ(error.column, 6);
  EXPECT_EQ(error.message,
            "Message type \"norv.calibration.CameraCalibration\" has no field named \"nme\".");
}

TEST_F(MessageParsingTest, GoodTextLeavesTheErrorAlone) {
  TextParseError error;
  EXPECT_TRUE(parseText(example().DebugString(), &message_, &error));
  EXPECT_EQ(error.line, 0);
  EXPECT_EQ(error.message, "");
}

TEST_F(MessageParsingTest, DeepNestingIsRefused) {
  std::string text;
  for (int i = 0; i < 100000; ++i) text += "camera_calibration { ";
  EXPECT_FALSE(parseBinaryOrText(text, &message_));
  // Groups of an unknown field, which the binary format skips recursively.
  EXPECT_FALSE(parseBinaryOrText(std::string(1000000, '\x7b'), &message_));
}

}  // namespace
}  // namespace norv::internal

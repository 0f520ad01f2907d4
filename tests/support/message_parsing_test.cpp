#include "support/message_parsing.h"

#include <google/protobuf/arena.h>
#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <new>
#include <string>

#include "proto/norv_robot_calibration.pb.h"
#include "testing/failing_allocations.h"

namespace norv {
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

RobotCalibration robotWith(const std::string& name) {
  RobotCalibration robot;
  robot.add_camera_calibration()->set_name(name);
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

TEST_F(MessageParsingTest, FailureLeavesTheMessageAsItWas) {
  // Each ends after a camera that is whole.
  const std::string binary = robotWith("other").SerializeAsString() + "\x0a";
  const std::string text = robotWith("other").DebugString() + "camera_calibration { nme: 1 }";
  message_ = example();
  EXPECT_FALSE(parseBinary(binary, &message_));
  EXPECT_FALSE(parseText(text, &message_));
  EXPECT_FALSE(parseBinaryOrText(binary, &message_));
  EXPECT_FALSE(parseBinaryOrText(text, &message_));
  EXPECT_TRUE(MessageDifferencer::Equals(message_, example()));
}

TEST_F(MessageParsingTest, MessageOnAnArena) {
  google::protobuf::Arena arena;
  auto* message = google::protobuf::Arena::CreateMessage<RobotCalibration>(&arena);
  *message = robotWith("before");
  EXPECT_FALSE(parseBinaryOrText("neither", message));
  EXPECT_TRUE(MessageDifferencer::Equals(*message, robotWith("before")));
  EXPECT_TRUE(parseBinaryOrText(example().SerializeAsString(), message));
  EXPECT_TRUE(MessageDifferencer::Equals(*message, example()));
  EXPECT_EQ(message->GetArena(), &arena);
  EXPECT_EQ(message->camera_calibration(0).GetArena(), &arena);
}

TEST_F(MessageParsingTest, UnknownFieldsStay) {
  RobotCalibration robot = example();
  robot.mutable_unknown_fields()->AddVarint(2000, 7);
  EXPECT_TRUE(parseBinaryOrText(robot.SerializeAsString(), &message_));
  EXPECT_EQ(message_.unknown_fields().field(0).varint(), 7U);
}

TEST_F(MessageParsingTest, FailureKeepsNoMemory) {
  std::string data;
  for (int i = 0; i < 100000; ++i) data.append("\x0a\x00", 2);
  message_ = example();
  const std::int64_t before = testing::liveMemory().bytes;
  EXPECT_FALSE(parseBinary(data + "\x0a", &message_));
  EXPECT_LE(testing::liveMemory().bytes, before);
}

TEST_F(MessageParsingTest, MissingRequiredFieldIsAFailureWithoutALine) {
  // A message of Protocol Buffers' own, with two required fields.
  google::protobuf::UninterpretedOption_NamePart part;
  EXPECT_FALSE(parseBinary("", &part));
  TextParseError error;
  EXPECT_FALSE(parseText("name_part: \"a\"", &part, &error));
  EXPECT_EQ(error.line, 0);
  EXPECT_NE(error.message, "");
  EXPECT_FALSE(parseBinaryOrText("", &part));
  EXPECT_TRUE(parseText("name_part: \"a\" is_extension: true", &part));
}

TEST_F(MessageParsingTest, OutOfMemoryLeavesTheMessageAsItWas) {
  const std::string binary = example().SerializeAsString();
  const std::string text = example().DebugString();
  EXPECT_TRUE(parseText(text, &message_));  // reads the descriptions of the messages
  const std::function<bool(RobotCalibration*)> parses[] = {
      [&](RobotCalibration* message) { return parseBinary(binary, message); },
      [&](RobotCalibration* message) { return parseText(text, message); },
      [&](RobotCalibration* message) { return parseBinaryOrText(text, message); }};
  for (const auto& parse : parses) {
    int failures = 0;
    for (bool parsed = false; !parsed; ++failures) {
      RobotCalibration message = robotWith("before");
      const testing::ScopedFailingAllocations failing(
          failures, testing::ScopedFailingAllocations::Failing::kOnce);
      try {
        parsed = parse(&message);
        EXPECT_TRUE(parsed);
      } catch (const std::bad_alloc&) {
        ASSERT_TRUE(MessageDifferencer::Equals(message, robotWith("before"))) << failures;
      }
    }
    EXPECT_GT(failures, 5);
  }
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
}  // namespace norv

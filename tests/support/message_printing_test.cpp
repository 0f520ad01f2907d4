#include "support/message_printing.h"

#include <gmock/gmock.h>
#include <google/protobuf/descriptor.pb.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "proto/norv_base_calibration.pb.h"
#include "proto/norv_ptz_camera.pb.h"
#include "proto/norv_robot_calibration.pb.h"
#include "support/file.h"
#include "support/message_parsing.h"
#include "testing/filled_message.h"

namespace norv {
namespace {

using calibration::BaseCalibrationProto;
using calibration::CameraCalibration;
using calibration::CameraExtrinsics;
using calibration::PTZCameraParameters;
using calibration::RobotCalibration;
using google::protobuf::FileDescriptorProto;
using testing::bytesOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

template <class M>
class PrintedText : public ::testing::Test {};
// A message of another project brings what ours lack: truth values, names of values, recursion.
using Kinds = ::testing::Types<RobotCalibration, PTZCameraParameters, BaseCalibrationProto,
                               FileDescriptorProto>;
TYPED_TEST_SUITE(PrintedText, Kinds);

TYPED_TEST(PrintedText, ReadsBackToTheIdenticalMessage) {
  std::mt19937_64 random(20261122);
  for (int i = 0; i < 300; ++i) {
    TypeParam message;
    testing::fillMessage(&message, 5, &random);
    const std::string text = printText(message);
    TypeParam read;
    TextParseError error;
    ASSERT_TRUE(parseText(text, &read, &error)) << error.line << ": " << error.message << text;
    ASSERT_EQ(bytesOf(read), bytesOf(message)) << text;
    ASSERT_THAT(listTextLosses(message), IsEmpty());
  }
}

TYPED_TEST(PrintedText, IsItsOwnFixedPoint) {
  std::mt19937_64 random(7);
  for (int i = 0; i < 100; ++i) {
    TypeParam message;
    testing::fillMessage(&message, 5, &random);
    const std::string text = printText(message);
    TypeParam read;
    ASSERT_TRUE(parseText(text, &read));
    ASSERT_EQ(printText(read), text);
  }
}

TEST(PrintText, WritesAsAPersonWould) {
  RobotCalibration robot;
  ASSERT_TRUE(parseText(R"(
    camera_calibration {
      name: 'left' model: 'other'
      intrinsics {
        fx: 720.125 fy: 720 skew: -0.0 cx: 640 cy: 480
        radial: 0.1 radial: 0 radial: 0 radial: 0 radial: 1e-7 radial: 0
        tangential: [0.0003, -0.0002] width: 1280 height: 960
        samples { image_x: 220.647 image_y: 135.404 model_x: 0 model_y: 0 } samples { model_y: 1 }
        samples {} sample_scale: 0.05
      }
      extrinsics { a: [0, -1, 0, 30, 0, 0, -1, 350, 1, 0, 0, -250] }
    }
    camera_calibration { name: 'right' extrinsics {} })",
                        &robot));
  EXPECT_EQ(printText(robot), R"(camera_calibration {
  intrinsics {
    fx: 720.125
    fy: 720
    skew: -0
    cx: 640
    cy: 480
    radial: [0.1, 0, 0, 0, 1e-07, 0]
    tangential: [0.0003, -0.0002]
    width: 1280
    height: 960
    samples { image_x: 220.647 image_y: 135.404 model_x: 0 model_y: 0 }
    samples { model_y: 1 }
    samples {}
    sample_scale: 0.05
  }
  extrinsics {
    a: [0, -1, 0, 30]
    a: [0, 0, -1, 350]
    a: [1, 0, 0, -250]
  }
  name: "left"
  model: "other"
}

camera_calibration {
  extrinsics {
  }
  name: "right"
}
)");
}

TEST(PrintText, RowsOfPosesThatAreTooLongOrTooShort) {
  CameraExtrinsics pose;
  for (int i = 1; i <= 5; ++i) pose.add_a(i);
  EXPECT_EQ(printText(pose), "a: [1, 2, 3, 4]\na: [5]\n");
}

TEST(PrintText, LongListsGoOnIndented) {
  CameraCalibration camera;
  for (int i = 0; i < 12; ++i) camera.mutable_intrinsics()->add_radial(-1.0 / 3);
  const std::string value = "-0.3333333333333333";
  EXPECT_EQ(printText(camera), "intrinsics {\n  radial: [" + value + ", " + value + ", " + value +
                                   ", " + value + ",\n      " + value + ", " + value + ", " +
                                   value + ", " + value + ",\n      " + value + ", " + value +
                                   ", " + value + ", " + value + "]\n}\n");
}

TEST(PrintText, AnEmptyMessageIsAnEmptyText) { EXPECT_EQ(printText(RobotCalibration()), ""); }

TEST(PrintText, CompiledInFilesKeepTheirValues) {
  std::string data;
  ASSERT_TRUE(File::readFileToString(
      EmbeddedFile::kEmbeddedPrefix + "calibration/default_head_cal.txt", &data));
  RobotCalibration robot;
  ASSERT_TRUE(parseText(data, &robot));
  const std::string text = printText(robot);
  // The lines of numbers are those of the hand-written file.
  for (const char* line :
       {"\n    radial: [0.800174, 0.117548, 0.001619, 1.050108, 0.255504, 0.011237]\n",
        "\n    samples { image_x: 220.647 image_y: 135.404 model_x: 0 model_y: 0 }\n",
        "\n    a: [-0.258819045, 0, -0.965925826, 1238.465568274]\n"}) {
    EXPECT_NE(data.find(line), std::string::npos) << line;
    EXPECT_NE(text.find(line), std::string::npos) << line;
  }
}

double nanWith(std::uint64_t bits) {
  double value = 0;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

TEST(ListTextLosses, NamesUnknownFieldsOnceAndOuterOnesFirst) {
  RobotCalibration robot;
  robot.add_camera_calibration()->mutable_intrinsics()->add_samples();
  auto* camera = robot.add_camera_calibration();
  auto* intrinsics = camera->mutable_intrinsics();
  const auto unknown = [](google::protobuf::Message* message) {
    return message->GetReflection()->MutableUnknownFields(message);
  };
  unknown(intrinsics)->AddVarint(12, 1);
  unknown(intrinsics)->AddLengthDelimited(11)->assign("text");
  unknown(intrinsics)->AddVarint(12, 2);
  unknown(intrinsics->add_samples())->AddFixed32(5, 3);
  unknown(&robot)->AddGroup(2)->AddVarint(1, 1);
  EXPECT_THAT(listTextLosses(robot), ElementsAre("2", "camera_calibration[1].intrinsics.11",
                                                 "camera_calibration[1].intrinsics.12",
                                                 "camera_calibration[1].intrinsics.samples[0].5"));
  RobotCalibration read;
  ASSERT_TRUE(parseText(printText(robot), &read));
  robot.DiscardUnknownFields();
  EXPECT_EQ(bytesOf(read), bytesOf(robot));
}

TEST(ListTextLosses, NamesNaNThatHasNoWord) {
  CameraCalibration camera;
  auto* intrinsics = camera.mutable_intrinsics();
  intrinsics->set_fx(nanWith(0x7ff8000000000001));  // a payload
  intrinsics->set_fy(nanWith(0x7ff0000000000001));  // one that signals
  intrinsics->set_cx(std::numeric_limits<double>::quiet_NaN());
  intrinsics->set_cy(-std::numeric_limits<double>::quiet_NaN());
  intrinsics->add_radial(1);
  intrinsics->add_radial(nanWith(0xfff8000000000001));
  EXPECT_THAT(listTextLosses(camera),
              ElementsAre("intrinsics.fx", "intrinsics.fy", "intrinsics.radial[1]"));
  CameraCalibration read;
  ASSERT_TRUE(parseText(printText(camera), &read));
  EXPECT_TRUE(std::isnan(read.intrinsics().fx()));
}

}  // namespace
}  // namespace norv

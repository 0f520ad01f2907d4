#include "tools/input/calibration_kind.h"

#include <google/protobuf/unknown_field_set.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "proto/norv_base_calibration.pb.h"
#include "proto/norv_ptz_camera.pb.h"
#include "proto/norv_robot_calibration.pb.h"
#include "testing/calibration_messages.h"
#include "testing/example_ptz.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

using calibration::BaseCalibrationProto;
using calibration::CameraIntrinsics;
using calibration::PTZCameraParameters;
using calibration::RobotCalibration;
using testing::exampleCamera;
using testing::examplePtz;
using testing::robotOf;

CalibrationInput inputOf(const std::string& data) { return {"FILE", data, {}}; }

CalibrationKind detect(const std::string& data) {
  CalibrationInput input = inputOf(data);
  return parseCalibration(&input, std::nullopt).kind;
}

BaseCalibrationProto exampleBase() {
  BaseCalibrationProto base;
  base.set_wheel_base(0.5F);
  base.mutable_gyroscope()->set_gain(1);
  for (const double a : {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}) {
    base.mutable_global_transform_adjustment()->mutable_global_transform()->add_a(a);
  }
  return base;
}

/// The text of the error that a function throws.
template <class Function>
std::string errorOf(const Function& function) {
  try {
    function();
  } catch (const ToolError& error) {
    return error.what();
  }
  return "no error";
}

TEST(CalibrationKind, ManyUnknownFieldsDoNotMakeItAnother) {
  RobotCalibration robot = robotOf({exampleCamera("a", "lab")});
  CameraIntrinsics* in = robot.mutable_camera_calibration(0)->mutable_intrinsics();
  for (int i = 0; i < 100; ++i) {
    auto* sample = in->add_samples();
    sample->GetReflection()->MutableUnknownFields(sample)->AddVarint(9, 1);
  }
  EXPECT_EQ(detect(robot.SerializeAsString()), CalibrationKind::kRobot);
}

TEST(CalibrationKind, OfJson) {
  const auto kindOf = [](const std::string& data) { return detect(data); };
  EXPECT_EQ(kindOf("{}"), CalibrationKind::kRobot);
  EXPECT_EQ(kindOf("{\"cameraCalibration\": [{\"name\": \"a\"}]}"), CalibrationKind::kRobot);
  EXPECT_EQ(kindOf("{\"intrinsics\": {\"imageWidth\": 1}}"), CalibrationKind::kPtz);
  EXPECT_EQ(kindOf("{\"wheel_base\": 1}"), CalibrationKind::kBase);
  EXPECT_EQ(errorOf([] { detect("{\"wheelBase\": 1, \"intrinsics\": {}}"); }),
            "FILE: intrinsics: Cannot find field.");
  EXPECT_EQ(errorOf([] {
              CalibrationInput input = inputOf("{\"wheelBase\": 1, \"wheels\": 4}");
              parseCalibration(&input, CalibrationKind::kPtz);
            }),
            "FILE: resembles the calibration of a mobile base, not of a pan-tilt-zoom camera");
}

TEST(CalibrationKind, Names) {
  EXPECT_EQ(parseCalibrationKind("robot"), CalibrationKind::kRobot);
  EXPECT_EQ(parseCalibrationKind("ptz"), CalibrationKind::kPtz);
  EXPECT_EQ(parseCalibrationKind("base"), CalibrationKind::kBase);
  for (const char* name : {"", "Robot", "robot ", "camera"}) {
    EXPECT_FALSE(parseCalibrationKind(name)) << name;
  }
}

TEST(CalibrationKind, IsFoundOutOfBinaryAndText) {
  const RobotCalibration robot = robotOf({exampleCamera("a", "b910")});
  EXPECT_EQ(detect(robot.SerializeAsString()), CalibrationKind::kRobot);
  EXPECT_EQ(detect(robot.DebugString()), CalibrationKind::kRobot);
  EXPECT_EQ(detect(examplePtz().SerializeAsString()), CalibrationKind::kPtz);
  EXPECT_EQ(detect(examplePtz().DebugString()), CalibrationKind::kPtz);
  EXPECT_EQ(detect(exampleBase().SerializeAsString()), CalibrationKind::kBase);
  EXPECT_EQ(detect(exampleBase().DebugString()), CalibrationKind::kBase);
}

TEST(CalibrationKind, OfPartsOfACalibration) {
  PTZCameraParameters head;
  *head.mutable_pan_tilt() = testing::exampleHead();
  EXPECT_EQ(detect(head.SerializeAsString()), CalibrationKind::kPtz);
  PTZCameraParameters lens;
  *lens.mutable_intrinsics() = testing::exampleLens();
  EXPECT_EQ(detect(lens.SerializeAsString()), CalibrationKind::kPtz);
  BaseCalibrationProto width;
  width.set_base_width(1);
  EXPECT_EQ(detect(width.SerializeAsString()), CalibrationKind::kBase);
}

TEST(CalibrationKind, WhatFitsAllIsARobot) {
  EXPECT_EQ(detect(""), CalibrationKind::kRobot);
  EXPECT_EQ(detect("# nothing but a comment\n"), CalibrationKind::kRobot);
  // A message of field 1 that is empty: a camera or a lens without anything.
  EXPECT_EQ(detect(std::string("\x0a\x00", 2)), CalibrationKind::kRobot);
}

TEST(CalibrationKind, FieldsOfALaterVersionDoNotMatter) {
  RobotCalibration robot = robotOf({exampleCamera("a", "b910")});
  robot.GetReflection()->MutableUnknownFields(&robot)->AddVarint(77, 1);
  EXPECT_EQ(detect(robot.SerializeAsString()), CalibrationKind::kRobot);
  PTZCameraParameters ptz = examplePtz();
  ptz.GetReflection()->MutableUnknownFields(&ptz)->AddVarint(77, 1);
  EXPECT_EQ(detect(ptz.SerializeAsString()), CalibrationKind::kPtz);
}

TEST(CalibrationKind, ErrorsOfATextAreThoseOfTheKindThatItResembles) {
  const auto error = [](const std::string& text) { return errorOf([&] { detect(text); }); };
  EXPECT_EQ(error("wheel_base: 1\nbase_width: \"x\"\n"),
            "FILE:2:13: base_width: Expected double, got: \"x\"");
  EXPECT_EQ(error("pan_tilt {\n  pan_scale: 1\n  pan_scael: 2\n}\n"),
            "FILE:3:3: pan_tilt.pan_scael: Message type "
            "\"norv.calibration.PanTiltSystemParameters\" has no field named \"pan_scael\".");
  EXPECT_EQ(error(std::string("\xff\x00", 2)),
            "FILE: neither a binary nor a text-format RobotCalibration");
}

TEST(CalibrationKind, MistypedFirstFieldDoesNotHideTheKind) {
  const auto error = [](const std::string& text) { return errorOf([&] { detect(text); }); };
  const std::string base = "wheelbase: 0.5\nbase_width: 0.4\ngyroscope { gain: 1 }\n";
  EXPECT_EQ(error(base),
            "FILE:1:1: wheelbase: Message type \"norv.calibration.BaseCalibrationProto\" has no "
            "field named \"wheelbase\".");
  EXPECT_EQ(error("intrinsicss { image_width: 640 }\npan_tilt { pan_scale: 1 }\n"),
            "FILE:1:1: intrinsicss: Message type \"norv.calibration.PTZCameraParameters\" has no "
            "field named \"intrinsicss\".");
  EXPECT_EQ(error("camera: 1\ncamera_calibration { name: \"a\" }\n"),
            "FILE:1:1: camera: Message type \"norv.calibration.RobotCalibration\" has no field "
            "named \"camera\".");
  RobotCalibration robot;
  CalibrationInput input = inputOf(base);
  EXPECT_EQ(errorOf([&] { parseExpected(&input, CalibrationKind::kRobot, &robot); }),
            "FILE: resembles the calibration of a mobile base, not of fixed cameras");
}

TEST(CalibrationKind, GivenKindIsTaken) {
  CalibrationInput input = inputOf("");
  EXPECT_EQ(parseCalibration(&input, CalibrationKind::kBase).kind, CalibrationKind::kBase);
  input = inputOf(examplePtz().SerializeAsString());
  const ParsedCalibration parsed = parseCalibration(&input, CalibrationKind::kBase);
  EXPECT_EQ(parsed.kind, CalibrationKind::kBase);
  EXPECT_EQ(parsed.message->GetDescriptor(), BaseCalibrationProto::descriptor());
  input = inputOf(examplePtz().DebugString());
  EXPECT_EQ(errorOf([&] { parseCalibration(&input, CalibrationKind::kBase); }),
            "FILE: holds the calibration of a pan-tilt-zoom camera, not of a mobile base");
}

TEST(CalibrationKind, BinaryOfAnotherKindIsRefusedWhereOneIsExpected) {
  RobotCalibration robot;
  BaseCalibrationProto base;
  CalibrationInput input = inputOf(exampleBase().SerializeAsString());
  EXPECT_EQ(errorOf([&] { parseExpected(&input, CalibrationKind::kRobot, &robot); }),
            "FILE: holds the calibration of a mobile base, not of fixed cameras");
  input = inputOf(examplePtz().SerializeAsString());
  EXPECT_EQ(errorOf([&] { parseExpected(&input, CalibrationKind::kBase, &base); }),
            "FILE: holds the calibration of a pan-tilt-zoom camera, not of a mobile base");
  EXPECT_EQ(errorOf([&] { parseExpected(&input, CalibrationKind::kRobot, &robot); }),
            "FILE: holds the calibration of a pan-tilt-zoom camera, not of fixed cameras");
}

TEST(CalibrationKind, TextOfAnotherKindIsRefusedWhereOneIsExpected) {
  RobotCalibration robot;
  BaseCalibrationProto base;
  PTZCameraParameters ptz;
  CalibrationInput input = inputOf(robotOf({exampleCamera("a", "b910")}).DebugString());
  EXPECT_EQ(errorOf([&] { parseExpected(&input, CalibrationKind::kPtz, &ptz); }),
            "FILE: holds the calibration of fixed cameras, not of a pan-tilt-zoom camera");
  EXPECT_EQ(errorOf([&] { parseExpected(&input, CalibrationKind::kBase, &base); }),
            "FILE: holds the calibration of fixed cameras, not of a mobile base");
  input = inputOf("# head\npan_tilt {\n  pan_scael: 2\n}\n");
  EXPECT_EQ(errorOf([&] { parseExpected(&input, CalibrationKind::kRobot, &robot); }),
            "FILE: resembles the calibration of a pan-tilt-zoom camera, not of fixed cameras");
  EXPECT_EQ(errorOf([&] { parseExpected(&input, CalibrationKind::kPtz, &ptz); }),
            "FILE:3:3: pan_tilt.pan_scael: Message type "
            "\"norv.calibration.PanTiltSystemParameters\" has no field named \"pan_scael\".");
  // Of no kind at all: the error is that of the expected kind.
  input = inputOf("hello: world");
  EXPECT_EQ(errorOf([&] { parseExpected(&input, CalibrationKind::kBase, &base); }),
            "FILE:1:1: hello: Message type \"norv.calibration.BaseCalibrationProto\" has no field "
            "named \"hello\".");
}

TEST(CalibrationKind, EmptyFileIsRefusedWhereAKindIsExpected) {
  RobotCalibration robot;
  CalibrationInput input = inputOf("");
  EXPECT_EQ(errorOf([&] { parseExpected(&input, CalibrationKind::kRobot, &robot); }),
            "FILE: is empty");
}

TEST(CalibrationKind, ByteOrderMarksAreNamed) {
  const auto error = [](const std::string& text) { return errorOf([&] { detect(text); }); };
  EXPECT_EQ(error("\xef\xbb\xbfwheel_base: 1\n"),
            "FILE: begins with a byte order mark (bytes ef bb bf); save it as UTF-8 without one");
  for (const std::string& text : {std::string("\xff\xfew\0", 4), std::string("\xfe\xff\0w", 4)}) {
    EXPECT_EQ(error(text),
              "FILE: begins with a byte order mark of UTF-16; save it as UTF-8 without one");
  }
}

TEST(CalibrationKind, ExpectedKindIsParsed) {
  BaseCalibrationProto base;
  CalibrationInput input = inputOf(exampleBase().SerializeAsString());
  EXPECT_EQ(parseExpected(&input, CalibrationKind::kBase, &base), InputFormat::kBinary);
  EXPECT_EQ(base.SerializeAsString(), exampleBase().SerializeAsString());
  input = inputOf(exampleBase().DebugString());
  EXPECT_EQ(parseExpected(&input, CalibrationKind::kBase, &base), InputFormat::kText);
  EXPECT_EQ(base.SerializeAsString(), exampleBase().SerializeAsString());
}

TEST(CalibrationKind, UnknownFieldsAreCountedAtEveryDepth) {
  RobotCalibration robot = robotOf({exampleCamera("a", "x"), exampleCamera("b", "x")});
  EXPECT_EQ(countUnknownFields(robot), 0);
  robot.GetReflection()->MutableUnknownFields(&robot)->AddVarint(77, 1);
  auto* lens = robot.mutable_camera_calibration(1)->mutable_intrinsics();
  lens->GetReflection()->MutableUnknownFields(lens)->AddFixed32(78, 1);
  lens->GetReflection()->MutableUnknownFields(lens)->AddFixed32(79, 1);
  EXPECT_EQ(countUnknownFields(robot), 3);
}

}  // namespace
}  // namespace norv::tools

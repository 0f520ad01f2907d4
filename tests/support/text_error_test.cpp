#include "support/text_error.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "proto/norv_robot_calibration.pb.h"
#include "support/message_parsing.h"
#include "testing/random_text.h"

namespace norv {
namespace {

using calibration::RobotCalibration;

/// "line:column: path: text" of the error of a text that does not parse.
std::string explain(const std::string& text) {
  RobotCalibration robot;
  TextParseError error;
  EXPECT_FALSE(parseText(text, &robot, &error)) << text;
  const TextProblem problem = explainTextError(text, *RobotCalibration::descriptor(), error);
  return std::to_string(problem.place.line) + ":" + std::to_string(problem.place.column) + ": " +
         (problem.path.empty() ? "" : problem.path + ": ") + problem.text;
}

TEST(TextError, UnknownNamesStandWhereTheyAre) {
  const std::string unknown =
      "Message type \"norv.calibration.RobotCalibration\" has no field named ";
  EXPECT_EQ(explain("hello world"), "1:1: hello: " + unknown + "\"hello\".");
  EXPECT_EQ(explain("hello: world"), "1:1: hello: " + unknown + "\"hello\".");
  EXPECT_EQ(explain("# Notes\n\nThe C: \"A\"\n"), "3:1: The: " + unknown + "\"The\".");
  EXPECT_EQ(explain("camera_calibration { nme : 'a' name: 'b' }"),
            "1:22: camera_calibration[0].nme: Message type \"norv.calibration.CameraCalibration\" "
            "has no field named \"nme\".");
}

TEST(TextError, NamesThatAreThereTwiceStandAtTheSecond) {
  EXPECT_EQ(explain("camera_calibration {\n  name: 'a'\n  name: 'b'\n}"),
            "3:3: camera_calibration[0].name: Non-repeated field \"name\" is specified multiple "
            "times.");
}

TEST(TextError, ValuesAreNamedByTheirField) {
  EXPECT_EQ(explain("camera_calibration { intrinsics { fx: 9o5 fy: 1 } }"),
            "1:40: camera_calibration[0].intrinsics.fx: Need space between number and identifier.");
  EXPECT_EQ(explain("camera_calibration { intrinsics { radial: 1 radial: [2, 'x'] } }"),
            "1:57: camera_calibration[0].intrinsics.radial[2]: Expected double, got: 'x'");
  EXPECT_EQ(explain("camera_calibration { intrinsics { width:\n 99999999999 } }"),
            "2:2: camera_calibration[0].intrinsics.width: Integer out of range (99999999999)");
  EXPECT_EQ(explain("camera_calibration: [{ name: 'a' }, { name: 1 }]"),
            "1:45: camera_calibration[1].name: Expected string, got: 1");
}

TEST(TextError, WhatIsNoValueHasThePathOfItsBlockOrNone) {
  EXPECT_EQ(explain("camera_calibration { intrinsics { fx: 1 5 } }"),
            "1:41: camera_calibration[0].intrinsics: Expected identifier, got: 5");
  EXPECT_EQ(explain("camera_calibration { }}"), "1:23: Expected identifier, got: }");
  EXPECT_EQ(explain("- C\n"), "1:1: Expected identifier, got: -");
}

TEST(TextError, BlocksThatAreNotClosed) {
  EXPECT_EQ(explain("\ncamera_calibration {\n  extrinsics {\n    a: [1, 2]\n  }\n# end\n"),
            "7:1: camera_calibration[0]: the text ends, and the block opened in line 2 is not "
            "closed");
  EXPECT_EQ(explain("camera_calibration {\n  extrinsics {\n    a: [1, 2"),
            "3:13: camera_calibration[0].extrinsics.a: the text ends, and the block opened in line "
            "2 is not closed");
  EXPECT_EQ(explain("camera_calibration {\n  name:"),
            "2:8: camera_calibration[0].name: the text ends, and the block opened in line 1 is not "
            "closed");
  EXPECT_EQ(explain("camera_calibration: ["),
            "1:22: camera_calibration[0]: the text ends too early");
}

TEST(TextError, BlocksThatAreNotClosedBeforeTheNext) {
  EXPECT_EQ(explain("camera_calibration {\n  intrinsics {\n    fx: 1\n  extrinsics { }\n}\n"),
            "4:3: camera_calibration[0].intrinsics.extrinsics: Message type "
            "\"norv.calibration.CameraIntrinsics\" has no field named \"extrinsics\". Is the brace "
            "missing that closes the block of line 2?");
  EXPECT_EQ(explain("camera_calibration {\n  intrinsics {\n    fx: 1\ncamera_calibration { }\n"),
            "4:1: camera_calibration[0].intrinsics.camera_calibration: Message type "
            "\"norv.calibration.CameraIntrinsics\" has no field named \"camera_calibration\". Is "
            "the brace missing that closes the block of line 1?");
}

TEST(TextError, DecimalCommas) {
  const std::string hint = ": a number with a decimal comma; write a point";
  EXPECT_EQ(explain("camera_calibration { intrinsics { fx: 905,5 } }"),
            "1:42: camera_calibration[0].intrinsics.fx" + hint);
  // A tab leads to column 9, 17...
  EXPECT_EQ(explain("camera_calibration { intrinsics {\r\n\tfx:\t-0,5e3 } }"),
            "2:19: camera_calibration[0].intrinsics.fx" + hint);
  EXPECT_EQ(explain("camera_calibration { intrinsics { fx: 905, 5 } }"),
            "1:44: camera_calibration[0].intrinsics: Expected identifier, got: 5");
}

TEST(TextError, PlacesAreInTheTextWhereverItIsCutShort) {
  testing::RandomText random(6, true);
  std::string text;
  while (text.size() < 2000) text += random.message(*RobotCalibration::descriptor());
  int broken = 0;
  for (std::size_t size = 0; size < text.size(); ++size) {
    const std::string part = text.substr(0, size);
    RobotCalibration robot;
    TextParseError error;
    if (parseText(part, &robot, &error)) continue;
    const TextProblem problem = explainTextError(part, *RobotCalibration::descriptor(), error);
    EXPECT_GE(problem.place.line, 1) << part;
    EXPECT_LE(problem.place.line, 1 + std::count(part.begin(), part.end(), '\n')) << part;
    EXPECT_FALSE(problem.text.empty()) << part;
    ++broken;
  }
  EXPECT_GT(broken, 100);
}

}  // namespace
}  // namespace norv

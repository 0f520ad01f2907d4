// Loads that hold what a file holds or nothing.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/camera_parameters.h"
#include "calibration_common/load_report.h"
#include "calibration_common/ptz_camera_model.h"
#include "support/file.h"
#include "support/message_parsing.h"
#include "testing/calibration_messages.h"
#include "testing/example_ptz.h"
#include "testing/filled_message.h"
#include "testing/log_capture.h"
#include "testing/temporary_folder.h"

namespace norv::calibration {
namespace {

using testing::bytesOf;
using ::testing::ElementsAre;
using testing::exampleCamera;
using ::testing::IsEmpty;
using testing::robotOf;
using testing::ScopedLogCapture;
using testing::TemporaryFolder;

std::string compiledIn(const std::string& name) {
  std::string data;
  EXPECT_TRUE(File::readFileToString(EmbeddedFile::kEmbeddedPrefix + "calibration/" + name, &data));
  return data;
}

std::string examplePtz() {
  std::string data;
  EXPECT_TRUE(File::readFileToString(
      CAMERA_PARAMETERS_SOURCE_DIR "/calibration/example_ptz_cal.txt", &data));
  return data;
}

std::string robotData() { return robotOf({exampleCamera("left", "any")}).SerializeAsString(); }

/// What a kind of calibration is loaded by.
struct SetLoads {
  using Loaded = CameraParametersSet;
  static constexpr const char* kRefused = "2 camera_parameters: No cameras taken from ";
  static constexpr const char* kMessage = "RobotCalibration";
  static constexpr const char* kHolds = "fixed cameras";
  static std::string goodText() { return compiledIn("default_head_cal.txt"); }
  static std::string bytes(const Loaded& set) { return bytesOf(set.getRobotCalibration()); }
};

struct BaseLoads {
  using Loaded = BaseCalibrationData;
  static constexpr const char* kRefused =
      "2 base_calibration_data: No base calibration taken from ";
  static constexpr const char* kMessage = "BaseCalibrationProto";
  static constexpr const char* kHolds = "a mobile base";
  static std::string goodText() { return compiledIn("default_base_cal.txt"); }
  static std::string bytes(const Loaded& base) { return bytesOf(base.getCalibration()); }
};

struct PtzLoads {
  using Loaded = PTZCameraModel;
  static constexpr const char* kRefused = "2 ptz_camera_model: No pan-tilt-zoom camera taken from ";
  static constexpr const char* kMessage = "PTZCameraParameters";
  static constexpr const char* kHolds = "a pan-tilt-zoom camera";
  static std::string goodText() { return examplePtz(); }
  static std::string bytes(const Loaded& model) { return bytesOf(model.getParams()); }
};

std::vector<std::string> linesOf(ScopedLogCapture* capture) {
  std::vector<std::string> lines;
  for (const auto& log : capture->take()) {
    lines.push_back(std::to_string(log.level) + " " + log.channel + ": " + log.text);
  }
  return lines;
}

template <class Kind>
class StrictLoad : public ::testing::Test {
 protected:
  using Loaded = typename Kind::Loaded;

  /// Expects that data is refused for a reason, as a string and as a file, and that the log says
  /// it.
  void expectRefused(const std::string& data, const std::string& reason) {
    SCOPED_TRACE(data.substr(0, 60));
    const TemporaryFolder folder;
    const std::string path = folder.write("file", data);
    LoadReport report;
    {
      ScopedLogCapture capture(kLogWarning);
      EXPECT_EQ(Loaded::fromString(data, &report), nullptr);
      EXPECT_THAT(linesOf(&capture), ::testing::Contains(Kind::kRefused + ("a string: " + reason)));
      EXPECT_EQ(Loaded::fromFile(path), nullptr);
      EXPECT_THAT(linesOf(&capture), ::testing::Contains(Kind::kRefused + path + ": " + reason));
    }
    ASSERT_TRUE(report.problem);
    EXPECT_EQ(describeFinding(*report.problem), reason);
    EXPECT_EQ(report.problem->finding.severity, Severity::kError);
    EXPECT_FALSE(report.default_in_force);
    EXPECT_THAT(report.cameras, IsEmpty());
    EXPECT_TRUE(std::any_of(report.findings.begin(), report.findings.end(), [](const auto& placed) {
      return placed.finding.severity == Severity::kError;
    }));
  }
};
using Kinds = ::testing::Types<SetLoads, BaseLoads, PtzLoads>;
TYPED_TEST_SUITE(StrictLoad, Kinds);

TYPED_TEST(StrictLoad, TakesWhatTheFileHoldsInBothFormats) {
  const TemporaryFolder folder;
  const std::string text = TypeParam::goodText();
  ScopedLogCapture capture(kLogWarning);
  LoadReport report;
  const auto of_text = TypeParam::Loaded::fromFile(folder.write("text", text), &report);
  ASSERT_NE(of_text, nullptr);
  EXPECT_EQ(report.format, CalibrationFormat::kText);
  EXPECT_FALSE(report.problem);
  EXPECT_FALSE(report.default_in_force);
  const auto of_binary = TypeParam::Loaded::fromString(TypeParam::bytes(*of_text), &report);
  ASSERT_NE(of_binary, nullptr);
  EXPECT_EQ(report.format, CalibrationFormat::kBinary);
  EXPECT_EQ(TypeParam::bytes(*of_binary), TypeParam::bytes(*of_text));
  EXPECT_NE(TypeParam::Loaded::fromString(text), nullptr);
  EXPECT_THAT(linesOf(&capture), IsEmpty());
}

TYPED_TEST(StrictLoad, RefusesAFileThatIsNotThere) {
  const TemporaryFolder folder;
  const std::string path = folder.path("missing");
  LoadReport report;
  ScopedLogCapture capture(kLogWarning);
  EXPECT_EQ(TypeParam::Loaded::fromFile(path, &report), nullptr);
  EXPECT_THAT(linesOf(&capture),
              ElementsAre(TypeParam::kRefused + path + ": No such file or directory"));
  EXPECT_EQ(describeFinding(*report.problem), "cannot be read: No such file or directory");
  EXPECT_FALSE(report.format);
  EXPECT_EQ(TypeParam::Loaded::fromFile(path), nullptr);
}

TYPED_TEST(StrictLoad, RefusesEmptyFiles) {
  this->expectRefused("", "is empty");
  this->expectRefused("# nothing but a comment\n", "is empty");
}

TYPED_TEST(StrictLoad, RefusesATextWithAMistake) {
  this->expectRefused("# a comment\n  nme: 1\n",
                      std::string("2:3: nme: Message type \"norv.calibration.") +
                          TypeParam::kMessage + "\" has no field named \"nme\".");
}

TYPED_TEST(StrictLoad, RefusesRubbish) {
  this->expectRefused(std::string("\xff\xff\0\1", 4),
                      std::string("is neither a binary nor a text-format ") + TypeParam::kMessage);
}

TYPED_TEST(StrictLoad, RefusesOtherKinds) {
  const std::string others[][2] = {
      {SetLoads::kHolds, SetLoads::goodText()},
      {BaseLoads::kHolds, BaseLoads::goodText()},
      {PtzLoads::kHolds, PtzLoads::goodText()},
      {SetLoads::kHolds, SetLoads::bytes(CameraParametersSet())},
      {BaseLoads::kHolds, BaseLoads::bytes(BaseCalibrationData())},
      {PtzLoads::kHolds, PtzLoads::bytes(*PTZCameraModel::fromString(examplePtz()))}};
  for (const auto& [holds, data] : others) {
    if (holds == TypeParam::kHolds) continue;
    this->expectRefused(data,
                        "holds the calibration of " + holds + ", not of " + TypeParam::kHolds);
  }
}

TYPED_TEST(StrictLoad, TakesFieldsOfNewerVersions) {
  const auto loaded = TypeParam::Loaded::fromString(TypeParam::goodText());
  ASSERT_NE(loaded, nullptr);
  // More of them, by number, than a set has fields; each holds one byte.
  std::string newer = TypeParam::bytes(*loaded);
  for (const char* field : {"\xfa\x3e\x01!", "\x82\x3f\x01!", "\x8a\x3f\x01!"}) newer += field;
  LoadReport report;
  const auto of_newer = TypeParam::Loaded::fromString(newer, &report);
  ASSERT_NE(of_newer, nullptr) << describeFinding(*report.problem);
  EXPECT_EQ(TypeParam::bytes(*of_newer), newer);
}

TYPED_TEST(StrictLoad, RefusesTextsCutShort) {
  const std::string text = TypeParam::goodText();
  ScopedLogCapture capture(kLogFatal);
  int refused = 0;
  for (std::size_t size = 0; size < text.size(); size += 97) {
    LoadReport report;
    const auto loaded = TypeParam::Loaded::fromString(text.substr(0, size), &report);
    EXPECT_EQ(loaded == nullptr, report.problem.has_value()) << size;
    if (loaded == nullptr) ++refused;
  }
  EXPECT_GT(refused, 3);
}

TEST(StrictLoadOfCameras, HoldsTheFilesCamerasAlone) {
  LoadReport report;
  const auto set = CameraParametersSet::fromString(robotData(), &report);
  ASSERT_NE(set, nullptr);
  EXPECT_THAT(set->getCameraNames(), ElementsAre("left"));
  EXPECT_THAT(report.cameras, ElementsAre("left"));
  // It has the same camera as a set that falls back.
  CameraParametersSet lenient;
  ASSERT_TRUE(lenient.loadFromString(robotData()));
  EXPECT_EQ(set->getCamera("left")->getFullFrameIntrinsics(),
            lenient.getCamera("left")->getFullFrameIntrinsics());
  EXPECT_EQ(set->getCamera("left")->getTransform().transform,
            lenient.getCamera("left")->getTransform().transform);
}

TEST(StrictLoadOfCameras, RefusesACameraThatDoesNotLoad) {
  RobotCalibration robot = robotOf({exampleCamera("left", "any"), exampleCamera("right", "any")});
  robot.mutable_camera_calibration(1)->mutable_intrinsics()->mutable_tangential()->RemoveLast();
  LoadReport report;
  ScopedLogCapture capture(kLogFatal);
  EXPECT_EQ(CameraParametersSet::fromString(robot.SerializeAsString(), &report), nullptr);
  EXPECT_EQ(describeFinding(*report.problem),
            "camera_calibration[1].intrinsics.tangential: holds 1 values, at least 2 are needed");
  EXPECT_EQ(report.problem->finding.camera, "right");
  EXPECT_THAT(report.cameras, IsEmpty());
}

TEST(StrictLoadOfCameras, RefusesACalibrationWithoutACamera) {
  RobotCalibration robot;
  robot.mutable_unknown_fields()->AddVarint(100, 1);
  LoadReport report;
  ScopedLogCapture capture(kLogFatal);
  EXPECT_EQ(CameraParametersSet::fromString(robot.SerializeAsString(), &report), nullptr);
  EXPECT_EQ(describeFinding(*report.problem), "holds no camera");
}

TEST(StrictLoadOfCameras, LaterFieldsAreKept) {
  RobotCalibration robot = robotOf({exampleCamera("left", "any")});
  robot.mutable_camera_calibration(0)->mutable_unknown_fields()->AddVarint(100, 1);
  const auto set = CameraParametersSet::fromString(bytesOf(robot));
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(bytesOf(set->getRobotCalibration()), bytesOf(robot));
}

TEST(StrictLoadOfCameras, TheSetIsAsOthersAreFromThenOn) {
  const auto set = CameraParametersSet::fromString(robotData());
  ASSERT_NE(set, nullptr);
  const CameraParametersSet copy(*set);
  EXPECT_THAT(copy.getCameraNames(), ElementsAre("left"));
  set->adjustUsingBaseCalibration(BaseCalibrationData());
  ScopedLogCapture capture(kLogFatal);
  EXPECT_FALSE(set->loadFromString("rubbish"));
  EXPECT_THAT(set->getCameraNames(), ElementsAre("head_camera", "left", "navigation_camera"));
}

TEST(StrictLoadOfABase, RefusesAShortTransform) {
  LoadReport report;
  ScopedLogCapture capture(kLogFatal);
  EXPECT_EQ(
      BaseCalibrationData::fromString(
          "wheel_base: 0.4\nglobal_transform_adjustment { global_transform { a: 1 } }", &report),
      nullptr);
  EXPECT_EQ(describeFinding(*report.problem),
            "2:50: global_transform_adjustment.global_transform.a: holds 1 values, at least 12 are "
            "needed");
}

TEST(StrictLoadOfABase, TheObjectIsAsOthersAreFromThenOn) {
  const auto base = BaseCalibrationData::fromString(compiledIn("default_base_cal.txt"));
  ASSERT_NE(base, nullptr);
  const BaseCalibrationData defaults;
  EXPECT_EQ(base->getWorldRotation(), defaults.getWorldRotation());
  EXPECT_EQ(base->getWorldTranslation(), defaults.getWorldTranslation());
  base->setWheelBase(9);
  ScopedLogCapture capture(kLogFatal);
  EXPECT_FALSE(base->loadFromString("rubbish"));
  EXPECT_EQ(base->getWheelBase(), defaults.getWheelBase());
}

TEST(StrictLoadOfAPtz, RefusesAnIncompleteHead) {
  PTZCameraParameters ptz = testing::examplePtz();
  ptz.mutable_pan_tilt()->clear_pan_to_tilt();
  LoadReport report;
  ScopedLogCapture capture(kLogFatal);
  EXPECT_EQ(PTZCameraModel::fromString(ptz.SerializeAsString(), &report), nullptr);
  EXPECT_EQ(describeFinding(*report.problem),
            "pan_tilt.pan_to_tilt.a: holds 0 values, at least 12 are needed");
  EXPECT_TRUE(PTZCameraModel::fromString(testing::examplePtz().SerializeAsString())->isValid());
}

}  // namespace
}  // namespace norv::calibration

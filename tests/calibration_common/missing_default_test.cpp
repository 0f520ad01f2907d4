// What becomes of a program whose compiled-in files are missing or unusable: this one brings its
// own.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/camera_parameters.h"
#include "support/messages/embedded_files.h"
#include "testing/log_capture.h"

namespace norv {
namespace {

std::vector<internal::EmbeddedFileEntry> entries;

}  // namespace

internal::EmbeddedFileTable internal::embeddedFiles() { return {entries.data(), entries.size()}; }

namespace calibration {
namespace {

using testing::CapturedLog;
using ::testing::ElementsAre;
using ::testing::KilledBySignal;
using ::testing::MatchesRegex;
using testing::ScopedLogCapture;

constexpr const char* kHeadCalibration = "calibration/default_head_cal.txt";
constexpr const char* kBaseCalibration = "calibration/default_base_cal.txt";
constexpr const char* kBasePlace =
    "FATAL check calibration_common/base_calibration_data\\.cpp:[0-9]+: ";
constexpr const char* kPlace = "FATAL check calibration_common/camera_parameters\\.cpp:[0-9]+: ";

class MissingDefaultDeathTest : public ::testing::Test {
 public:
  ~MissingDefaultDeathTest() override { entries.clear(); }
};

TEST_F(MissingDefaultDeathTest, MissingHeadCalibration) {
  EXPECT_EXIT(
      CameraParametersSet(), KilledBySignal(SIGABRT),
      MatchesRegex(kPlace + std::string("Check failed File::readFileToString\\( "
                                        "EmbeddedFile::kEmbeddedPrefix \\+ "
                                        "\"calibration/default_head_cal\\.txt\", &data\\) \n")));
}

TEST_F(MissingDefaultDeathTest, UnparsableHeadCalibration) {
  entries = {{kHeadCalibration, "camera_calibration { name: 7 }"}};
  EXPECT_EXIT(
      CameraParametersSet(), KilledBySignal(SIGABRT),
      MatchesRegex(kPlace +
                   std::string("Check failed google::protobuf::TextFormat::ParseFromString\\("
                               "data, robotcal_\\.get\\(\\)\\) \n")));
}

TEST_F(MissingDefaultDeathTest, RejectedHeadCalibration) {
  entries = {
      {kHeadCalibration, "camera_calibration { name: \"a\" intrinsics { width: 1 height: 1 } }"}};
  EXPECT_EXIT(
      CameraParametersSet(), KilledBySignal(SIGABRT),
      MatchesRegex("ERROR camera_parameters calibration_common/camera_parameters\\.cpp:[0-9]+: "
                   "Parameter list too short in intrinsics \\{\\\\n  width: 1\\\\n"
                   "  height: 1\\\\n\\}\\\\nname: \"a\"\\\\n\n" +
                   std::string(kPlace) + "Check failed readProto\\(\\) \n"));
}

TEST_F(MissingDefaultDeathTest, MissingBaseCalibration) {
  EXPECT_EXIT(BaseCalibrationData(), KilledBySignal(SIGABRT),
              MatchesRegex(kBasePlace +
                           std::string("Check failed File::readFileToString\\( "
                                       "EmbeddedFile::kEmbeddedPrefix \\+ "
                                       "\"calibration/default_base_cal\\.txt\", &data\\) \n")));
}

TEST_F(MissingDefaultDeathTest, UnparsableBaseCalibration) {
  entries = {{kBaseCalibration, "wheel_base: \"wide\""}};
  EXPECT_EXIT(
      BaseCalibrationData(), KilledBySignal(SIGABRT),
      MatchesRegex(kBasePlace +
                   std::string("Check failed google::protobuf::TextFormat::ParseFromString\\("
                               "data, default_cal_\\.get\\(\\)\\) \n")));
}

TEST_F(MissingDefaultDeathTest, BaseCalibrationWithoutAGlobalTransform) {
  entries = {{kBaseCalibration, "wheel_base: 1"}};
  EXPECT_EXIT(BaseCalibrationData(), KilledBySignal(SIGABRT),
              MatchesRegex("ERROR base_calibration_data "
                           "calibration_common/base_calibration_data\\.cpp:[0-9]+: "
                           "global_transform does not have enough parameters\\.\n" +
                           std::string(kBasePlace) + "Check failed readProto\\(\\) \n"));
}

TEST_F(MissingDefaultDeathTest, CopyOfABaseCalibrationReadsTheFileWhenItNeedsIt) {
  entries = {{kBaseCalibration,
              "global_transform_adjustment { global_transform { a: [1,0,0,0,0,1,0,0,0,0,1,0] } }"}};
  const BaseCalibrationData data;
  entries.clear();
  BaseCalibrationData copy(data);
  EXPECT_EXIT(copy.setDefault(), KilledBySignal(SIGABRT),
              MatchesRegex(kBasePlace +
                           std::string("Check failed File::readFileToString\\( "
                                       "EmbeddedFile::kEmbeddedPrefix \\+ "
                                       "\"calibration/default_base_cal\\.txt\", &data\\) \n")));
}

TEST_F(MissingDefaultDeathTest, CopyReadsTheFileOnce) {
  entries = {{kBaseCalibration,
              "global_transform_adjustment { global_transform { a: [1,0,0,0,0,1,0,0,0,0,1,0] } }"}};
  const BaseCalibrationData data;
  BaseCalibrationData copy(data);
  EXPECT_FALSE(copy.setDefault());
  entries.clear();
  EXPECT_FALSE(copy.setDefault());  // would stop the process if it read the file again
  EXPECT_EQ(copy.getWorldRotation(), Matrix3x3_f::Identity());
}

/// Expects exactly these failed checks, all in one function.
void expectFailedChecks(const std::vector<CapturedLog>& logs, const std::string& file,
                        const std::string& function, const std::vector<std::string>& texts) {
  ASSERT_EQ(logs.size(), texts.size());
  for (std::size_t i = 0; i < logs.size(); ++i) {
    EXPECT_EQ(logs[i].level, 1);
    EXPECT_EQ(logs[i].channel, "check");
    EXPECT_EQ(logs[i].file, file);
    EXPECT_EQ(logs[i].function, function);
    EXPECT_EQ(logs[i].text, texts[i]);
  }
}

TEST_F(MissingDefaultDeathTest, ExecutionGoesOnWhereFailedChecksPass) {
  const char* file = "calibration_common/camera_parameters.cpp";
  const char* function = "bool norv::calibration::CameraParametersSet::setDefault()";
  const std::string missing =
      "Check failed File::readFileToString( EmbeddedFile::kEmbeddedPrefix + "
      "\"calibration/default_head_cal.txt\", &data) ";
  ScopedLogCapture capture(kLogFatal);
  entries = {{"calibration/other.txt", ""}};
  CameraParametersSet set;
  expectFailedChecks(capture.take(), file, function, {missing});
  EXPECT_FALSE(set.setDefault());
  expectFailedChecks(capture.take(), file, function, {missing});
  EXPECT_TRUE(set.getCameraNames().empty());
  // The text ends after a camera has begun, which then lacks everything.
  entries = {{kHeadCalibration, "camera_calibration { name: 7 }"}};
  EXPECT_FALSE(set.setDefault());
  expectFailedChecks(
      capture.take(), file, function,
      {"Check failed google::protobuf::TextFormat::ParseFromString(data, robotcal_.get()) ",
       "Check failed readProto() "});
  EXPECT_TRUE(set.getCameraNames().empty());
}

TEST_F(MissingDefaultDeathTest, EntryWithoutACameraIsNotAdjustedAndNotInserted) {
  ScopedLogCapture capture(kLogFatal);
  entries = {{kBaseCalibration,
              "global_transform_adjustment { global_transform {"
              " a: [1, 0, 0, 0, 0, 1, 0, 500, 0, 0, 1, 0] } }"}};
  const BaseCalibrationData base;
  const std::string good =
      "intrinsics { width: 1 height: 1 radial: [0, 0, 0, 0, 0, 0] tangential: [0, 0] }"
      " extrinsics { a: [1, 0, 0, 1000, 0, 1, 0, 0, 0, 0, 1, 0] } ";
  const std::string robot =
      "camera_calibration { name: \"a\" " + good + "} camera_calibration { name: \"gone\" }";
  entries = {{kHeadCalibration, robot}};
  CameraParametersSet set;
  ASSERT_EQ(capture.take().size(), 1U);  // that it does not load
  set.adjustUsingBaseCalibration(base);
  EXPECT_TRUE(capture.take().empty());
  EXPECT_EQ(set.getCamera("a")->getTranslation(), Vector3_f(1, 0.5F, 0));
  EXPECT_EQ(set.getCamera("gone"), nullptr);
  EXPECT_THAT(set.getCameraNames(), ElementsAre("a"));
  EXPECT_FALSE(set.getRobotCalibration().camera_calibration(1).has_extrinsics());
}

TEST_F(MissingDefaultDeathTest, BaseCalibrationGoesOnWhereFailedChecksPass) {
  ScopedLogCapture capture(kLogFatal);
  BaseCalibrationData data;
  std::vector<std::string> texts;
  for (const CapturedLog& log : capture.take()) {
    EXPECT_EQ(log.level, 1);
    EXPECT_EQ(log.channel, "check");
    EXPECT_EQ(log.file, "calibration_common/base_calibration_data.cpp");
    texts.push_back(log.text);
  }
  EXPECT_THAT(texts,
              ElementsAre("Check failed File::readFileToString( EmbeddedFile::kEmbeddedPrefix + "
                          "\"calibration/default_base_cal.txt\", &data) ",
                          "Check failed readProto() "));
  // An object without a default: all zero, and settable.
  EXPECT_EQ(data.getWorldRotation(), Matrix3x3_f::Zero());
  EXPECT_EQ(data.getWorldTranslation(), Vector3_f::Zero());
  EXPECT_FALSE(data.setDefault());
  EXPECT_EQ(capture.take().size(), 1U);
  // A copy of it says so too.
  const BaseCalibrationData copy(data);
  const std::vector<CapturedLog> logs = capture.take();
  ASSERT_EQ(logs.size(), 1U);
  EXPECT_EQ(logs[0].text, "Check failed readProto() ");
  EXPECT_EQ(copy.getWorldRotation(), Matrix3x3_f::Zero());
}

}  // namespace
}  // namespace calibration
}  // namespace norv

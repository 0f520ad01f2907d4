// `validate` and the loads of the library on hostile input: whatever validates without an error
// loads, so that whatever does not load has an error; and on files of a size.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/camera_parameters.h"
#include "calibration_common/ptz_camera_model.h"
#include "support/message_parsing.h"
#include "support/message_printing.h"
#include "testing/file_contents.h"
#include "testing/log_capture.h"
#include "testing/review_findings.h"
#include "testing/sanitized.h"
#include "testing/temporary_folder.h"
#include "tools/validate/validate_command.h"

namespace norv::tools {
namespace {

using calibration::BaseCalibrationData;
using calibration::CameraCalibration;
using calibration::CameraIntrinsics;
using calibration::CameraParametersSet;
using calibration::PTZCameraModel;
using calibration::PTZCameraParameters;
using calibration::RobotCalibration;
using calibration::SamplePoint;
using testing::TemporaryFolder;

bool loads(const std::string& data, CalibrationKind kind) {
  switch (kind) {
    case CalibrationKind::kRobot:
      return CameraParametersSet().loadFromString(data);
    case CalibrationKind::kBase:
      return BaseCalibrationData().loadFromString(data);
    case CalibrationKind::kPtz:
      break;
  }
  PTZCameraParameters parameters;
  return parseBinaryOrText(data, &parameters) && PTZCameraModel(parameters).isValid();
}

/// Validates `data` as each kind and holds that to what loading does with it. Returns how many
/// validated without an error.
int expectAgreement(const TemporaryFolder& folder, const std::string& data) {
  int good = 0;
  for (const CalibrationKind kind :
       {CalibrationKind::kRobot, CalibrationKind::kPtz, CalibrationKind::kBase}) {
    ValidateOptions options;
    options.paths = {folder.write("calibration", data)};
    options.kind = kind;
    options.json = true;
    const ToolAnswer answer = runValidateCommand(options);
    const auto document = nlohmann::json::parse(answer.output, nullptr, false);
    EXPECT_EQ(document["files"].size(), 1U) << answer.output;
    EXPECT_EQ(answer.status, document["files"][0]["errors"] == 0 ? kDone : kBadInput);
    good += answer.status == kDone ? 1 : 0;
    if (answer.status == kDone) {
      EXPECT_TRUE(loads(data, kind)) << kindName(kind) << "\n" << data;
    }
  }
  return good;
}

std::vector<std::string> corpus() {
  std::vector<std::string> all;
  const std::filesystem::path folder(CAMERA_PARAMETERS_SOURCE_DIR "/fuzz/corpus");
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    // Of other programs. Some are JSON, of which a message validates, but no robot loads it.
    if (entry.path().parent_path().filename().string().rfind("import_", 0) == 0) continue;
    all.push_back(testing::contentsOf(entry.path()));
  }
  return all;
}

TEST(ValidateCorpus, WhatFuzzingFound) {
  const testing::ScopedLogCapture log;
  const TemporaryFolder folder;
  const std::vector<std::string> inputs = corpus();
  EXPECT_GT(inputs.size(), 50U);
  int good = 0;
  for (const std::string& data : inputs) good += expectAgreement(folder, data);
  EXPECT_GT(good, 10);
}

/// `data` with one to four bytes taken away, put in or changed.
std::string damaged(std::string data, std::mt19937* random) {
  const auto below = [&](std::size_t count) {
    return static_cast<std::size_t>((*random)()) % count;
  };
  const std::string bytes("\0\x01\x0a\x80\xff{}[]:,#\"'-.09 \n", 21);
  for (std::size_t changes = 1 + below(4); changes > 0; --changes) {
    const std::size_t place = below(data.size() + 1);
    const char byte = bytes[below(bytes.size())];
    const std::size_t action = below(3);
    if (action == 0) data.insert(place, 1, byte);
    if (action == 1 && place < data.size()) data.erase(place, 1);
    if (action == 2 && place < data.size()) data[place] = byte;
  }
  return data;
}

TEST(ValidateCorpus, WhatFuzzingFoundDamaged) {
  const testing::ScopedLogCapture log;
  const TemporaryFolder folder;
  std::mt19937 random(7);  // NOLINT(bugprone-random-generator-seed)
  const std::vector<std::string> inputs = corpus();
  for (int i = 0; i < 500 && !HasFailure(); ++i) {
    expectAgreement(folder, damaged(inputs[random() % inputs.size()], &random));
  }
}

/// Seconds of the processor in which a file with this text is validated, and what is printed.
double secondsFor(const std::string& text, std::string* output) {
  const TemporaryFolder folder;
  ValidateOptions options;
  options.paths = {folder.write("robot.txt", text)};
  const std::clock_t start = std::clock();
  const ToolAnswer answer = runValidateCommand(options);
  *output = answer.output;
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

TEST(ValidateCorpus, FiftyThousandCamerasInTime) {
  const CameraCalibration navigation = testing::defaultRobot().camera_calibration(1);
  RobotCalibration robot;
  for (int i = 0; i < 50000; ++i) {
    CameraCalibration* camera = robot.add_camera_calibration();
    *camera = navigation;
    camera->set_name(std::to_string(i));
  }
  std::string output;
  // Measured: 1.1 s.
  EXPECT_LT(secondsFor(printText(robot), &output), testing::allowedSeconds(5));
  // All poses are the same; a thousand lines say so.
  EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 1001);
  EXPECT_THAT(output, ::testing::HasSubstr(": 0 errors, 49999 warnings\n"));
}

TEST(ValidateCorpus, AMillionSamplesInTime) {
  RobotCalibration robot = testing::defaultRobot();
  CameraIntrinsics* in = robot.mutable_camera_calibration(0)->mutable_intrinsics();
  in->clear_samples();
  for (int i = 0; i < 1000000; ++i) {
    SamplePoint* sample = in->add_samples();
    const int column = i % 1000;
    const int row = i / 1000;
    sample->set_image_x(20 + 1.2F * static_cast<float>(column));
    sample->set_image_y(20 + 0.9F * static_cast<float>(row));
    sample->set_model_x(static_cast<float>(column));
    sample->set_model_y(static_cast<float>(row));
  }
  std::string output;
  // Measured: 4 s.
  EXPECT_LT(secondsFor(printText(robot), &output), testing::allowedSeconds(10));
  // The calibration states a grid of 13 by 10.
  EXPECT_THAT(output, ::testing::HasSubstr("[samples-grid]\n"));
}

}  // namespace
}  // namespace norv::tools

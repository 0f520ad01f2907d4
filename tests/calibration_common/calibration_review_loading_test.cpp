// A review against loading, on random messages and on what fuzzing found: what is reviewed without
// an error loads, and what does not load has an error. And what holds for every finding.

#include <gmock/gmock.h>
#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/calibration_review.h"
#include "calibration_common/camera_parameters.h"
#include "calibration_common/ptz_camera_model.h"
#include "support/message_parsing.h"
#include "testing/file_contents.h"
#include "testing/log_capture.h"
#include "testing/random_message.h"
#include "testing/review_findings.h"
#include "testing/tree_calibrations.h"

namespace norv::calibration {
namespace {

using testing::defaultRobot;
using testing::hasError;
using testing::mutated;
using testing::ScopedLogCapture;
using testing::treeCalibration;

/// Where a path leads in a message of a type: field numbers and indices. Fails the test for a path
/// that leads nowhere.
std::vector<int> follow(const google::protobuf::Descriptor* type, const std::string& path) {
  std::vector<int> way;
  std::istringstream parts(path);
  for (std::string part; std::getline(parts, part, '.');) {
    EXPECT_NE(type, nullptr) << path;
    if (type == nullptr) return way;
    const std::size_t bracket = part.find('[');
    const std::string name = part.substr(0, bracket);
    if (std::isdigit(static_cast<unsigned char>(name[0])) != 0) {
      way.push_back(std::stoi(name));
      type = nullptr;
      continue;
    }
    const auto* field = type->FindFieldByName(name);
    EXPECT_NE(field, nullptr) << path;
    if (field == nullptr) return way;
    way.push_back(field->number());
    way.push_back(bracket == std::string::npos ? -1 : std::stoi(part.substr(bracket + 1)));
    EXPECT_TRUE(bracket == std::string::npos || field->is_repeated()) << path;
    type = field->message_type();
  }
  return way;
}

const CheckDescription* describe(const std::string& check) {
  for (const CheckDescription& description : calibrationChecks()) {
    if (description.id == check) return &description;
  }
  return nullptr;
}

/// What holds for every finding: a described check and severity, a field of the message, the order,
/// and a sentence that can be printed.
void expectSound(const google::protobuf::Message& message, const std::vector<Finding>& found) {
  std::vector<int> before;
  for (const Finding& finding : found) {
    SCOPED_TRACE(finding.field + ": " + finding.text + " [" + finding.check + "]");
    const CheckDescription* description = describe(finding.check);
    ASSERT_NE(description, nullptr);
    EXPECT_THAT(description->severities, ::testing::Contains(finding.severity));
    const std::vector<int> way = follow(message.GetDescriptor(), finding.field);
    EXPECT_LE(before, way);
    before = way;
    EXPECT_FALSE(finding.text.empty());
    EXPECT_TRUE(std::all_of(finding.text.begin(), finding.text.end(),
                            [](char c) { return c >= ' ' && c <= '~'; }));
  }
}

bool isError(const Finding& finding, const std::string& check) {
  return finding.severity == Severity::kError && finding.check == check;
}

/// Whether a finding is one of those that keep a robot calibration from loading.
bool blocksLoading(const RobotCalibration& robot, const Finding& finding) {
  for (const char* check : {"list-short", "samples-missing", "samples-few", "refit"}) {
    if (isError(finding, check)) return true;
  }
  if (!isError(finding, "size")) return false;
  const std::vector<int> way = follow(RobotCalibration::descriptor(), finding.field);
  const CameraCalibration& camera = robot.camera_calibration(way.at(1));
  const bool known =
      camera.model() == "mk512h" || camera.model() == "mk513n" || camera.model() == "b910";
  return !known && !finding.value;  // missing
}

void expectAgreement(const RobotCalibration& robot) {
  static CameraParametersSet set;
  const bool loads = set.loadFromProto(robot);
  const std::vector<Finding> found = reviewCalibration(robot);
  expectSound(robot, found);
  EXPECT_TRUE(loads || hasError(found)) << robot.DebugString();
  const bool blocked = std::any_of(found.begin(), found.end(), [&](const Finding& finding) {
    return blocksLoading(robot, finding);
  });
  EXPECT_EQ(loads, !blocked) << robot.DebugString();
}

void expectAgreement(const PTZCameraParameters& ptz) {
  const bool valid = PTZCameraModel(ptz).isValid();
  const std::vector<Finding> found = reviewCalibration(ptz);
  expectSound(ptz, found);
  EXPECT_TRUE(valid || hasError(found)) << ptz.DebugString();
  const bool blocked = std::any_of(found.begin(), found.end(), [](const Finding& finding) {
    return isError(finding, "list-short") || isError(finding, "ptz-samples");
  });
  EXPECT_EQ(valid, !blocked) << ptz.DebugString();
}

void expectAgreement(const BaseCalibrationProto& base) {
  static BaseCalibrationData data;
  const bool loads = data.loadFromString(base.SerializeAsString());
  const std::vector<Finding> found = reviewCalibration(base);
  expectSound(base, found);
  EXPECT_TRUE(loads || hasError(found)) << base.DebugString();
  const bool blocked = std::any_of(found.begin(), found.end(), [](const Finding& finding) {
    return isError(finding, "list-short");
  });
  EXPECT_EQ(loads, !blocked) << base.DebugString();
}

/// The compiled-in cameras with 12 of the head camera's 130 samples, whose fit takes little time.
RobotCalibration quickRobot() {
  RobotCalibration robot = defaultRobot();
  CameraIntrinsics* in = robot.mutable_camera_calibration(testing::kHead)->mutable_intrinsics();
  CameraIntrinsics some;
  for (int row = 0; row < 10; row += 4) {
    for (int column = 0; column < 13; column += 4) {
      *some.add_samples() = in->samples(13 * row + column);
    }
  }
  in->set_sample_size_x(4);
  in->set_sample_size_y(3);
  in->mutable_samples()->Swap(some.mutable_samples());
  return robot;
}

TEST(CalibrationReviewLoadingTest, AgreesWithLoadingOnRandomRobots) {
  const ScopedLogCapture log;
  const RobotCalibration robot = quickRobot();
  ASSERT_TRUE(reviewCalibration(robot).empty());
  std::mt19937 random(1);  // NOLINT(bugprone-random-generator-seed)
  for (int i = 0; i < 1000 && !HasFailure(); ++i) expectAgreement(mutated(robot, &random));
}

TEST(CalibrationReviewLoadingTest, AgreesWithLoadingOnRandomZoomCameras) {
  const ScopedLogCapture log;
  const auto ptz = treeCalibration<PTZCameraParameters>("example_ptz_cal.txt");
  std::mt19937 random(2);  // NOLINT(bugprone-random-generator-seed)
  for (int i = 0; i < 2000 && !HasFailure(); ++i) expectAgreement(mutated(ptz, &random));
}

TEST(CalibrationReviewLoadingTest, AgreesWithLoadingOnRandomBases) {
  const ScopedLogCapture log;
  const auto base = treeCalibration<BaseCalibrationProto>("default_base_cal.txt");
  std::mt19937 random(3);  // NOLINT(bugprone-random-generator-seed)
  for (int i = 0; i < 2000 && !HasFailure(); ++i) expectAgreement(mutated(base, &random));
}

template <class Message>
void tryAs(const std::string& data, int* parsed) {
  Message message;
  if (!parseBinaryOrText(data, &message)) return;
  ++*parsed;
  expectAgreement(message);
}

TEST(CalibrationReviewLoadingTest, AgreesWithLoadingOnWhatFuzzingFound) {
  const ScopedLogCapture log;
  int parsed = 0;
  const std::filesystem::path corpus(CAMERA_PARAMETERS_SOURCE_DIR "/fuzz/corpus");
  for (const auto& entry : std::filesystem::recursive_directory_iterator(corpus)) {
    if (!entry.is_regular_file()) continue;
    SCOPED_TRACE(entry.path().string());
    const std::string data = testing::contentsOf(entry.path());
    tryAs<RobotCalibration>(data, &parsed);
    tryAs<PTZCameraParameters>(data, &parsed);
    tryAs<BaseCalibrationProto>(data, &parsed);
  }
  EXPECT_GT(parsed, 100);
}

}  // namespace
}  // namespace norv::calibration

#pragma once

/// Findings of a review, compared whole, and calibrations to edit until a review finds something.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "calibration_common/calibration_review.h"
#include "testing/calibration_edits.h"

namespace norv::testing {

/// What a finding is expected to be, apart from its sentence.
struct ExpectedFinding {
  calibration::Severity severity;
  std::string check;
  std::string field;
  std::optional<double> value = std::nullopt;
  std::optional<double> threshold = std::nullopt;
  std::string camera = {};
  int width = 0;
  int height = 0;
  /// Largest relative difference of the numbers: those of messages are compared as they are, and
  /// narrowed ones within single precision.
  double tolerance = 1e-6;
};

inline void expectNumber(const std::optional<double>& found, const std::optional<double>& expected,
                         double tolerance) {
  ASSERT_EQ(found.has_value(), expected.has_value());
  if (!expected) return;
  if (std::isnan(*expected)) {
    EXPECT_TRUE(std::isnan(*found)) << *found;
  } else if (std::isinf(*expected)) {
    EXPECT_EQ(*found, *expected);
  } else {
    EXPECT_NEAR(*found, *expected, tolerance * std::max(1e-3, std::abs(*expected)));
  }
}

inline void expectFinding(const calibration::Finding& found, const ExpectedFinding& expected) {
  SCOPED_TRACE(found.field + ": " + found.text + " [" + found.check + "]");
  EXPECT_EQ(found.severity, expected.severity);
  EXPECT_EQ(found.check, expected.check);
  EXPECT_EQ(found.field, expected.field);
  EXPECT_EQ(found.camera, expected.camera);
  EXPECT_EQ(found.width, expected.width);
  EXPECT_EQ(found.height, expected.height);
  expectNumber(found.value, expected.value, expected.tolerance);
  expectNumber(found.threshold, expected.threshold, expected.tolerance);
  EXPECT_NE(found.text, "");
}

/// Expects exactly these findings, in this order.
inline void expectFindings(const std::vector<calibration::Finding>& found,
                           const std::vector<ExpectedFinding>& expected) {
  for (const calibration::Finding& finding : found) {
    SCOPED_TRACE(finding.field + ": " + finding.text + " [" + finding.check + "]");
    if (found.size() != expected.size()) ADD_FAILURE();
  }
  ASSERT_EQ(found.size(), expected.size());
  for (std::size_t i = 0; i < found.size(); ++i) expectFinding(found[i], expected[i]);
}

/// Expects that nothing was found by this check.
inline void expectNothingOf(const std::string& check,
                            const std::vector<calibration::Finding>& found) {
  for (const calibration::Finding& finding : found) {
    EXPECT_NE(finding.check, check) << finding.field << ": " << finding.text;
  }
}

inline bool hasError(const std::vector<calibration::Finding>& found) {
  return std::any_of(found.begin(), found.end(), [](const calibration::Finding& finding) {
    return finding.severity == calibration::Severity::kError;
  });
}

/// Indices of the compiled-in cameras.
inline constexpr int kHead = 0;
inline constexpr int kNavigation = 1;

/// A robot with one camera, "plain", of no known model: centred, square pixels, no distortion,
/// posed as the compiled-in navigation camera.
inline calibration::RobotCalibration plainRobot(int width, int height, double focal_length) {
  calibration::RobotCalibration robot;
  calibration::CameraCalibration* camera = robot.add_camera_calibration();
  *camera = defaultRobot().camera_calibration(kNavigation);
  camera->set_name("plain");
  camera->clear_model();
  calibration::CameraIntrinsics* in = camera->mutable_intrinsics();
  in->set_width(width);
  in->set_height(height);
  in->set_fx(focal_length);
  in->set_fy(focal_length);
  in->set_cx(0.5 * width);
  in->set_cy(0.5 * height);
  std::fill(in->mutable_radial()->begin(), in->mutable_radial()->end(), 0);
  std::fill(in->mutable_tangential()->begin(), in->mutable_tangential()->end(), 0);
  return robot;
}

}  // namespace norv::testing

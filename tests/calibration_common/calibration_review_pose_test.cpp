// What a review finds in the poses of cameras.

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <cmath>
#include <random>

#include "calibration_common/calibration_review.h"
#include "testing/review_findings.h"

namespace norv::calibration {
namespace {

using testing::defaultRobot;
using testing::expectFindings;
using testing::expectNothingOf;
using testing::kHead;
using testing::kNavigation;

constexpr auto kInfo = Severity::kInfo;
constexpr auto kWarning = Severity::kWarning;
constexpr auto kError = Severity::kError;
const std::string kField = "camera_calibration[1].extrinsics.a";
const std::string kCamera = "navigation_camera";

/// What is found after `edit` has changed the navigation camera's pose, whose rotation has the rows
/// (0, -1, 0), (0, 0, -1), (1, 0, 0) and whose translation is (30, 350, -250) mm.
template <class Edit>
std::vector<Finding> reviewPose(const Edit& edit) {
  RobotCalibration robot = defaultRobot();
  // Poses need no fit, which is most of a review's time.
  robot.mutable_camera_calibration(kHead)->clear_model();
  edit(robot.mutable_camera_calibration(kNavigation)->mutable_extrinsics());
  return reviewCalibration(robot);
}

std::vector<Finding> reviewValue(int index, double value) {
  return reviewPose([&](auto* pose) { pose->set_a(index, value); });
}

TEST(CalibrationReviewPoseTest, FindsRotationsThatAreNone) {
  expectFindings(reviewValue(1, -1.00006),
                 {{kWarning, "pose-rotation", kField, 1.00006 * 1.00006 - 1, 1e-4, kCamera}});
  expectFindings(reviewValue(1, -1.00004), {});
  expectFindings(reviewValue(1, -1.006),
                 {{kError, "pose-rotation", kField, 1.006 * 1.006 - 1, 1e-2, kCamera}});
  expectFindings(reviewValue(1, -1.004),
                 {{kWarning, "pose-rotation", kField, 1.004 * 1.004 - 1, 1e-4, kCamera}});
  // A zero row: the pose is singular.
  expectFindings(reviewValue(1, 0), {{kError, "pose-rotation", kField, 1, 1e-2, kCamera}});
}

TEST(CalibrationReviewPoseTest, FindsMirrorImages) {
  expectFindings(reviewValue(1, 1), {{kError, "pose-mirror", kField, -1, 0, kCamera}});
}

/// The navigation camera's centre at a distance from the origin, millimetres.
std::vector<Finding> reviewDistance(double distance) {
  return reviewPose([&](auto* pose) {
    const double scale = distance / std::hypot(30, 350, 250);
    for (const int i : {3, 7, 11}) pose->set_a(i, scale * pose->a(i));
  });
}

TEST(CalibrationReviewPoseTest, FindsTranslationsInAnotherUnit) {
  expectFindings(reviewDistance(19.9), {{kWarning, "pose-unit", kField, 19.9, 20, kCamera}});
  expectFindings(reviewDistance(20.1), {});
  expectFindings(reviewDistance(19999), {});
  expectFindings(reviewDistance(20001), {{kWarning, "pose-unit", kField, 20001, 20000, kCamera}});
}

TEST(CalibrationReviewPoseTest, FindsMetresInBothCompiledInCameras) {
  RobotCalibration robot = defaultRobot();
  for (CameraCalibration& camera : *robot.mutable_camera_calibration()) {
    for (const int i : {3, 7, 11}) {
      camera.mutable_extrinsics()->set_a(i, camera.extrinsics().a(i) / 1000);
    }
  }
  // The head camera is 120 mm ahead of the origin and 1250 mm above it.
  expectFindings(reviewCalibration(robot),
                 {{kWarning, "pose-unit", "camera_calibration[0].extrinsics.a",
                   std::hypot(0.12, 1.25), 20, "head_camera"},
                  {kWarning, "pose-unit", kField, std::hypot(0.03, 0.35, 0.25), 20, kCamera}});
}

TEST(CalibrationReviewPoseTest, FindsCamerasWithoutAPose) {
  expectFindings(reviewPose([](auto* pose) {
                   for (const int i : {3, 7, 11}) pose->set_a(i, i == 3 ? -0.0 : 0);
                 }),
                 {{kInfo, "pose-identity", kField, 0, std::nullopt, kCamera}});
}

TEST(CalibrationReviewPoseTest, FindsPosesThatAreTheSame) {
  const CameraExtrinsics head = defaultRobot().camera_calibration(kHead).extrinsics();
  expectFindings(reviewPose([&](auto* pose) { *pose = head; }),
                 {{kWarning, "pose-same", kField, std::nullopt, std::nullopt, kCamera}});
  expectFindings(reviewPose([&](auto* pose) {
                   *pose = head;
                   pose->set_a(3, -0.0);  // where the other has 0
                 }),
                 {{kWarning, "pose-same", kField, std::nullopt, std::nullopt, kCamera}});
  expectFindings(reviewPose([&](auto* pose) {
                   *pose = head;
                   pose->set_a(3, 1e-9);
                 }),
                 {});
}

double roundedTo(int decimals, double value) {
  const double scale = std::pow(10, decimals);
  return std::round(value * scale) / scale;
}

/// Largest element of R R^T - 1, element by element.
double residualOf(const CameraExtrinsics& pose) {
  double largest = 0;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      double product = i == j ? -1 : 0;
      for (int k = 0; k < 3; ++k) product += pose.a(4 * i + k) * pose.a(4 * j + k);
      largest = std::max(largest, std::abs(product));
    }
  }
  return largest;
}

TEST(CalibrationReviewPoseTest, JudgesRoundedRotationsByTheirResidual) {
  std::mt19937 random(20);  // NOLINT(bugprone-random-generator-seed)
  std::normal_distribution<double> normal;
  int errors_at_2 = 0;
  int silent_at_4 = 0;
  for (int trial = 0; trial < 100; ++trial) {
    Eigen::Quaterniond turn;
    for (double& part : turn.coeffs()) part = normal(random);
    const Eigen::Matrix3d rotation = turn.normalized().toRotationMatrix();
    for (const int decimals : {2, 3, 4, 6}) {
      double residual = 0;
      const std::vector<Finding> found = reviewPose([&](auto* pose) {
        for (int i = 0; i < 9; ++i) {
          pose->set_a(4 * (i / 3) + i % 3, roundedTo(decimals, rotation(i / 3, i % 3)));
        }
        residual = residualOf(*pose);
      });
      if (residual <= 1e-4) {
        expectFindings(found, {});
        silent_at_4 += decimals == 4 ? 1 : 0;
        EXPECT_GE(decimals, 3);
      } else {
        const bool error = residual > 1e-2;
        expectFindings(found, {{error ? kError : kWarning, "pose-rotation", kField, residual,
                                error ? 1e-2 : 1e-4, kCamera}});
        errors_at_2 += error ? 1 : 0;
        EXPECT_LE(decimals, error ? 2 : 4);
      }
    }
  }
  // Both outcomes occur where both are possible.
  EXPECT_GT(errors_at_2, 0);
  EXPECT_LT(errors_at_2, 100);
  EXPECT_GT(silent_at_4, 0);
  EXPECT_LT(silent_at_4, 100);
}

}  // namespace
}  // namespace norv::calibration

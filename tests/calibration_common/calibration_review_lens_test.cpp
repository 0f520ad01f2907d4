// What a review finds in lens models, on fixed cameras. Expected numbers come from the lenses'
// algebra; two lenses were published as faulty.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "calibration_common/calibration_review.h"
#include "testing/review_findings.h"

namespace norv::calibration {
namespace {

using testing::defaultRobot;
using testing::expectFindings;
using testing::expectNothingOf;
using ::testing::HasSubstr;
using testing::kNavigation;
using testing::plainRobot;

constexpr auto kWarning = Severity::kWarning;
constexpr auto kError = Severity::kError;
constexpr double kPi = 3.14159265358979323846;

/// Radial coefficients k1 to k6.
using Radial = std::vector<double>;

const std::string kField = "camera_calibration[0].intrinsics.radial";

RobotCalibration robotWith(RobotCalibration robot, const Radial& radial) {
  CameraIntrinsics* in = robot.mutable_camera_calibration(0)->mutable_intrinsics();
  for (int i = 0; i < 6; ++i) {
    in->set_radial(
        i, static_cast<std::size_t>(i) < radial.size() ? radial[static_cast<std::size_t>(i)] : 0);
  }
  return robot;
}

/// What is found in a centred 1280 x 960 camera of 600 pixels focal length, whose corners are 4 / 3
/// focal lengths away from the axis.
std::vector<Finding> reviewRadial(const Radial& radial) {
  return reviewCalibration(robotWith(plainRobot(1280, 960, 600), radial));
}

TEST(CalibrationReviewLensTest, FindsAFold) {
  // r (1 + k1 r^2) stops rising at r = 1 / sqrt(-3 k1), where it is two thirds of that.
  const std::vector<Finding> found = reviewRadial({-0.5});
  const double imaged = 600 * std::sqrt(2.0 / 3) * 2 / 3;
  expectFindings(found, {{kError, "lens-fold", kField, imaged, 800, "plain", 1280, 960}});
  EXPECT_NEAR(imaged, 326.6, 0.01);
  EXPECT_THAT(found[0].text,
              HasSubstr("folds at r = 0.8165 (39.23 deg), which is imaged 326.599 px"));
  // Less than half the height, so that the circle of those that have a ray lies within the image.
  const double share = 1 - kPi * imaged * imaged / (1280 * 960);
  EXPECT_NEAR(share, 0.727, 0.001);
  EXPECT_THAT(found[0].text, HasSubstr("72.7 % of the pixels have no ray"));
}

TEST(CalibrationReviewLensTest, FindsAFoldJustBeforeTheCorner) {
  // Imaged at the corner for k1 = -1 / 12.
  const double k1 = -1.001 / 12;
  expectFindings(reviewRadial({k1}), {{kError, "lens-fold", kField, 400 / std::sqrt(-3 * k1), 800,
                                       "plain", 1280, 960}});
  expectNothingOf("lens-fold", reviewRadial({-0.999 / 12}));
}

TEST(CalibrationReviewLensTest, FindsAFoldByTangentialTermsAlone) {
  RobotCalibration robot = plainRobot(1280, 960, 600);
  robot.mutable_camera_calibration(0)->mutable_intrinsics()->set_tangential(0, -0.3);
  const std::vector<Finding> found = reviewCalibration(robot);
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].check, "lens-fold");
  EXPECT_EQ(found[0].severity, kError);
  EXPECT_THAT(found[0].text, HasSubstr("by its tangential terms"));
  EXPECT_EQ(found[1].check, "lens-tangential");
}

TEST(CalibrationReviewLensTest, FindsAPoleNearTheCorner) {
  // r / (1 - r^2 / p^2) is 4 / 3 at the corner; with p = 1.049 r and with p = 1.051 r.
  const auto pole = [](double margin) { return margin * (4.0 / 3) * (1 - 1 / (margin * margin)); };
  const auto with = [&](double margin) {
    return reviewRadial({0, 0, 0, -1 / (pole(margin) * pole(margin))});
  };
  const std::vector<Finding> found = with(1.049);
  expectFindings(found, {{kError, "lens-pole", kField, pole(1.049), 1.05 * pole(1.049) / 1.049,
                          "plain", 1280, 960}});
  expectNothingOf("lens-pole", with(1.051));
}

TEST(CalibrationReviewLensTest, FindsAPublishedLensThatEndsInAPole) {
  RobotCalibration robot = plainRobot(3840, 2160, 2421.791748);
  CameraIntrinsics* in = robot.mutable_camera_calibration(0)->mutable_intrinsics();
  in->set_cx(1920.113);
  in->set_cy(1090.846);
  in->set_tangential(0, 0.0005746248061768711);
  in->set_tangential(1, -4.857033854932524e-05);
  const std::vector<Finding> found = reviewCalibration(
      robotWith(robot, {2.9972164630889893, -6.0928826332092285, -1.2618762254714966,
                        3.5340938568115234, -4.270793914794922, -5.302351951599121}));
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].check, "lens-pole");
  EXPECT_NEAR(found[0].value.value(), 0.8088, 5e-5);
  EXPECT_THAT(found[0].text, HasSubstr("r = 0.8088 (38.97 deg)"));
}

TEST(CalibrationReviewLensTest, FindsAPublishedLensThatCancels) {
  RobotCalibration robot = plainRobot(1296, 972, 1874.63171);
  CameraIntrinsics* in = robot.mutable_camera_calibration(0)->mutable_intrinsics();
  in->set_fy(1879.55762);
  in->set_tangential(0, 0.001444);
  in->set_tangential(1, 0.002849);
  const std::vector<Finding> found = reviewCalibration(robotWith(
      robot, {-13.238113, -98.012135, 1357.782415, -13.050801, -102.363353, 1383.055291}));
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].check, "lens-cancel");
  EXPECT_NEAR(found[0].value.value(), 0.00025, 5e-6);
  EXPECT_THAT(found[0].text, HasSubstr("at r = 0.293"));
  EXPECT_EQ(found[1].check, "lens-float");
  EXPECT_NEAR(found[1].value.value(), 0.06, 0.005);
}

TEST(CalibrationReviewLensTest, FindsASlopeThatIsTooLow) {
  // The ray at the corner has r (1 + k1 r^2) = 4 / 3, and the slope is least there.
  const auto k1 = [](double r) { return (4 / (3 * r) - 1) / (r * r); };
  const auto slope = [&](double r) { return (1 + 3 * k1(r) * r * r) * (1 + r * r); };
  ASSERT_LT(slope(1.96), 0.2);
  ASSERT_GT(slope(1.959), 0.2);
  expectFindings(reviewRadial({k1(1.96)}),
                 {{kWarning, "lens-slope", kField, slope(1.96), 0.2, "plain", 1280, 960, 1e-4}});
  expectFindings(reviewRadial({k1(1.959)}), {});
}

TEST(CalibrationReviewLensTest, FindsASlopeThatIsTooHigh) {
  const auto with = [](double r) {
    const double k1 = (8 / (3 * r) - 1) / (r * r);
    return reviewCalibration(robotWith(plainRobot(1280, 960, 300), {k1}));
  };
  const auto slope = [](double r) { return (1 + 3 * (8 / (3 * r) - 1)) * (1 + r * r); };
  ASSERT_GT(slope(0.4), 20);
  ASSERT_LT(slope(0.43), 20);
  expectFindings(with(0.4), {{kWarning, "lens-slope", kField, slope(0.4), 20, "plain", 1280, 960}});
  expectFindings(with(0.43), {});
}

TEST(CalibrationReviewLensTest, FindsADenominatorThatNearlyCancels) {
  // Numerator and denominator are equal, so that the corner's ray is at 4 / 3, with a pole at 1.054
  // and 1.055 times that.
  const auto with = [](double margin) {
    const double k = -1 / (margin * margin * 16 / 9);
    return reviewRadial({k, 0, 0, k});
  };
  expectFindings(with(1.054), {{kWarning, "lens-cancel", kField, 1 - 1 / (1.054 * 1.054), 0.1,
                                "plain", 1280, 960}});
  expectFindings(with(1.055), {});
}

TEST(CalibrationReviewLensTest, FindsWhatSinglePrecisionMoves) {
  // Numerator and denominator differ by a rounding only, but are rounded to different sides. The
  // denominator is 1 - a s + b s^2, 0.105 at least, at s = 0.3.
  const auto a = static_cast<double>(static_cast<float>(2 * 0.895 / 0.3));
  const double ulp = std::ldexp(1.0, -21);  // of single precision from 4 to 8
  const double b = 0.895 / 0.09;
  const auto with = [&](int width, int height, double f) {
    return reviewCalibration(
        robotWith(plainRobot(width, height, f), {-a - 0.49 * ulp, b, 0, -a - 0.51 * ulp, b, 0}));
  };
  const std::vector<Finding> found = with(16384, 12288, 16384);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].check, "lens-float");
  EXPECT_EQ(found[0].field, kField);
  // One unit of a, times s, over the denominator, times the distance from the principal point.
  const double moved = ulp * 0.3 / 0.105 * std::sqrt(0.3) * 16384;
  EXPECT_NEAR(found[0].value.value(), moved, 0.05 * moved);
  EXPECT_EQ(found[0].threshold, 0.01);
  expectFindings(with(8192, 6144, 8192), {});
}

TEST(CalibrationReviewLensTest, FindsTangentialTermsThatNoLensHas) {
  const std::string field = "camera_calibration[1].intrinsics.tangential";
  const auto with = [](double p1, double p2) {
    RobotCalibration robot = defaultRobot();
    CameraIntrinsics* in = robot.mutable_camera_calibration(kNavigation)->mutable_intrinsics();
    in->set_tangential(0, p1);
    in->set_tangential(1, p2);
    return reviewCalibration(robot);
  };
  expectFindings(with(0.0061, 0.008),
                 {{kWarning, "lens-tangential", field, std::hypot(0.0061, 0.008), 0.01,
                   "navigation_camera", 1280, 960}});
  expectFindings(with(0.0059, 0.008), {});
  RobotCalibration narrow = plainRobot(1280, 960, 2000);
  narrow.mutable_camera_calibration(0)->mutable_intrinsics()->set_tangential(1, -0.1001);
  expectFindings(reviewCalibration(narrow),
                 {{kError, "lens-tangential", "camera_calibration[0].intrinsics.tangential", 0.1001,
                   0.1, "plain", 1280, 960}});
  narrow.mutable_camera_calibration(0)->mutable_intrinsics()->set_tangential(1, -0.0999);
  expectFindings(reviewCalibration(narrow),
                 {{kWarning, "lens-tangential", "camera_calibration[0].intrinsics.tangential",
                   0.0999, 0.01, "plain", 1280, 960}});
}

TEST(CalibrationReviewLensTest, MeasuresTheLensAtTheWidestImage) {
  // A frame that is smaller than the model's crops: the lens folds in the crop, not in the frame.
  RobotCalibration robot = plainRobot(640, 480, 600);
  robot.mutable_camera_calibration(0)->set_model("mk513n");
  const std::vector<Finding> found = reviewCalibration(robotWith(robot, {-0.5}));
  const auto fold = std::find_if(found.begin(), found.end(),
                                 [](const Finding& f) { return f.check == "lens-fold"; });
  ASSERT_NE(fold, found.end());
  // The crops of 640x480 and 1280x960 reach equally far; the first of them counts.
  EXPECT_EQ(fold->width, 640);
  EXPECT_EQ(fold->height, 480);
}

TEST(CalibrationReviewLensTest, SaysNothingOfALensThatCannotBeMeasured) {
  for (const double nothing : {0.0, -1.0, std::nan(""), 1e300}) {
    RobotCalibration robot = robotWith(plainRobot(1280, 960, 600), {-0.5});
    robot.mutable_camera_calibration(0)->mutable_intrinsics()->set_fx(nothing);
    for (const Finding& finding : reviewCalibration(robot)) {
      EXPECT_THAT(finding.check, ::testing::Not(HasSubstr("lens-"))) << finding.text;
    }
  }
}

}  // namespace
}  // namespace norv::calibration

// What a review finds in the entries of a robot calibration, their sizes and pinhole cameras: each
// check on one edit of a calibration in which nothing is found, and just inside its threshold.

#include <gmock/gmock.h>
#include <google/protobuf/unknown_field_set.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "calibration_common/calibration_review.h"
#include "testing/log_capture.h"
#include "testing/review_findings.h"

namespace norv::calibration {
namespace {

using testing::defaultRobot;
using testing::expectFinding;
using testing::expectFindings;
using testing::expectNothingOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::kHead;
using testing::kNavigation;
using testing::plainRobot;

constexpr auto kInfo = Severity::kInfo;
constexpr auto kWarning = Severity::kWarning;
constexpr auto kError = Severity::kError;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr auto kMaxFloat = static_cast<double>(std::numeric_limits<float>::max());

/// What is found after `edit` has changed the compiled-in navigation camera.
template <class Edit>
std::vector<Finding> reviewNavigation(const Edit& edit) {
  RobotCalibration robot = defaultRobot();
  edit(robot.mutable_camera_calibration(kNavigation));
  return reviewCalibration(robot);
}

template <class Edit>
std::vector<Finding> reviewNavigationLens(const Edit& edit) {
  return reviewNavigation([&](CameraCalibration* camera) { edit(camera->mutable_intrinsics()); });
}

/// What is found in the plain camera of that size and focal length after `edit`.
template <class Edit>
std::vector<Finding> reviewPlain(int width, int height, double focal_length, const Edit& edit) {
  RobotCalibration robot = plainRobot(width, height, focal_length);
  edit(robot.mutable_camera_calibration(0)->mutable_intrinsics());
  return reviewCalibration(robot);
}

void noEdit(CameraIntrinsics* /*in*/) {}

TEST(CalibrationReviewTest, FindsNothingInTheCompiledInCameras) {
  EXPECT_THAT(reviewCalibration(defaultRobot()), IsEmpty());
  EXPECT_THAT(reviewCalibration(plainRobot(1280, 960, 905)), IsEmpty());
}

TEST(CalibrationReviewTest, LogsNothing) {
  RobotCalibration robot = defaultRobot();
  robot.add_camera_calibration();
  testing::ScopedLogCapture log;
  EXPECT_FALSE(reviewCalibration(robot).empty());
  EXPECT_TRUE(log.take().empty());
}

TEST(CalibrationReviewTest, FindsAnEmptyMessage) {
  expectFindings(reviewCalibration(RobotCalibration()), {{kWarning, "empty", "", 0, 1}});
}

TEST(CalibrationReviewTest, FindsListsTooShort) {
  const std::string at = "camera_calibration[1].";
  expectFindings(reviewNavigationLens([](auto* in) { in->mutable_radial()->Truncate(5); }),
                 {{kError, "list-short", at + "intrinsics.radial", 5, 6, "navigation_camera"}});
  expectFindings(reviewNavigationLens([](auto* in) { in->clear_tangential(); }),
                 {{kError, "list-short", at + "intrinsics.tangential", 0, 2, "navigation_camera"}});
  expectFindings(reviewNavigation(
                     [](auto* camera) { camera->mutable_extrinsics()->mutable_a()->Truncate(11); }),
                 {{kError, "list-short", at + "extrinsics.a", 11, 12, "navigation_camera"}});
}

TEST(CalibrationReviewTest, FindsListsTooLong) {
  const std::string at = "camera_calibration[1].";
  expectFindings(reviewNavigationLens([](auto* in) { in->add_radial(0); }),
                 {{kWarning, "list-long", at + "intrinsics.radial[6]", 7, 6, "navigation_camera"}});
  expectFindings(
      reviewNavigationLens([](auto* in) { in->add_tangential(0); }),
      {{kWarning, "list-long", at + "intrinsics.tangential[2]", 3, 2, "navigation_camera"}});
  expectFindings(reviewNavigation([](auto* camera) { camera->mutable_extrinsics()->add_a(0); }),
                 {{kWarning, "list-long", at + "extrinsics.a[12]", 13, 12, "navigation_camera"}});
}

TEST(CalibrationReviewTest, FindsUnknownFields) {
  const auto add = [](google::protobuf::Message* message, int number) {
    message->GetReflection()->MutableUnknownFields(message)->AddVarint(number, 1);
  };
  RobotCalibration robot = defaultRobot();
  add(&robot, 7);
  add(robot.mutable_camera_calibration(1)->mutable_intrinsics(), 15);
  add(robot.mutable_camera_calibration(1)->mutable_intrinsics(), 15);
  add(robot.mutable_camera_calibration(0)->mutable_intrinsics()->mutable_samples(3), 9);
  const std::vector<Finding> found = reviewCalibration(robot);
  expectFindings(found,
                 {{kWarning, "unknown-field", "camera_calibration[0].intrinsics.samples[3].9",
                   std::nullopt, std::nullopt, "head_camera"},
                  {kWarning, "unknown-field", "camera_calibration[1].intrinsics.15", std::nullopt,
                   std::nullopt, "navigation_camera"},
                  {kWarning, "unknown-field", "7"}});
  EXPECT_EQ(found[0].text, "field 9 of SamplePoint is not known to this version and is ignored");
}

TEST(CalibrationReviewTest, FindsFieldsOfAnotherType) {
  RobotCalibration robot = defaultRobot();
  CameraIntrinsics* in = robot.mutable_camera_calibration(1)->mutable_intrinsics();
  const int cx = CameraIntrinsics::descriptor()->FindFieldByName("cx")->number();
  in->GetReflection()->MutableUnknownFields(in)->AddVarint(cx, 640);  // not a double
  const std::vector<Finding> found = reviewCalibration(robot);
  const std::string number = std::to_string(cx);
  expectFindings(found, {{kWarning, "unknown-field", "camera_calibration[1].intrinsics." + number,
                          std::nullopt, std::nullopt, "navigation_camera"}});
  EXPECT_EQ(found[0].text,
            "field " + number +
                " of CameraIntrinsics has a value of another type than this version knows and is "
                "ignored");
}

TEST(CalibrationReviewTest, FindsRepeatedAndMissingNames) {
  expectFindings(reviewNavigation([](auto* camera) { camera->set_name("head_camera"); }),
                 {{kError, "name-duplicate", "camera_calibration[1].name", std::nullopt,
                   std::nullopt, "head_camera"}});
  expectFindings(reviewNavigation([](auto* camera) { camera->set_name("Head_camera"); }), {});
  expectFindings(reviewNavigation([](auto* camera) { camera->clear_name(); }),
                 {{kWarning, "name-missing", "camera_calibration[1].name"}});
}

TEST(CalibrationReviewTest, NamesTheEntryThatARepeatedNameTakesTheCameraFrom) {
  RobotCalibration robot;
  for (int i = 0; i < 3; ++i) {
    *robot.add_camera_calibration() = plainRobot(640, 480, 500).camera_calibration(0);
    robot.mutable_camera_calibration(i)->mutable_extrinsics()->set_a(3, 100 * i);
  }
  const std::vector<Finding> found = reviewCalibration(robot);
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[1].field, "camera_calibration[2].name");
  EXPECT_EQ(found[1].text,
            "the name is that of camera_calibration[1], which is lost: the later entry wins");
}

TEST(CalibrationReviewTest, FindsModelsThatDifferByCaseAlone) {
  const testing::ExpectedFinding expected = {
      kWarning,     "model-case", "camera_calibration[1].model",
      std::nullopt, std::nullopt, "navigation_camera"};
  for (const char* model : {"MK513N", "mk-513n", "Mk 513_N", "mk513n "}) {
    expectFindings(reviewNavigation([&](auto* camera) { camera->set_model(model); }), {expected});
  }
  for (const char* model : {"mk513", "mk513nn", "", "mk.513n"}) {
    expectFindings(reviewNavigation([&](auto* camera) { camera->set_model(model); }), {});
  }
}

TEST(CalibrationReviewTest, FindsNumbersThatSinglePrecisionCannotHold) {
  const std::string field = "camera_calibration[1].intrinsics.cx";
  for (const double value : {kNaN, kInfinity, -kInfinity, 1e39, -1e300}) {
    expectFindings(reviewNavigationLens([&](auto* in) { in->set_cx(value); }),
                   {{kError, "not-finite", field, value, kMaxFloat, "navigation_camera"}});
  }
  const auto with = [](double value) {
    return reviewNavigationLens([&](auto* in) { in->set_skew(value); });
  };
  expectNothingOf("not-finite", with(kMaxFloat));
  EXPECT_EQ(with(std::nextafter(kMaxFloat, kInfinity)).front().check, "not-finite");
  EXPECT_EQ(with(kNaN).front().text,
            "skew is nan, where a finite number up to 3.40282e+38 is needed");
}

TEST(CalibrationReviewTest, FindsNumbersThatAreNotFiniteInLists) {
  expectFindings(
      reviewNavigation([](auto* camera) { camera->mutable_extrinsics()->set_a(5, kNaN); }),
      {{kError, "not-finite", "camera_calibration[1].extrinsics.a[5]", kNaN, kMaxFloat,
        "navigation_camera"}});
  expectFindings(reviewNavigationLens([](auto* in) { in->set_radial(2, -kInfinity); }),
                 {{kError, "not-finite", "camera_calibration[1].intrinsics.radial[2]", -kInfinity,
                   kMaxFloat, "navigation_camera"}});
}

TEST(CalibrationReviewTest, FindsSizesThatAreNone) {
  const std::string width = "camera_calibration[1].intrinsics.width";
  const std::string height = "camera_calibration[1].intrinsics.height";
  expectFindings(reviewNavigationLens([](auto* in) { in->clear_width(); }),
                 {{kError, "size", width, std::nullopt, 1, "navigation_camera"}});
  expectFindings(reviewNavigationLens([](auto* in) { in->set_width(0); }),
                 {{kError, "size", width, 0, 1, "navigation_camera"}});
  expectFindings(reviewNavigationLens([](auto* in) { in->set_height(-960); }),
                 {{kError, "size", height, -960, 1, "navigation_camera"}});
  expectFindings(reviewPlain(1, 1, 1, noEdit), {});
}

TEST(CalibrationReviewTest, FindsSizesThatNoSensorHas) {
  expectFindings(
      reviewPlain(16385, 12288, 12000, noEdit),
      {{kWarning, "size", "camera_calibration[0].intrinsics.width", 16385, 16384, "plain"}});
  expectFindings(reviewPlain(16384, 12288, 12000, noEdit), {});
}

TEST(CalibrationReviewTest, FindsFocalLengthsThatAreNone) {
  const std::string fx = "camera_calibration[1].intrinsics.fx";
  const std::string fy = "camera_calibration[1].intrinsics.fy";
  expectFindings(reviewNavigationLens([](auto* in) { in->clear_fx(); }),
                 {{kError, "focal", fx, std::nullopt, 0, "navigation_camera"}});
  expectFindings(reviewNavigationLens([](auto* in) { in->set_fx(0); }),
                 {{kError, "focal", fx, 0, 0, "navigation_camera"}});
  expectFindings(reviewNavigationLens([](auto* in) { in->set_fy(-452.5); }),
                 {{kError, "focal", fy, -452.5, 0, "navigation_camera"}});
  // Half of the smallest float is rounded to 0.
  const double smallest_float = static_cast<double>(std::numeric_limits<float>::denorm_min());
  const double vanishing = 0.5 * smallest_float;
  expectFindings(reviewNavigationLens([&](auto* in) { in->set_fx(vanishing); }),
                 {{kError, "focal", fx, vanishing, 0, "navigation_camera"}});
  const std::vector<Finding> smallest =
      reviewNavigationLens([&](auto* in) { in->set_fx(smallest_float); });
  expectNothingOf("focal", smallest);
}

TEST(CalibrationReviewTest, FindsFocalLengthsOutsideTheOrdinaryRange) {
  const std::string fx = "camera_calibration[0].intrinsics.fx";
  const std::string fy = "camera_calibration[0].intrinsics.fy";
  expectFindings(reviewPlain(1280, 960, 255, noEdit),
                 {{kWarning, "focal-range", fx, 255, 256, "plain"},
                  {kWarning, "focal-range", fy, 255, 256, "plain"}});
  expectFindings(reviewPlain(1280, 960, 256, noEdit), {});
  expectFindings(reviewPlain(1280, 960, 25601, noEdit),
                 {{kWarning, "focal-range", fx, 25601, 25600, "plain"},
                  {kWarning, "focal-range", fy, 25601, 25600, "plain"}});
  expectFindings(reviewPlain(1280, 960, 25600, noEdit), {});
  // The longer side counts.
  expectFindings(reviewPlain(960, 1280, 256, noEdit), {});
}

TEST(CalibrationReviewTest, FindsPixelsThatAreNotSquare) {
  const std::string fx = "camera_calibration[0].intrinsics.fx";
  const auto with = [](double focal_x) {
    return reviewPlain(1280, 960, 1000, [&](auto* in) { in->set_fx(focal_x); });
  };
  expectFindings(with(1051), {{kWarning, "aspect", fx, 1.051, 1.05, "plain"}});
  expectFindings(with(1049.9), {});
  expectFindings(with(949), {{kWarning, "aspect", fx, 0.949, 0.95, "plain"}});
  expectFindings(with(950.1), {});
}

TEST(CalibrationReviewTest, FindsSkewAndSaysWhatItCosts) {
  const std::vector<Finding> found = reviewNavigationLens([](auto* in) { in->set_skew(5); });
  expectFindings(found, {{kWarning, "skew", "camera_calibration[1].intrinsics.skew", 5, 0,
                          "navigation_camera"}});
  // 480 of 905 pixels from the middle to the border.
  EXPECT_EQ(found[0].text,
            "skew is 5 and not 0: rectifyPoint knows none and errs by up to 2.65193 px");
  expectFindings(reviewNavigationLens([](auto* in) { in->clear_skew(); }), {});
}

TEST(CalibrationReviewTest, FindsPrincipalPointsOffCentre) {
  const auto with = [](double cx) {
    return reviewPlain(1280, 960, 905, [&](auto* in) { in->set_cx(cx); });
  };
  const std::string cx = "camera_calibration[0].intrinsics.cx";
  expectFindings(with(833), {{kWarning, "principal-point", cx, 833, 832, "plain", 1280, 960}});
  expectFindings(with(831), {});
  expectFindings(with(447), {{kWarning, "principal-point", cx, 447, 448, "plain", 1280, 960}});
  expectFindings(with(449), {});
  expectFindings(with(1281), {{kError, "principal-point", cx, 1281, 1280, "plain", 1280, 960}});
  expectFindings(with(1279), {{kWarning, "principal-point", cx, 1279, 832, "plain", 1280, 960}});
  expectFindings(with(-1), {{kError, "principal-point", cx, -1, 0, "plain", 1280, 960}});
}

TEST(CalibrationReviewTest, FindsPrincipalPointsOffTheCentreOfACrop) {
  // 109 of 960 pixels in the full frame are 0.114 of its side, 109 of 720 in the central lines
  // 0.151.
  expectFindings(reviewNavigationLens([](auto* in) { in->set_cy(480 + 109); }),
                 {{kWarning, "principal-point", "camera_calibration[1].intrinsics.cy", 469, 468,
                   "navigation_camera", 1280, 720}});
  expectFindings(reviewNavigationLens([](auto* in) { in->set_cy(480 + 107); }), {});
}

TEST(CalibrationReviewTest, FindsTheOtherPixelConvention) {
  const auto with = [](double cx, double cy) {
    return reviewNavigationLens([&](auto* in) {
      in->set_cx(cx);
      in->set_cy(cy);
    });
  };
  expectFindings(with(639.5, 479.5), {{kInfo, "pixel-origin", "camera_calibration[1].intrinsics.cx",
                                       639.5, 640, "navigation_camera"}});
  expectFindings(with(639.5, 479.6), {});
  expectFindings(with(639.6, 479.5), {});
}

TEST(CalibrationReviewTest, FindsFramesThatTheModelCannotBeCutOutOf) {
  const std::string width = "camera_calibration[1].intrinsics.width";
  const std::string height = "camera_calibration[1].intrinsics.height";
  expectFindings(reviewNavigationLens([](auto* in) { in->set_width(1279); }),
                 {{kError, "crop", width, 1279, 1280, "navigation_camera"}});
  expectFindings(reviewNavigationLens([](auto* in) { in->set_height(961); }),
                 {{kWarning, "crop", height, 961, 960, "navigation_camera"}});
}

TEST(CalibrationReviewTest, FindsFramesThatTheB910CannotBeCutOutOf) {
  const auto with = [](int width, int height) {
    RobotCalibration robot = plainRobot(width, height, 2000);
    robot.mutable_camera_calibration(0)->set_model("b910");
    return reviewCalibration(robot);
  };
  expectFindings(with(2408, 1808), {});
  expectFindings(with(2592, 1944), {});
  expectFindings(with(2407, 1808),
                 {{kError, "crop", "camera_calibration[0].intrinsics.width", 2407, 2408, "plain"}});
  expectFindings(with(2408, 1807), {{kError, "crop", "camera_calibration[0].intrinsics.height",
                                     1807, 1808, "plain"}});
}

TEST(CalibrationReviewTest, ListsFindingsInTheOrderOfTheMessage) {
  RobotCalibration robot = defaultRobot();
  for (CameraCalibration& camera : *robot.mutable_camera_calibration()) {
    camera.clear_name();
    camera.mutable_extrinsics()->add_a(0);
    camera.mutable_intrinsics()->set_skew(1);
    camera.mutable_intrinsics()->add_radial(0);
    camera.mutable_intrinsics()->set_radial(6, kNaN);
    camera.mutable_intrinsics()->set_fx(kNaN);
  }
  std::vector<std::string> fields;
  for (const Finding& finding : reviewCalibration(robot)) fields.push_back(finding.field);
  std::vector<std::string> expected;
  for (const std::string camera : {"camera_calibration[0].", "camera_calibration[1]."}) {
    for (const char* field : {"intrinsics.fx", "intrinsics.radial[6]", "intrinsics.radial[6]",
                              "extrinsics.a[12]", "name"}) {
      expected.push_back(camera + field);
    }
  }
  expected.push_back("camera_calibration[1].name");  // repeated, besides missing
  EXPECT_EQ(fields, expected);
}

TEST(CalibrationReviewTest, ListsAThousandFindingsOfAKindAndCountsTheRest) {
  RobotCalibration robot;
  for (int i = 0; i < kMaxFindingsPerCheck + 50; ++i) robot.add_camera_calibration();
  int missing_names = 0;
  Finding last;
  for (const Finding& finding : reviewCalibration(robot)) {
    if (finding.check != "name-missing") continue;
    ++missing_names;
    last = finding;
  }
  EXPECT_EQ(missing_names, kMaxFindingsPerCheck);
  EXPECT_EQ(last.field, "camera_calibration[999].name");
  EXPECT_EQ(last.text, "the camera has no name to look it up by; 50 more are not listed");
}

}  // namespace
}  // namespace norv::calibration

// What a review finds in the sample points of the head camera, whose intrinsics are fitted to them.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "calibration_common/calibration_review.h"
#include "testing/calibration_edits.h"
#include "testing/review_findings.h"

namespace norv::calibration {
namespace {

using testing::defaultRobot;
using testing::expectFindings;
using testing::expectNothingOf;
using testing::kHead;

constexpr auto kWarning = Severity::kWarning;
constexpr auto kError = Severity::kError;
constexpr int kColumns = 13;
constexpr int kRows = 10;
const std::string kIntrinsics = "camera_calibration[0].intrinsics.";
const std::string kSamples = kIntrinsics + "samples";
const std::string kCamera = "head_camera";

/// What is found after `edit` has changed the head camera's intrinsics.
template <class Edit>
std::vector<Finding> reviewHead(const Edit& edit) {
  RobotCalibration robot = defaultRobot();
  edit(robot.mutable_camera_calibration(kHead)->mutable_intrinsics());
  return reviewCalibration(robot);
}

/// What is found where the samples of those grid points are kept for which `keep` holds.
template <class Keep>
std::vector<Finding> reviewSome(const Keep& keep) {
  return reviewHead([&](CameraIntrinsics* in) { testing::keepSamples(in, keep); });
}

/// Moves every observed point by up to `pixels` either way, within the frame.
std::vector<Finding> reviewNoise(double pixels) {
  std::mt19937 random(5);  // NOLINT(bugprone-random-generator-seed)
  std::uniform_real_distribution<double> noise(-pixels, pixels);
  return reviewHead([&](CameraIntrinsics* in) {
    for (SamplePoint& sample : *in->mutable_samples()) {
      const double x = static_cast<double>(sample.image_x()) + noise(random);
      const double y = static_cast<double>(sample.image_y()) + noise(random);
      sample.set_image_x(static_cast<float>(std::min(std::max(x, 0.0), 1280.0)));
      sample.set_image_y(static_cast<float>(std::min(std::max(y, 0.0), 960.0)));
    }
  });
}

TEST(CalibrationReviewSamplesTest, FindsThatThereAreNone) {
  expectFindings(reviewHead([](auto* in) { in->clear_samples(); }),
                 {{kError, "samples-missing", kSamples, 0, 4, kCamera}});
  // Other models need none.
  RobotCalibration robot = defaultRobot();
  robot.mutable_camera_calibration(kHead)->set_model("mk513n");
  robot.mutable_camera_calibration(kHead)->mutable_intrinsics()->clear_samples();
  expectFindings(reviewCalibration(robot), {});
}

TEST(CalibrationReviewSamplesTest, FindsSamplesOutsideTheFrame) {
  const auto shifted = [](float x, float y) {
    return reviewHead([=](CameraIntrinsics* in) {
      for (SamplePoint& sample : *in->mutable_samples()) {
        sample.set_image_x(sample.image_x() + x);
        sample.set_image_y(sample.image_y() + y);
      }
    });
  };
  // The last of the first row is seen at 1232.964, the eleventh at 14.402 pixels from the top.
  expectFindings(shifted(47.5F, 0),
                 {{kError, "samples-outside", kSamples + "[12].image_x", 1280.464, 1280, kCamera}});
  expectFindings(shifted(46.5F, 0), {});
  expectFindings(shifted(0, -15), {{kError, "samples-outside", kSamples + "[10].image_y", -0.598, 0,
                                    kCamera, 0, 0, 1e-4}});
  expectFindings(shifted(0, -14), {});
}

TEST(CalibrationReviewSamplesTest, FindsTwoSamplesOfOnePoint) {
  expectFindings(
      reviewHead([](auto* in) { *in->mutable_samples(5) = in->samples(4); }),
      {{kError, "samples-outside", kSamples + "[5]", std::nullopt, std::nullopt, kCamera}});
}

TEST(CalibrationReviewSamplesTest, FindsTooFewPoints) {
  const auto corners = [](int x, int y) { return x % 12 == 0 && y % 9 == 0; };
  const auto three = [&](int x, int y) { return corners(x, y) && x + y < 15; };
  expectFindings(reviewSome(three), {{kError, "samples-few", kSamples, 3, 4, kCamera}});
  const auto row = [](int /*x*/, int y) { return y == 5; };
  expectFindings(reviewSome(row), {{kError, "samples-few", kSamples, kColumns, 4, kCamera}});
  expectFindings(reviewSome(corners), {{kWarning, "samples-few", kSamples, 4, 12, kCamera}});
}

TEST(CalibrationReviewSamplesTest, FindsTooFewPointsForAllParameters) {
  const auto sparse = [](int x, int y) { return x % 4 == 0 && y % 4 == 0; };  // 4 x 3
  expectFindings(reviewSome(sparse), {});
  const auto eleven = [&](int x, int y) { return sparse(x, y) && !(x == 4 && y == 4); };
  expectFindings(reviewSome(eleven), {{kWarning, "samples-few", kSamples, 11, 12, kCamera}});
}

TEST(CalibrationReviewSamplesTest, FindsAnotherGridThanIsStated) {
  expectFindings(reviewHead([](auto* in) { in->set_sample_size_x(12); }),
                 {{kWarning, "samples-grid", kIntrinsics + "sample_size_x", kColumns * kRows,
                   12 * kRows, kCamera}});
  expectFindings(
      reviewHead([](auto* in) { in->clear_sample_size_y(); }),
      {{kWarning, "samples-grid", kIntrinsics + "sample_size_x", kColumns * kRows, 0, kCamera}});
  expectFindings(reviewHead([](auto* in) {
                   in->set_sample_size_x(kRows);
                   in->set_sample_size_y(kColumns);
                 }),
                 {});
}

TEST(CalibrationReviewSamplesTest, FindsSquaresOfAnotherUnit) {
  const auto with = [](float scale) {
    return reviewHead([=](auto* in) { in->set_sample_scale(scale); });
  };
  const std::string field = kIntrinsics + "sample_scale";
  expectFindings(with(50), {{kWarning, "samples-grid", field, 50, 1, kCamera}});
  expectFindings(with(1.0001F), {{kWarning, "samples-grid", field, 1.0001, 1, kCamera}});
  expectFindings(with(1), {});
  expectFindings(with(0.001F), {});
  expectFindings(with(0.00099F), {{kWarning, "samples-grid", field, 0.00099, 0.001, kCamera}});
  expectFindings(with(0), {{kWarning, "samples-grid", field, 0, 0.001, kCamera}});
}

TEST(CalibrationReviewSamplesTest, FindsSamplesThatCoverLessThanHalf) {
  // Seen from x = 220.647 (row 0) to 755.753 with nine columns, to 867.191 with ten.
  const auto columns = [](int count) {
    return reviewSome([=](int x, int /*y*/) { return x < count; });
  };
  expectFindings(columns(9),
                 {{kWarning, "samples-cover", kSamples, 755.753 - 220.647, 640, kCamera}});
  expectFindings(columns(10), {});
}

TEST(CalibrationReviewSamplesTest, FindsSamplesThatCoverLessThanHalfOfTheHeight) {
  const auto rows = [](int count) { return [=](int /*x*/, int y) { return y < count; }; };
  double top = 960;
  double bottom = 0;
  const RobotCalibration robot = defaultRobot();
  for (const SamplePoint& sample : robot.camera_calibration(kHead).intrinsics().samples()) {
    if (sample.model_y() > 3) continue;
    top = std::min(top, static_cast<double>(sample.image_y()));
    bottom = std::max(bottom, static_cast<double>(sample.image_y()));
  }
  ASSERT_LT(bottom - top, 480);
  expectFindings(reviewSome(rows(4)),
                 {{kWarning, "samples-cover", kSamples, bottom - top, 480, kCamera}});
  expectFindings(reviewSome(rows(5)), {});
}

TEST(CalibrationReviewSamplesTest, FindsSamplesThatNoCameraFits) {
  expectFindings(reviewHead([](CameraIntrinsics* in) {
                   for (SamplePoint& sample : *in->mutable_samples()) {
                     sample.set_image_x(600);
                     sample.set_image_y(400);
                   }
                 }),
                 {{kError, "refit", kSamples, INFINITY, 10, kCamera}});
}

TEST(CalibrationReviewSamplesTest, FindsOneMistakeInASampleThatIsNotFinite) {
  const std::string at = kSamples + "[58].";
  const auto largest = static_cast<double>(std::numeric_limits<float>::max());
  expectFindings(reviewHead([](auto* in) { in->mutable_samples(58)->set_image_x(NAN); }),
                 {{kError, "not-finite", at + "image_x", NAN, largest, kCamera}});
  expectFindings(reviewHead([](auto* in) { in->mutable_samples(58)->set_model_y(-INFINITY); }),
                 {{kError, "not-finite", at + "model_y", -INFINITY, largest, kCamera}});
}

TEST(CalibrationReviewSamplesTest, FindsFittedPrincipalPointsOffCentre) {
  RobotCalibration robot = defaultRobot();
  CameraCalibration* camera = robot.mutable_camera_calibration(kHead);
  for (SamplePoint& sample : *camera->mutable_intrinsics()->mutable_samples()) {
    sample.set_image_x(0.7F * (sample.image_x() - 640) + 740);
  }
  CameraParameters loaded;
  ASSERT_TRUE(loaded.readProto(*camera));
  const auto cx = static_cast<double>(loaded.getIntrinsics(640, 480)(0, 2));
  const auto cy = static_cast<double>(loaded.getIntrinsics(640, 480)(1, 2));
  ASSERT_GT(cx, 416);
  ASSERT_LT(cx, 640);
  ASSERT_LT(std::abs(cy - 240), 72);
  expectFindings(reviewCalibration(robot),
                 {{kWarning, "principal-point", kSamples, cx, 416, kCamera, 640, 480},
                  {kWarning, "refit", kSamples, loaded.getRefit()->error_per_point, 0.6, kCamera}});
}

TEST(CalibrationReviewSamplesTest, FindsAFitThatMissesItsSamples) {
  const std::vector<Finding> rough = reviewNoise(1.5);
  ASSERT_EQ(rough.size(), 1U);
  EXPECT_EQ(rough[0].check, "refit");
  EXPECT_EQ(rough[0].severity, kWarning);
  EXPECT_EQ(rough[0].field, kSamples);
  EXPECT_EQ(rough[0].threshold, 0.6);
  // Uniform noise of 1.5 px has 0.87 px in each coordinate, and the rectified picture is larger by
  // up to 1.7.
  EXPECT_GT(*rough[0].value, 0.87);
  EXPECT_LT(*rough[0].value, 2.1);
  expectFindings(reviewNoise(0.3), {});

  const std::vector<Finding> useless = reviewNoise(40);
  ASSERT_EQ(useless.size(), 1U);
  EXPECT_EQ(useless[0].check, "refit");
  EXPECT_EQ(useless[0].severity, kError);
  EXPECT_EQ(useless[0].threshold, 10);
  EXPECT_GT(*useless[0].value, 10);
}

TEST(CalibrationReviewSamplesTest, FindsASampleThatIsWrong) {
  const auto moved = [](float pixels) {
    return reviewHead([=](CameraIntrinsics* in) {
      in->mutable_samples(58)->set_image_x(in->samples(58).image_x() + pixels);
    });
  };
  const std::vector<Finding> found = moved(4);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].check, "refit-outlier");
  EXPECT_EQ(found[0].severity, kWarning);
  EXPECT_EQ(found[0].field, kSamples + "[58]");
  EXPECT_EQ(found[0].threshold, 1);
  // By 4 pixels times the warp's magnification there, 0.9 to 1.2, as the other 129 hold their own.
  EXPECT_NEAR(*found[0].value, 4, 0.8);
  expectFindings(moved(0.8F), {});
}

TEST(CalibrationReviewSamplesTest, FindsAPointThatWasTakenForItsNeighbour) {
  // Two samples with each other's coordinates of the target.
  const std::vector<Finding> found = reviewHead([](CameraIntrinsics* in) {
    in->mutable_samples(58)->set_model_x(in->samples(59).model_x());
    in->mutable_samples(59)->set_model_x(in->samples(58).model_x() - 1);
  });
  int outliers = 0;
  for (const Finding& finding : found) {
    if (finding.check != "refit-outlier") continue;
    ++outliers;
    EXPECT_TRUE(finding.field == kSamples + "[58]" || finding.field == kSamples + "[59]");
  }
  EXPECT_EQ(outliers, 2);
}

/// The finding of that check with the largest value, or one of no check.
Finding largestOf(const std::string& check, const std::vector<Finding>& found) {
  Finding largest = {Severity::kInfo, "", "", "", 0, 0, 0.0, std::nullopt, ""};
  for (const Finding& finding : found) {
    if (finding.check == check && *finding.value > *largest.value) largest = finding;
  }
  return largest;
}

bool hasFinding(const std::string& check, const std::string& field,
                const std::vector<Finding>& found) {
  return std::any_of(found.begin(), found.end(), [&](const Finding& finding) {
    return finding.check == check && finding.field == field;
  });
}

// The figures of docs/checks.md.
TEST(CalibrationReviewSamplesTest, NamesWhicheverPointIsTakenForItsNeighbour) {
  int loadable = 0;
  int missed_most = 0;
  double least = 1000;
  double largest = 0;
  for (int i = 0; i < kColumns * kRows; ++i) {
    const std::vector<Finding> found = reviewHead([=](CameraIntrinsics* in) {
      in->mutable_samples(i)->set_model_x(in->samples(i).model_x() + 1);
    });
    const std::string field = kSamples + "[" + std::to_string(i) + "]";
    EXPECT_TRUE(hasFinding("refit-outlier", field, found)) << i;
    missed_most += largestOf("refit-outlier", found).field == field ? 1 : 0;
    const Finding refit = largestOf("refit", found);
    loadable += refit.severity == kWarning ? 1 : 0;
    least = std::min(least, *refit.value);
    largest = std::max(largest, *refit.value);
  }
  EXPECT_NEAR(loadable, 110, 3);
  EXPECT_NEAR(missed_most, 128, 3);
  EXPECT_NEAR(least, 2.9, 0.1);
  EXPECT_NEAR(largest, 13.5, 0.5);
}

// The same.
TEST(CalibrationReviewSamplesTest, FindsTheImageOfHalfTheSize) {
  const std::vector<Finding> found = reviewHead([](CameraIntrinsics* in) {
    for (SamplePoint& sample : *in->mutable_samples()) {
      sample.set_image_x(0.5F * sample.image_x());
      sample.set_image_y(0.5F * sample.image_y());
    }
  });
  EXPECT_NEAR(*largestOf("refit", found).value, 1.6, 0.1);
  EXPECT_TRUE(hasFinding("samples-cover", kSamples, found));
}

TEST(CalibrationReviewSamplesTest, CannotSeeAnotherPixelOrigin) {
  expectFindings(reviewHead([](CameraIntrinsics* in) {
                   for (SamplePoint& sample : *in->mutable_samples()) {
                     sample.set_image_x(sample.image_x() - 0.5F);
                     sample.set_image_y(sample.image_y() - 0.5F);
                   }
                 }),
                 {});
}

TEST(CalibrationReviewSamplesTest, TakesNoSamplesOfOtherModelsIntoAccount) {
  RobotCalibration robot = defaultRobot();
  CameraCalibration* camera = robot.mutable_camera_calibration(kHead);
  camera->set_model("another");
  CameraIntrinsics* in = camera->mutable_intrinsics();
  *in->mutable_samples(5) = in->samples(4);
  in->mutable_samples(6)->set_image_x(5000);
  in->clear_sample_scale();
  expectFindings(reviewCalibration(robot), {});
}

}  // namespace
}  // namespace norv::calibration

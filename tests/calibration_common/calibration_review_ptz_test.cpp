// What a review finds in the calibration of a pan-tilt-zoom camera: each check on one edit of the
// example, and just inside its threshold.

#include <gmock/gmock.h>
#include <google/protobuf/unknown_field_set.h>
#include <gtest/gtest.h>

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "calibration_common/calibration_review.h"
#include "testing/review_findings.h"
#include "testing/tree_calibrations.h"

namespace norv::calibration {
namespace {

using testing::ExpectedFinding;
using testing::expectFindings;
using testing::expectNothingOf;
using ::testing::HasSubstr;

constexpr auto kInfo = Severity::kInfo;
constexpr auto kWarning = Severity::kWarning;
constexpr auto kError = Severity::kError;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kDegree = 3.14159265358979323846 / 180;
const std::string kSample = "intrinsics.samples";

PTZCameraParameters exampleCalibration() {
  return testing::treeCalibration<PTZCameraParameters>("example_ptz_cal.txt");
}

/// What is found, without the note on where the lens ends, which every calibration has.
std::vector<Finding> reviewWithoutEnd(const PTZCameraParameters& ptz) {
  std::vector<Finding> found = reviewCalibration(ptz);
  found.erase(std::remove_if(found.begin(), found.end(),
                             [](const Finding& finding) { return finding.check == "zoom-end"; }),
              found.end());
  return found;
}

/// What is found after `edit` has changed the example's lens table.
template <class Edit>
std::vector<Finding> reviewTable(const Edit& edit) {
  PTZCameraParameters ptz = exampleCalibration();
  edit(ptz.mutable_intrinsics());
  return reviewWithoutEnd(ptz);
}

/// What is found after `edit` has changed the example's head.
template <class Edit>
std::vector<Finding> reviewHead(const Edit& edit) {
  PTZCameraParameters ptz = exampleCalibration();
  edit(ptz.mutable_pan_tilt());
  return reviewWithoutEnd(ptz);
}

/// Two samples of a lens without distortion, on the example's head.
PTZCameraParameters twoSamples(double wide, double narrow) {
  PTZCameraParameters ptz = exampleCalibration();
  PTZIntrinsicsTable* table = ptz.mutable_intrinsics();
  table->clear_samples();
  table->clear_max_zoom();
  for (const double focal_length : {wide, narrow}) {
    PTZIntrinsicsItem* sample = table->add_samples();
    sample->set_zoom(1000 * (table->samples_size() - 1));
    sample->set_focal_length(focal_length);
    sample->set_cx(960);
    sample->set_cy(540);
  }
  return ptz;
}

TEST(CalibrationReviewPtzTest, FindsInTheExampleWhereItsLensEndsAndNoMore) {
  const std::vector<Finding> found = reviewCalibration(exampleCalibration());
  expectFindings(found, {{kInfo, "zoom-end", kSample + "[11].zoom", 11000}});
  EXPECT_EQ(
      found[0].text,
      "there is no lens at and beyond zoom position 11000: the last sample belongs beyond the "
      "motor's end");
}

TEST(CalibrationReviewPtzTest, FindsEverythingMissingInAnEmptyMessage) {
  std::vector<std::string> checks;
  for (const Finding& finding : reviewCalibration(PTZCameraParameters())) {
    checks.push_back(finding.field + " " + finding.check);
  }
  EXPECT_THAT(
      checks,
      ::testing::ElementsAre(
          "intrinsics.image_width size", "intrinsics.image_height size",
          "intrinsics.samples ptz-samples", "pan_tilt.base_to_pan.a list-short",
          "pan_tilt.pan_to_tilt.a list-short", "pan_tilt.tilt_to_camera.a list-short",
          "pan_tilt.pan_scale scale", "pan_tilt.tilt_scale scale", "pan_tilt.min_pan limits",
          "pan_tilt.max_pan limits", "pan_tilt.min_tilt limits", "pan_tilt.max_tilt limits"));
}

TEST(CalibrationReviewPtzTest, FindsTooFewSamples) {
  expectFindings(reviewTable([](auto* table) { table->clear_samples(); }),
                 {{kError, "ptz-samples", kSample, 0, 1}});
  expectFindings(reviewTable([](auto* table) {
                   table->mutable_samples()->DeleteSubrange(1, table->samples_size() - 1);
                 }),
                 {{kWarning, "ptz-samples", kSample, 1, 2}});
  expectFindings(reviewWithoutEnd(twoSamples(1500, 1800)), {});
}

TEST(CalibrationReviewPtzTest, FindsZoomPositionsThatDoNotRise) {
  expectFindings(reviewTable([](auto* table) { table->mutable_samples(3)->set_zoom(2000); }),
                 {{kError, "zoom-order", kSample + "[3].zoom", 2000, 2000}});
  // As near as the interval allows.
  expectFindings(reviewTable([](auto* table) { table->mutable_samples(3)->set_zoom(3000.5); }), {});
}

TEST(CalibrationReviewPtzTest, FindsFocalLengthsThatDoNotRise) {
  const auto with = [](double focal_length) {
    return reviewTable(
        [=](auto* table) { table->mutable_samples(3)->set_focal_length(focal_length); });
  };
  expectFindings(with(2354.9),
                 {{kError, "focal-order", kSample + "[3].focal_length", 2354.9, 2354.9}});
  expectFindings(with(2355), {});
}

TEST(CalibrationReviewPtzTest, FindsSamplesThatAreNotSpacedAsTheTableSays) {
  const auto with = [](double zoom) {
    return reviewTable([=](auto* table) { table->mutable_samples(3)->set_zoom(zoom); });
  };
  expectFindings(with(3001), {{kError, "zoom-spacing", kSample + "[3].zoom", 3001, 3000}});
  expectFindings(with(2999.49), {{kError, "zoom-spacing", kSample + "[3].zoom", 2999.49, 3000}});
  expectFindings(with(2999.5), {});
  expectFindings(reviewTable([](auto* table) { table->set_zoom_interval(-1000); }),
                 {{kError, "zoom-spacing", "intrinsics.zoom_interval", -1000, 0}});
  expectFindings(reviewTable([](auto* table) { table->clear_zoom_interval(); }),
                 {{kWarning, "zoom-spacing", "intrinsics.zoom_interval", 0, 0}});
}

TEST(CalibrationReviewPtzTest, FindsStepsThatAreTooLong) {
  const auto with = [](double factor) {
    return reviewTable([=](auto* table) {
      table->mutable_samples(11)->set_focal_length(factor * table->samples(10).focal_length());
    });
  };
  expectFindings(with(2.01), {{kWarning, "zoom-step", kSample + "[11].focal_length", 2.01, 2}});
  expectFindings(with(1.99), {});
}

TEST(CalibrationReviewPtzTest, FindsZoomRangesThatLeaveTheSamples) {
  const auto with = [](int low, int high) {
    return reviewTable([=](auto* table) {
      table->set_min_zoom(low);
      table->set_max_zoom(high);
    });
  };
  expectFindings(with(0, 10999), {});
  expectFindings(with(0, 11000), {{kWarning, "zoom-range", "intrinsics.max_zoom", 11000, 11000}});
  expectFindings(with(-1, 10000), {{kWarning, "zoom-range", "intrinsics.min_zoom", -1, 0}});
  EXPECT_EQ(with(-999, 10000)[0].text,
            "min_zoom is -999, below the first sample, 0: the lens there is extrapolated");
  EXPECT_EQ(with(-1000, 10000)[0].text,
            "min_zoom is -1000, below the first sample, 0: there is no lens there");
  EXPECT_EQ(with(0, 12000)[0].text,
            "max_zoom is 12000, not below the last sample, 11000: there is no lens there");
}

TEST(CalibrationReviewPtzTest, FindsZoomLimitsThatContradict) {
  const std::vector<Finding> found = reviewTable([](auto* table) {
    table->set_min_zoom(6000);
    table->set_max_zoom(5999);
  });
  expectFindings(found, {{kError, "limits", "intrinsics.min_zoom", 6000, 5999}});
  EXPECT_EQ(found[0].text, "min_zoom is 6000, above max_zoom, 5999");
  expectFindings(reviewTable([](auto* table) {
                   table->set_min_zoom(6000);
                   table->set_max_zoom(6000);
                 }),
                 {});
}

TEST(CalibrationReviewPtzTest, FindsImagesWithoutASize) {
  expectFindings(reviewTable([](auto* table) { table->clear_image_width(); }),
                 {{kError, "size", "intrinsics.image_width", std::nullopt, 1}});
  expectFindings(reviewTable([](auto* table) { table->set_image_height(0); }),
                 {{kError, "size", "intrinsics.image_height", 0, 1}});
}

TEST(CalibrationReviewPtzTest, FindsFocalLengthsThatAreNone) {
  const std::string field = kSample + "[0].focal_length";
  const auto with = [](double focal_length) {
    return reviewTable(
        [=](auto* table) { table->mutable_samples(0)->set_focal_length(focal_length); });
  };
  expectFindings(with(0), {{kError, "focal", field, 0, 0}});
  expectFindings(with(-1480), {{kError, "focal", field, -1480, 0}});
  expectFindings(reviewTable([](auto* table) { table->mutable_samples(0)->clear_focal_length(); }),
                 {{kError, "focal", field, std::nullopt, 0}});
}

TEST(CalibrationReviewPtzTest, FindsFocalLengthsBelowTheOrdinaryRangeOnly) {
  expectFindings(reviewWithoutEnd(twoSamples(383, 500)),
                 {{kWarning, "focal-range", kSample + "[0].focal_length", 383, 384}});
  expectFindings(reviewWithoutEnd(twoSamples(384, 500)), {});
  expectFindings(reviewWithoutEnd(twoSamples(60000, 100000)), {});
}

TEST(CalibrationReviewPtzTest, FindsPrincipalPointsOffCentre) {
  const auto with = [](double cx) {
    return reviewTable([=](auto* table) { table->mutable_samples(3)->set_cx(cx); });
  };
  const std::string field = kSample + "[3].cx";
  expectFindings(with(1249), {{kWarning, "principal-point", field, 1249, 1248, "", 1920, 1080}});
  expectFindings(with(1247), {});
  expectFindings(with(-1), {{kError, "principal-point", field, -1, 0, "", 1920, 1080}});
}

TEST(CalibrationReviewPtzTest, FindsNumbersThatAreNotFinite) {
  const auto largest = static_cast<double>(std::numeric_limits<float>::max());
  expectFindings(reviewTable([](auto* table) { table->mutable_samples(3)->set_cx(kNaN); }),
                 {{kError, "not-finite", kSample + "[3].cx", kNaN, largest}});
  expectFindings(reviewHead([](auto* head) { head->set_tilt_offset(INFINITY); }),
                 {{kError, "not-finite", "pan_tilt.tilt_offset", INFINITY, largest}});
}

TEST(CalibrationReviewPtzTest, FindsLensesThatFold) {
  // (1 + k1 s) / (1 + k4 s) with k4 = 0 stops rising at r = 1 / sqrt(-3 k1).
  const std::vector<Finding> found = reviewTable([](auto* table) {
    table->mutable_samples(0)->set_k1(-0.9);
    table->mutable_samples(0)->set_k4(0);
  });
  const double corner = std::hypot(963.42, 1080 - 537.86);
  const double imaged = 1480.0 * 2 / 3 / std::sqrt(2.7);
  expectFindings(found, {{kError, "lens-fold", kSample + "[0]", imaged, corner, "", 1920, 1080}});
}

TEST(CalibrationReviewPtzTest, FindsLensesBetweenSamplesThatNoSampleHas) {
  // The longer lens, r / (1 - r^2 / p^2), has its pole at 1.2 times its own corner's ray, where its
  // slope is (1 + 1 / 1.44) / (1 - 1 / 1.44)^2 (1 + r^2) = 18.7. The corner of the blend is nearer
  // to the pole.
  PTZCameraParameters ptz = twoSamples(1000, 1900);
  const double pole = 1.2 * std::hypot(960, 540) / 1900 * (1 - 1 / 1.44);
  ptz.mutable_intrinsics()->mutable_samples(1)->set_k4(-1 / (pole * pole));
  const std::vector<Finding> found = reviewWithoutEnd(ptz);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].check, "lens-slope");
  EXPECT_EQ(found[0].field, kSample + "[0]");
  EXPECT_GT(*found[0].value, 20);
  EXPECT_EQ(found[0].threshold, 20);
  EXPECT_THAT(found[0].text, HasSubstr("the lens between this sample and the next"));
}

TEST(CalibrationReviewPtzTest, FindsTangentialTermsThatNoLensHas) {
  const auto with = [](double p1) {
    return reviewTable([=](auto* table) {
      table->mutable_samples(3)->set_p1(p1);
      table->mutable_samples(3)->set_p2(0);
    });
  };
  expectFindings(with(0.0101),
                 {{kWarning, "lens-tangential", kSample + "[3].p1", 0.0101, 0.01, "", 1920, 1080}});
  expectFindings(with(0.0099), {});
}

TEST(CalibrationReviewPtzTest, FindsLimitsThatContradictOrAreMissing) {
  expectFindings(reviewHead([](auto* head) { head->set_min_pan(5935); }),
                 {{kError, "limits", "pan_tilt.min_pan", 5935, 5934}});
  expectFindings(reviewHead([](auto* head) { head->set_min_pan(5934); }), {});
  expectFindings(reviewHead([](auto* head) { head->clear_max_tilt(); }),
                 {{kInfo, "limits", "pan_tilt.max_tilt"}});
}

TEST(CalibrationReviewPtzTest, FindsHomesOutOfReach) {
  expectFindings(reviewHead([](auto* head) { head->set_home_pan(5935); }),
                 {{kWarning, "home", "pan_tilt.home_pan", 5935, 5934}});
  expectFindings(reviewHead([](auto* head) { head->set_home_pan(5934); }), {});
  expectFindings(reviewHead([](auto* head) { head->set_home_tilt(-1048); }),
                 {{kWarning, "home", "pan_tilt.home_tilt", -1048, -1047}});
}

TEST(CalibrationReviewPtzTest, FindsScalesThatAreNone) {
  expectFindings(reviewHead([](auto* head) { head->set_pan_scale(0); }),
                 {{kError, "scale", "pan_tilt.pan_scale", 0}});
  expectFindings(
      reviewHead([](auto* head) { head->set_tilt_scale(std::numeric_limits<float>::quiet_NaN()); }),
      {{kError, "scale", "pan_tilt.tilt_scale", kNaN}});
  expectFindings(reviewHead([](auto* head) { head->clear_tilt_scale(); }),
                 {{kWarning, "scale", "pan_tilt.tilt_scale"}});
  expectFindings(reviewHead([](auto* head) { head->set_tilt_scale(-0.0005F); }), {});
}

TEST(CalibrationReviewPtzTest, FindsRangesBeyondATurn) {
  // At 0.0005 radians a step a turn is 12566.4 steps.
  expectFindings(reviewHead([](auto* head) { head->set_max_pan(12567 - 5934); }),
                 {{kWarning, "pan-turns", "pan_tilt.max_pan", 12567 * 0.0005 / kDegree, 360}});
  expectFindings(reviewHead([](auto* head) { head->set_max_pan(12566 - 5934); }), {});
  const std::vector<Finding> widest = reviewHead([](auto* head) {
    head->set_min_pan(std::numeric_limits<int>::min());
    head->set_max_pan(std::numeric_limits<int>::max());
  });
  ASSERT_EQ(widest.size(), 1U);
  EXPECT_NEAR(*widest[0].value, 4294967295.0 * 0.0005 / kDegree, 100);
}

/// A stored pose turned: by `left` after it and by `right` before it.
void turnPose(const Eigen::Matrix3d& left, const Eigen::Matrix3d& right, CameraExtrinsics* pose) {
  Eigen::Matrix<double, 3, 4> m;
  for (int i = 0; i < 12; ++i) m(i / 4, i % 4) = pose->a(i);
  m.leftCols<3>() = left * m.leftCols<3>() * right;
  m.col(3) = left * m.col(3);
  for (int i = 0; i < 12; ++i) pose->set_a(i, m(i / 4, i % 4));
}

Eigen::Matrix3d turn(double degrees, const Eigen::Vector3d& axis) {
  return Eigen::AngleAxisd(degrees * kDegree, axis).matrix();
}

const Eigen::Matrix3d kUnturned = Eigen::Matrix3d::Identity();

TEST(CalibrationReviewPtzTest, FindsAxesThatPointingDoesNotServe) {
  const auto azimuth = [](double degrees) {
    return reviewHead([=](auto* head) {
      turnPose(kUnturned, turn(degrees, Eigen::Vector3d::UnitZ()), head->mutable_pan_to_tilt());
    });
  };
  expectFindings(azimuth(0.06), {{kWarning, "head-azimuth", "pan_tilt", 0.06, 0.05}});
  expectFindings(azimuth(0.04), {});
  expectFindings(azimuth(179.96), {});
  expectFindings(azimuth(-90), {{kWarning, "head-azimuth", "pan_tilt", 90, 0.05}});

  const auto elevation = [](double degrees) {
    return reviewHead([=](auto* head) {
      turnPose(kUnturned, turn(degrees, Eigen::Vector3d::UnitZ()), head->mutable_tilt_to_camera());
    });
  };
  // The tilt axis points right, so that a turn of its frame lowers or raises the optical axis.
  const std::vector<Finding> one = elevation(31);
  const std::vector<Finding> other = elevation(-31);
  ASSERT_EQ(one.size(), 1U);
  ASSERT_EQ(other.size(), 1U);
  for (const Finding& finding : {one[0], other[0]}) {
    EXPECT_EQ(finding.check, "head-elevation");
    EXPECT_NEAR(std::abs(*finding.value), 31, 1e-9);
    EXPECT_EQ(*finding.threshold, *finding.value > 0 ? 30 : 0);
  }
  EXPECT_NEAR(*one[0].value, -*other[0].value, 1e-9);
  expectFindings(elevation(*one[0].value > 0 ? 29 : -29), {});
  expectFindings(elevation(*one[0].value > 0 ? -0.04 : 0.04), {});
}

TEST(CalibrationReviewPtzTest, FindsTiltAxesThatAreNotSquare) {
  // The tilt frame turned about the optical axis, which is its x axis: row 3 of tilt_to_camera.
  const auto with = [](double degrees) {
    return reviewHead([=](auto* head) {
      const CameraExtrinsics& camera = head->tilt_to_camera();
      const Eigen::Vector3d axis(camera.a(8), camera.a(9), camera.a(10));
      turnPose(turn(degrees, axis), kUnturned, head->mutable_pan_to_tilt());
      turnPose(kUnturned, turn(-degrees, axis), head->mutable_tilt_to_camera());
    });
  };
  expectFindings(with(1.01), {{kWarning, "head-tilt-axis", "pan_tilt", 1.01, 1}});
  expectFindings(with(0.99), {});
}

TEST(CalibrationReviewPtzTest, FindsAxesThatDoNotMeet) {
  // The example's optical axis passes the pan axis at 2 mm.
  const auto with = [](double gap) {
    return reviewHead([=](auto* head) {
      CameraExtrinsics* pose = head->mutable_tilt_to_camera();
      pose->set_a(7, pose->a(7));
      pose->set_a(3, gap);
    });
  };
  expectFindings(with(3.17), {{kWarning, "head-axis-gap", "pan_tilt", 3.17, std::sqrt(10)}});
  expectFindings(with(3.16), {});
}

TEST(CalibrationReviewPtzTest, FindsFaultyPoses) {
  const std::string field = "pan_tilt.pan_to_tilt.a";
  const auto with = [](int index, double value) {
    return reviewHead([=](auto* head) { head->mutable_pan_to_tilt()->set_a(index, value); });
  };
  expectFindings(with(0, 1.00006),
                 {{kWarning, "pose-rotation", field, 1.00006 * 1.00006 - 1, 1e-4}});
  expectFindings(with(0, 1.006), {{kError, "pose-rotation", field, 1.006 * 1.006 - 1, 1e-2}});
  expectFindings(
      reviewHead([](auto* head) { head->mutable_pan_to_tilt()->mutable_a()->Truncate(11); }),
      {{kError, "list-short", field, 11, 12}});
  expectFindings(reviewHead([](auto* head) { head->mutable_pan_to_tilt()->add_a(0); }),
                 {{kWarning, "list-long", field + "[12]", 13, 12}});
  // Mirrored left and right in the camera: the optical axis stays.
  expectFindings(reviewHead([](auto* head) { head->mutable_tilt_to_camera()->set_a(2, 1); }),
                 {{kError, "pose-mirror", "pan_tilt.tilt_to_camera.a", -1, 0}});
}

TEST(CalibrationReviewPtzTest, SaysNothingOfTheAxesOfAMirroredHead) {
  // The optical axis 60 degrees out of the plane of pan either way, in a picture that is mirrored
  // left and right.
  for (const double degrees : {60, -60}) {
    const std::vector<Finding> found = reviewHead([=](auto* head) {
      CameraExtrinsics* pose = head->mutable_tilt_to_camera();
      turnPose(kUnturned, turn(degrees, Eigen::Vector3d::UnitZ()), pose);
      for (const int i : {0, 1, 2}) pose->set_a(i, -pose->a(i));
    });
    expectFindings(found, {{kError, "pose-mirror", "pan_tilt.tilt_to_camera.a", -1, 0}});
  }
}

TEST(CalibrationReviewPtzTest, FindsTranslationsInAnotherUnit) {
  // Scales all translations so that they are together this long, millimetres.
  const auto with = [](double length) {
    return reviewHead([=](PanTiltSystemParameters* head) {
      const std::vector<CameraExtrinsics*> poses = {
          head->mutable_base_to_pan(), head->mutable_pan_to_tilt(), head->mutable_tilt_to_camera()};
      double sum = 0;
      for (const CameraExtrinsics* pose : poses) {
        sum += std::hypot(pose->a(3), pose->a(7), pose->a(11));
      }
      for (CameraExtrinsics* pose : poses) {
        for (const int i : {3, 7, 11}) pose->set_a(i, pose->a(i) * length / sum);
      }
    });
  };
  expectFindings(with(19.9), {{kWarning, "pose-unit", "pan_tilt", 19.9, 20}});
  expectFindings(with(20.1), {});
  expectFindings(with(0), {});
}

TEST(CalibrationReviewPtzTest, FindsUnknownFields) {
  PTZCameraParameters ptz = exampleCalibration();
  PTZIntrinsicsItem* sample = ptz.mutable_intrinsics()->mutable_samples(2);
  sample->GetReflection()->MutableUnknownFields(sample)->AddFixed32(100, 1);
  expectFindings(reviewWithoutEnd(ptz), {{kWarning, "unknown-field", kSample + "[2].100"}});
}

}  // namespace
}  // namespace norv::calibration

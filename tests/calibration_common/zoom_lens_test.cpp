// The lens of a pan-tilt-zoom camera at one zoom, blended from the samples around it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <vector>

#include "calibration_common/ptz_camera_model.h"
#include "support/lens_distortion.h"
#include "testing/calibration_messages.h"
#include "testing/example_ptz.h"
#include "testing/ptz_pointing.h"
#include "testing/random_head.h"
#include "tests/calibration_common/configured_ptz.h"

namespace norv::calibration {
namespace {

using testing::cameraMatrix;
using testing::configured;
using ::testing::ElementsAre;
using testing::examplePtz;
using testing::narrow;
using testing::ptzModel;
using testing::uniform;

constexpr int kMinInt = std::numeric_limits<int>::min();
constexpr int kMaxInt = std::numeric_limits<int>::max();

/// The example with its samples moved to begin at `start`.
PTZCameraParameters startingAt(int start) {
  PTZCameraParameters params = examplePtz();
  params.mutable_intrinsics()->set_zoom_start(start);
  for (PTZIntrinsicsItem& sample : *params.mutable_intrinsics()->mutable_samples()) {
    sample.set_zoom(sample.zoom() + start);
  }
  return params;
}

/// Radial factor of a single sample's lens at the squared radius `s`.
double factor(const PTZIntrinsicsItem& sample, double s) {
  return (1 + sample.k1() * s) / (1 + sample.k4() * s);
}

/// Radial factor of a blended lens.
double factor(const PTZCameraModelConfiguration& configuration, double s) {
  const auto lens = lensFromCoefficients<double>(configuration.getDistortion().data(),
                                                 configuration.getDistortion().size());
  return lens.numerator(s) / lens.denominator(s);
}

/// Squared radius of the image's corners at a focal length.
double cornerSquared(double focal_length) {
  return (960.0 * 960 + 540.0 * 540) / (focal_length * focal_length);
}

TEST(BlendedLens, AtASampleItsCoefficients) {
  const PTZCameraParameters params = examplePtz();
  for (int i = 0; i < 11; ++i) {
    const PTZIntrinsicsItem& a = params.intrinsics().samples(i);
    const PTZIntrinsicsItem& b = params.intrinsics().samples(i + 1);
    const auto configuration = configured(params, 1000 * i);
    EXPECT_EQ(configuration.getIntrinsics(),
              cameraMatrix(narrow(a.focal_length()), narrow(a.focal_length()), 0, narrow(a.cx()),
                           narrow(a.cy())));
    const std::vector<float>& d = configuration.getDistortion();
    ASSERT_EQ(d.size(), 8U);
    EXPECT_FLOAT_EQ(d[0], narrow(a.k1() + b.k4()));
    EXPECT_FLOAT_EQ(d[1], narrow(a.k1() * b.k4()));
    EXPECT_EQ(d[2], narrow(a.p1()));
    EXPECT_EQ(d[3], narrow(a.p2()));
    EXPECT_EQ(d[4], 0);
    EXPECT_EQ(d[5], narrow(a.k4() + b.k4()));
    EXPECT_EQ(d[6], narrow(a.k4() * b.k4()));
    EXPECT_EQ(d[7], 0);
  }
}

TEST(BlendedLens, AtASampleItsFactorOnAGridOfRadii) {
  const PTZCameraParameters params = examplePtz();
  double worst = 0;
  for (int i = 0; i < 11; ++i) {
    const PTZIntrinsicsItem& a = params.intrinsics().samples(i);
    const auto configuration = configured(params, 1000 * i);
    for (int j = 0; j <= 100; ++j) {
      const double s = cornerSquared(a.focal_length()) * (j / 100.0) * (j / 100.0);
      worst = std::max(worst, std::abs(factor(configuration, s) - factor(a, s)));
    }
  }
  // The coefficients are rounded to float. Measured: 4e-9.
  EXPECT_LT(worst, 2e-8);
}

TEST(BlendedLens, HalfWayBetweenTwoSamples) {
  PTZCameraParameters params = examplePtz();
  PTZIntrinsicsItem* a = params.mutable_intrinsics()->mutable_samples(2);
  PTZIntrinsicsItem* b = params.mutable_intrinsics()->mutable_samples(3);
  a->set_focal_length(1000);
  a->set_cx(10);
  a->set_cy(20);
  a->set_k1(0.25);
  a->set_k4(0.5);
  a->set_p1(0.125);
  a->set_p2(0.75);
  b->set_focal_length(3000);
  b->set_cx(14);
  b->set_cy(30);
  b->set_k1(-0.5);
  b->set_k4(2);
  b->set_p1(0.375);
  b->set_p2(0.25);
  const auto configuration = configured(params, 2500);
  EXPECT_EQ(configuration.getIntrinsics(), cameraMatrix(2000, 2000, 0, 12, 25));
  // Weights 500 and 1500 of 2000: a quarter and three quarters.
  EXPECT_THAT(configuration.getDistortion(),
              ElementsAre(0.75F * 0.5F + 0.25F * 2 + 0.25F * 0.25F + 0.75F * -0.5F,
                          0.75F * -0.5F * 0.5F + 0.25F * 0.25F * 2, 0.25F, 0.5F, 0, 2.5F, 1, 0));
}

TEST(BlendedLens, IsTheMeanOfTheTwoFactorsWeightedByFocalLength) {
  const PTZCameraParameters params = examplePtz();
  std::mt19937_64 random(90);
  double worst = 0;
  for (int trial = 0; trial < 3000; ++trial) {
    const int zoom = static_cast<int>(uniform(&random, 0, 11000));
    const PTZIntrinsicsItem& a = params.intrinsics().samples(zoom / 1000);
    const PTZIntrinsicsItem& b = params.intrinsics().samples(zoom / 1000 + 1);
    const double t = zoom % 1000 / 1000.0;
    const double fa = (1 - t) * a.focal_length();
    const double fb = t * b.focal_length();
    const double s = uniform(&random, 0, 1) * cornerSquared(fa + fb);
    const double expected = (fa * factor(a, s) + fb * factor(b, s)) / (fa + fb);
    worst = std::max(worst, std::abs(factor(configured(params, zoom), s) - expected));
  }
  // The coefficients are rounded to float. Measured: 4e-9.
  EXPECT_LT(worst, 2e-8);
}

TEST(BlendedLens, InterpolatesTheRestByPosition) {
  const PTZCameraParameters params = examplePtz();
  const PTZIntrinsicsItem& a = params.intrinsics().samples(7);
  const PTZIntrinsicsItem& b = params.intrinsics().samples(8);
  const auto configuration = configured(params, 7300);
  const auto mean = [](double x, double y) { return narrow(0.7 * x + 0.3 * y); };
  EXPECT_FLOAT_EQ(configuration.getIntrinsics()(0, 0), mean(a.focal_length(), b.focal_length()));
  EXPECT_EQ(configuration.getIntrinsics()(1, 1), configuration.getIntrinsics()(0, 0));
  EXPECT_FLOAT_EQ(configuration.getIntrinsics()(0, 2), mean(a.cx(), b.cx()));
  EXPECT_FLOAT_EQ(configuration.getIntrinsics()(1, 2), mean(a.cy(), b.cy()));
  EXPECT_FLOAT_EQ(configuration.getDistortion()[2], mean(a.p1(), b.p1()));
  EXPECT_FLOAT_EQ(configuration.getDistortion()[3], mean(a.p2(), b.p2()));
}

TEST(BlendedLens, WorksInDouble) {
  // Zooms that float cannot tell apart.
  const auto configuration = configured(startingAt(1000000000), 1000000500);
  const PTZIntrinsicsTable& table = configuration.getModel()->getParams().intrinsics();
  EXPECT_FLOAT_EQ(
      configuration.getIntrinsics()(0, 0),
      narrow(0.5 * table.samples(0).focal_length() + 0.5 * table.samples(1).focal_length()));
}

TEST(BlendedLens, AlwaysHasEightCoefficientsTwoOfThemZero) {
  for (const int zoom : {kMinInt, -1000, -999, 0, 1, 999, 5000, 10999, 11000, 20000, kMaxInt}) {
    const auto configuration = configured(examplePtz(), zoom);
    const std::vector<float>& d = configuration.getDistortion();
    ASSERT_EQ(d.size(), 8U);
    EXPECT_EQ(d[4], 0);
    EXPECT_EQ(d[7], 0);
    EXPECT_EQ(configuration.getIntrinsics().row(2), Vector3_f(0, 0, 1).transpose());
    EXPECT_EQ(configuration.getIntrinsics()(0, 1), 0);
    EXPECT_EQ(configuration.getIntrinsics()(1, 0), 0);
  }
}

TEST(BlendedLens, JustBelowTheFirstSampleIsExtrapolated) {
  const PTZCameraParameters params = startingAt(500);
  const PTZIntrinsicsItem& a = params.intrinsics().samples(0);
  const PTZIntrinsicsItem& b = params.intrinsics().samples(1);
  EXPECT_FLOAT_EQ(configured(params, 400).getIntrinsics()(0, 0),
                  narrow(1.1 * a.focal_length() - 0.1 * b.focal_length()));
}

/// Expects that nothing of the lens is finite but what does not depend on the weights.
void expectNoLens(const PTZCameraModelConfiguration& configuration) {
  const Matrix3x3_f& k = configuration.getIntrinsics();
  for (const float value : {k(0, 0), k(1, 1), k(0, 2), k(1, 2)}) EXPECT_FALSE(std::isfinite(value));
  const std::vector<float>& d = configuration.getDistortion();
  ASSERT_EQ(d.size(), 8U);
  for (const std::size_t i : {0U, 1U, 2U, 3U}) EXPECT_FALSE(std::isfinite(d[i])) << i;
  for (const std::size_t i : {4U, 5U, 6U, 7U}) EXPECT_TRUE(std::isfinite(d[i])) << i;
  EXPECT_TRUE(configuration.getCameraTransform().transform.allFinite());
  EXPECT_TRUE(configuration.rectifyPoint({0.5F, 0.5F}).array().isNaN().all());
  EXPECT_TRUE(configuration.projectPixelToRay({960, 540}).array().isNaN().all());
  EXPECT_FALSE(configuration.project3dToCamera({3, 0, 1}).allFinite());
}

TEST(BlendedLens, AtTheLastSampleAndBeyondThereIsNone) {
  for (const int zoom : {11000, 11001, 12000, kMaxInt}) {
    SCOPED_TRACE(zoom);
    expectNoLens(configured(examplePtz(), zoom));
  }
  EXPECT_TRUE(configured(examplePtz(), 10999).getIntrinsics().allFinite());
}

TEST(BlendedLens, AnIntervalAndMoreBelowTheFirstSampleThereIsNone) {
  for (const int zoom : {1000, 999, 0, kMinInt}) {
    SCOPED_TRACE(zoom);
    expectNoLens(configured(startingAt(2000), zoom));
  }
  EXPECT_TRUE(configured(startingAt(2000), 1001).getIntrinsics().allFinite());
}

TEST(BlendedLens, OfASingleSampleThereIsNone) {
  PTZCameraParameters params = examplePtz();
  while (params.intrinsics().samples_size() > 1) {
    params.mutable_intrinsics()->mutable_samples()->RemoveLast();
  }
  for (const int zoom : {-5, 0, 5, 1000}) expectNoLens(configured(params, zoom));
}

TEST(BlendedLens, IntervalOfZeroIsTheFirstSegment) {
  PTZCameraParameters params = examplePtz();
  params.mutable_intrinsics()->set_zoom_interval(0);
  const double f0 = params.intrinsics().samples(0).focal_length();
  const double f1 = params.intrinsics().samples(1).focal_length();
  EXPECT_FLOAT_EQ(configured(params, 500).getIntrinsics()(0, 0), narrow(0.5 * f0 + 0.5 * f1));
  EXPECT_FLOAT_EQ(configured(params, 3000).getIntrinsics()(0, 0), narrow(-2 * f0 + 3 * f1));
}

TEST(BlendedLens, ExtremeIntegersAreDefined) {
  for (const int start : {kMinInt, -1, 0, kMaxInt}) {
    for (const int interval : {kMinInt, -1, 0, 1, kMaxInt}) {
      PTZCameraParameters params = examplePtz();
      params.mutable_intrinsics()->set_zoom_start(start);
      params.mutable_intrinsics()->set_zoom_interval(interval);
      const PTZCameraModelPtr model = ptzModel(params);
      for (const int extreme : {kMinInt, 0, kMaxInt}) {
        const PTZCameraModelConfiguration configuration(model, extreme, extreme, extreme);
        EXPECT_EQ(configuration.getDistortion().size(), 8U);
        EXPECT_TRUE(configuration.getCameraTransform().transform.allFinite());
      }
    }
  }
}

TEST(BlendedLens, SamplesThatAreNotFiniteShow) {
  for (const double bad : {std::nan(""), std::numeric_limits<double>::infinity()}) {
    PTZCameraParameters params = examplePtz();
    params.mutable_intrinsics()->mutable_samples(3)->set_k1(bad);
    EXPECT_FALSE(std::isfinite(configured(params, 3500).getDistortion()[0]));
    // Its weight is zero here, but zero times such a number is NaN.
    EXPECT_TRUE(std::isnan(configured(params, 2000).getDistortion()[0]));
    EXPECT_TRUE(configured(params, 4500).getIntrinsics().allFinite());
  }
}

}  // namespace
}  // namespace norv::calibration

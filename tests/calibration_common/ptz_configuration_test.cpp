// A pan-tilt-zoom camera at one position: PTZCameraModelConfiguration without its pointing.

#include <gmock/gmock.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstddef>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "calibration_common/camera_parameters.h"
#include "calibration_common/ptz_camera_model.h"
#include "support/camera_projection.h"
#include "support/lens_distortion.h"
#include "testing/calibration_messages.h"
#include "testing/example_ptz.h"
#include "testing/log_capture.h"
#include "testing/random_head.h"

namespace norv::calibration {
namespace {

using testing::cameraMatrix;
using ::testing::ElementsAre;
using testing::examplePtz;
using ::testing::KilledBySignal;
using testing::lines;
using testing::LogLine;
using ::testing::MatchesRegex;
using testing::ptzModel;
using testing::randomPixel;
using testing::ScopedLogCapture;
using testing::uniform;

constexpr int kMinInt = std::numeric_limits<int>::min();
constexpr int kMaxInt = std::numeric_limits<int>::max();

float narrow(double value) { return static_cast<float>(value); }

PTZCameraModelConfiguration configured(const PTZCameraParameters& params, int zoom) {
  return {ptzModel(params), 0, 0, zoom};
}

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

// --------------------------------------------------------------------------------------- the lens

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

// ---------------------------------------------------------------------------------------- logging

LogLine info(const std::string& text) { return {5, "ptz_camera_model", text}; }

TEST(PTZConfiguration, InfoLines) {
  PTZCameraParameters params = examplePtz();
  PTZIntrinsicsItem* a = params.mutable_intrinsics()->mutable_samples(4);
  PTZIntrinsicsItem* b = params.mutable_intrinsics()->mutable_samples(5);
  a->set_focal_length(1234.5);
  a->set_k1(-0.1234567);
  a->set_k4(0.25);
  b->set_focal_length(2000);
  b->set_k1(1e-7);
  b->set_k4(-3);
  const PTZCameraModelPtr model = ptzModel(params);
  ScopedLogCapture capture;
  const PTZCameraModelConfiguration configuration(model, 0, 0, 4300);
  EXPECT_THAT(lines(capture.take()),
              ElementsAre(info("zoom=4300 a1=0.700000, a2=0.300000"),
                          info("f1=1234.500000 k11=-0.123457 k41=0.250000 | f2=2000.000000 "
                               "k12=0.000000 k42=-3.000000")));
}

TEST(PTZConfiguration, InfoLinesBeyondTheTable) {
  PTZCameraParameters params = examplePtz();
  params.mutable_intrinsics()->mutable_samples(11)->set_focal_length(40000);
  params.mutable_intrinsics()->mutable_samples(11)->set_k1(5);
  params.mutable_intrinsics()->mutable_samples(11)->set_k4(-4);
  const PTZCameraModelPtr model = ptzModel(params);
  ScopedLogCapture capture;
  const PTZCameraModelConfiguration configuration(model, 0, 0, 12345);
  EXPECT_THAT(lines(capture.take()),
              ElementsAre(info("zoom=12345 a1=-inf, a2=inf"),
                          info("f1=40000.000000 k11=5.000000 k41=-4.000000 | f2=40000.000000 "
                               "k12=5.000000 k42=-4.000000")));
}

TEST(PTZConfiguration, NothingElseLogs) {
  const auto configuration = configured(examplePtz(), 4300);
  ScopedLogCapture capture;
  configuration.getCameraCenter();
  configuration.project3dToCamera({3, 0, 1});
  configuration.projectPixelToRay({10, 20});
  configuration.rectifyPoint({0.1F, 0.2F});
  EXPECT_THAT(lines(capture.take()), ::testing::IsEmpty());
}

// ------------------------------------------------------------------------------------------- pose

TEST(PTZConfiguration, HoldsWhatItWasMadeFrom) {
  const PTZCameraModelPtr model = ptzModel(examplePtz());
  const PTZCameraModelConfiguration configuration(model, 12, -34, 5600);
  EXPECT_EQ(configuration.getModel(), model);
  EXPECT_EQ(configuration.getPan(), 12);
  EXPECT_EQ(configuration.getTilt(), -34);
  EXPECT_EQ(configuration.getZoom(), 5600);
}

TEST(PTZConfiguration, KeepsTheModelAlive) {
  PTZCameraModelPtr model = ptzModel(examplePtz());
  const std::weak_ptr<const PTZCameraModel> watched = model;
  {
    const PTZCameraModelConfiguration configuration(model, 0, 0, 0);
    model.reset();
    EXPECT_FALSE(watched.expired());
    EXPECT_TRUE(configuration.getModel()->isValid());
  }
  EXPECT_TRUE(watched.expired());
}

TEST(PTZConfiguration, PoseIsTheHeadsAtTheMotorPositions) {
  const PTZCameraModelPtr model = ptzModel(examplePtz());
  // The last one is no float.
  for (const int pan : {0, 700, -3000, 16777217}) {
    const PTZCameraModelConfiguration configuration(model, pan, 500 - pan, 0);
    const CameraTransform expected = model->getPanTiltModel().getFullTransform(
        static_cast<float>(pan), static_cast<float>(500 - pan));
    EXPECT_EQ(configuration.getCameraTransform().transform, expected.transform);
    EXPECT_EQ(configuration.getCameraTransform().inverse, expected.inverse);
  }
}

TEST(PTZConfiguration, CameraCenterByHand) {
  // Base to pan joint (100, 0, 1200), on to the tilt joint (25, 0, 60), on to the camera (30, 2,
  // 12) mm.
  const Vector3_f centre = configured(examplePtz(), 0).getCameraCenter();
  EXPECT_LT((centre - Vector3_f(0.155F, 0.002F, 1.272F)).norm(), 1e-6F) << centre;
}

TEST(PTZConfiguration, RayThroughThePrincipalPointIsTheOpticalAxis) {
  PTZCameraParameters params = examplePtz();
  *params.mutable_intrinsics() = testing::pinholeLens();
  const PTZCameraModelPtr model = ptzModel(params);
  // Ahead, and a right angle to the right.
  Vector3_f ray = PTZCameraModelConfiguration(model, 0, 0, 2500).projectPixelToRay({960, 540});
  EXPECT_LT((ray - Vector3_f(1, 0, 0)).norm(), 1e-6F) << ray;
  const int right = static_cast<int>(std::lround(90 * testing::kRadians / 0.0005));
  ray = PTZCameraModelConfiguration(model, right, 0, 2500).projectPixelToRay({960, 540});
  EXPECT_LT((ray - Vector3_f(0, -1, 0)).norm(), 3e-4F) << ray;
}

TEST(PTZConfiguration, RaysAreNotNormalised) {
  PTZCameraParameters params = examplePtz();
  *params.mutable_intrinsics() = testing::pinholeLens();
  // One focal length to the right and two down: (1, 2, 1) in the camera, (1, -1, -2) in the world.
  const Vector3_f ray = configured(params, 0).projectPixelToRay({960 + 1500, 540 + 3000});
  EXPECT_LT((ray - Vector3_f(1, -1, -2)).norm(), 1e-6F) << ray;
}

// ---------------------------------------------------------------------------- projection and rays

TEST(PTZConfiguration, ProjectsAsTheSupportFunctionDoes) {
  std::mt19937_64 random(91);
  const PTZCameraModelPtr model = ptzModel(examplePtz());
  for (int trial = 0; trial < 200; ++trial) {
    const PTZCameraModelConfiguration configuration(model,
                                                    static_cast<int>(uniform(&random, -500, 500)),
                                                    static_cast<int>(uniform(&random, -500, 500)),
                                                    static_cast<int>(uniform(&random, 0, 10000)));
    const Vector3_f point(narrow(uniform(&random, 2, 9)), narrow(uniform(&random, -1, 1)),
                          narrow(uniform(&random, 0, 2)));
    const Vector2_f expected =
        norv::project3dToCamera(configuration.getCameraTransform(), configuration.getDistortion(),
                                configuration.getIntrinsics(), point);
    EXPECT_EQ(configuration.project3dToCamera(point), expected);
  }
}

TEST(PTZConfiguration, PixelToRayAndBack) {
  std::mt19937_64 random(92);
  const PTZCameraModelPtr model = ptzModel(examplePtz());
  double worst = 0;
  for (int trial = 0; trial < 3000; ++trial) {
    const PTZCameraModelConfiguration configuration(model,
                                                    static_cast<int>(uniform(&random, -5934, 5934)),
                                                    static_cast<int>(uniform(&random, -1047, 3141)),
                                                    static_cast<int>(uniform(&random, 0, 10999)));
    const Vector2_f pixel = randomPixel(&random);
    const Vector3_f ray = configuration.projectPixelToRay(pixel);
    const Vector3_f point =
        configuration.getCameraCenter() + narrow(uniform(&random, 0.5, 20)) * ray;
    const double focal_length = static_cast<double>(configuration.getIntrinsics()(0, 0));
    const double missed =
        static_cast<double>((configuration.project3dToCamera(point) - pixel).norm());
    worst = std::max(worst, missed / focal_length);
  }
  // Radians: points and poses in single precision. Measured: 3.4e-7.
  EXPECT_LT(worst, 1.5e-6);
}

TEST(PTZConfiguration, RectifyPointTakesFractionsOfTheImage) {
  PTZCameraParameters params = examplePtz();
  params.mutable_intrinsics()->set_image_width(1000);
  params.mutable_intrinsics()->set_image_height(300);
  const auto configuration = configured(params, 4300);
  const Matrix3x3_f& k = configuration.getIntrinsics();
  const float principal_point[] = {k(0, 2), k(1, 2)};
  const float focal_lengths[] = {k(0, 0), k(1, 1)};
  for (const Vector2_f& point : {Vector2_f(0, 0), Vector2_f(0.25F, 0.75F), Vector2_f(1, 1),
                                 Vector2_f(0.3F, 0.7F), Vector2_f(-0.5F, 1.5F)}) {
    const Vector2_f expected =
        calibration::rectifyPoint(configuration.getDistortion().data(), principal_point,
                                  focal_lengths, {point.x() * 1000.0F, point.y() * 300.0F});
    EXPECT_EQ(configuration.rectifyPoint(point), expected);
  }
}

TEST(PTZConfiguration, PixelsThatAreNotFiniteHaveNoRay) {
  const auto configuration = configured(examplePtz(), 0);
  for (const float bad : {std::nanf(""), std::numeric_limits<float>::infinity()}) {
    EXPECT_TRUE(configuration.projectPixelToRay({bad, 0}).array().isNaN().all());
    EXPECT_TRUE(configuration.rectifyPoint({0, bad}).array().isNaN().all());
  }
}

TEST(PTZConfiguration, GetCameraParametersDoesNothing) {
  using google::protobuf::util::MessageDifferencer;
  CameraParameters camera;
  CameraParameters same;
  ASSERT_TRUE(camera.readProto(testing::exampleCamera("a", "b910")));
  ASSERT_TRUE(same.readProto(testing::exampleCamera("a", "b910")));
  const auto configuration = configured(examplePtz(), 0);
  ScopedLogCapture capture;
  configuration.getCameraParameters(1920, 1080, &camera);
  configuration.getCameraParameters(-1, 0, nullptr);
  EXPECT_THAT(lines(capture.take()), ::testing::IsEmpty());
  EXPECT_TRUE(MessageDifferencer::Equals(camera.getCalibration(), same.getCalibration()));
  EXPECT_EQ(camera.getTransform().transform, same.getTransform().transform);
  EXPECT_EQ(camera.getModel(), same.getModel());
  EXPECT_EQ(camera.getFullFrame().fx, same.getFullFrame().fx);
  EXPECT_EQ(camera.getFullFrame().width, same.getFullFrame().width);
  EXPECT_EQ(camera.getDistortion(1920, 1080), same.getDistortion(1920, 1080));
  ASSERT_EQ(camera.getIntrinsicsTable().size(), same.getIntrinsicsTable().size());
  for (std::size_t i = 0; i < same.getIntrinsicsTable().size(); ++i) {
    EXPECT_EQ(camera.getIntrinsicsTable()[i].width, same.getIntrinsicsTable()[i].width);
    EXPECT_EQ(camera.getIntrinsicsTable()[i].fx, same.getIntrinsicsTable()[i].fx);
    EXPECT_EQ(camera.getIntrinsicsTable()[i].distortion, same.getIntrinsicsTable()[i].distortion);
  }
}

// ---------------------------------------------------------------------- models that are not valid

TEST(PTZConfigurationDeathTest, WithoutSamplesStopsTheProcess) {
  ::testing::GTEST_FLAG(death_test_style) = "threadsafe";
  PTZCameraParameters params = examplePtz();
  params.mutable_intrinsics()->clear_samples();
  EXPECT_EXIT(
      configured(params, 0), KilledBySignal(SIGABRT),
      MatchesRegex("ERROR ptz_camera_model calibration_common/ptz_camera_model\\.cpp:[0-9]+: "
                   "Invalid intrinsics\n"
                   "FATAL check calibration_common/ptz_camera_model\\.cpp:[0-9]+: "
                   "Check failed: params_\\.intrinsics\\(\\)\\.samples_size\\(\\) > 0 "
                   "\\(0 vs\\. 0\\) \n"));
}

TEST(PTZConfiguration, WithoutSamplesContinuesDefinedWhenTheLoggerLetsItPass) {
  PTZCameraParameters params = examplePtz();
  params.mutable_intrinsics()->clear_samples();
  ScopedLogCapture capture(kLogFatal);
  const PTZCameraModelPtr model = ptzModel(params);
  const PTZCameraModelConfiguration configuration(model, 1, 2, 3);
  const LogLine check = {1, "check",
                         "Check failed: params_.intrinsics().samples_size() > 0 (0 vs. 0) "};
  EXPECT_THAT(lines(capture.take()), ElementsAre(check, check));
  EXPECT_FALSE(std::isfinite(configuration.getIntrinsics()(0, 0)));
  EXPECT_EQ(configuration.getDistortion().size(), 8U);
  EXPECT_TRUE(configuration.rectifyPoint({0.5F, 0.5F}).array().isNaN().all());
}

TEST(PTZConfiguration, WithoutAHeadTheRaysAreNotNumbers) {
  PTZCameraParameters params = examplePtz();
  params.clear_pan_tilt();
  ScopedLogCapture capture(kLogFatal);
  const auto configuration = configured(params, 0);
  EXPECT_EQ(configuration.getCameraTransform().transform, Matrix4x4_f(Matrix4x4_f::Zero()));
  EXPECT_FALSE(configuration.projectPixelToRay({960, 540}).allFinite());
  EXPECT_FALSE(configuration.project3dToCamera({1, 2, 3}).allFinite());
  // The lens is there all the same.
  EXPECT_EQ(configuration.getIntrinsics()(0, 0), 1500);
}

}  // namespace
}  // namespace norv::calibration

#include <gmock/gmock.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <limits>
#include <random>
#include <string>
#include <type_traits>

#include "calibration_common/ptz_camera_model.h"
#include "testing/example_ptz.h"
#include "testing/log_capture.h"
#include "tests/calibration_common/ptz_zoom_table.h"

namespace norv::calibration {
namespace {

using google::protobuf::util::MessageDifferencer;
using ::testing::ElementsAre;
using testing::examplePtz;
using ::testing::IsEmpty;
using ::testing::KilledBySignal;
using testing::lines;
using testing::LogLine;
using ::testing::MatchesRegex;
using testing::ptzOf;
using testing::ptzOfThreeSamples;
using testing::ScopedLogCapture;

static_assert(std::is_same_v<PTZCameraModelPtr, std::shared_ptr<const PTZCameraModel>>);

constexpr int kMinInt = std::numeric_limits<int>::min();
constexpr int kMaxInt = std::numeric_limits<int>::max();

const LogLine kNoIntrinsics = {2, "ptz_camera_model", "Invalid intrinsics"};
const LogLine kBadHead = {2, "ptz_camera_model", "Invalid pan_tilt parameters"};
const LogLine kShortHead = {2, "pan_tilt_model",
                            "Not enough matrix elements in PanTiltSystemParameters"};
const LogLine kNoSamples = {1, "check",
                            "Check failed: params_.intrinsics().samples_size() > 0 (0 vs. 0) "};

const std::string kConstructor =
    "norv::calibration::PTZCameraModel::PTZCameraModel("
    "const norv::calibration::PTZCameraParameters&)";

std::string fieldOf(const PTZCameraParameters& ptz) {
  const auto problem = findLoadProblem(ptz);
  return problem ? problem->field : "none";
}

PTZCameraParameters withoutSamples() {
  PTZCameraParameters ptz = examplePtz();
  ptz.mutable_intrinsics()->clear_samples();
  return ptz;
}

// ----------------------------------------------------------------------------------- construction

TEST(PTZCameraModel, LoadsAValidCalibration) {
  ScopedLogCapture capture;
  const PTZCameraModel model(examplePtz());
  EXPECT_THAT(lines(capture.take()), IsEmpty());
  EXPECT_TRUE(model.isValid());
  EXPECT_TRUE(MessageDifferencer::Equals(model.getParams(), examplePtz()));
  EXPECT_EQ(model.getPanTiltModel().getBaseToPan().transform(2, 3), -1.2F);
  EXPECT_EQ(model.getPanTiltModel().getTiltScale(), 0.0005F);
  EXPECT_FLOAT_EQ(model.getMaxZoomFactor(), std::pow(20.0F, 1.1F));
}

TEST(PTZCameraModel, KeepsItsOwnCopy) {
  PTZCameraParameters params = examplePtz();
  const PTZCameraModel model(params);
  params.Clear();
  EXPECT_TRUE(MessageDifferencer::Equals(model.getParams(), examplePtz()));
}

TEST(PTZCameraModel, WithoutSamplesIsInvalidAndReadsNoHead) {
  ScopedLogCapture capture;
  const PTZCameraModel model(withoutSamples());
  const auto logs = capture.take();
  ASSERT_THAT(lines(logs), ElementsAre(kNoIntrinsics));
  EXPECT_EQ(logs[0].function, kConstructor);
  EXPECT_FALSE(model.isValid());
  EXPECT_EQ(model.getMaxZoomFactor(), 1.0F);
  // The head is complete, and yet not read.
  EXPECT_EQ(model.getPanTiltModel().getTiltScale(), 0);
  EXPECT_EQ(model.getPanTiltModel().getBaseToPan().transform, Matrix4x4_f(Matrix4x4_f::Zero()));
  EXPECT_TRUE(MessageDifferencer::Equals(model.getParams(), withoutSamples()));
}

TEST(PTZCameraModel, WithoutIntrinsicsNothingElseIsLookedAt) {
  ScopedLogCapture capture;
  EXPECT_FALSE(PTZCameraModel(PTZCameraParameters()).isValid());
  // An empty message has no head either; that is not said.
  EXPECT_THAT(lines(capture.take()), ElementsAre(kNoIntrinsics));
}

TEST(PTZCameraModel, WithAnIncompleteHeadIsInvalid) {
  PTZCameraParameters params = examplePtz();
  params.mutable_pan_tilt()->mutable_tilt_to_camera()->mutable_a()->RemoveLast();
  ScopedLogCapture capture;
  const PTZCameraModel model(params);
  const auto logs = capture.take();
  ASSERT_THAT(lines(logs), ElementsAre(kShortHead, kBadHead));
  EXPECT_EQ(logs[1].function, kConstructor);
  EXPECT_FALSE(model.isValid());
  EXPECT_EQ(model.getMaxZoomFactor(), 1.0F);
  EXPECT_EQ(model.getPanTiltModel().getTiltScale(), 0);
  // Questions about the lens are answered all the same.
  EXPECT_EQ(model.getIntrinsics(3)->focal_length(), params.intrinsics().samples(3).focal_length());
  EXPECT_EQ(model.zoomXFactorToSteps(20), 10000);
}

TEST(FindLoadProblem, IsThereWhereTheModelIsNotValid) {
  const PTZCameraParameters good = examplePtz();
  EXPECT_EQ(fieldOf(good), "none");
  EXPECT_TRUE(PTZCameraModel(good).isValid());
  ScopedLogCapture capture;
  PTZCameraParameters bad = good;
  bad.mutable_intrinsics()->clear_samples();
  EXPECT_EQ(fieldOf(bad), "intrinsics.samples");
  EXPECT_EQ(findLoadProblem(bad)->sentence, "there are no lens samples");
  EXPECT_FALSE(PTZCameraModel(bad).isValid());
  bad = good;
  bad.mutable_pan_tilt()->mutable_tilt_to_camera()->clear_a();
  EXPECT_EQ(fieldOf(bad), "pan_tilt.tilt_to_camera.a");
  EXPECT_FALSE(PTZCameraModel(bad).isValid());
  bad.mutable_pan_tilt()->mutable_pan_to_tilt()->mutable_a()->RemoveLast();
  EXPECT_EQ(fieldOf(bad), "pan_tilt.pan_to_tilt.a");
  EXPECT_EQ(findLoadProblem(bad)->sentence, "holds 11 values, at least 12 are needed");
  EXPECT_FALSE(PTZCameraModel(bad).isValid());
  bad.mutable_pan_tilt()->clear_base_to_pan();
  EXPECT_EQ(fieldOf(bad), "pan_tilt.base_to_pan.a");
  capture.take();
  EXPECT_EQ(fieldOf(PTZCameraParameters()), "intrinsics.samples");
  EXPECT_TRUE(capture.take().empty());
}

TEST(PTZCameraModel, MaxZoomFactorIsTheLastSampleOverTheFirst) {
  EXPECT_EQ(PTZCameraModel(ptzOfThreeSamples()).getMaxZoomFactor(), 6.0F);
  // Divided in double and then rounded: the quotient of the floats would be another.
  const double f0 = 3.1;
  const double f1 = 7.3;
  ASSERT_NE(static_cast<float>(f1 / f0), static_cast<float>(f1) / static_cast<float>(f0));
  EXPECT_EQ(PTZCameraModel(ptzOf({{0, f0}, {1, f1}}, 0, 1)).getMaxZoomFactor(),
            static_cast<float>(f1 / f0));
}

TEST(PTZCameraModel, OneSampleIsValidAndItsConversionsTrivial) {
  ScopedLogCapture capture;
  const PTZCameraModel model(ptzOf({{70, 1000}}, 70, 10));
  EXPECT_THAT(lines(capture.take()), IsEmpty());
  EXPECT_TRUE(model.isValid());
  EXPECT_EQ(model.getMaxZoomFactor(), 1.0F);
  for (const float factor : {0.5F, 1.0F, 3.0F, std::nanf("")}) {
    EXPECT_EQ(model.zoomXFactorToSteps(factor), 0);
  }
  for (const int steps : {-5, 0, 70, 1000, kMinInt, kMaxInt}) {
    EXPECT_EQ(model.stepsToZoomXFactor(steps), 1.0F);
  }
}

TEST(PTZCameraModel, WithoutSamplesTheConversionsAreTrivial) {
  ScopedLogCapture capture;
  const PTZCameraModel model(withoutSamples());
  capture.take();
  EXPECT_EQ(model.zoomXFactorToSteps(2), 0);
  EXPECT_EQ(model.stepsToZoomXFactor(2), 1.0F);
  EXPECT_THAT(lines(capture.take()), IsEmpty());
}

// ---------------------------------------------------------------------------------- sample lookup

/// The index of a zoom in a table that starts and is spaced like this.
int indexOf(int zoom, int start, int interval) {
  return PTZCameraModel(ptzOf({{0, 1}}, start, interval)).getIntrinsicsIndex(zoom);
}

TEST(GetIntrinsicsIndex, TruncatesTowardZero) {
  EXPECT_EQ(indexOf(100, 100, 50), 0);
  EXPECT_EQ(indexOf(149, 100, 50), 0);
  EXPECT_EQ(indexOf(150, 100, 50), 1);
  EXPECT_EQ(indexOf(60, 100, 50), 0);
  EXPECT_EQ(indexOf(51, 100, 50), 0);
  EXPECT_EQ(indexOf(50, 100, 50), -1);
  EXPECT_EQ(indexOf(40, 100, 50), -1);
  EXPECT_EQ(indexOf(0, 100, 50), -2);
}

TEST(GetIntrinsicsIndex, IsNotLimitedToTheTable) {
  EXPECT_EQ(indexOf(100000, 100, 50), 1998);
  EXPECT_EQ(indexOf(-100000, 100, 50), -2002);
}

TEST(GetIntrinsicsIndex, IntervalOfZeroIsSampleZero) {
  for (const int zoom : {kMinInt, -1, 0, 7, kMaxInt}) EXPECT_EQ(indexOf(zoom, 100, 0), 0);
}

TEST(GetIntrinsicsIndex, NegativeInterval) {
  EXPECT_EQ(indexOf(60, 100, -50), 0);
  EXPECT_EQ(indexOf(50, 100, -50), 1);
  EXPECT_EQ(indexOf(150, 100, -50), -1);
}

TEST(GetIntrinsicsIndex, ExtremeValuesSaturate) {
  EXPECT_EQ(indexOf(kMinInt, 0, -1), kMaxInt);
  EXPECT_EQ(indexOf(kMaxInt, -1, 1), kMaxInt);
  EXPECT_EQ(indexOf(kMaxInt, kMinInt, 1), kMaxInt);
  EXPECT_EQ(indexOf(kMinInt, kMaxInt, 1), kMinInt);
  EXPECT_EQ(indexOf(kMaxInt, kMinInt, -1), kMinInt);
  EXPECT_EQ(indexOf(kMinInt, kMaxInt, -1), kMaxInt);
  // A difference beyond the range of int whose quotient is within it.
  EXPECT_EQ(indexOf(kMaxInt, kMinInt, 4), 1073741823);
  EXPECT_EQ(indexOf(kMinInt, kMaxInt, kMinInt), 1);
  EXPECT_EQ(indexOf(kMaxInt, kMinInt, kMinInt), -1);
  EXPECT_EQ(indexOf(kMaxInt, kMinInt, kMaxInt), 2);
}

TEST(GetIntrinsicsIndex, IsIntegerDivisionWhereThatIsDefined) {
  std::mt19937_64 random(80);
  std::uniform_int_distribution<int> any(-1000000000, 1000000000);
  std::uniform_int_distribution<int> small(-20, 20);
  for (int trial = 0; trial < 2000; ++trial) {
    const int zoom = any(random);
    const int start = any(random);
    const int interval = trial % 2 == 0 ? any(random) : small(random);
    if (interval != 0) {
      EXPECT_EQ(indexOf(zoom, start, interval), (zoom - start) / interval);
    }
  }
}

TEST(GetIntrinsics, LimitsTheIndexToTheTable) {
  const PTZCameraModel model(examplePtz());
  const auto& samples = model.getParams().intrinsics().samples();
  EXPECT_EQ(model.getIntrinsics(-5), &samples.Get(0));
  EXPECT_EQ(model.getIntrinsics(-1), &samples.Get(0));
  for (int i = 0; i < 12; ++i) EXPECT_EQ(model.getIntrinsics(i), &samples[i]);
  EXPECT_EQ(model.getIntrinsics(12), &samples[11]);
  EXPECT_EQ(model.getIntrinsics(15), &samples[11]);
  EXPECT_EQ(model.getIntrinsics(kMinInt), &samples.Get(0));
  EXPECT_EQ(model.getIntrinsics(kMaxInt), &samples[11]);
}

TEST(PTZCameraModelDeathTest, WithoutSamplesGetIntrinsicsStopsTheProcess) {
  ::testing::GTEST_FLAG(death_test_style) = "threadsafe";
  EXPECT_EXIT(
      PTZCameraModel(PTZCameraParameters()).getIntrinsics(0), KilledBySignal(SIGABRT),
      MatchesRegex("ERROR ptz_camera_model calibration_common/ptz_camera_model\\.cpp:[0-9]+: "
                   "Invalid intrinsics\n"
                   "FATAL check calibration_common/ptz_camera_model\\.cpp:[0-9]+: "
                   "Check failed: params_\\.intrinsics\\(\\)\\.samples_size\\(\\) > 0 "
                   "\\(0 vs\\. 0\\) \n"));
}

TEST(GetIntrinsics, WithoutSamplesContinuesDefinedWhenTheLoggerLetsItPass) {
  ScopedLogCapture capture;
  const PTZCameraModel model(withoutSamples());
  capture.take();
  for (const int index : {-1, 0, 1, kMinInt, kMaxInt}) {
    const PTZIntrinsicsItem* sample = model.getIntrinsics(index);
    ASSERT_NE(sample, nullptr);
    EXPECT_TRUE(MessageDifferencer::Equals(*sample, PTZIntrinsicsItem()));
    const auto logs = capture.take();
    EXPECT_THAT(lines(logs), ElementsAre(kNoSamples));
    EXPECT_EQ(logs[0].file, "calibration_common/ptz_camera_model.cpp");
    EXPECT_THAT(logs[0].function, ::testing::HasSubstr("PTZCameraModel::getIntrinsics(int) const"));
  }
}

}  // namespace
}  // namespace norv::calibration

// How a camera's intrinsics are fitted again, with the fit itself replaced by one that notes its
// arguments and answers what the test asks for.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <stdexcept>

#include "calibration_common/camera_parameters.h"
#include "support/sensor_transform.h"
#include "support/single_image_calibration.h"
#include "testing/calibration_messages.h"
#include "testing/lens_tables.h"
#include "testing/log_capture.h"

namespace norv::calibration {
namespace {

using Projection = OpenCVProjection<autodiff::AutoDiff1<double, 20>>;
using ::testing::Each;
using ::testing::ElementsAre;
using testing::exampleCamera;
using testing::lines;
using testing::LogLine;
using testing::ScopedLogCapture;

/// What the fit was called with, and what it answers.
struct FakeFit {
  int calls = 0;
  std::vector<Vector2_f> observed;
  std::vector<Vector2_f> reference;
  Eigen::Vector2i image_size = Eigen::Vector2i::Zero();
  double scale = 0;
  Eigen::Vector2i size_pair = Eigen::Vector2i::Zero();
  Projection start;
  double error = 0;
};

FakeFit fit;

}  // namespace

double calibrateFromSingleImage(const std::vector<Vector2_f>& observed,
                                const std::vector<Vector2_f>& reference,
                                const Eigen::Vector2i& image_size, double scale,
                                const Eigen::Vector2i& size_pair, Projection* projection) {
  fit.calls += 1;
  fit.observed = observed;
  fit.reference = reference;
  fit.image_size = image_size;
  fit.scale = scale;
  fit.size_pair = size_pair;
  fit.start = *projection;
  projection->fx = 648.25;
  projection->fy = 649.25;
  projection->cx = 640.5;
  projection->cy = 480.5;
  projection->k1 = 1.1;
  projection->k2 = 1.2;
  projection->k3 = 1.3;
  projection->k4 = 1.4;
  projection->k5 = 1.5;
  projection->k6 = 1.6;
  projection->p1 = 2.1;
  projection->p2 = 2.2;
  return fit.error;
}

namespace {

class Identity : public ImageSensorTransform {
 public:
  Vector2_f transformPoint(const Vector2_f& p) const override { return p; }
  Vector2_f inverseTransformPoint(const Vector2_f& p) const override { return p; }
};

class Doubling : public ImageSensorTransform {
 public:
  Vector2_f transformPoint(const Vector2_f& p) const override { return 2 * p; }
  Vector2_f inverseTransformPoint(const Vector2_f& p) const override { return 0.5F * p; }
};

class Throwing : public Identity {
 public:
  Vector2_f transformPoint(const Vector2_f& /*p*/) const override {
    throw std::runtime_error("out of order");
  }
};

CameraCalibration headCamera(int samples) {
  CameraCalibration message = exampleCamera("camera", "mk512h");
  for (int i = 0; i < samples; ++i) {
    SamplePoint* sample = message.mutable_intrinsics()->add_samples();
    sample->set_image_x(0.1F + static_cast<float>(i));
    sample->set_image_y(0.2F + static_cast<float>(i));
    sample->set_model_x(0.3F + static_cast<float>(i));
    sample->set_model_y(0.4F + static_cast<float>(i));
  }
  message.mutable_intrinsics()->set_sample_scale(0.05F);
  message.mutable_intrinsics()->set_sample_size_x(13);
  message.mutable_intrinsics()->set_sample_size_y(10);
  return message;
}

/// A record whose every number is a mark.
CameraParameters::Intrinsics marked() {
  CameraParameters::Intrinsics record;
  record.width = 11;
  record.height = 12;
  record.fx = record.fy = record.cx = record.cy = record.skew = 13;
  record.distortion.assign(5, 14);
  return record;
}

void expectMarked(const CameraParameters::Intrinsics& record) {
  EXPECT_EQ(record.width, 11);
  EXPECT_EQ(record.height, 12);
  EXPECT_EQ(record.fx, 13);
  EXPECT_EQ(record.fy, 13);
  EXPECT_EQ(record.cx, 13);
  EXPECT_EQ(record.cy, 13);
  EXPECT_EQ(record.skew, 13);
  EXPECT_THAT(record.distortion, ElementsAre(14, 14, 14, 14, 14));
}

class CameraRefitTest : public ::testing::Test {
 public:
  CameraRefitTest() { fit = {}; }

  /// A camera that holds `message`, whatever comes of loading it.
  void hold(const CameraCalibration& message) {
    camera_.readProto(message);
    fit.calls = 0;
  }

  CameraParameters camera_;
};

TEST_F(CameraRefitTest, WithoutSamplePointsNothingIsFitted) {
  hold(headCamera(0));
  ScopedLogCapture capture;
  CameraParameters::Intrinsics out = marked();
  EXPECT_FALSE(camera_.recomputeIntrinsics(Identity(), &out));
  EXPECT_EQ(fit.calls, 0);
  expectMarked(out);
  const auto logs = capture.take();
  EXPECT_THAT(lines(logs),
              ElementsAre(LogLine{2, "camera_parameters",
                                  "Can not find calibration sample points to recompute "
                                  "intrinsics parameters."}));
}

TEST_F(CameraRefitTest, OneSamplePointReachesTheFit) {
  hold(headCamera(1));
  CameraParameters::Intrinsics out;
  EXPECT_TRUE(camera_.recomputeIntrinsics(Identity(), &out));
  EXPECT_EQ(fit.calls, 1);
}

TEST_F(CameraRefitTest, ArgumentsOfTheFit) {
  hold(headCamera(3));
  CameraParameters::Intrinsics out;
  ASSERT_TRUE(camera_.recomputeIntrinsics(Identity(), &out));
  EXPECT_THAT(fit.observed, ElementsAre(Vector2_f(0.1F, 0.2F), Vector2_f(0.1F + 1, 0.2F + 1),
                                        Vector2_f(0.1F + 2, 0.2F + 2)));
  EXPECT_THAT(fit.reference, ElementsAre(Vector2_f(0.3F, 0.4F), Vector2_f(0.3F + 1, 0.4F + 1),
                                         Vector2_f(0.3F + 2, 0.4F + 2)));
  EXPECT_EQ(fit.image_size, Eigen::Vector2i(1280, 960));
  EXPECT_EQ(fit.scale, static_cast<double>(0.05F));
  EXPECT_EQ(fit.size_pair, Eigen::Vector2i(13, 10));
  // The fit starts from a projection that is zero throughout, derivatives included.
  const Projection& start = fit.start;
  for (const auto& parameter :
       {start.fx, start.fy, start.cx, start.cy, start.k1, start.k2, start.k3, start.k4, start.k5,
        start.k6, start.p1, start.p2, start.rotation[0], start.rotation[8], start.translation[2]}) {
    EXPECT_EQ(parameter.value, 0);
    EXPECT_THAT(parameter.derivatives, Each(0));
  }
}

TEST_F(CameraRefitTest, ObservedPointsGoThroughTheTransformAndReferencePointsDoNot) {
  hold(headCamera(1));
  CameraParameters::Intrinsics out;
  ASSERT_TRUE(camera_.recomputeIntrinsics(Doubling(), &out));
  EXPECT_THAT(fit.observed, ElementsAre(Vector2_f(2 * 0.1F, 2 * 0.2F)));
  EXPECT_THAT(fit.reference, ElementsAre(Vector2_f(0.3F, 0.4F)));
}

TEST_F(CameraRefitTest, ExceptionsOfTheTransformPassThrough) {
  hold(headCamera(3));
  CameraParameters::Intrinsics out = marked();
  EXPECT_THROW(camera_.recomputeIntrinsics(Throwing(), &out), std::runtime_error);
  EXPECT_EQ(fit.calls, 0);
  expectMarked(out);
}

TEST_F(CameraRefitTest, AbsentFieldsReadAsZero) {
  CameraCalibration message = headCamera(1);
  message.mutable_intrinsics()->clear_sample_scale();
  message.mutable_intrinsics()->clear_sample_size_x();
  message.mutable_intrinsics()->clear_sample_size_y();
  message.mutable_intrinsics()->clear_width();
  hold(message);
  CameraParameters::Intrinsics out;
  ASSERT_TRUE(camera_.recomputeIntrinsics(Identity(), &out));
  EXPECT_EQ(fit.scale, 0);
  EXPECT_EQ(fit.size_pair, Eigen::Vector2i(0, 0));
  EXPECT_EQ(fit.image_size, Eigen::Vector2i(0, 960));
}

TEST_F(CameraRefitTest, ResultKeepsTheSizeAndHasEightCoefficients) {
  hold(headCamera(4));
  for (const std::size_t before : {0U, 5U, 8U, 12U}) {
    CameraParameters::Intrinsics out = marked();
    out.distortion.assign(before, 14);
    ASSERT_TRUE(camera_.recomputeIntrinsics(Identity(), &out));
    EXPECT_EQ(out.width, 11);
    EXPECT_EQ(out.height, 12);
    EXPECT_EQ(out.fx, 648.25F);
    EXPECT_EQ(out.fy, 649.25F);
    EXPECT_EQ(out.skew, 0);
    EXPECT_EQ(out.cx, 640.5F);
    EXPECT_EQ(out.cy, 480.5F);
    EXPECT_THAT(out.distortion, ElementsAre(1.1F, 1.2F, 2.1F, 2.2F, 1.3F, 1.4F, 1.5F, 1.6F));
  }
}

TEST_F(CameraRefitTest, ErrorIsReportedAndJudged) {
  hold(headCamera(4));
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::pair<double, const char*> accepted[] = {
      {0.25, "0.25"}, {10.0, "10"}, {nan, "nan"}, {-1.0, "-1"}};
  for (const auto& [error, text] : accepted) {
    fit.error = error;
    ScopedLogCapture capture;
    CameraParameters::Intrinsics out;
    EXPECT_TRUE(camera_.recomputeIntrinsics(Identity(), &out)) << error;
    EXPECT_THAT(
        lines(capture.take()),
        ElementsAre(LogLine{5, "camera_parameters",
                            std::string("Recomputed intrinsics : error per point=") + text}));
  }
  const std::pair<double, const char*> refused[] = {
      {10.000001, "10"}, {12.5, "12.5"}, {std::numeric_limits<double>::infinity(), "inf"}};
  for (const auto& [error, text] : refused) {
    fit.error = error;
    ScopedLogCapture capture;
    CameraParameters::Intrinsics out = marked();
    EXPECT_FALSE(camera_.recomputeIntrinsics(Identity(), &out)) << error;
    expectMarked(out);
    EXPECT_THAT(lines(capture.take()),
                ElementsAre(LogLine{5, "camera_parameters",
                                    std::string("Recomputed intrinsics : error per point=") + text},
                            LogLine{2, "camera_parameters",
                                    std::string("Error recomputing calibration. Error per point=") +
                                        text}));
  }
}

TEST_F(CameraRefitTest, HeadModelsTable) {
  ScopedLogCapture capture;
  ASSERT_TRUE(camera_.readProto(headCamera(4)));
  EXPECT_THAT(
      lines(capture.take()),
      ElementsAre(LogLine{5, "camera_parameters", "Using Corvel head camera model."},
                  LogLine{5, "camera_parameters", "Recomputed intrinsics : error per point=0"}));
  const auto& table = camera_.getIntrinsicsTable();
  ASSERT_EQ(table.size(), 3U);
  // The first is the fitted camera halved.
  EXPECT_EQ(table[0].width, 640);
  EXPECT_EQ(table[0].height, 480);
  EXPECT_EQ(table[0].fx, 0.5F * 648.25F);
  EXPECT_EQ(table[0].fy, 0.5F * 649.25F);
  EXPECT_EQ(table[0].skew, 0);
  EXPECT_EQ(table[0].cx, 0.5F * 640.5F);
  EXPECT_EQ(table[0].cy, 0.5F * 480.5F);
  EXPECT_THAT(table[0].distortion, ElementsAre(1.1F, 1.2F, 2.1F, 2.2F, 1.3F, 1.4F, 1.5F, 1.6F));
  // The others come from the full frame.
  EXPECT_EQ(table[1].width, 1280);
  EXPECT_EQ(table[1].height, 960);
  EXPECT_EQ(table[1].fx, 1000);
  EXPECT_EQ(table[1].cy, 480);
  EXPECT_THAT(table[1].distortion, ElementsAre(1, 2, 7, 8, 3, 4, 5, 6));
  EXPECT_EQ(table[2].width, 1280);
  EXPECT_EQ(table[2].height, 720);
  EXPECT_EQ(table[2].fx, 1000);
  EXPECT_EQ(table[2].cy, 360);
}

TEST_F(CameraRefitTest, HeadModelFitsThroughItsSensorTransform) {
  // In the grid of the full frame: the centre stays where it is, and a point 480 pixels from it
  // moves to 0.9 f tan(2 atan(480 / 2f)) with f = 720, that is 486.0, of a lens known to 0.1
  // degree.
  CameraCalibration message = headCamera(2);
  message.mutable_intrinsics()->mutable_samples(0)->set_image_x(640);
  message.mutable_intrinsics()->mutable_samples(0)->set_image_y(480);
  message.mutable_intrinsics()->mutable_samples(1)->set_image_x(640 + 480);
  message.mutable_intrinsics()->mutable_samples(1)->set_image_y(480);
  ASSERT_TRUE(camera_.readProto(message));
  ASSERT_EQ(fit.observed.size(), 2U);
  EXPECT_EQ(fit.observed[0], Vector2_f(640, 480));
  EXPECT_NEAR(fit.observed[1](0), 640 + 486.0, 0.1);  // measured: 0.06
  EXPECT_EQ(fit.observed[1](1), 480);
}

TEST_F(CameraRefitTest, HeadModelsSensorTransformIsExactlyThatOfItsTables) {
  // Any other size, factor or entry of the tables moves some of these points by more than a float's
  // rounding: the curve through the tables depends on every entry.
  CameraCalibration message = headCamera(250);
  for (int i = 0; i < 250; ++i) {
    SamplePoint* sample = message.mutable_intrinsics()->mutable_samples(i);
    sample->set_image_x(5.25F * static_cast<float>(i));
    sample->set_image_y(970 - 4 * static_cast<float>(i));
  }
  ASSERT_TRUE(camera_.readProto(message));
  const testing::LensTables tables = testing::headCameraTables();
  const AptinaSTE transform(640, 480, 0.9F, tables.radii, tables.degrees);
  ASSERT_EQ(fit.observed.size(), 250U);
  for (std::size_t i = 0; i < fit.observed.size(); ++i) {
    const SamplePoint& sample = message.intrinsics().samples(static_cast<int>(i));
    EXPECT_EQ(fit.observed[i], transform.transformPoint({sample.image_x(), sample.image_y()})) << i;
  }
}

TEST_F(CameraRefitTest, PrecomputingAgainGivesTheSameTable) {
  ASSERT_TRUE(camera_.readProto(headCamera(4)));
  ASSERT_TRUE(camera_.precomputeB910Intrinsics());
  ASSERT_EQ(camera_.getIntrinsicsTable().size(), 4U);
  ASSERT_TRUE(camera_.precomputeIntrinsics());
  const auto& table = camera_.getIntrinsicsTable();
  ASSERT_EQ(table.size(), 3U);
  EXPECT_EQ(table[0].width, 640);
  EXPECT_EQ(table[0].fx, 0.5F * 648.25F);
  EXPECT_THAT(table[0].distortion, ElementsAre(1.1F, 1.2F, 2.1F, 2.2F, 1.3F, 1.4F, 1.5F, 1.6F));
  EXPECT_EQ(table[1].fx, 1000);
  EXPECT_EQ(table[2].cy, 360);
}

TEST_F(CameraRefitTest, LoadFitsOnce) {
  for (const double error : {0.5, 11.0}) {
    fit = {};
    fit.error = error;
    CameraParameters camera;
    EXPECT_EQ(camera.readProto(headCamera(4)), error < 10);
    EXPECT_EQ(fit.calls, 1);
  }
}

TEST_F(CameraRefitTest, ProblemOfTheFitIsAValue) {
  ScopedLogCapture capture;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const double error : {0.0, 10.0, nan}) {
    fit.error = error;
    EXPECT_EQ(findLoadProblem(headCamera(4)), std::nullopt) << error;
  }
  const std::pair<double, const char*> refused[] = {
      {10.000001, "10"}, {12.5, "12.5"}, {std::numeric_limits<double>::infinity(), "inf"}};
  for (const auto& [error, text] : refused) {
    fit.error = error;
    const std::optional<LoadProblem> problem = findLoadProblem(headCamera(4));
    ASSERT_NE(problem, std::nullopt) << error;
    EXPECT_EQ(problem->field, "intrinsics.samples");
    EXPECT_EQ(problem->sentence,
              std::string("Error recomputing calibration. Error per point=") + text);
  }
  EXPECT_TRUE(capture.take().empty());
  // It is the head camera's sensor alone that warps.
  fit.calls = 0;
  EXPECT_EQ(findLoadProblem(exampleCamera("camera", "mk513n")), std::nullopt);
  EXPECT_EQ(fit.calls, 0);
}

TEST_F(CameraRefitTest, FailedFitKeepsTheTable) {
  for (const int samples : {0, 4}) {
    CameraParameters camera;
    ASSERT_TRUE(camera.precomputeB910Intrinsics());
    fit.error = 11;
    EXPECT_FALSE(camera.readProto(headCamera(samples)));
    EXPECT_EQ(camera.getIntrinsicsTable().size(), 4U);
    EXPECT_EQ(camera.getModel(), "mk512h");
  }
}

}  // namespace
}  // namespace norv::calibration

// A pan-tilt-zoom camera at one position: PTZCameraModelConfiguration without its lens and its
// pointing.

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

#include "calibration_common/camera_parameters.h"
#include "calibration_common/ptz_camera_model.h"
#include "support/camera_projection.h"
#include "testing/calibration_messages.h"
#include "testing/example_ptz.h"
#include "testing/log_capture.h"
#include "testing/ptz_pointing.h"
#include "testing/random_head.h"
#include "tests/calibration_common/configured_ptz.h"

namespace norv::calibration {
namespace {

using testing::configured;
using ::testing::ElementsAre;
using testing::examplePtz;
using ::testing::KilledBySignal;
using testing::lines;
using testing::LogLine;
using ::testing::MatchesRegex;
using testing::narrow;
using testing::ptzModel;
using testing::randomPixel;
using testing::ScopedLogCapture;
using testing::uniform;

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

// How well the head camera's fit meets its samples, as the camera tells.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "calibration_common/camera_parameters.h"
#include "support/sensor_transform.h"
#include "testing/log_capture.h"

namespace norv::calibration {
namespace {

CameraCalibration headCalibration() {
  return CameraParametersSet().getRobotCalibration().camera_calibration(0);
}

double rootMeanSquare(const std::vector<float>& values) {
  double sum = 0;
  for (const float value : values) sum += static_cast<double>(value) * static_cast<double>(value);
  return std::sqrt(sum / static_cast<double>(values.size()));
}

TEST(CameraRefitQualityTest, TellsTheErrorOfEverySample) {
  CameraParameters camera;
  ASSERT_TRUE(camera.readProto(headCalibration()));
  ASSERT_TRUE(camera.getRefit().has_value());
  const CameraParameters::Refit& refit = *camera.getRefit();
  EXPECT_EQ(refit.residuals.size(), 130U);
  // The samples are stored to 0.001 pixels.
  EXPECT_LT(refit.error_per_point, 0.001);
  EXPECT_NEAR(rootMeanSquare(refit.residuals), refit.error_per_point, 1e-6 * refit.error_per_point);
}

TEST(CameraRefitQualityTest, TellsWhichSampleIsWrong) {
  CameraCalibration calibration = headCalibration();
  SamplePoint* wrong = calibration.mutable_intrinsics()->mutable_samples(58);
  wrong->set_image_x(wrong->image_x() + 4);
  CameraParameters camera;
  ASSERT_TRUE(camera.readProto(calibration));
  const std::vector<float>& residuals = camera.getRefit()->residuals;
  const auto largest = std::max_element(residuals.begin(), residuals.end());
  EXPECT_EQ(largest - residuals.begin(), 58);
  // 4 pixels times the warp's magnification at the point, 0.9 to 1.2.
  EXPECT_NEAR(static_cast<double>(*largest), 4, 0.8);
  EXPECT_NEAR(rootMeanSquare(residuals), camera.getRefit()->error_per_point, 1e-6);
}

TEST(CameraRefitQualityTest, LeavesOutASampleThatIsNotFinite) {
  CameraCalibration calibration = headCalibration();
  calibration.mutable_intrinsics()->mutable_samples(58)->set_image_y(NAN);
  CameraParameters camera;
  ASSERT_TRUE(camera.readProto(calibration));
  std::vector<float> residuals = camera.getRefit()->residuals;
  ASSERT_EQ(residuals.size(), 130U);
  EXPECT_TRUE(std::isnan(residuals[58]));
  residuals.erase(residuals.begin() + 58);
  const double error = camera.getRefit()->error_per_point;
  EXPECT_LT(error, 0.001);  // the samples are stored to 0.001 pixels
  EXPECT_NEAR(rootMeanSquare(residuals), error, 1e-6 * error);
}

TEST(CameraRefitQualityTest, DoesNotDependOnTheUnitOfTheTarget) {
  CameraCalibration calibration = headCalibration();
  CameraParameters metres;
  ASSERT_TRUE(metres.readProto(calibration));
  for (const float scale : {0.0F, -1.0F, 7.0F}) {  // the first two count as 1
    calibration.mutable_intrinsics()->set_sample_scale(scale);
    CameraParameters camera;
    ASSERT_TRUE(camera.readProto(calibration));
    for (std::size_t i = 0; i < 130; ++i) {
      EXPECT_NEAR(static_cast<double>(camera.getRefit()->residuals[i]),
                  static_cast<double>(metres.getRefit()->residuals[i]), 1e-6);
    }
  }
}

TEST(CameraRefitQualityTest, IsOfTheLastLoad) {
  CameraCalibration calibration = headCalibration();
  CameraParameters camera;
  EXPECT_FALSE(camera.getRefit().has_value());
  ASSERT_TRUE(camera.readProto(calibration));
  EXPECT_TRUE(camera.getRefit().has_value());
  for (const char* model : {"mk513n", "b910", "another"}) {
    calibration.set_model(model);
    CameraParameters other;
    ASSERT_TRUE(other.readProto(calibration));
    EXPECT_FALSE(other.getRefit().has_value());
    ASSERT_TRUE(camera.readProto(calibration));
    EXPECT_FALSE(camera.getRefit().has_value());
    calibration.set_model("mk512h");
    ASSERT_TRUE(camera.readProto(calibration));
    EXPECT_TRUE(camera.getRefit().has_value());
  }
}

TEST(CameraRefitQualityTest, IsMissingWhereNothingWasFitted) {
  const testing::ScopedLogCapture log;
  CameraCalibration calibration = headCalibration();
  calibration.mutable_intrinsics()->clear_samples();
  CameraParameters camera;
  EXPECT_FALSE(camera.readProto(calibration));
  EXPECT_FALSE(camera.getRefit().has_value());
}

TEST(CameraRefitQualityTest, IsNotTouchedByAFitOfOnesOwn) {
  class Mirror : public ImageSensorTransform {
   public:
    Vector2_f transformPoint(const Vector2_f& p) const override { return {1280 - p.x(), p.y()}; }
    Vector2_f inverseTransformPoint(const Vector2_f& p) const override { return transformPoint(p); }
  };
  CameraParameters camera;
  ASSERT_TRUE(camera.readProto(headCalibration()));
  const CameraParameters::Refit before = *camera.getRefit();
  CameraParameters::Intrinsics out;
  ASSERT_TRUE(camera.recomputeIntrinsics(Mirror(), &out));
  EXPECT_EQ(camera.getRefit()->error_per_point, before.error_per_point);
  EXPECT_EQ(camera.getRefit()->residuals, before.residuals);
}

}  // namespace
}  // namespace norv::calibration

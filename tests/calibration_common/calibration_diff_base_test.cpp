/// Two calibrations of a mobile base, compared.

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/calibration_diff.h"
#include "testing/random_message.h"

namespace norv::calibration {
namespace {

BaseCalibrationProto defaultBase() { return BaseCalibrationData().getCalibration(); }

TEST(BaseDiff, OfEqualCalibrationsIsExactlyZero) {
  const auto difference = diffCalibrations(defaultBase(), defaultBase());
  ASSERT_TRUE(difference);
  EXPECT_EQ(difference->global_transform.angle, 0);
  EXPECT_EQ(difference->global_transform.distance, 0);
  EXPECT_EQ(difference->gain.a, difference->gain.b);
  EXPECT_EQ(difference->gain.a, 1.0035F);
  EXPECT_EQ(difference->wheel_base.b, 0.42F);
  EXPECT_EQ(difference->base_width.b, 0.52F);
  EXPECT_EQ(difference->base_length.b, 0.61F);
}

TEST(BaseDiff, HasTheValuesOfBoth) {
  BaseCalibrationProto b = defaultBase();
  b.set_wheel_base(0.43F);
  b.clear_base_width();
  b.mutable_gyroscope()->set_gain(1.01F);
  auto* pose = b.mutable_global_transform_adjustment()->mutable_global_transform();
  // The base's frame is moved by -R^T t.
  pose->set_a(3, pose->a(3) + 3);
  pose->set_a(7, pose->a(7) + 4);
  const auto difference = diffCalibrations(defaultBase(), b);
  ASSERT_TRUE(difference);
  EXPECT_EQ(difference->global_transform.angle, 0);
  EXPECT_NEAR(difference->global_transform.distance, 0.005, 1e-11);
  EXPECT_EQ(difference->gain.b, 1.01F);
  EXPECT_EQ(difference->wheel_base.a, 0.42F);
  EXPECT_EQ(difference->wheel_base.b, 0.43F);
  EXPECT_EQ(difference->base_width.b, std::nullopt);
}

TEST(BaseDiff, WithoutGlobalTransformThereIsAReason) {
  DiffProblem problem;
  EXPECT_FALSE(diffCalibrations(defaultBase(), BaseCalibrationProto(), &problem));
  EXPECT_TRUE(problem.is_in_b);
  EXPECT_EQ(problem.problem.field, "global_transform_adjustment.global_transform.a");
  EXPECT_FALSE(diffCalibrations(BaseCalibrationProto(), defaultBase(), &problem));
  EXPECT_FALSE(problem.is_in_b);
  EXPECT_FALSE(diffCalibrations(BaseCalibrationProto(), defaultBase()));
}

TEST(BaseDiff, AnyMessagesAreCompared) {
  std::mt19937 random(21);
  int compared = 0;
  for (int i = 0; i < 500; ++i) {
    if (diffCalibrations(testing::mutated(defaultBase(), &random),
                         testing::mutated(defaultBase(), &random))) {
      ++compared;
    }
  }
  EXPECT_GT(compared, 100);
}

}  // namespace
}  // namespace norv::calibration

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <limits>
#include <random>

#include "calibration_common/camera_parameters.h"
#include "testing/log_capture.h"

namespace norv::calibration {
namespace {

using testing::ScopedLogCapture;

Matrix4x4_f counting() {
  Matrix4x4_f m;
  for (int i = 0; i < 16; ++i) m(i / 4, i % 4) = static_cast<float>(i) + 0.5F;
  return m;
}

CameraExtrinsics stored(int size) {
  CameraExtrinsics message;
  for (int i = 0; i < size; ++i) message.add_a(i + 1);
  return message;
}

TEST(PoseConversion, SplitTakesTheTopRowsAsTheyAre) {
  Matrix3x3_f rotation;
  Vector3_f translation;
  CameraParameters::convert(counting(), &rotation, &translation);
  Matrix3x3_f expected;
  expected << 0.5F, 1.5F, 2.5F,  //
      4.5F, 5.5F, 6.5F,          //
      8.5F, 9.5F, 10.5F;
  EXPECT_EQ(rotation, expected);
  EXPECT_EQ(translation, Vector3_f(3.5F, 7.5F, 11.5F));
}

TEST(PoseConversion, BuildThenSplitIsExact) {
  std::mt19937_64 random(1);
  std::uniform_real_distribution<float> uniform(-3, 3);
  Matrix3x3_f rotation;
  for (float& element : rotation.reshaped()) element = uniform(random);
  const Vector3_f translation(uniform(random), uniform(random), uniform(random));
  Matrix4x4_f m;
  CameraParameters::convert(rotation, translation, &m);
  Matrix3x3_f rotation_back;
  Vector3_f translation_back;
  CameraParameters::convert(m, &rotation_back, &translation_back);
  EXPECT_EQ(rotation_back, rotation);
  EXPECT_EQ(translation_back, translation);
}

TEST(PoseConversion, BuildLeavesNothingOfTheOldMatrix) {
  Matrix4x4_f m = Matrix4x4_f::Constant(std::numeric_limits<float>::quiet_NaN());
  CameraParameters::convert(Matrix3x3_f::Constant(2), Vector3_f(3, 4, 5), &m);
  Matrix4x4_f expected;
  expected << 2, 2, 2, 3,  //
      2, 2, 2, 4,          //
      2, 2, 2, 5,          //
      0, 0, 0, 1;
  EXPECT_EQ(m, expected);
}

TEST(PoseConversion, StoreWritesMillimetresRowByRow) {
  Matrix4x4_f m = counting();
  m(0, 3) = 0.1F;
  m(1, 3) = -0.25F;
  m(2, 3) = 1.5F;
  CameraExtrinsics message;
  CameraParameters::convert(m, &message);
  EXPECT_THAT(message.a(),
              ::testing::ElementsAre(0.5, 1.5, 2.5, static_cast<double>(0.1F) * 1000.0,  //
                                     4.5, 5.5, 6.5, -250,                                //
                                     8.5, 9.5, 10.5, 1500));
  EXPECT_NEAR(message.a(3), 100.00000149, 1e-8);  // not 100: 0.1F is not 0.1
}

TEST(PoseConversion, StoreReplacesTheWholeMessage) {
  CameraExtrinsics message = stored(20);
  CameraExtrinsics::GetReflection()->MutableUnknownFields(&message)->AddVarint(77, 1);
  CameraParameters::convert(Matrix4x4_f::Identity(), &message);
  EXPECT_THAT(message.a(), ::testing::ElementsAre(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0));
  EXPECT_TRUE(message.GetReflection()->GetUnknownFields(message).empty());
}

TEST(PoseConversion, ReadTakesMillimetresToMetres) {
  CameraExtrinsics message = stored(12);
  message.set_a(3, 1000);
  message.set_a(7, -250);
  message.set_a(11, 1);
  Matrix4x4_f m = Matrix4x4_f::Constant(std::numeric_limits<float>::quiet_NaN());
  CameraParameters::convert(message, &m);
  Matrix4x4_f expected;
  expected << 1, 2, 3, 1,  //
      5, 6, 7, -0.25F,     //
      9, 10, 11, 0.001F,   //
      0, 0, 0, 1;
  EXPECT_EQ(m, expected);
  EXPECT_EQ(m(0, 3), 1.0F);
}

TEST(PoseConversion, ReadScalesInDoubleBeforeItRounds) {
  // The two orders of scaling and rounding differ for this value.
  const double millimetres = 250.3;
  ASSERT_NE(static_cast<float>(millimetres * 0.001), static_cast<float>(millimetres) * 0.001F);
  CameraExtrinsics message = stored(12);
  message.set_a(3, millimetres);
  Matrix4x4_f m;
  CameraParameters::convert(message, &m);
  EXPECT_EQ(m(0, 3), static_cast<float>(millimetres * 0.001));
  // The double below 1000 (1 + 1.5 * 2^-23) lies next to the middle between two floats: the product
  // with 0.001 reaches it and is rounded up, the quotient by 1000 does not.
  message.set_a(3, 0x1.f40005dbfffffp+9);
  CameraParameters::convert(message, &m);
  EXPECT_EQ(m(0, 3), 0x1.000004p+0F);
  ASSERT_EQ(static_cast<float>(message.a(3) / 1000), 0x1.000002p+0F);
}

TEST(PoseConversion, ReadIgnoresWhatFollowsTheTwelfthValue) {
  ScopedLogCapture capture;
  Matrix4x4_f twelve;
  Matrix4x4_f more;
  CameraParameters::convert(stored(12), &twelve);
  for (const int size : {13, 16, 1000}) {
    CameraParameters::convert(stored(size), &more);
    EXPECT_EQ(more, twelve);
  }
  EXPECT_TRUE(capture.take().empty());
}

TEST(PoseConversion, StoreThenReadKeepsThePoseUpToRounding) {
  std::mt19937_64 random(5);
  std::uniform_real_distribution<float> uniform(-3, 3);
  for (int trial = 0; trial < 1000; ++trial) {
    Matrix4x4_f m;
    for (float& element : m.reshaped()) element = uniform(random);
    CameraExtrinsics message;
    CameraParameters::convert(m, &message);
    Matrix4x4_f back;
    CameraParameters::convert(message, &back);
    const Matrix3x3_f rotation = m.topLeftCorner<3, 3>();
    const Matrix3x3_f rotation_back = back.topLeftCorner<3, 3>();
    EXPECT_EQ(rotation_back, rotation);
    // The factors are applied in double, whose rounding the final float does not show.
    EXPECT_EQ(back.col(3).head(3).eval(), m.col(3).head(3).eval());
    EXPECT_EQ(back.row(3).eval(), Matrix4x4_f::Identity().row(3).eval());
  }
}

TEST(PoseConversion, AnyValuePassesThrough) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float infinity = std::numeric_limits<float>::infinity();
  Matrix4x4_f m = Matrix4x4_f::Zero();
  m(0, 0) = nan;
  m(1, 3) = infinity;
  m(2, 2) = -infinity;
  CameraExtrinsics message;
  CameraParameters::convert(m, &message);
  EXPECT_TRUE(std::isnan(message.a(0)));
  EXPECT_EQ(message.a(7), std::numeric_limits<double>::infinity());
  Matrix4x4_f back;
  CameraParameters::convert(message, &back);
  EXPECT_TRUE(std::isnan(back(0, 0)));
  EXPECT_EQ(back(1, 3), infinity);
  EXPECT_EQ(back(2, 2), -infinity);
}

TEST(PoseConversionDeathTest, ShortMessageStopsTheProcess) {
  Matrix4x4_f m;
  EXPECT_EXIT(
      CameraParameters::convert(stored(11), &m), ::testing::KilledBySignal(SIGABRT),
      ::testing::MatchesRegex("FATAL check calibration_common/camera_parameters\\.cpp:[0-9]+: "
                              "Check failed: src\\.a_size\\(\\) >= 12 \\(11 vs\\. 12\\) \n"));
}

TEST(PoseConversion, ShortMessageIsAttributedToItsFunction) {
  ScopedLogCapture capture;
  Matrix4x4_f m = counting();
  CameraParameters::convert(stored(7), &m);
  const auto logs = capture.take();
  ASSERT_EQ(logs.size(), 1U);
  EXPECT_EQ(logs[0].level, 1);
  EXPECT_EQ(logs[0].channel, "check");
  EXPECT_EQ(logs[0].text, "Check failed: src.a_size() >= 12 (7 vs. 12) ");
  EXPECT_EQ(logs[0].file, "calibration_common/camera_parameters.cpp");
  EXPECT_EQ(logs[0].function,
            "static void norv::calibration::CameraParameters::convert("
            "const norv::calibration::CameraExtrinsics&, norv::Matrix4x4_f*)");
  EXPECT_EQ(m, counting());  // where the logger lets it pass, nothing is written
}

}  // namespace
}  // namespace norv::calibration

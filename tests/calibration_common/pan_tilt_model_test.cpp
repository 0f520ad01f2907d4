#include "calibration_common/pan_tilt_model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <utility>

#include "support/rotation_z.h"
#include "testing/example_ptz.h"
#include "testing/log_capture.h"
#include "testing/random_head.h"

namespace norv::calibration {
namespace {

using ::testing::ElementsAre;
using testing::exampleHead;
using testing::headModel;
using ::testing::IsEmpty;
using testing::lines;
using testing::LogLine;
using testing::randomHead;
using testing::ScopedLogCapture;

const LogLine kTooShort = {2, "pan_tilt_model",
                           "Not enough matrix elements in PanTiltSystemParameters"};

/// A head whose values all differ, its poses not rigid: they count from 1, 21 and 41.
PanTiltSystemParameters countingHead() {
  PanTiltSystemParameters head;
  int next = 1;
  for (CameraExtrinsics* pose :
       {head.mutable_base_to_pan(), head.mutable_pan_to_tilt(), head.mutable_tilt_to_camera()}) {
    for (int i = 0; i < 12; ++i) pose->add_a(next + i);
    next += 20;
  }
  head.set_pan_scale(0.25F);
  head.set_tilt_scale(0.5F);
  head.set_pan_offset(3);
  head.set_tilt_offset(4);
  head.set_aux_value_1(5);
  head.set_aux_value_2(6);
  return head;
}

Matrix4x4_f countingPose(float first) {
  Matrix4x4_f m = Matrix4x4_f::Identity();
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 4; ++column) {
      const float value = first + static_cast<float>(4 * row + column);
      m(row, column) = column == 3 ? static_cast<float>(static_cast<double>(value) * 0.001) : value;
    }
  }
  return m;
}

void expectCounting(const PanTiltModel& head) {
  EXPECT_EQ(head.getBaseToPan().transform, countingPose(1));
  EXPECT_EQ(head.getPanToTilt().transform, countingPose(21));
  EXPECT_EQ(head.getTiltToCamera().transform, countingPose(41));
  EXPECT_EQ(head.getPanScale(), 0.25F);
  EXPECT_EQ(head.getTiltScale(), 0.5F);
  EXPECT_EQ(head.getPanOffset(), 3);
  EXPECT_EQ(head.getTiltOffset(), 4);
  EXPECT_EQ(head.getAuxValue1(), 5);
  EXPECT_EQ(head.getAuxValue2(), 6);
}

TEST(PanTiltModel, DefaultIsAllZero) {
  const PanTiltModel head;
  const Matrix4x4_f zero = Matrix4x4_f::Zero();
  for (const CameraTransform* pose :
       {&head.getBaseToPan(), &head.getPanToTilt(), &head.getTiltToCamera()}) {
    EXPECT_EQ(pose->transform, zero);
    EXPECT_EQ(pose->inverse, zero);
  }
  for (const float value : {head.getPanScale(), head.getTiltScale(), head.getPanOffset(),
                            head.getTiltOffset(), head.getAuxValue1(), head.getAuxValue2()}) {
    EXPECT_EQ(value, 0);
  }
}

TEST(PanTiltModel, DefaultHasAZeroPose) {
  EXPECT_EQ(PanTiltModel().getFullTransform(100, -200).transform, Matrix4x4_f(Matrix4x4_f::Zero()));
}

TEST(PanTiltModel, ReadsEveryValue) {
  PanTiltModel head;
  EXPECT_TRUE(head.readFromPB(countingHead()));
  expectCounting(head);
}

TEST(PanTiltModel, ReadingSetsTheInversesToo) {
  const PanTiltModel head = headModel(exampleHead());
  Matrix4x4_f camera_to_tilt;
  camera_to_tilt << 0, 0, 1, 0.03F,  //
      0, 1, 0, -0.012F,              //
      -1, 0, 0, 0.002F,              //
      0, 0, 0, 1;
  EXPECT_TRUE(head.getTiltToCamera().inverse.isApprox(camera_to_tilt, 1e-6F))
      << head.getTiltToCamera().inverse;
  EXPECT_EQ(head.getBaseToPan().getCameraCenter(), Vector3_f(0.1F, 0, 1.2F));
}

TEST(PanTiltModel, RejectsEachPoseWithElevenValues) {
  CameraExtrinsics* (PanTiltSystemParameters::*const poses[])() = {
      &PanTiltSystemParameters::mutable_base_to_pan, &PanTiltSystemParameters::mutable_pan_to_tilt,
      &PanTiltSystemParameters::mutable_tilt_to_camera};
  for (const auto pose : poses) {
    PanTiltSystemParameters params = exampleHead();
    (params.*pose)()->mutable_a()->RemoveLast();
    PanTiltModel head = headModel(countingHead());
    ScopedLogCapture capture;
    EXPECT_FALSE(head.readFromPB(params));
    const auto logs = capture.take();
    ASSERT_THAT(lines(logs), ElementsAre(kTooShort));
    EXPECT_EQ(logs[0].function,
              "bool norv::calibration::PanTiltModel::readFromPB("
              "const norv::calibration::PanTiltSystemParameters&)");
    expectCounting(head);
  }
}

TEST(PanTiltModel, RejectsAnAbsentPose) {
  PanTiltSystemParameters params = exampleHead();
  params.clear_pan_to_tilt();
  PanTiltModel head;
  ScopedLogCapture capture;
  EXPECT_FALSE(head.readFromPB(params));
  EXPECT_FALSE(head.readFromPB(PanTiltSystemParameters()));
  // One line a call, however many poses are short.
  EXPECT_THAT(lines(capture.take()), ElementsAre(kTooShort, kTooShort));
  EXPECT_FALSE(params.has_pan_to_tilt());
}

TEST(PanTiltModel, AcceptsTwelveValuesAndMore) {
  PanTiltSystemParameters params = countingHead();
  params.mutable_base_to_pan()->add_a(99);
  for (int i = 0; i < 30; ++i) params.mutable_tilt_to_camera()->add_a(-99);
  PanTiltModel head;
  ScopedLogCapture capture;
  EXPECT_TRUE(head.readFromPB(params));
  EXPECT_THAT(lines(capture.take()), IsEmpty());
  expectCounting(head);
}

TEST(PanTiltModel, AbsentNumbersReadAsZero) {
  PanTiltSystemParameters params;
  *params.mutable_base_to_pan() = exampleHead().base_to_pan();
  *params.mutable_pan_to_tilt() = exampleHead().pan_to_tilt();
  *params.mutable_tilt_to_camera() = exampleHead().tilt_to_camera();
  PanTiltModel head = headModel(countingHead());
  EXPECT_TRUE(head.readFromPB(params));
  for (const float value : {head.getPanScale(), head.getTiltScale(), head.getPanOffset(),
                            head.getTiltOffset(), head.getAuxValue1(), head.getAuxValue2()}) {
    EXPECT_EQ(value, 0);
  }
}

TEST(PanTiltModel, NothingElseIsChecked) {
  PanTiltSystemParameters params = countingHead();
  for (int i = 0; i < 12; ++i) params.mutable_pan_to_tilt()->set_a(i, std::nan(""));
  params.set_pan_scale(-std::numeric_limits<float>::infinity());
  params.set_tilt_scale(0);
  PanTiltModel head;
  ScopedLogCapture capture;
  EXPECT_TRUE(head.readFromPB(params));
  EXPECT_THAT(lines(capture.take()), IsEmpty());
  EXPECT_EQ(head.getPanScale(), -std::numeric_limits<float>::infinity());
  EXPECT_TRUE(head.getPanToTilt().transform.topRows<3>().array().isNaN().all());
  EXPECT_TRUE(head.getFullTransform(1, 2).transform.topRows<3>().hasNaN());
}

TEST(PanTiltModel, WritingThenReadingReproducesTheHead) {
  std::mt19937_64 random(50);
  for (int trial = 0; trial < 300; ++trial) {
    PanTiltSystemParameters params = randomHead(&random);
    params.set_aux_value_1(static_cast<float>(testing::uniform(&random, -9, 9)));
    params.set_aux_value_2(static_cast<float>(testing::uniform(&random, -9, 9)));
    const PanTiltModel head = headModel(params);
    PanTiltSystemParameters written;
    head.writeToPB(&written);
    PanTiltModel again;
    ASSERT_TRUE(again.readFromPB(written));
    // Millimetres and back round in double: no float changes.
    EXPECT_EQ(again.getBaseToPan().transform, head.getBaseToPan().transform);
    EXPECT_EQ(again.getPanToTilt().transform, head.getPanToTilt().transform);
    EXPECT_EQ(again.getTiltToCamera().transform, head.getTiltToCamera().transform);
    EXPECT_EQ(again.getPanScale(), params.pan_scale());
    EXPECT_EQ(again.getTiltScale(), params.tilt_scale());
    EXPECT_EQ(again.getPanOffset(), params.pan_offset());
    EXPECT_EQ(again.getTiltOffset(), params.tilt_offset());
    EXPECT_EQ(again.getAuxValue1(), params.aux_value_1());
    EXPECT_EQ(again.getAuxValue2(), params.aux_value_2());
  }
}

TEST(PanTiltModel, WritingMarksWhatItWritesAndLosesTheLimits) {
  PanTiltSystemParameters params = exampleHead();
  params.set_home_pan(7);
  PanTiltSystemParameters written;
  headModel(params).writeToPB(&written);
  EXPECT_TRUE(written.has_base_to_pan() && written.has_pan_to_tilt() &&
              written.has_tilt_to_camera());
  EXPECT_TRUE(written.has_pan_scale() && written.has_tilt_scale());
  EXPECT_TRUE(written.has_pan_offset() && written.has_tilt_offset());
  EXPECT_TRUE(written.has_aux_value_1() && written.has_aux_value_2());
  EXPECT_FALSE(written.has_min_pan() || written.has_max_pan());
  EXPECT_FALSE(written.has_min_tilt() || written.has_max_tilt());
  EXPECT_FALSE(written.has_home_pan() || written.has_home_tilt());
}

TEST(PanTiltModel, WritingKeepsTheTargetsLimits) {
  PanTiltSystemParameters target;
  target.set_min_pan(-1);
  target.set_max_pan(2);
  target.set_min_tilt(-3);
  target.set_max_tilt(4);
  target.set_home_pan(5);
  target.set_home_tilt(6);
  // What is replaced does not linger.
  for (int i = 0; i < 20; ++i) target.mutable_base_to_pan()->add_a(9);
  target.set_aux_value_1(9);

  PanTiltSystemParameters expected = countingHead();
  headModel(expected).writeToPB(&target);
  EXPECT_EQ(target.base_to_pan().a_size(), 12);
  EXPECT_FLOAT_EQ(static_cast<float>(target.base_to_pan().a(3)), 4);
  EXPECT_EQ(target.base_to_pan().a(4), 5);
  EXPECT_EQ(target.aux_value_1(), 5);
  EXPECT_EQ(target.min_pan(), -1);
  EXPECT_EQ(target.max_pan(), 2);
  EXPECT_EQ(target.min_tilt(), -3);
  EXPECT_EQ(target.max_tilt(), 4);
  EXPECT_EQ(target.home_pan(), 5);
  EXPECT_EQ(target.home_tilt(), 6);
}

TEST(PanTiltModel, FullTransformAtTheOffsetsIsTheChainOfPoses) {
  PanTiltSystemParameters params = countingHead();
  params.set_pan_offset(123.5F);
  params.set_tilt_offset(-77.25F);
  const CameraTransform pose = headModel(params).getFullTransform(123.5F, -77.25F);
  const Matrix4x4_f expected = countingPose(41) * countingPose(21) * countingPose(1);
  EXPECT_EQ(pose.transform, expected);
}

/// Where a pose takes a point.
Vector3_f map(const Matrix4x4_f& m, const Vector3_f& p) { return (m * p.homogeneous()).head<3>(); }

TEST(PanTiltModel, FullTransformByHand) {
  PanTiltSystemParameters params = testing::headWithoutLeverArms();
  params.set_pan_scale(0.5F);
  params.set_tilt_scale(0.25F);
  params.set_pan_offset(10);
  params.set_tilt_offset(20);
  const PanTiltModel head = headModel(params);
  const double half_pi = 90 * testing::kRadians;
  // A quarter turn of pan: the camera looks to the right, along -y.
  const auto pan = static_cast<float>(10 + half_pi / 0.5);
  Vector3_f p = map(head.getFullTransform(pan, 20).transform, {0, -1, 0});
  EXPECT_LT((p - Vector3_f(0, 0, 1)).norm(), 1e-6F) << p;
  // A quarter turn of tilt: it looks up.
  const auto tilt = static_cast<float>(20 + half_pi / 0.25);
  p = map(head.getFullTransform(10, tilt).transform, {0, 0, 1});
  EXPECT_LT((p - Vector3_f(0, 0, 1)).norm(), 1e-6F) << p;
}

TEST(PanTiltModel, FullTransformIsTheChainInDouble) {
  std::mt19937_64 random(51);
  double worst = 0;
  for (int trial = 0; trial < 2000; ++trial) {
    const PanTiltSystemParameters params = randomHead(&random);
    const PanTiltModel head = headModel(params);
    const auto pan = static_cast<float>(testing::uniform(&random, -2000, 2000));
    const auto tilt = static_cast<float>(testing::uniform(&random, -2000, 2000));
    const CameraTransform pose = head.getFullTransform(pan, tilt);
    const Eigen::Matrix4d expected = testing::cameraFromBaseAtSteps(
        params, {static_cast<double>(pan), static_cast<double>(tilt)});
    worst = std::max(worst, (pose.transform.cast<double>() - expected).cwiseAbs().maxCoeff());
    worst =
        std::max(worst, (pose.inverse.cast<double>() - expected.inverse()).cwiseAbs().maxCoeff());
  }
  // Measured: 4.4e-7. Angles are rounded to float, at up to 4 rad.
  EXPECT_LT(worst, 2e-6);
}

TEST(PanTiltModel, FullTransformConvertsStepsInSinglePrecision) {
  // 16777217 is no float: in double the angle would be larger by a step of 0.1 rad.
  PanTiltSystemParameters params = testing::headWithoutLeverArms();
  params.set_pan_scale(0.1F);
  params.set_pan_offset(-1);
  const float angle = (16777216.0F - -1.0F) * 0.1F;
  const Matrix4x4_f expected = headModel(params).getTiltToCamera().transform *
                               headModel(params).getPanToTilt().transform * rotationZTransf(angle);
  EXPECT_EQ(headModel(params).getFullTransform(16777216.0F, 0).transform, expected);
}

TEST(PanTiltModel, FullTransformMultipliesFromTheCamerasSide) {
  std::mt19937_64 random(52);
  int told_apart = 0;
  for (int trial = 0; trial < 200; ++trial) {
    const PanTiltSystemParameters params = randomHead(&random);
    const PanTiltModel head = headModel(params);
    const auto pan = static_cast<float>(testing::uniform(&random, -2000, 2000));
    const auto tilt = static_cast<float>(testing::uniform(&random, -2000, 2000));
    const Matrix4x4_f turned = rotationZTransf((pan - params.pan_offset()) * params.pan_scale());
    const Matrix4x4_f tilted = rotationZTransf((tilt - params.tilt_offset()) * params.tilt_scale());
    Matrix4x4_f expected = head.getTiltToCamera().transform * tilted;
    expected = (expected * head.getPanToTilt().transform).eval();
    expected = (expected * turned).eval();
    expected = (expected * head.getBaseToPan().transform).eval();
    EXPECT_EQ(head.getFullTransform(pan, tilt).transform, expected) << trial;
    // From the base's side the last bits are others.
    Matrix4x4_f other = turned * head.getBaseToPan().transform;
    other = (head.getPanToTilt().transform * other).eval();
    other = (tilted * other).eval();
    other = (head.getTiltToCamera().transform * other).eval();
    if (other != expected) ++told_apart;
  }
  EXPECT_GT(told_apart, 100);
}

TEST(PanTiltModel, FullTransformOfValuesThatAreNotFinite) {
  const PanTiltModel head = headModel(exampleHead());
  for (const float bad : {std::nanf(""), std::numeric_limits<float>::infinity()}) {
    EXPECT_TRUE(head.getFullTransform(bad, 0).transform.hasNaN());
    EXPECT_TRUE(head.getFullTransform(0, bad).transform.hasNaN());
  }
}

/// A head with these limits alone.
PanTiltSystemParameters limited(int min_pan, int max_pan, int min_tilt, int max_tilt) {
  PanTiltSystemParameters params;
  params.set_min_pan(min_pan);
  params.set_max_pan(max_pan);
  params.set_min_tilt(min_tilt);
  params.set_max_tilt(max_tilt);
  return params;
}

/// What a position becomes within the limits.
std::pair<int, int> limit(const PanTiltSystemParameters& params, int pan, int tilt) {
  limitToMotorRange(params, &pan, &tilt);
  return {pan, tilt};
}

TEST(LimitToMotorRange, EachSide) {
  const PanTiltSystemParameters params = limited(-10, 20, -3, 4);
  EXPECT_EQ(limit(params, -11, -4), std::make_pair(-10, -3));
  EXPECT_EQ(limit(params, 21, 5), std::make_pair(20, 4));
  EXPECT_EQ(limit(params, -10, -3), std::make_pair(-10, -3));
  EXPECT_EQ(limit(params, 20, 4), std::make_pair(20, 4));
  EXPECT_EQ(limit(params, 7, 1), std::make_pair(7, 1));
}

TEST(LimitToMotorRange, AbsentLimitsDoNotApply) {
  EXPECT_EQ(limit(PanTiltSystemParameters(), -99999, 99999), std::make_pair(-99999, 99999));
  PanTiltSystemParameters params = limited(-10, 20, -3, 4);
  params.clear_min_pan();
  EXPECT_EQ(limit(params, -99, -99), std::make_pair(-99, -3));
  EXPECT_EQ(limit(params, 99, 99), std::make_pair(20, 4));
  params = limited(-10, 20, -3, 4);
  params.clear_max_pan();
  EXPECT_EQ(limit(params, -99, -99), std::make_pair(-10, -3));
  EXPECT_EQ(limit(params, 99, 99), std::make_pair(99, 4));
  params = limited(-10, 20, -3, 4);
  params.clear_min_tilt();
  EXPECT_EQ(limit(params, -99, -99), std::make_pair(-10, -99));
  EXPECT_EQ(limit(params, 99, 99), std::make_pair(20, 4));
  params = limited(-10, 20, -3, 4);
  params.clear_max_tilt();
  EXPECT_EQ(limit(params, -99, -99), std::make_pair(-10, -3));
  EXPECT_EQ(limit(params, 99, 99), std::make_pair(20, 99));
}

TEST(LimitToMotorRange, ALimitOfZeroThatIsPresentApplies) {
  EXPECT_EQ(limit(limited(0, 0, 0, 0), -5, 5), std::make_pair(0, 0));
}

TEST(LimitToMotorRange, TheMaximumWinsOverALargerMinimum) {
  const PanTiltSystemParameters params = limited(100, -100, 50, -50);
  for (const int value : {-1000, 0, 1000}) {
    EXPECT_EQ(limit(params, value, value), std::make_pair(-100, -50));
  }
}

TEST(LimitToMotorRange, ExtremeValues) {
  constexpr int kMinInt = std::numeric_limits<int>::min();
  constexpr int kMaxInt = std::numeric_limits<int>::max();
  EXPECT_EQ(limit(exampleHead(), kMinInt, kMaxInt), std::make_pair(-5934, 3141));
  EXPECT_EQ(limit(limited(kMinInt, kMaxInt, kMinInt, kMaxInt), kMinInt, kMaxInt),
            std::make_pair(kMinInt, kMaxInt));
}

}  // namespace
}  // namespace norv::calibration

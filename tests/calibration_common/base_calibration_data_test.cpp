#include "calibration_common/base_calibration_data.h"

#include <gmock/gmock.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <type_traits>

#include "testing/log_capture.h"
#include "testing/same_bits.h"

namespace norv::calibration {
namespace {

using google::protobuf::util::MessageDifferencer;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::lines;
using testing::LogLine;
using testing::sameBits;
using testing::ScopedLogCapture;

static_assert(std::is_copy_constructible_v<BaseCalibrationData>);
static_assert(!std::is_copy_assignable_v<BaseCalibrationData>);
static_assert(!std::is_move_assignable_v<BaseCalibrationData>);

const LogLine kTooShort = {2, "base_calibration_data",
                           "global_transform does not have enough parameters."};

/// A calibration whose stored global transform counts from 1 and has `size` values.
BaseCalibrationProto counting(int size) {
  BaseCalibrationProto base;
  auto* transform = base.mutable_global_transform_adjustment()->mutable_global_transform();
  for (int i = 0; i < size; ++i) transform->add_a(i + 1);
  return base;
}

void expectCounting(const BaseCalibrationData& data) {
  Matrix3x3_f rotation;
  rotation << 1, 2, 3,  //
      5, 6, 7,          //
      9, 10, 11;
  EXPECT_EQ(data.getWorldRotation(), rotation);
  EXPECT_EQ(data.getWorldTranslation(), Vector3_f(0.004F, 0.008F, 0.012F));
}

void expectDefaults(const BaseCalibrationData& data) {
  const BaseCalibrationData defaults;
  EXPECT_TRUE(MessageDifferencer::Equals(data.getCalibration(), defaults.getCalibration()));
  EXPECT_EQ(data.getWorldRotation(), defaults.getWorldRotation());
  EXPECT_EQ(data.getWorldTranslation(), defaults.getWorldTranslation());
}

Matrix3x3_f randomRotation(std::mt19937_64* random) {
  std::uniform_real_distribution<float> uniform(-1, 1);
  Matrix3x3_f m;
  for (float& element : m.reshaped()) element = uniform(*random);
  return m;
}

CalibrationMetadataProto metadata(const std::string& gain_key, const std::string& key) {
  CalibrationMetadataProto result;
  result.set_gain_validity_key(gain_key);
  result.set_validity_key(key);
  return result;
}

TEST(BaseCalibrationData, HoldsTheCompiledInDefaultAtFirst) {
  ScopedLogCapture capture;
  const BaseCalibrationData data;
  EXPECT_THAT(lines(capture.take()), IsEmpty());
  EXPECT_EQ(data.getWheelBase(), 0.42F);
  EXPECT_EQ(data.getBaseWidth(), 0.52F);
  EXPECT_EQ(data.getBaseLength(), 0.61F);
  EXPECT_EQ(data.getGyroscopeGain(), 1.0035F);
  EXPECT_EQ(data.getWorldTranslation(), Vector3_f(0.0045F, -0.00225F, 0.0015F));
  // A turn of 1.5 degrees about z, then of 0.5 degrees about y.
  EXPECT_NEAR(data.getWorldRotation()(1, 1), std::cos(1.5 * 3.14159265358979 / 180), 1e-7);
  EXPECT_NEAR(data.getWorldRotation()(0, 2), std::sin(0.5 * 3.14159265358979 / 180), 1e-7);
  const Matrix3x3_f product = data.getWorldRotation() * data.getWorldRotation().transpose();
  EXPECT_LT((product - Matrix3x3_f::Identity()).cwiseAbs().maxCoeff(), 1e-6F);  // measured: 6e-8
  EXPECT_TRUE(data.isGlobalTransformCalibrationValid("default-base"));
  EXPECT_TRUE(data.isGyroscopeGainCalibrationValid("default-gyroscope"));
}

/// Constructed before main.
const BaseCalibrationData global_data;

TEST(BaseCalibrationData, GlobalObjectsConstruct) { expectDefaults(global_data); }

TEST(BaseCalibrationData, SetDefaultReturnsFalseAndChangesNothing) {
  BaseCalibrationData data;
  ScopedLogCapture capture;
  EXPECT_FALSE(data.setDefault());
  EXPECT_THAT(lines(capture.take()), IsEmpty());
  expectDefaults(data);
}

TEST(BaseCalibrationData, SetDefaultUndoesEverything) {
  BaseCalibrationData data;
  data.setBaseWidth(7);
  data.setGyroscopeGain(GyroscopeCalibrationProto());
  data.setGlobalTransform(Matrix3x3_f::Identity(), Vector3_f(1, 2, 3), {});
  EXPECT_FALSE(data.setDefault());
  expectDefaults(data);
}

TEST(BaseCalibrationData, LoadsBinaryAndText) {
  BaseCalibrationProto base = counting(12);
  base.set_wheel_base(0.25F);
  for (const std::string& bytes : {base.SerializeAsString(), base.DebugString()}) {
    BaseCalibrationData data;
    ScopedLogCapture capture;
    EXPECT_TRUE(data.loadFromString(bytes));
    EXPECT_THAT(lines(capture.take()), IsEmpty());
    expectCounting(data);
    EXPECT_EQ(data.getWheelBase(), 0.25F);
    EXPECT_TRUE(MessageDifferencer::Equals(data.getCalibration(), base));
    // What the loaded message leaves out is not the default's.
    EXPECT_EQ(data.getBaseWidth(), 0);
    EXPECT_EQ(data.getGyroscopeGain(), 0);
  }
}

TEST(BaseCalibrationData, FurtherValuesAreIgnored) {
  for (const int size : {13, 100}) {
    BaseCalibrationData data;
    EXPECT_TRUE(data.loadFromString(counting(size).DebugString()));
    expectCounting(data);
  }
}

TEST(BaseCalibrationData, TooFewValuesFallBackToTheDefault) {
  for (const int size : {0, 1, 11}) {
    BaseCalibrationData data;
    ASSERT_TRUE(data.loadFromString(counting(12).SerializeAsString()));
    ScopedLogCapture capture;
    EXPECT_FALSE(data.loadFromString(counting(size).DebugString()));
    const auto logs = capture.take();
    EXPECT_THAT(lines(logs), ElementsAre(kTooShort));
    EXPECT_EQ(logs[0].file, "calibration_common/base_calibration_data.cpp");
    EXPECT_EQ(logs[0].function, "bool norv::calibration::BaseCalibrationData::readProto()");
    expectDefaults(data);
  }
}

TEST(BaseCalibrationData, EmptyStringIsAMessageWithoutAGlobalTransform) {
  BaseCalibrationData data;
  ScopedLogCapture capture;
  EXPECT_FALSE(data.loadFromString(""));
  EXPECT_THAT(lines(capture.take()), ElementsAre(kTooShort));
  expectDefaults(data);
}

TEST(BaseCalibrationData, DataOfNeitherFormatIsRefusedWithoutALine) {
  ::testing::internal::CaptureStderr();
  BaseCalibrationData data;
  data.setBaseWidth(7);
  ScopedLogCapture capture;
  for (const char* bytes : {"neither binary nor text", "wheel_base: \"x\"", "unknown: 1", "\xff"}) {
    EXPECT_FALSE(data.loadFromString(bytes));
    EXPECT_THAT(lines(capture.take()), IsEmpty());
    expectDefaults(data);
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(BaseCalibrationData, TruncatedBinary) {
  BaseCalibrationProto base = counting(12);
  base.set_wheel_base(1);
  *base.mutable_gyroscope()->mutable_metadata() = metadata("a", "b");
  const std::string whole = base.SerializeAsString();
  int loaded = 0;
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    BaseCalibrationData data;
    BaseCalibrationProto parsed;
    const bool complete = parsed.ParseFromString(whole.substr(0, length)) &&
                          parsed.global_transform_adjustment().global_transform().a_size() == 12;
    EXPECT_EQ(data.loadFromString(whole.substr(0, length)), complete) << length;
    if (complete) {
      ++loaded;
      expectCounting(data);
    } else {
      expectDefaults(data);
    }
  }
  EXPECT_EQ(loaded, 2);  // with and without the gyroscope, the last field
}

TEST(BaseCalibrationData, RandomBytes) {
  std::mt19937_64 random(17);
  std::uniform_int_distribution<int> byte(0, 255);
  BaseCalibrationData data;
  const ScopedLogCapture capture;
  for (int trial = 0; trial < 2000; ++trial) {
    std::string bytes(static_cast<std::size_t>(byte(random)), '\0');
    for (char& c : bytes) c = static_cast<char>(byte(random));
    EXPECT_FALSE(data.loadFromString(bytes));
    ASSERT_EQ(data.getWheelBase(), 0.42F);
  }
  expectDefaults(data);
}

TEST(BaseCalibrationData, SetGlobalTransformStoresItWithItsMetadata) {
  BaseCalibrationData data;
  Matrix3x3_f rotation;
  rotation << 1, 2, 3,  //
      4, 5, 6,          //
      7, 8, 9;          // not a rotation, and stored all the same
  CalibrationMetadataProto given = metadata("gain", "transform");
  given.set_operator_note("by hand");
  data.setGlobalTransform(rotation, Vector3_f(0.25F, -0.5F, 2), given);
  EXPECT_EQ(data.getWorldRotation(), rotation);
  EXPECT_EQ(data.getWorldTranslation(), Vector3_f(0.25F, -0.5F, 2));
  const auto& adjustment = data.getCalibration().global_transform_adjustment();
  EXPECT_THAT(adjustment.global_transform().a(),
              ElementsAre(1, 2, 3, 250, 4, 5, 6, -500, 7, 8, 9, 2000));
  EXPECT_TRUE(MessageDifferencer::Equals(adjustment.metadata(), given));
  EXPECT_TRUE(data.isGlobalTransformCalibrationValid("transform"));
}

TEST(BaseCalibrationData, SetGlobalTransformCreatesWhatIsAbsent) {
  BaseCalibrationData data;
  ASSERT_TRUE(data.loadFromString(counting(12).SerializeAsString()));
  EXPECT_FALSE(data.getCalibration().global_transform_adjustment().has_metadata());
  data.setGlobalTransform(Matrix3x3_f::Identity(), Vector3_f::Zero(), {});
  EXPECT_TRUE(data.getCalibration().global_transform_adjustment().has_metadata());
}

TEST(BaseCalibrationData, UpdatePBMatrixWritesTheTransform) {
  BaseCalibrationData data;
  ASSERT_TRUE(data.loadFromString(counting(15).SerializeAsString()));
  EXPECT_EQ(data.getCalibration().global_transform_adjustment().global_transform().a_size(), 15);
  data.updatePBMatrix();
  // The values as the floats have them, and no more than twelve.
  const auto& stored = data.getCalibration().global_transform_adjustment().global_transform();
  ASSERT_EQ(stored.a_size(), 12);
  EXPECT_EQ(stored.a(0), 1);
  EXPECT_EQ(stored.a(3), static_cast<double>(0.004F) * 1000);
  expectCounting(data);
}

TEST(BaseCalibrationData, CopyHasTheTransformBitForBit) {
  std::mt19937_64 random(23);
  BaseCalibrationData data;
  for (int trial = 0; trial < 1000; ++trial) {
    const Matrix3x3_f rotation = randomRotation(&random);
    const Matrix3x3_f other = randomRotation(&random);
    const Vector3_f translation(other(0, 0), other(1, 0) * 100, other(2, 0) * 1e-3F);
    data.setGlobalTransform(rotation, translation, {});
    const BaseCalibrationData copy(data);
    const Matrix3x3_f copied_rotation = copy.getWorldRotation();
    const Vector3_f copied_translation = copy.getWorldTranslation();
    EXPECT_TRUE(sameBits(copied_rotation, rotation));
    // Through millimetres in double, whose rounding the final float does not show.
    EXPECT_TRUE(sameBits(copied_translation, translation));
  }
}

TEST(BaseCalibrationData, CopiesAreIndependent) {
  BaseCalibrationData data;
  data.setBaseWidth(0.5F);
  BaseCalibrationData copy(data);
  EXPECT_TRUE(MessageDifferencer::Equals(copy.getCalibration(), data.getCalibration()));
  data.setBaseWidth(0.75F);
  data.setGlobalTransform(Matrix3x3_f::Identity(), Vector3_f::Zero(), {});
  EXPECT_EQ(copy.getBaseWidth(), 0.5F);
  EXPECT_EQ(copy.getWorldTranslation(), Vector3_f(0.0045F, -0.00225F, 0.0015F));
}

TEST(BaseCalibrationData, CopyFallsBackToTheCompiledInDefault) {
  BaseCalibrationData data;
  ASSERT_TRUE(data.loadFromString(counting(12).SerializeAsString()));
  BaseCalibrationData copy(data);
  EXPECT_FALSE(copy.setDefault());
  expectDefaults(copy);
  BaseCalibrationData other(data);
  EXPECT_FALSE(other.loadFromString("neither"));
  expectDefaults(other);
  EXPECT_TRUE(other.loadFromString(counting(12).SerializeAsString()));
  EXPECT_FALSE(other.loadFromString(""));
  expectDefaults(other);
  BaseCalibrationData of_copy(other);
  EXPECT_FALSE(of_copy.setDefault());
  expectDefaults(of_copy);
}

TEST(BaseCalibrationData, ValidityKeysAreDifferentFields) {
  BaseCalibrationData data;
  data.setGlobalTransform(Matrix3x3_f::Identity(), Vector3_f::Zero(), metadata("second", "third"));
  GyroscopeCalibrationProto gyroscope;
  *gyroscope.mutable_metadata() = metadata("second", "third");
  data.setGyroscopeGain(gyroscope);
  EXPECT_TRUE(data.isGlobalTransformCalibrationValid("third"));
  EXPECT_FALSE(data.isGlobalTransformCalibrationValid("second"));
  EXPECT_TRUE(data.isGyroscopeGainCalibrationValid("second"));
  EXPECT_FALSE(data.isGyroscopeGainCalibrationValid("third"));
}

TEST(BaseCalibrationData, KeysAreComparedByteForByte) {
  BaseCalibrationData data;
  const std::string key("a\0b", 3);
  data.setGlobalTransform(Matrix3x3_f::Identity(), Vector3_f::Zero(), metadata("", key));
  EXPECT_TRUE(data.isGlobalTransformCalibrationValid(key));
  for (const std::string& other :
       {std::string("a"), std::string("a\0c", 3), std::string("a\0b\0", 4), std::string("A\0b", 3),
        std::string()}) {
    EXPECT_FALSE(data.isGlobalTransformCalibrationValid(other));
  }
}

TEST(BaseCalibrationData, EmptyKeyWithoutMetadata) {
  BaseCalibrationData data;
  ASSERT_TRUE(data.loadFromString(counting(12).SerializeAsString()));
  EXPECT_TRUE(data.isGlobalTransformCalibrationValid(""));
  EXPECT_FALSE(data.isGlobalTransformCalibrationValid("x"));
  EXPECT_FALSE(data.isGyroscopeGainCalibrationValid(""));
  // A gyroscope without metadata is no different; one with empty metadata is.
  GyroscopeCalibrationProto gyroscope;
  gyroscope.set_gain(1);
  data.setGyroscopeGain(gyroscope);
  EXPECT_FALSE(data.isGyroscopeGainCalibrationValid(""));
  gyroscope.mutable_metadata();
  data.setGyroscopeGain(gyroscope);
  EXPECT_TRUE(data.isGyroscopeGainCalibrationValid(""));
}

TEST(BaseCalibrationData, GyroscopeGainIsReplacedAndReported) {
  BaseCalibrationData data;
  GyroscopeCalibrationProto gyroscope;
  gyroscope.set_gain(0.998765432F);
  gyroscope.mutable_metadata()->set_calibration_time(5);
  ScopedLogCapture capture;
  data.setGyroscopeGain(gyroscope);
  const auto logs = capture.take();
  EXPECT_THAT(lines(logs), ElementsAre(LogLine{5, "base_calibration_data",
                                               "Setting gyroscope gain to 0.998765"}));
  EXPECT_EQ(data.getGyroscopeGain(), 0.998765432F);
  EXPECT_TRUE(MessageDifferencer::Equals(data.getCalibration().gyroscope(), gyroscope));
  // Without a gain the default of the field is in force.
  data.setGyroscopeGain(GyroscopeCalibrationProto());
  EXPECT_EQ(data.getGyroscopeGain(), 0);
  EXPECT_EQ(capture.take().at(0).text, "Setting gyroscope gain to 0");
}

TEST(BaseCalibrationData, DimensionsAreIndependentAndUnchecked) {
  BaseCalibrationData data;
  data.setBaseWidth(0.5F);
  EXPECT_EQ(data.getBaseWidth(), 0.5F);
  EXPECT_EQ(data.getWheelBase(), 0.42F);
  EXPECT_EQ(data.getBaseLength(), 0.61F);
  data.setWheelBase(-1);
  data.setBaseLength(std::numeric_limits<float>::infinity());
  EXPECT_EQ(data.getBaseWidth(), 0.5F);
  EXPECT_EQ(data.getWheelBase(), -1);
  EXPECT_EQ(data.getBaseLength(), std::numeric_limits<float>::infinity());
  // Setting marks a field present, whatever its value.
  ASSERT_TRUE(data.loadFromString(counting(12).SerializeAsString()));
  EXPECT_FALSE(data.getCalibration().has_base_width());
  data.setBaseWidth(0);
  EXPECT_TRUE(data.getCalibration().has_base_width());
  EXPECT_FALSE(data.getCalibration().has_wheel_base());
  EXPECT_FALSE(data.getCalibration().has_base_length());
}

TEST(BaseCalibrationData, ValuesThatAreNotFinitePassThrough) {
  BaseCalibrationProto base = counting(12);
  auto* transform = base.mutable_global_transform_adjustment()->mutable_global_transform();
  transform->set_a(0, std::numeric_limits<double>::quiet_NaN());
  transform->set_a(3, std::numeric_limits<double>::infinity());
  BaseCalibrationData data;
  EXPECT_TRUE(data.loadFromString(base.SerializeAsString()));
  EXPECT_TRUE(std::isnan(data.getWorldRotation()(0, 0)));
  EXPECT_EQ(data.getWorldTranslation().x(), std::numeric_limits<float>::infinity());
}

TEST(BaseCalibrationData, UnknownFieldsAreKept) {
  BaseCalibrationProto base = counting(12);
  BaseCalibrationProto::GetReflection()->MutableUnknownFields(&base)->AddVarint(1000, 7);
  BaseCalibrationData data;
  EXPECT_TRUE(data.loadFromString(base.SerializeAsString()));
  EXPECT_EQ(data.getCalibration().SerializeAsString(), base.SerializeAsString());
}

TEST(BaseCalibrationMetadata, KeysAreTheSecondAndThirdFields) {
  const auto* descriptor = CalibrationMetadataProto::descriptor();
  EXPECT_EQ(descriptor->field(0)->name(), "calibration_time");
  EXPECT_EQ(descriptor->field(0)->cpp_type(), google::protobuf::FieldDescriptor::CPPTYPE_INT64);
  EXPECT_EQ(descriptor->field(1)->name(), "gain_validity_key");
  EXPECT_EQ(descriptor->field(2)->name(), "validity_key");
}

}  // namespace
}  // namespace norv::calibration

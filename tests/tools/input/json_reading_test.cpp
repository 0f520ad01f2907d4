#include "tools/input/json_reading.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "proto/norv_base_calibration.pb.h"
#include "proto/norv_ptz_camera.pb.h"
#include "proto/norv_robot_calibration.pb.h"
#include "support/printable_text.h"
#include "testing/filled_message.h"
#include "tools/output/json_message.h"

namespace norv::tools {
namespace {

using calibration::BaseCalibrationProto;
using calibration::PTZCameraParameters;
using calibration::RobotCalibration;

TEST(JsonReading, TextsThatBeginWithABrace) {
  for (const char* json : {"{", " \t\r\n{}", "{\"a\": 1}"})
    EXPECT_TRUE(looksLikeJson(json)) << json;
  for (const char* other : {"", " ", "# {", "a {", "[{}]", "wheel_base: 1", "\"{\""}) {
    EXPECT_FALSE(looksLikeJson(other)) << other;
  }
}

TEST(JsonReading, UnknownFieldsAreProblemsUnlessIgnored) {
  const std::string json = "{\"wheels\": 4, \"wheelBase\": 0.5}";
  BaseCalibrationProto base;
  const auto problem = readJson(json, &base);
  ASSERT_TRUE(problem);
  EXPECT_EQ(problem->text, "wheels: Cannot find field.");
  EXPECT_EQ(problem->place.line, 0);
  base.Clear();
  EXPECT_FALSE(readJson(json, &base, /*ignore_unknown=*/true));
  EXPECT_EQ(base.wheel_base(), 0.5F);
}

TEST(JsonReading, PlacesOfSyntaxErrors) {
  const auto expectPlace = [](const std::string& json, int line, int column) {
    BaseCalibrationProto base;
    const auto problem = readJson(json, &base);
    ASSERT_TRUE(problem) << json;
    EXPECT_EQ(problem->place.line, line) << json;
    EXPECT_EQ(problem->place.column, column) << json << problem->text;
  };
  expectPlace("{x}", 1, 2);
  expectPlace("{\n\n  \"wheelBase\" 1}", 3, 15);
  expectPlace("{\"wheelBase\": 1}\n  ]", 2, 3);
}

using google::protobuf::FieldDescriptor;

/// Takes out of a field what JSON cannot hold: the sign of NaN, and bytes that are no UTF-8. The
/// lists of the messages here are of doubles.
void makePlain(google::protobuf::Message* message, const FieldDescriptor* field) {
  const auto* reflection = message->GetReflection();
  if (field->cpp_type() == FieldDescriptor::CPPTYPE_STRING) {
    reflection->SetString(message, field, toPrintable(reflection->GetString(*message, field)));
  } else if (field->cpp_type() == FieldDescriptor::CPPTYPE_FLOAT) {
    const float value = reflection->GetFloat(*message, field);
    if (std::isnan(value)) reflection->SetFloat(message, field, std::nanf(""));
  } else if (field->cpp_type() == FieldDescriptor::CPPTYPE_DOUBLE && !field->is_repeated()) {
    const double value = reflection->GetDouble(*message, field);
    if (std::isnan(value)) reflection->SetDouble(message, field, std::nan(""));
  } else if (field->cpp_type() == FieldDescriptor::CPPTYPE_DOUBLE) {
    for (int i = 0; i < reflection->FieldSize(*message, field); ++i) {
      const double value = reflection->GetRepeatedDouble(*message, field, i);
      if (std::isnan(value)) reflection->SetRepeatedDouble(message, field, i, std::nan(""));
    }
  }
}

/// The same of all fields of a message.
void makePlain(google::protobuf::Message* message) {
  const auto* reflection = message->GetReflection();
  std::vector<const FieldDescriptor*> fields;
  reflection->ListFields(*message, &fields);
  for (const FieldDescriptor* field : fields) {
    if (field->message_type() == nullptr) {
      makePlain(message, field);
    } else if (!field->is_repeated()) {
      makePlain(reflection->MutableMessage(message, field));
    } else {
      for (int i = 0; i < reflection->FieldSize(*message, field); ++i) {
        makePlain(reflection->MutableRepeatedMessage(message, field, i));
      }
    }
  }
}

/// Messages of a kind, filled with numbers of any bits, read back from their JSON.
template <class Message>
void expectRoundTrips() {
  std::mt19937_64 random(3);  // NOLINT(bugprone-random-generator-seed)
  for (int i = 0; i < 200; ++i) {
    Message message;
    testing::fillMessage(&message, 4, &random);
    makePlain(&message);
    Message copy;
    const auto problem = readJson(printJsonMessage(message), &copy);
    ASSERT_FALSE(problem) << problem->text;
    ASSERT_EQ(testing::bytesOf(copy), testing::bytesOf(message)) << message.DebugString();
  }
}

TEST(JsonReading, IsTheInverseOfPrinting) {
  expectRoundTrips<RobotCalibration>();
  expectRoundTrips<PTZCameraParameters>();
  expectRoundTrips<BaseCalibrationProto>();
}

}  // namespace
}  // namespace norv::tools

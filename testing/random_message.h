#pragma once

/// Messages with mistakes of every kind, drawn at random.

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <cstdint>
#include <limits>
#include <random>
#include <string>

namespace norv::testing {

/// One of `count` indices.
inline int drawIndex(std::mt19937* random, int count) {
  return static_cast<int>((*random)() % static_cast<std::uint32_t>(count));
}

/// A number that somebody did not think of, or an ordinary one.
inline double drawNumber(std::mt19937* random) {
  constexpr double kNumbers[] = {0,
                                 -0.0,
                                 1,
                                 -1,
                                 0.5,
                                 1000,
                                 -300,
                                 1e-30,
                                 1e30,
                                 1e39,
                                 -1e300,
                                 5e-324,
                                 std::numeric_limits<double>::infinity(),
                                 -std::numeric_limits<double>::infinity(),
                                 std::numeric_limits<double>::quiet_NaN()};
  return kNumbers[drawIndex(random, static_cast<int>(std::size(kNumbers)))];
}

inline int drawWhole(std::mt19937* random) {
  constexpr int kNumbers[] = {0,
                              1,
                              -1,
                              7,
                              1280,
                              20000,
                              -960,
                              std::numeric_limits<int>::min(),
                              std::numeric_limits<int>::max()};
  return kNumbers[drawIndex(random, static_cast<int>(std::size(kNumbers)))];
}

inline std::string drawText(std::mt19937* random) {
  constexpr const char* kTexts[] = {"",        "mk512h",      "mk513n", "b910",
                                    "MK 512h", "head_camera", "\x1b]"};
  return kTexts[drawIndex(random, static_cast<int>(std::size(kTexts)))];
}

/// Sets a field that is not a message, the element `index` of one that is repeated.
inline void setScalar(google::protobuf::Message* message,
                      const google::protobuf::FieldDescriptor* field, int index,
                      std::mt19937* random) {
  using google::protobuf::FieldDescriptor;
  const auto* reflection = message->GetReflection();
  switch (field->cpp_type()) {
    case FieldDescriptor::CPPTYPE_DOUBLE:
      if (index < 0)
        reflection->SetDouble(message, field, drawNumber(random));
      else
        reflection->SetRepeatedDouble(message, field, index, drawNumber(random));
      break;
    case FieldDescriptor::CPPTYPE_FLOAT:
      reflection->SetFloat(message, field, static_cast<float>(drawNumber(random)));
      break;
    case FieldDescriptor::CPPTYPE_INT32:
      reflection->SetInt32(message, field, drawWhole(random));
      break;
    case FieldDescriptor::CPPTYPE_INT64:
      reflection->SetInt64(message, field, drawWhole(random));
      break;
    case FieldDescriptor::CPPTYPE_STRING:
      reflection->SetString(message, field, drawText(random));
      break;
    default:
      break;
  }
}

/// Changes one place of the message: a value, whether a field is present, the length of a list, or
/// a field that no version knows.
inline void mutate(google::protobuf::Message* message, std::mt19937* random) {
  const auto* reflection = message->GetReflection();
  const auto* type = message->GetDescriptor();
  const auto* field = type->field(drawIndex(random, type->field_count()));
  const int action = drawIndex(random, 12);
  if (action == 0) {
    reflection->ClearField(message, field);
  } else if (action == 1) {
    reflection->MutableUnknownFields(message)->AddVarint(100, 1);
  } else if (field->is_repeated()) {
    const int size = reflection->FieldSize(*message, field);
    if (action == 2 && size > 0) {
      reflection->RemoveLast(message, field);
    } else if (action == 3 && field->message_type() != nullptr) {
      reflection->AddMessage(message, field);
    } else if (action == 3) {
      reflection->AddDouble(message, field, drawNumber(random));  // the only lists there are
    } else if (size > 0) {
      const int index = drawIndex(random, size);
      if (field->message_type() == nullptr)
        setScalar(message, field, index, random);
      else
        mutate(reflection->MutableRepeatedMessage(message, field, index), random);
    }
  } else if (field->message_type() != nullptr) {
    mutate(reflection->MutableMessage(message, field), random);
  } else {
    setScalar(message, field, -1, random);
  }
}

/// The message with one to six such changes.
template <class Message>
Message mutated(Message message, std::mt19937* random) {
  for (int changes = 1 + drawIndex(random, 6); changes > 0; --changes) mutate(&message, random);
  return message;
}

}  // namespace norv::testing

#pragma once

/// Messages of any type, filled with values of any bits, drawn at random.

#include <google/protobuf/descriptor.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/message.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "support/printable_text.h"

namespace norv::testing {

/// A number of any bits. Every second one is of a size that calibrations have; of NaN only those
/// that a text can name.
template <class T, class Bits>
T drawAnyNumber(std::mt19937_64* random) {
  T value = 0;
  const auto bits = static_cast<Bits>((*random)());
  std::memcpy(&value, &bits, sizeof value);
  switch ((*random)() % 8) {
    case 0:
      value = std::copysign(std::numeric_limits<T>::infinity(), value);
      break;
    case 1:
      value = std::copysign(T{0}, value);
      break;
    case 2:
    case 3:
      value =
          static_cast<T>(static_cast<std::int64_t>((*random)() % 4'000'001) - 2'000'000) / T{1000};
      break;
    case 4:
      value = std::copysign(std::numeric_limits<T>::quiet_NaN(), value);
      break;
    default:
      break;
  }
  if (std::isnan(value)) value = std::copysign(std::numeric_limits<T>::quiet_NaN(), value);
  return value;
}

inline double drawDouble(std::mt19937_64* random) {
  return drawAnyNumber<double, std::uint64_t>(random);
}
inline float drawFloat(std::mt19937_64* random) {
  return drawAnyNumber<float, std::uint32_t>(random);
}

/// Up to 20 pieces: bytes of any value, and characters of one to four bytes, harmless or not.
inline std::string drawString(std::mt19937_64* random) {
  constexpr const char* kPieces[] = {"a",    "\"",       "\\",     "'",      "7",
                                     "\n",   "\u00fc",   "\u202e", "\u20ac", "\U0001f916",
                                     "\xc3", "\xe2\x82", "\xff"};
  std::string text;
  for (auto pieces = (*random)() % 20; pieces > 0; --pieces) {
    const auto choice = (*random)() % (2 * std::size(kPieces));
    if (choice < std::size(kPieces)) {
      text += kPieces[choice];
    } else {
      text += static_cast<char>((*random)());  // the null character, too
    }
  }
  return text;
}

/// Puts a value into a field that is not a message, or one more where it is repeated.
inline void setAnyScalar(google::protobuf::Message* message,
                         const google::protobuf::FieldDescriptor* field, std::mt19937_64* random) {
  using google::protobuf::FieldDescriptor;
  const auto* reflection = message->GetReflection();
  const bool list = field->is_repeated();
  const auto put = [&](auto set, auto add, auto value) {
    (reflection->*(list ? add : set))(message, field, value);
  };
  using R = google::protobuf::Reflection;
  switch (field->cpp_type()) {
    case FieldDescriptor::CPPTYPE_DOUBLE:
      return put(&R::SetDouble, &R::AddDouble, drawDouble(random));
    case FieldDescriptor::CPPTYPE_FLOAT:
      return put(&R::SetFloat, &R::AddFloat, drawFloat(random));
    case FieldDescriptor::CPPTYPE_INT32:
      return put(&R::SetInt32, &R::AddInt32, static_cast<std::int32_t>((*random)()));
    case FieldDescriptor::CPPTYPE_INT64:
      return put(&R::SetInt64, &R::AddInt64, static_cast<std::int64_t>((*random)()));
    case FieldDescriptor::CPPTYPE_UINT32:
      return put(&R::SetUInt32, &R::AddUInt32, static_cast<std::uint32_t>((*random)()));
    case FieldDescriptor::CPPTYPE_UINT64:
      return put(&R::SetUInt64, &R::AddUInt64, static_cast<std::uint64_t>((*random)()));
    case FieldDescriptor::CPPTYPE_BOOL:
      return put(&R::SetBool, &R::AddBool, (*random)() % 2 == 0);
    case FieldDescriptor::CPPTYPE_ENUM:
      return put(&R::SetEnum, &R::AddEnum,
                 field->enum_type()->value(static_cast<int>(
                     (*random)() % static_cast<std::uint64_t>(field->enum_type()->value_count()))));
    case FieldDescriptor::CPPTYPE_STRING: {
      const std::string text = drawString(random);
      // Messages that come with Protocol Buffers complain on standard error of what is no UTF-8.
      const bool utf8 = field->file()->package() == "google.protobuf";
      return put(&R::SetString, &R::AddString, utf8 ? toPrintable(text) : text);
    }
    case FieldDescriptor::CPPTYPE_MESSAGE:
      return;
  }
}

/// Fills most fields of a message and all that are required, lists with up to 15 values or 3
/// messages, `depth` levels deep.
inline void fillMessage(google::protobuf::Message* message, int depth, std::mt19937_64* random) {
  const auto* type = message->GetDescriptor();
  const auto* reflection = message->GetReflection();
  for (int i = 0; i < type->field_count(); ++i) {
    const auto* field = type->field(i);
    const bool is_message = field->message_type() != nullptr;
    if (!field->is_required() && (*random)() % 5 == 0) continue;
    if (is_message && depth == 0) continue;
    auto count = field->is_repeated() ? (*random)() % (is_message ? 4 : 16) : 1;
    for (; count > 0; --count) {
      if (!is_message) {
        setAnyScalar(message, field, random);
      } else {
        fillMessage(field->is_repeated() ? reflection->AddMessage(message, field)
                                         : reflection->MutableMessage(message, field),
                    depth - 1, random);
      }
    }
  }
}

/// The bytes of a message; the same for messages that are the same to the last bit, unknown fields
/// included.
inline std::string bytesOf(const google::protobuf::Message& message) {
  std::string bytes;
  google::protobuf::io::StringOutputStream stream(&bytes);
  google::protobuf::io::CodedOutputStream coded(&stream);
  coded.SetSerializationDeterministic(true);
  message.SerializePartialToCodedStream(&coded);
  coded.Trim();
  return bytes;
}

}  // namespace norv::testing

#include "support/message_parsing.h"

#include <google/protobuf/arena.h>

#include <memory>

#include "support/messages/message_reading.h"

namespace norv {
namespace {

using google::protobuf::Message;

/// Lets `read` fill another message, which then takes the place of `*message`. Both have the same
/// arena or none, so that swapping them neither allocates nor copies.
template <class Read>
bool replaceIfRead(Message* message, const Read& read) {
  Message* const fresh = message->New(message->GetArena());
  const std::unique_ptr<Message> owner(message->GetArena() == nullptr ? fresh : nullptr);
  if (!read(fresh)) return false;
  message->GetReflection()->Swap(message, fresh);
  return true;
}

}  // namespace

bool parseBinary(const std::string& data, Message* message) {
  return replaceIfRead(message, [&](Message* m) { return internal::readBinary(data, m); });
}

bool parseText(const std::string& data, Message* message, TextParseError* error) {
  return replaceIfRead(message, [&](Message* m) { return internal::readText(data, m, error); });
}

bool parseBinaryOrText(const std::string& data, Message* message) {
  return parseBinary(data, message) || parseText(data, message);
}

}  // namespace norv

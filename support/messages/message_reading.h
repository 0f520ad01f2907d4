#pragma once

/// Reading of messages into objects that nobody else has yet: what support/message_parsing.h does,
/// without its care for what the message held. Where one of these fails the message holds what had
/// been read before the error; where one throws std::bad_alloc the message is fit to be destroyed,
/// and for nothing else.

#include <google/protobuf/message.h>

#include <string>

#include "support/text_parse_error.h"

namespace norv::internal {

bool readBinary(const std::string& data, google::protobuf::Message* message);
bool readText(const std::string& data, google::protobuf::Message* message,
              TextParseError* error = nullptr);
bool readBinaryOrText(const std::string& data, google::protobuf::Message* message);

}  // namespace norv::internal

#pragma once

/// Parsing of messages that may come in binary or in text format. Unlike Protocol Buffers' own
/// functions these write nothing to standard error when the data is no such message. What a stored
/// message means is in docs/conventions.md.

#include <google/protobuf/message.h>

#include <string>

#include "export.h"

namespace norv {

/// Where and why a text could not be parsed.
struct TextParseError {
  int line = 0;    ///< counted from 1; 0 when the error has no place in the text
  int column = 0;  ///< counted from 1
  std::string message;
};

/// Parses `data` as a binary message that replaces `*message`. False when it is none or exceeds the
/// format's limit of 2 GiB; `*message` then holds what had been read.
NORV_EXPORT bool parseBinary(const std::string& data, google::protobuf::Message* message);

/// Parses `data` in text format into `*message`, likewise. On failure the first error is written to
/// `*error` unless that is null.
NORV_EXPORT bool parseText(const std::string& data, google::protobuf::Message* message,
                           TextParseError* error = nullptr);

/// Tries the binary and then the text format.
NORV_EXPORT bool parseBinaryOrText(const std::string& data, google::protobuf::Message* message);

}  // namespace norv

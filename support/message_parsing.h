#pragma once

/// Parsing of messages that may come in binary or in text format. Unlike Protocol Buffers' own
/// functions these write nothing to standard error when the data is no such message. What a stored
/// message means is in docs/conventions.md.
///
/// All of them serve any message. What is parsed replaces what `*message` held; where one returns
/// false, or throws std::bad_alloc since memory does not suffice, `*message` is as it was, and
/// takes no more memory than before unless it is on an arena. (Where memory runs out, Protocol
/// Buffers may lose the one block that it was about to put into a list.) They log nothing.
/// Thread-safe, for different messages on different arenas.

#include <google/protobuf/message.h>

#include <string>

#include "export.h"
#include "text_parse_error.h"

namespace norv {

/// Parses `data` as a binary message. Fields that the message does not know are kept as unknown
/// ones. An empty string is an empty message.
///
/// False when it is none: because of its bytes, a missing required field, messages nested more than
/// 100 deep, or a size beyond the format's limit of 2 GiB. Inverse: `SerializeToString`.
NORV_EXPORT bool parseBinary(const std::string& data, google::protobuf::Message* message);

/// Parses `data` in text format. An empty string is an empty message here, too.
///
/// False when it is none: because of its text, where a field that the message does not know is an
/// error, or for the other reasons above. The first error is then written to `*error`, unless that
/// is null; it stays as it was on success. Inverse: `google::protobuf::TextFormat::PrintToString`.
NORV_EXPORT bool parseText(const std::string& data, google::protobuf::Message* message,
                           TextParseError* error = nullptr);

/// Tries the binary and then the text format. False when it is neither.
///
/// A text is hardly ever a binary message by chance: its first character would have to be the key
/// of a field, and what follows its value.
NORV_EXPORT bool parseBinaryOrText(const std::string& data, google::protobuf::Message* message);

}  // namespace norv

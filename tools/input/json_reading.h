#pragma once

/// Messages in JSON, by Protocol Buffers' own mapping:
/// https://protobuf.dev/programming-guides/json.

#include <google/protobuf/message.h>

#include <optional>
#include <string>

#include "support/text_fields.h"

namespace norv::tools {

/// Why a JSON text is no message.
struct JsonProblem {
  TextPlace place;    ///< of what breaks JSON's grammar; line 0 for other problems
  std::string field;  ///< path of the field concerned; "" where none is known
  std::string text;
};

/// Whether data that is no binary message is meant as JSON: the text format knows no brace in its
/// beginning.
bool looksLikeJson(const std::string& data);

/// Reads a message; none when that succeeds. Names of fields may be those of the mapping
/// ("focalLength") or of the message ("focal_length"). A field that the message does not know is a
/// problem unless `ignore_unknown`. What `*message` holds after a problem is not defined.
std::optional<JsonProblem> readJson(const std::string& data, google::protobuf::Message* message,
                                    bool ignore_unknown = false);

}  // namespace norv::tools

#pragma once

/// Errors of the text format, told so that the user finds them. Conventions: docs/conventions.md.

#include <google/protobuf/descriptor.h>

#include <string>

#include "export.h"
#include "text_fields.h"
#include "text_parse_error.h"

namespace norv {

struct TextProblem {
  TextPlace place;   ///< of the token that is wrong
  std::string path;  ///< of the innermost field whose value it is in; "" when it is in none
  std::string text;
};

/// What is wrong with `text`, which does not parse as a message of `type` because of `error`, an
/// error with a place.
///
/// The parser's own text is kept, but for texts that end too early (it says which block is open)
/// and numbers with a decimal comma. The parser's place of an error about a field's name is the
/// token after it; here it is the name. Where the field would be known outside of the block that it
/// stands in, the text asks whether the block lacks its closing brace.
NORV_EXPORT TextProblem explainTextError(const std::string& text,
                                         const google::protobuf::Descriptor& type,
                                         const TextParseError& error);

}  // namespace norv

#pragma once

#include <string>

#include "interop/syntax/node.h"

namespace norv::interop {

/// The Python literal that a text is, as `ast.literal_eval` has it: dictionaries, lists, tuples,
/// strings and byte strings in any quotes, numbers, True, False and None, with comments and
/// trailing commas. Strings next to each other are one. A tuple becomes a sequence, None a node of
/// `Node::Kind::kNothing`; numbers and names are words without quotes, and left to who uses them. A
/// byte order mark and CRLF are fine.
///
/// Throws FormatError, with the place, for what is no literal, sets, keys that are no strings or
/// stand there twice, and texts longer than `kMaxDocumentBytes`, deeper than `kMaxDepth` or of more
/// than `kMaxNodes` values. Takes time in proportion to the text.
Node parseLiteral(const std::string& text);

}  // namespace norv::interop

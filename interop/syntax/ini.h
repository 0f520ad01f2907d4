#pragma once

#include <string>

#include "interop/syntax/node.h"

namespace norv::interop {

/// A text of sections, "[name]", with lines that are keys, and under each of them lines of words:
///
///     [image]
///     width
///     640
///
/// The tree is a map of maps of lists. A line begins a key if its first word is none that a number
/// could be, whether finite or not; the key is the whole line. Empty lines and those that begin
/// with # or ; say nothing. A byte order mark and CRLF are fine. Throws FormatError, with the
/// place, for a text longer than `kMaxDocumentBytes`, a section or a key that stands there twice, a
/// key before the first section, numbers before the first key.
Node parseIni(const std::string& text);

}  // namespace norv::interop

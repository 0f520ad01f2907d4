#pragma once

/// Text of unknown origin, made fit for a terminal. Conventions: docs/conventions.md.

#include <string>
#include <string_view>

#include "export.h"

namespace norv {

/// `text` with everything escaped that acts on a terminal rather than being shown by it, so that
/// text from a file or a user stays on its line and cannot pose as another one:
///
/// - control characters: C0 (below U+0020, the tab too), delete (U+007F) and C1 (U+0080 to U+009F),
/// - marks that reorder the text around them: U+061C, U+200E, U+200F, U+202A to U+202E, U+2066 to
///   U+2069,
/// - line and paragraph separators, U+2028 and U+2029,
/// - bytes that are not part of well-formed UTF-8.
///
/// A line break becomes `\n`; of the rest each byte becomes `\x` and two lower-case hexadecimal
/// digits, so that U+009B reads `\xc2\x9b`. Everything else, other scripts included, is unchanged;
/// so is a backslash, which makes the result good for reading rather than for parsing.
///
/// Its result is its own fixed point. Throws nothing but std::bad_alloc. Thread-safe.
NORV_EXPORT std::string toPrintable(std::string_view text);

}  // namespace norv

#pragma once

#include <string>
#include <string_view>

namespace norv::internal {

/// A value of any bytes as a quoted string of the text format, which reads back as the same bytes.
/// Well-formed UTF-8 stands as it is; what acts on a terminal, and bytes that are no UTF-8, are
/// written by number. Thread-safe.
std::string quoteString(std::string_view bytes);

}  // namespace norv::internal

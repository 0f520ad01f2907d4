#include "support/printable_text.h"

#include "support/log/escapes.h"

namespace norv {

std::string toPrintable(std::string_view text) {
  std::string printable;
  printable.reserve(text.size());
  internal::appendPrintable(text, [&](std::string_view piece) { printable.append(piece); });
  return printable;
}

}  // namespace norv

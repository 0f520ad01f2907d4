#pragma once

#include <string>
#include <vector>

#include "tools/output/wrapping.h"

namespace norv::tools {

/// Each sentence on lines of its own that begin with "  note: "; empty without any.
inline std::string notesText(const std::vector<std::string>& notes) {
  std::string text;
  for (const std::string& note : notes) text += wrapText("  note: ", note, 4);
  return text;
}

}  // namespace norv::tools

#include "tools/output/wrapping.h"

#include <sstream>

namespace norv::tools {

std::string wrapText(const std::string& first, const std::string& sentence, std::size_t indent) {
  std::string text;
  std::string line = first;
  bool begun = false;
  std::istringstream words(sentence);
  for (std::string word; words >> word;) {
    if (begun && line.size() + 1 + word.size() > kLineWidth) {
      text += line + "\n";
      line = std::string(indent, ' ');
      begun = false;
    }
    line += (begun ? " " : "") + word;
    begun = true;
  }
  return text + line + "\n";
}

}  // namespace norv::tools

#include "tools/input/line_reading.h"

namespace norv::tools {

bool LineReader::read(std::string* line) {
  line->clear();
  is_too_long_ = false;
  int byte = std::getc(file_);
  if (byte == EOF) return false;
  ++number_;
  for (; byte != EOF && byte != '\n'; byte = std::getc(file_)) {
    if (line->size() <= max_length_) line->push_back(static_cast<char>(byte));
  }
  if (!line->empty() && line->back() == '\r') line->pop_back();
  is_too_long_ = line->size() > max_length_;
  return true;
}

}  // namespace norv::tools

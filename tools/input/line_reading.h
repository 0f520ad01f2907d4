#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace norv::tools {

/// Reads the lines of an open file as they come, in as much memory as the longest that counts: what
/// follows a line's first `max_length` bytes is read and dropped.
class LineReader {
 public:
  /// `file` stays the caller's and has to live as long.
  explicit LineReader(std::FILE* file, std::size_t max_length = 1000)
      : file_(file), max_length_(max_length) {}

  /// Puts the next line without its end, "\n" or "\r\n", into `*line`; false where there is none.
  /// The last one may have no end.
  bool read(std::string* line);

  int number() const { return number_; }           ///< of the line that was read last, from 1
  bool isTooLong() const { return is_too_long_; }  ///< whether a part of that was dropped
  bool failed() const { return std::ferror(file_) != 0; }  ///< whether the end is one of reading

 private:
  std::FILE* file_;
  std::size_t max_length_;
  int number_ = 0;
  bool is_too_long_ = false;
};

}  // namespace norv::tools

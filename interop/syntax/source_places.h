#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "interop/format_problem.h"

namespace norv::interop {

/// Finds the columns of pieces of a text whose lines are known, asked for in the order of the text.
/// All questions together take a time proportional to the text's length. Not thread-safe.
class SourcePlaces {
 public:
  /// The text must outlive this.
  explicit SourcePlaces(const std::string& text);

  /// Where `piece` stands next on that line, counted from 1; column 0 where it is not there, as it
  /// is from then on.
  Place find(int line, std::string_view piece);

 private:
  std::string_view text_;
  std::vector<std::size_t> begins_;  ///< of lines
  std::size_t cursor_ = 0;
  bool is_lost_ = false;
};

}  // namespace norv::interop

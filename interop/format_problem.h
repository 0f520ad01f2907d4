#pragma once

/// Why a file of another program is refused, as a value.

#include <exception>
#include <string>
#include <string_view>
#include <utility>

namespace norv::interop {

/// A place in a text, both numbers counted from 1; line 0 where there is none, column 0 where only
/// the line is known.
struct Place {
  int line = 0;
  int column = 0;
};

/// What is wrong with a file. A plain value.
struct FormatProblem {
  std::string file;  ///< its name
  Place place;
  std::string
      key;  ///< what it is wrong with, as it is called in the file; "" of the file as a whole
  std::string sentence;  ///< for a person to read
};

/// "FILE:LINE:COLUMN: KEY: sentence", with as much of it as is known.
std::string describe(const FormatProblem& problem);

/// By which readers stop at a problem. It does not leave `interop/`: what is called from outside
/// returns the problem.
class FormatError : public std::exception {
 public:
  FormatError(Place place, std::string key, std::string sentence)
      : problem_{"", place, std::move(key), std::move(sentence)} {}

  const FormatProblem& problem() const { return problem_; }
  const char* what() const noexcept override { return problem_.sentence.c_str(); }

 private:
  FormatProblem problem_;
};

/// The problem of a file called `file` that holds `text`. A place beyond the end of its line, or of
/// the text, is moved there: parsers count characters that they looked for in vain.
FormatProblem problemOf(const FormatError& error, const std::string& file, std::string_view text);

}  // namespace norv::interop

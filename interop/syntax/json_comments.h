#pragma once

#include <string>

namespace norv::interop {

/// The JSON text with blanks in the place of comments, // to the end of the line and /* to */,
/// which JSON has none of and OpenCV writes. All else stands where it stood, ends of lines
/// included. Strings in double quotes stay as they are, as does all from a comment without an end
/// on. Takes time in proportion to the text.
std::string withoutJsonComments(std::string text);

}  // namespace norv::interop

#pragma once

#include <string>

namespace norv::tools {

/// Whether a text has a comment: a # outside of quotes. Quotes end with the line at the latest.
bool hasComment(const std::string& text);

}  // namespace norv::tools

#pragma once

#include <fstream>
#include <sstream>
#include <string>

namespace norv::testing {

/// All bytes of a file, by nothing of the library. Empty where there is none.
inline std::string contentsOf(const std::string& path) {
  std::ostringstream bytes;
  bytes << std::ifstream(path, std::ios::binary).rdbuf();
  return bytes.str();
}

}  // namespace norv::testing

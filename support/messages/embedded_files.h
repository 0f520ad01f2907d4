#pragma once

/// Table of the files that the build compiles into the library (cmake/EmbedFiles.cmake writes it).

#include <cstddef>
#include <string_view>

namespace norv::internal {

struct EmbeddedFileEntry {
  std::string_view name;  ///< relative, for example "calibration/default_head_cal.txt"
  std::string_view contents;
};

struct EmbeddedFileTable {
  const EmbeddedFileEntry* entries;
  std::size_t size;
};

/// The table; constant data, usable at any time, static initialisation included.
EmbeddedFileTable embeddedFiles();

}  // namespace norv::internal

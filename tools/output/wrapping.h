#pragma once

#include <cstddef>
#include <string>

namespace norv::tools {

/// Columns of a terminal that nobody has made wider.
inline constexpr std::size_t kLineWidth = 80;

/// A sentence broken at blanks into lines of at most `kLineWidth` columns, ended by a line break.
/// The first line begins with `first`, each further one with `indent` blanks. Words that are longer
/// than a line stay whole. Columns are counted as bytes.
std::string wrapText(const std::string& first, const std::string& sentence, std::size_t indent);

}  // namespace norv::tools

#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace norv::tools {

/// How many letters must be inserted, left out, replaced or swapped with their neighbour to make
/// one word of the other, no letter touched twice ("optimal string alignment").
std::size_t editDistance(const std::string& a, const std::string& b);

/// The word of `known` that was probably meant by `word`, the first where several are as near, or
/// "" when none comes near: a third of a word's letters may be wrong.
std::string nearestWord(const std::string& word, const std::vector<std::string>& known);

}  // namespace norv::tools

#include "tools/usage/nearest_word.h"

#include <algorithm>
#include <utility>

namespace norv::tools {

std::size_t editDistance(const std::string& a, const std::string& b) {
  // Distances of the beginnings of `a` with two letters less, one letter less, and this length, to
  // all beginnings of `b`.
  std::vector<std::size_t> before_last(b.size() + 1);
  std::vector<std::size_t> last(b.size() + 1);
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::swap(before_last, last);
    std::swap(last, row);
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, replaced});
      const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (swapped) row[j] = std::min(row[j], before_last[j - 2] + 1);
    }
  }
  return row[b.size()];
}

std::string nearestWord(const std::string& word, const std::vector<std::string>& known) {
  constexpr std::size_t kMaxLength = 64;  // the time grows with the product of the lengths
  if (word.size() > kMaxLength) return "";
  std::string nearest;
  std::size_t least = kMaxLength;
  for (const std::string& candidate : known) {
    const std::size_t distance = editDistance(word, candidate);
    if (distance >= least || distance > (candidate.size() + 1) / 3) continue;
    nearest = candidate;
    least = distance;
  }
  return nearest;
}

}  // namespace norv::tools

#include "tools/output/text_table.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace norv::tools {

std::string formatFixed(double value, int decimals) {
  if (std::isnan(value)) return "nan";
  std::string text = fmt::format("{:.{}f}", value, decimals);
  if (text.find_first_not_of("-0.") == std::string::npos && text[0] == '-') text.erase(0, 1);
  return text;
}

std::string alignTable(const std::vector<std::vector<std::string>>& rows, int indent) {
  std::vector<std::size_t> widths;
  for (const auto& row : rows) {
    widths.resize(std::max(widths.size(), row.size()), 0);
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  }
  std::string text;
  for (const auto& row : rows) {
    std::string line(static_cast<std::size_t>(indent), ' ');
    for (std::size_t i = 0; i < row.size(); ++i) {
      line += i == 0 ? fmt::format("{:<{}}", row[i], widths[i])
                     : fmt::format("  {:>{}}", row[i], widths[i]);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + "\n";
  }
  return text;
}

}  // namespace norv::tools

#pragma once

/// Reads what a document of the source tree says, for tests that hold it to the code.

#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/file.h"

namespace norv::testing {

using TableRow = std::vector<std::string>;

inline std::string readDocument(const std::string& path) {
  std::string text;
  if (!File::readFileToString(path, &text)) throw std::runtime_error(path + " cannot be read");
  return text;
}

/// The cells of a row "| a | `b` |", without the blanks around them and without back quotes and
/// quotation marks. Empty for a line that is no row.
inline TableRow tableCells(const std::string& line) {
  TableRow cells;
  const std::size_t first = line.find_first_not_of(' ');
  if (first == std::string::npos || line[first] != '|') return cells;
  std::istringstream stream(line.substr(first + 1));
  for (std::string cell; std::getline(stream, cell, '|');) {
    cell = std::regex_replace(cell, std::regex("[`\"]"), "");
    cells.push_back(std::regex_replace(cell, std::regex("^ +| +$"), ""));
  }
  return cells;
}

/// The rows below the heading `header`, which is a line of the document without leading blanks.
/// Throws when there is no such table, or more than one.
inline std::vector<TableRow> tableBelow(const std::string& document, const std::string& header) {
  std::istringstream lines(document);
  std::vector<TableRow> rows;
  int tables = 0;
  for (std::string line; std::getline(lines, line);) {
    const std::size_t first = line.find_first_not_of(' ');
    if (first == std::string::npos || line.substr(first) != header) continue;
    ++tables;
    std::getline(lines, line);  // the line of dashes
    while (std::getline(lines, line) && !tableCells(line).empty()) rows.push_back(tableCells(line));
  }
  if (tables != 1 || rows.empty()) throw std::runtime_error("no table, or several: " + header);
  return rows;
}

/// The text with every run of blanks and line breaks as one blank.
inline std::string inOneLine(const std::string& text) {
  std::istringstream words(text);
  std::string line;
  for (std::string word; words >> word;) line += (line.empty() ? "" : " ") + word;
  return line;
}

/// The capture groups of the only place of the document, lines joined, where `pattern` matches.
/// Throws when there is none, or more than one.
inline std::vector<std::string> onlyMatch(const std::string& document, const std::string& pattern) {
  const std::string text = inOneLine(document);
  const std::regex regex(pattern);
  std::vector<std::string> groups;
  int matches = 0;
  for (std::sregex_iterator at(text.begin(), text.end(), regex), end; at != end; ++at) {
    ++matches;
    for (std::size_t i = 1; i < at->size(); ++i) groups.push_back((*at)[i]);
  }
  if (matches != 1) {
    throw std::runtime_error(std::to_string(matches) + " places match: " + pattern);
  }
  return groups;
}

}  // namespace norv::testing

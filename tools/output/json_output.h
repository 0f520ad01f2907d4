#pragma once

/// JSON for programs: keys in the order in which they were added, text that is not UTF-8 replaced
/// by U+FFFD, everything beyond ASCII and every control character written as \uNNNN, and numbers
/// that are not finite as null. Floats are written with the fewest digits that read back as the
/// same float, doubles with those that read back as the same double.

#include <nlohmann/json.hpp>
#include <string>

#include "tools/output/number_text.h"

namespace norv::tools {

using json = nlohmann::ordered_json;

inline json numberOf(float value) { return shortestDouble(value); }

/// Coordinates or coefficients as a list.
template <class Floats>
json listOf(const Floats& values) {
  json list = json::array();
  for (const float value : values) list.push_back(numberOf(value));
  return list;
}

/// A matrix of floats as a list of rows.
template <class Matrix>
json rowsOf(const Matrix& m) {
  json rows = json::array();
  for (int r = 0; r < m.rows(); ++r) {
    json row = json::array();
    for (int c = 0; c < m.cols(); ++c) row.push_back(numberOf(m(r, c)));
    rows.push_back(row);
  }
  return rows;
}

/// A whole document, with a line break at its end.
inline std::string printJson(const json& document) {
  return document.dump(2, ' ', true, json::error_handler_t::replace) + "\n";
}

}  // namespace norv::tools

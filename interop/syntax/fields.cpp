#include "interop/syntax/fields.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

namespace norv::interop {

void refuse(const Field& field, const std::string& sentence) {
  throw FormatError(field.node->place, field.path, sentence);
}

bool isNotFiniteWord(const std::string& word) {
  std::string text = word;
  std::transform(text.begin(), text.end(), text.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  if (!text.empty() && (text[0] == '-' || text[0] == '+')) text.erase(0, 1);
  if (!text.empty() && text[0] == '.') text.erase(0, 1);
  return text == "nan" || text == "inf" || text == "infinity";
}

double parseNumber(const std::string& text, Place place, const std::string& key) {
  if (isNotFiniteWord(text)) throw FormatError(place, key, "is not finite: " + text);
  const bool has_plus = text.size() > 1 && text[0] == '+' && text[1] != '-';
  double value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data() + (has_plus ? 1 : 0), end, value);
  if (stop != end || text.empty() || error == std::errc::invalid_argument) {
    throw FormatError(place, key, "is not a number: " + text);
  }
  if (error == std::errc::result_out_of_range) {
    throw FormatError(place, key, "exceeds the range of double: " + text);
  }
  return value;
}

double numberOf(const Field& field) {
  if (field.node->kind != Node::Kind::kScalar) refuse(field, "is not a number");
  if (field.node->is_quoted) refuse(field, "is not a number, but a text");
  return parseNumber(field.node->text, field.node->place, field.path);
}

int integerOf(const Field& field, int low, int high) {
  const double value = numberOf(field);
  if (value != std::trunc(value)) refuse(field, "is not a whole number: " + field.node->text);
  if (value < low || value > high) {
    refuse(field, fmt::format("is not from {} to {}: {}", low, high, field.node->text));
  }
  return static_cast<int>(value);
}

const std::string& wordOf(const Field& field) {
  if (field.node->kind != Node::Kind::kScalar) refuse(field, "is not a word");
  return field.node->text;
}

std::vector<Field> itemsOf(const Field& field) {
  if (field.node->kind != Node::Kind::kSequence) refuse(field, "is not a list");
  std::vector<Field> items;
  for (const Node& item : field.node->items) {
    items.push_back({&item, fmt::format("{}[{}]", field.path, items.size())});
  }
  return items;
}

std::vector<double> numbersOf(const Field& field) {
  std::vector<double> numbers;
  for (const Field& item : itemsOf(field)) numbers.push_back(numberOf(item));
  return numbers;
}

std::vector<double> numbersOf(const Field& field, std::size_t count) {
  std::vector<double> numbers = numbersOf(field);
  if (numbers.size() != count) {
    refuse(field, fmt::format("has {} numbers where {} are needed", numbers.size(), count));
  }
  return numbers;
}

Fields::Fields(const Field& map) : map_(map), is_used_(map.node->keys.size()) {
  if (map.node->kind != Node::Kind::kMap) refuse(map, "is not a map of keys and values");
}

std::optional<Field> Fields::find(const std::string& key) {
  const Node* const node = findKey(*map_.node, key);
  if (node == nullptr) return std::nullopt;
  is_used_[static_cast<std::size_t>(node - map_.node->items.data())] = true;
  return Field{node, pathOf(key)};
}

Field Fields::get(const std::string& key) {
  const std::optional<Field> field = find(key);
  if (!field) throw FormatError(map_.node->place, pathOf(key), "is missing");
  return *field;
}

void Fields::listRest(const std::function<std::string(const std::string& key)>& reason,
                      std::vector<NotTakenOver>* list) const {
  for (std::size_t i = 0; i < is_used_.size(); ++i) {
    const std::string& key = map_.node->keys[i];
    if (!is_used_[i]) list->push_back({pathOf(key), reason(key)});
  }
}

std::string Fields::pathOf(const std::string& key) const {
  return map_.path.empty() ? key : map_.path + "." + key;
}

}  // namespace norv::interop

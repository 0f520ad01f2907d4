#include "tools/input/json_reading.h"

#include <fmt/format.h>
#include <google/protobuf/util/json_util.h>

#include <algorithm>
#include <cstddef>
#include <nlohmann/json.hpp>

namespace norv::tools {
namespace {

/// Where a byte of a text is, counted from 0.
TextPlace placeOf(const std::string& text, std::size_t offset) {
  const std::size_t end = std::min(offset, text.size());
  const auto line = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), '\n');
  const std::size_t begin = end == 0 ? std::string::npos : text.rfind('\n', end - 1);
  const std::size_t column = begin == std::string::npos ? end : end - begin - 1;
  return {static_cast<int>(line) + 1, static_cast<int>(column) + 1};
}

/// nlohmann's error without the identifier and the place in front.
std::string withoutPlace(const std::string& message) {
  const std::size_t at = message.find(": ");
  return at != std::string::npos ? message.substr(at + 2) : message;
}

/// What breaks JSON's grammar, of which Protocol Buffers does not say where it is.
std::optional<JsonProblem> findSyntaxError(const std::string& data) {
  try {
    const auto parsed = nlohmann::json::parse(data);
    return std::nullopt;
  } catch (const nlohmann::json::parse_error& error) {
    return JsonProblem{placeOf(data, error.byte > 0 ? error.byte - 1 : 0), "",
                       withoutPlace(error.what())};
  } catch (const nlohmann::json::exception&) {
    return std::nullopt;  // a number beyond range, which Protocol Buffers knows by its field
  }
}

/// Protocol Buffers' own message: "(path): problem", "(path) name: problem" or "problem", with the
/// text around it on further lines.
JsonProblem explain(const std::string& message) {
  const std::string line = message.substr(0, message.find('\n'));
  if (line.empty() || line[0] != '(') return {{}, "", line};
  const std::size_t end = line.find(')');
  if (end == std::string::npos) return {{}, "", line};
  const std::size_t text = line.find_first_not_of(": ", end + 1);
  return {{}, line.substr(1, end - 1), text != std::string::npos ? line.substr(text) : ""};
}

}  // namespace

bool looksLikeJson(const std::string& data) {
  const std::size_t first = data.find_first_not_of(" \t\r\n");
  return first != std::string::npos && data[first] == '{';
}

std::optional<JsonProblem> readJson(const std::string& data, google::protobuf::Message* message,
                                    bool ignore_unknown) {
  google::protobuf::util::JsonParseOptions options;
  options.ignore_unknown_fields = ignore_unknown;
  const auto status = google::protobuf::util::JsonStringToMessage(data, message, options);
  if (status.ok()) return std::nullopt;
  const std::optional<JsonProblem> syntax = findSyntaxError(data);
  return syntax ? syntax : explain(std::string(status.message()));
}

}  // namespace norv::tools

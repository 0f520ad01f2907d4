#include "tools/output/json_message.h"

#include <google/protobuf/util/json_util.h>

#include <cstddef>

#include "tools/tool_error.h"

namespace norv::tools {
namespace {

/// Writes negative zeros as "-0.0": readers take the "-0" of Protocol Buffers for a whole number,
/// which has no sign then. A number ends its line, or a comma does behind it; strings end in
/// quotes.
std::string withNegativeZeros(const std::string& json) {
  std::string text;
  text.reserve(json.size());
  for (std::size_t begin = 0; begin < json.size();) {
    std::size_t end = json.find('\n', begin);
    if (end == std::string::npos) end = json.size();
    std::size_t stop = end > begin && json[end - 1] == ',' ? end - 1 : end;
    const bool is_zero = stop >= begin + 3 && json.compare(stop - 3, 3, " -0") == 0;
    text.append(json, begin, stop - begin);
    if (is_zero) text += ".0";
    text.append(json, stop, end - stop);
    text += '\n';
    begin = end + 1;
  }
  return text;
}

}  // namespace

std::string printJsonMessage(const google::protobuf::Message& message) {
  google::protobuf::util::JsonPrintOptions options;
  options.add_whitespace = true;
  std::string json;
  const auto status = google::protobuf::util::MessageToJsonString(message, &json, options);
  if (!status.ok()) throw ToolError("the calibration cannot be written as JSON");
  return withNegativeZeros(json);
}

}  // namespace norv::tools

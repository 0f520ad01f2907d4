#include "calibration_common/review/field_order.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string_view>

namespace norv::internal::review {
namespace {

/// The number that `text` begins with, or -1.
int leadingNumber(std::string_view text) {
  int number = -1;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

/// A part of a path between dots: "radial[2]".
struct Step {
  std::string name;
  int index;
};

Step readStep(const std::string& part) {
  const std::size_t bracket = part.find('[');
  if (bracket == std::string::npos) return {part, -1};
  return {part.substr(0, bracket), leadingNumber(std::string_view(part).substr(bracket + 1))};
}

}  // namespace

std::vector<int> fieldOrder(const google::protobuf::Descriptor& top, const std::string& path) {
  std::vector<int> order;
  const google::protobuf::Descriptor* type = &top;
  for (std::size_t begin = 0; begin < path.size() && type != nullptr;) {
    const std::size_t end = std::min(path.find('.', begin), path.size());
    const Step step = readStep(path.substr(begin, end - begin));
    const auto* field = type->FindFieldByName(step.name);
    const int number = field != nullptr ? field->number() : leadingNumber(step.name);
    if (number < 0) break;
    order.push_back(number);
    order.push_back(step.index);
    type = field != nullptr ? field->message_type() : nullptr;
    begin = end + 1;
  }
  return order;
}

}  // namespace norv::internal::review

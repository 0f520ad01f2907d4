#include "support/messages/message_walk.h"

namespace norv::internal {

std::string FieldPath::prefix() const {
  std::string text;
  for (const Step& step : steps_) {
    text += step.field->name();
    if (step.index >= 0) text += "[" + std::to_string(step.index) + "]";
    text += ".";
  }
  return text;
}

}  // namespace norv::internal

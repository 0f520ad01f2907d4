#include "calibration_common/review/message_walk.h"

namespace norv::internal::review {

std::string FieldPath::prefix() const {
  std::string text;
  for (const Step& step : steps_) {
    text += step.field->name();
    if (step.index >= 0) text += "[" + std::to_string(step.index) + "]";
    text += ".";
  }
  return text;
}

}  // namespace norv::internal::review

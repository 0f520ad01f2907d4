#include "tools/review/finding_json.h"

#include <optional>

namespace norv::tools {
namespace {

using calibration::Finding;

json textOrNull(const std::string& text) { return text.empty() ? json() : json(text); }

json numberOrNull(const std::optional<double>& number) { return number ? json(*number) : json(); }

json positiveOrNull(int number) { return number > 0 ? json(number) : json(); }

}  // namespace

json findingJson(const std::string& file, const PlacedFinding& placed) {
  const Finding& finding = placed.finding;
  const bool has_size = finding.width != 0 || finding.height != 0;
  return {{"severity", severityName(finding.severity)},
          {"check", finding.check},
          {"file", file},
          {"line", positiveOrNull(placed.place.line)},
          {"column", positiveOrNull(placed.place.column)},
          {"field", textOrNull(finding.field)},
          {"camera", textOrNull(finding.camera)},
          {"size", has_size ? json::array({finding.width, finding.height}) : json()},
          {"value", numberOrNull(finding.value)},
          {"threshold", numberOrNull(finding.threshold)},
          {"text", finding.text}};
}

}  // namespace norv::tools

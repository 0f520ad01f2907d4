#include "tools/show/metadata.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <ctime>

#include "support/printable_text.h"

namespace norv::tools {

using calibration::CalibrationMetadataProto;

std::string dateText(std::int64_t nanoseconds) {
  constexpr std::int64_t kPerSecond = 1000000000;
  const std::int64_t whole = nanoseconds / kPerSecond;
  const std::time_t seconds = nanoseconds % kPerSecond < 0 ? whole - 1 : whole;
  return fmt::format("{:%Y-%m-%d %H:%M:%S} UTC", fmt::gmtime(seconds));
}

std::string metadataText(bool present, const CalibrationMetadataProto& metadata) {
  if (!present) return "    no metadata\n";
  std::string time = "not stated";
  if (metadata.has_calibration_time()) {
    time = fmt::format("{}\n    ns since 1970      {}", dateText(metadata.calibration_time()),
                       metadata.calibration_time());
  }
  return fmt::format(
      "    time               {}\n"
      "    gain validity key  \"{}\"\n"
      "    validity key       \"{}\"\n"
      "    tool version       \"{}\"\n"
      "    operator's note    \"{}\"\n",
      time, toPrintable(metadata.gain_validity_key()), toPrintable(metadata.validity_key()),
      toPrintable(metadata.tool_version()), toPrintable(metadata.operator_note()));
}

json metadataJson(bool present, const CalibrationMetadataProto& metadata) {
  if (!present) return nullptr;
  return {{"calibration_time_ns", metadata.calibration_time()},
          {"gain_validity_key", metadata.gain_validity_key()},
          {"validity_key", metadata.validity_key()},
          {"tool_version", metadata.tool_version()},
          {"operator_note", metadata.operator_note()}};
}

}  // namespace norv::tools

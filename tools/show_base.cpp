#include "tools/show_base.h"

#include <fmt/format.h>

#include <vector>

#include "tools/camera_loading.h"
#include "tools/json_output.h"
#include "tools/text_table.h"

namespace norv::tools {
namespace {

using calibration::BaseCalibrationData;
using calibration::BaseCalibrationProto;
using calibration::CalibrationMetadataProto;

std::string metadataText(const CalibrationMetadataProto& metadata) {
  return fmt::format(
      "    time               {} ns since 1970\n"
      "    gain validity key  \"{}\"\n"
      "    validity key       \"{}\"\n"
      "    tool version       \"{}\"\n"
      "    operator's note    \"{}\"\n",
      metadata.calibration_time(), metadata.gain_validity_key(), metadata.validity_key(),
      metadata.tool_version(), metadata.operator_note());
}

std::string baseText(const BaseCalibrationData& data, const BaseCalibrationProto& base) {
  const Matrix3x3_f rotation = data.getWorldRotation();
  const Vector3_f translation = data.getWorldTranslation();
  std::vector<std::vector<std::string>> rows;
  for (int r = 0; r < 3; ++r) {
    rows.push_back({r == 0 ? "global transform" : ""});
    for (int c = 0; c < 3; ++c) rows.back().push_back(formatFixed(rotation(r, c), 6));
    rows.back().push_back(formatFixed(translation(r), 5) + " m");
  }
  return alignTable({{"wheel base", formatFixed(data.getWheelBase(), 4) + " m"},
                     {"base width", formatFixed(data.getBaseWidth(), 4) + " m"},
                     {"base length", formatFixed(data.getBaseLength(), 4) + " m"}},
                    2) +
         alignTable(rows, 2) + metadataText(base.global_transform_adjustment().metadata()) +
         alignTable({{"gyroscope gain", formatFixed(data.getGyroscopeGain(), 6)}}, 2) +
         metadataText(base.gyroscope().metadata());
}

json metadataJson(const CalibrationMetadataProto& metadata) {
  return {{"calibration_time_ns", metadata.calibration_time()},
          {"gain_validity_key", metadata.gain_validity_key()},
          {"validity_key", metadata.validity_key()},
          {"tool_version", metadata.tool_version()},
          {"operator_note", metadata.operator_note()}};
}

json baseJson(const CalibrationInput& input, const BaseCalibrationData& data,
              const BaseCalibrationProto& base) {
  const Vector3_f translation = data.getWorldTranslation();
  return {
      {"source", input.name},
      {"wheel_base", data.getWheelBase()},
      {"base_width", data.getBaseWidth()},
      {"base_length", data.getBaseLength()},
      {"world_rotation", rowsOf(data.getWorldRotation())},
      {"world_translation", {translation.x(), translation.y(), translation.z()}},
      {"global_transform_metadata", metadataJson(base.global_transform_adjustment().metadata())},
      {"gyroscope_gain", data.getGyroscopeGain()},
      {"gyroscope_metadata", metadataJson(base.gyroscope().metadata())}};
}

}  // namespace

std::string showBase(const CalibrationInput& input, const BaseCalibrationProto& base,
                     const ShowOptions& options) {
  const auto data = loadBase(input, base);
  if (options.json) return printJson(baseJson(input, *data, base));
  return fmt::format("{}: calibration of the mobile base\n\n", input.name) + baseText(*data, base);
}

}  // namespace norv::tools

#include "tools/show/show_base.h"

#include <fmt/format.h>

#include <vector>

#include "support/printable_text.h"
#include "tools/input/camera_loading.h"
#include "tools/output/json_output.h"
#include "tools/output/number_text.h"
#include "tools/output/text_table.h"
#include "tools/review/finding_notes.h"
#include "tools/show/metadata.h"
#include "tools/show/notes.h"

namespace norv::tools {
namespace {

using calibration::BaseCalibrationData;
using calibration::BaseCalibrationProto;

std::string transformTable(const BaseCalibrationData& data) {
  const Matrix3x3_f rotation = data.getWorldRotation();
  const Vector3_f translation = data.getWorldTranslation();
  std::vector<std::vector<std::string>> rows;
  for (int r = 0; r < 3; ++r) {
    rows.push_back({r == 0 ? "global transform" : ""});
    for (int c = 0; c < 3; ++c) rows.back().push_back(shortestText(rotation(r, c)));
    rows.back().push_back(shortestText(translation(r)) + " m");
  }
  return alignTable(rows, 2);
}

std::string baseText(const BaseCalibrationData& data, const BaseCalibrationProto& base) {
  const auto& adjustment = base.global_transform_adjustment();
  return alignTable({{"wheel base", shortestText(data.getWheelBase()) + " m"},
                     {"base width", shortestText(data.getBaseWidth()) + " m"},
                     {"base length", shortestText(data.getBaseLength()) + " m"}},
                    2) +
         transformTable(data) + metadataText(adjustment.has_metadata(), adjustment.metadata()) +
         alignTable({{"gyroscope gain", shortestText(data.getGyroscopeGain())}}, 2) +
         metadataText(base.gyroscope().has_metadata(), base.gyroscope().metadata());
}

json baseJson(const CalibrationInput& input, const BaseCalibrationData& data,
              const BaseCalibrationProto& base, const Findings& findings) {
  const auto& adjustment = base.global_transform_adjustment();
  json document = {{"source", input.name}};
  document.update(countJson(findings));
  document.update({{"wheel_base", numberOf(data.getWheelBase())},
                   {"base_width", numberOf(data.getBaseWidth())},
                   {"base_length", numberOf(data.getBaseLength())},
                   {"world_rotation", rowsOf(data.getWorldRotation())},
                   {"world_translation", listOf(data.getWorldTranslation())},
                   {"global_transform_metadata",
                    metadataJson(adjustment.has_metadata(), adjustment.metadata())},
                   {"gyroscope_gain", numberOf(data.getGyroscopeGain())},
                   {"gyroscope_metadata",
                    metadataJson(base.gyroscope().has_metadata(), base.gyroscope().metadata())},
                   {"notes", errorNotes(findings, "")}});
  return document;
}

}  // namespace

std::string showBase(const CalibrationInput& input, const BaseCalibrationProto& base,
                     const ShowOptions& options) {
  const auto data = loadBase(input, base);
  const Findings findings = reviewCalibration(base);
  if (options.json) return printJson(baseJson(input, *data, base, findings));
  return fmt::format("{}: calibration of the mobile base\n\n", toPrintable(input.name)) +
         baseText(*data, base) + notesText(errorNotes(findings, "")) + "\n" + countLine(findings);
}

}  // namespace norv::tools

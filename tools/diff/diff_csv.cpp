#include "tools/diff/diff_csv.h"

#include <fmt/format.h>

#include <cmath>
#include <iterator>

#include "support/printable_text.h"

namespace norv::tools {
namespace {

using calibration::BaseDifference;
using calibration::GridDifference;
using calibration::ImageDifference;
using calibration::PtzDifference;
using calibration::RobotDifference;

constexpr const char* kColumns = ",size,u,v,du,dv,du_rotated,dv_rotated\n";

/// A cell of text, in quotation marks where it needs them.
std::string cellOf(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string cell = "\"";
  for (const char c : text) cell += c == '"' ? std::string("\"\"") : std::string(1, c);
  return cell + "\"";
}

/// The shortest digits that read back as the same number; "" for NaN.
std::string cellOf(double value) {
  return std::isnan(value) ? "" : fmt::format("{}", value == 0 ? 0.0 : value);
}

void addGrid(const std::string& name, const ImageDifference& image, std::string* csv) {
  const auto out = std::back_inserter(*csv);
  for (const GridDifference& at : image.grid) {
    fmt::format_to(out, "{},{}x{},{},{},{},{},{},{}\n", name, image.a.width, image.a.height,
                   cellOf(at.u), cellOf(at.v), cellOf(at.du), cellOf(at.dv), cellOf(at.du_rotated),
                   cellOf(at.dv_rotated));
  }
}

std::string csvOf(const RobotDifference& robot) {
  std::string csv = std::string("camera") + kColumns;
  for (const auto& camera : robot.cameras) {
    for (const ImageDifference& image : camera.images)
      addGrid(cellOf(toPrintable(camera.name)), image, &csv);
  }
  return csv;
}

std::string csvOf(const PtzDifference& ptz) {
  std::string csv = std::string("zoom") + kColumns;
  for (const auto& at : ptz.zooms) addGrid(std::to_string(at.zoom), at.image, &csv);
  return csv;
}

std::string csvOf(const BaseDifference& /*base*/) { return std::string("base") + kColumns; }

}  // namespace

std::string diffCsv(const Difference& difference) {
  return std::visit([](const auto& of_kind) { return csvOf(of_kind); }, difference);
}

}  // namespace norv::tools

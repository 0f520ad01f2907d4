#include "tools/import/point_check.h"

#include <fmt/format.h>

#include "interop/calibration_export.h"
#include "interop/reprojection_check.h"
#include "support/printable_text.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

using interop::ImportedCamera;
using interop::ObservedPoint;
using interop::ReprojectionError;

std::string errorText(const ReprojectionError& error) {
  std::string text = "no point is imaged";
  if (error.imaged > 0) {
    text = fmt::format("{} point{}, rms {:.3g} px, max {:.3g} px, mean offset ({:.3g}, {:.3g}) px",
                       error.imaged, error.imaged == 1 ? "" : "s", error.rms, error.max,
                       error.mean.x(), error.mean.y());
  }
  if (error.behind > 0) text += fmt::format("; {} behind the camera", error.behind);
  if (error.beyond_lens > 0) text += fmt::format("; {} beyond the lens", error.beyond_lens);
  return text;
}

std::string cameraText(const ImportedCamera& camera, const std::vector<ObservedPoint>& points) {
  const std::string name = toPrintable(camera.calibration.name());
  if (points.empty()) return fmt::format("check of {}: no points\n", name);
  const auto written = interop::fullFrameCamera(camera.calibration);
  if (const auto* reason = std::get_if<std::string>(&written)) throw ToolError(*reason);
  const auto check = checkReprojection(std::get<interop::WrittenCamera>(written), points);
  std::string text = fmt::format("check of {}: {}\n", name, errorText(check.error));
  for (const interop::BetterConvention& better : check.better) {
    text += fmt::format("hint: {} is better explained if {}: {}\n", name,
                        describe(better.convention), errorText(better.error));
  }
  return text;
}

}  // namespace

std::string checkText(const std::vector<ImportedCamera>& cameras, const interop::SourceFile& points,
                      calibration::PixelOrigin origin) {
  std::vector<std::string> names;
  for (const ImportedCamera& camera : cameras) names.push_back(camera.calibration.name());
  const auto read = interop::readObservedPoints(points, names, origin);
  if (const auto* problem = std::get_if<interop::FormatProblem>(&read)) {
    throw ToolError(describe(*problem));
  }
  const auto& lists = std::get<std::vector<std::vector<ObservedPoint>>>(read);
  std::string text;
  for (std::size_t i = 0; i < cameras.size(); ++i) text += cameraText(cameras[i], lists[i]);
  return text;
}

}  // namespace norv::tools

#include "tools/export/export_command.h"

#include <fmt/format.h>

#include <utility>

#include "support/printable_text.h"
#include "tools/export/export_files.h"
#include "tools/export/export_usage.h"
#include "tools/export/exported_cameras.h"
#include "tools/output/peer_text.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

using interop::ExportOutcome;

std::string noteText(const std::string& sentence) {
  return "note: " + toPrintable(sentence) + "\n";
}

std::string cameraLines(const ExportedCalibration& exported, const ExportOutcome& outcome) {
  std::string text;
  for (std::size_t i = 0; i < outcome.cameras.size(); ++i) {
    const interop::ExportedCamera& camera = outcome.cameras[i];
    const calibration::CameraModel& model = exported.cameras[i].model;
    const std::string how = camera.is_exact
                                ? fmt::format("exact at {}x{}", model.width, model.height)
                                : describe(camera.deviation, {model.width, model.height});
    text += fmt::format("  {}: {}\n", toPrintable(camera.name), how);
  }
  return text;
}

/// Which frame the poses are of, where that is not the robot's under its own name.
std::string frameNote(const ExportVerbOptions& options) {
  if (!options.parent || *options.parent == "robot" || options.parent_from_robot) return "";
  return noteText(
      fmt::format("the robot's frame is written as that of {}; --parent-from-robot "
                  "says where else it is",
                  *options.parent));
}

std::string headText(const ExportVerbOptions& options, const ExportedCalibration& exported) {
  const interop::WriteOptions writing = exportOptionsOf(options).writing;
  const calibration::PixelOrigin origin = interop::writtenOrigin(writing);
  const char* const done = interop::cornerOffset(origin) == 0 ? "cx and cy as they are"
                                                              : "0.5 subtracted from cx and cy";
  return fmt::format("{}: format {}, {}: {}\n", toPrintable(exported.source),
                     formatName(writing.format), originText(origin), done);
}

}  // namespace

CLI::App* addExportCommand(CLI::App* app, ExportVerbOptions* options) {
  CLI::App* verb = app->add_subcommand(
      "export",
      "Write cameras of a calibration for another program: for ROS, Kalibr, OpenCV, mrcal, COLMAP "
      "or basalt. What is to be written is read back first: nothing is unless it is the same "
      "camera, or as near as --max-error says");
  addExportOptions(verb, options);
  verb->callback([options] {
    const std::string conflict = findConflict(*options);
    if (!conflict.empty()) throw CLI::ValidationError(conflict);
  });
  return verb;
}

ToolAnswer runExportCommand(const ExportVerbOptions& options) {
  const ExportedCalibration exported = readExported(options);
  auto made = interop::exportCameras(exported.cameras, exportOptionsOf(options));
  if (const auto* reason = std::get_if<std::string>(&made)) {
    throw ToolError(exported.source + ": " + *reason);
  }
  const auto outcome = std::get<ExportOutcome>(std::move(made));
  std::string report = headText(options, exported) + cameraLines(exported, outcome);
  for (const std::string& note : outcome.writing.notes) report += noteText(note);
  report += frameNote(options);
  if (options.output_path == "-") return {outcome.writing.files.at(0).contents, report};
  const ExportedFiles written = writeFiles(options, outcome.writing);
  for (const std::string& note : written.notes) report += noteText(note);
  for (const std::string& path : written.paths) report += toPrintable(path) + ": written\n";
  return {report, ""};
}

}  // namespace norv::tools

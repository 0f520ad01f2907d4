#include "tools/import/import_command.h"

#include <fmt/format.h>

#include <utility>

#include "support/message_printing.h"
#include "support/printable_text.h"
#include "tools/import/import_report.h"
#include "tools/import/import_sources.h"
#include "tools/import/import_target.h"
#include "tools/import/import_usage.h"
#include "tools/import/point_check.h"
#include "tools/input/calibration_kind.h"
#include "tools/input/camera_choice.h"
#include "tools/output/atomic_file.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

using calibration::CameraCalibration;
using calibration::CameraExtrinsics;
using calibration::PixelOrigin;
using calibration::RobotCalibration;
using interop::ImportOutcome;
using interop::NotTakenOver;

/// The file's part of "FILE:CAMERA".
std::string fileOf(const std::string& place) {
  const std::size_t colon = place.rfind(':');
  if (colon == std::string::npos || colon == 0) {
    throw ToolError(place + ": is not FILE:CAMERA, a calibration and a camera of it");
  }
  return place.substr(0, colon);
}

/// The stored pose of a camera of a calibration, both named by "FILE:CAMERA".
CameraExtrinsics readExtrinsics(const std::string& place) {
  const std::string file = fileOf(place);
  CalibrationInput input = readInput(file);
  RobotCalibration robot;
  parseExpected(&input, CalibrationKind::kRobot, &robot);
  const std::string name = place.substr(file.size() + 1);
  for (int i = robot.camera_calibration_size() - 1; i >= 0; --i) {
    const CameraCalibration& camera = robot.camera_calibration(i);
    if (camera.name() != name) continue;
    if (camera.extrinsics().a_size() < 12) {
      throw ToolError(describeProblem(
          input, fmt::format("camera_calibration[{}].extrinsics.a", i),
          fmt::format("holds {} values, 12 are needed", camera.extrinsics().a_size())));
    }
    return camera.extrinsics();
  }
  refuseCamera(input, robot, name);
}

interop::ImportOptions importOptionsOf(const ImportVerbOptions& options) {
  interop::ImportOptions wanted = options.wanted;
  wanted.parent_is_robot = options.parent.has_value() && !options.parent_from_robot;
  if (options.parent_from_robot) wanted.parent_from_robot = rigidPoseOf(*options.parent_from_robot);
  if (options.extrinsics) wanted.extrinsics = extrinsicsOf(*options.extrinsics);
  if (options.extrinsics_of) wanted.extrinsics = readExtrinsics(*options.extrinsics_of);
  if (options.size) wanted.reading.size = {options.size->width, options.size->height};
  return wanted;
}

/// Throws ToolError where the output is what something is read from.
void requireOtherFiles(const ImportVerbOptions& options, const ImportSources& sources) {
  const std::string& output = options.output_path.value();
  for (const std::string& path : sources.paths) requireOtherFile(output, path);
  if (options.check_path) requireOtherFile(output, *options.check_path);
  if (options.extrinsics_of) requireOtherFile(output, fileOf(*options.extrinsics_of));
}

ImportOutcome importAll(const ImportSources& sources, const interop::ImportOptions& options) {
  auto imported = interop::importCameras(sources.files, options);
  if (const auto* problem = std::get_if<interop::FormatProblem>(&imported)) {
    throw ToolError(describe(*problem));
  }
  return std::get<ImportOutcome>(std::move(imported));
}

std::vector<NotTakenOver> allNotTakenOver(const ImportSources& sources,
                                          const ImportOutcome& outcome) {
  std::vector<NotTakenOver> keys = listNotTakenOver(outcome);
  keys.insert(keys.end(), sources.not_taken_over.begin(), sources.not_taken_over.end());
  return keys;
}

/// Why nothing is written with --strict.
std::string strictObjection(const std::string& target, const std::vector<NotTakenOver>& keys) {
  constexpr std::size_t kMaxNames = 10;
  std::string names;
  for (std::size_t i = 0; i < keys.size() && i < kMaxNames; ++i) {
    names += (i == 0 ? "" : ", ") + keys[i].key;
  }
  if (keys.size() > kMaxNames) names += fmt::format(" and {} more", keys.size() - kMaxNames);
  return fmt::format("{}: not written, since not everything is taken over: {}", target, names);
}

std::string printRobot(const ImportTarget& target, const ImportOutcome& outcome) {
  if (target.as_text) return originComments(outcome) + printText(target.robot);
  std::string data;
  if (!target.robot.SerializeToString(&data)) {
    throw ToolError("the calibration is too large for the binary format");
  }
  return data;
}

std::string findingLines(const std::string& file,
                         const std::vector<calibration::Finding>& findings) {
  std::string lines;
  for (const calibration::Finding& finding : findings) {
    lines += findingLine(file, PlacedFinding{finding, {}});
  }
  return lines;
}

/// What was written, and what the user may not expect of it.
std::string writtenText(const ImportTarget& target, std::size_t cameras,
                        const std::optional<std::string>& backup) {
  const std::string name = toPrintable(target.name);
  std::string text =
      fmt::format("{}: {} camera{} imported, {} in all, written in {} format\n", name, cameras,
                  cameras == 1 ? "" : "s", target.robot.camera_calibration_size(),
                  target.as_text ? "text" : "binary");
  if (backup) text += fmt::format("{}: has what the file was before\n", toPrintable(*backup));
  if (target.has_comments) text += "note: comments are not kept\n";
  const int unknown = target.as_text ? countUnknownFields(target.robot) : 0;
  if (unknown > 0) {
    text +=
        fmt::format("note: fields that this version does not know were left out: {}\n", unknown);
  }
  return text;
}

ToolAnswer refuse(std::string notes, std::string objection) {
  return {"", std::move(notes), kBadInput, std::move(objection)};
}

}  // namespace

CLI::App* addImportCommand(CLI::App* app, ImportVerbOptions* options) {
  CLI::App* verb = app->add_subcommand(
      "import",
      "Make a calibration of other programs' files: of ROS, Kalibr, OpenCV, mrcal, COLMAP and "
      "basalt. Nothing is written unless the cameras are the same, or as near as --max-error says");
  addImportOptions(verb, options);
  verb->callback([options] {
    const std::string conflict = findConflict(*options);
    if (!conflict.empty()) throw CLI::ValidationError(conflict);
  });
  return verb;
}

ToolAnswer runImportCommand(const ImportVerbOptions& options) {
  ImportTarget target = readTarget(options);
  const ImportSources sources = readSources(options.paths);
  if (options.output_path) requireOtherFiles(options, sources);
  const ImportOutcome outcome = importAll(sources, importOptionsOf(options));
  const std::vector<NotTakenOver> left = allNotTakenOver(sources, outcome);
  const std::string left_text = notTakenOverText(left);
  std::string report = importText(outcome, options);
  if (options.check_path) {
    report += checkText(outcome.cameras, readSource(*options.check_path),
                        options.check_origin.value_or(PixelOrigin::kImageCorner));
  }
  if (options.strict && !left.empty()) {
    return refuse(report + left_text, strictObjection(target.name, left));
  }
  report += replacementNotes(target.robot, outcome.cameras);
  interop::putCameras(outcome.cameras, &target.robot);
  const auto findings = reviewImported(target.robot, outcome.cameras);
  report += findingLines(target.name, findings);
  const std::string objection = findObjection(target, outcome.cameras, findings, options.force);
  if (!objection.empty()) return refuse(report + left_text, objection);

  const std::string data = printRobot(target, outcome);
  const auto backup = target.is_stream ? std::nullopt : writeTarget(options, data);
  report += writtenText(target, outcome.cameras.size(), backup);
  return target.is_stream ? ToolAnswer{data, report + left_text} : ToolAnswer{report, left_text};
}

}  // namespace norv::tools

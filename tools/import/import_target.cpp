#include "tools/import/import_target.h"

#include <fmt/format.h>

#include <unordered_map>

#include "calibration_common/camera_parameters.h"
#include "interop/calibration_export.h"
#include "support/lens_validity.h"
#include "tools/input/calibration_kind.h"
#include "tools/input/text_comments.h"
#include "tools/output/atomic_file.h"
#include "tools/output/backup.h"
#include "tools/review/finding_notes.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

using calibration::Finding;
using calibration::RobotCalibration;
using calibration::Severity;
using interop::ImportedCamera;
using interop::PoseSource;

/// Share of a picture.
constexpr double kMostWithoutRay = 0.01;

std::string entryPath(int index) { return fmt::format("camera_calibration[{}]", index); }

/// Where the imported cameras stand in the calibration: the path of the entry, and the camera.
std::unordered_map<std::string, const ImportedCamera*> entriesOf(
    const RobotCalibration& robot, const std::vector<ImportedCamera>& cameras) {
  std::unordered_map<std::string, int> index_of;
  for (int i = 0; i < robot.camera_calibration_size(); ++i) {
    index_of[robot.camera_calibration(i).name()] = i;
  }
  std::unordered_map<std::string, const ImportedCamera*> entries;
  for (const ImportedCamera& camera : cameras) {
    entries.emplace(entryPath(index_of.at(camera.calibration.name())), &camera);
  }
  return entries;
}

/// Whether the report says by itself what was found: that there is no pose.
bool isSaidAnyway(const Finding& finding, const ImportedCamera& camera) {
  if (camera.pose_source != PoseSource::kNone) return false;
  return finding.check == "pose-identity" || finding.check == "pose-same";
}

/// Whether the finding is that the lens folds in the last corners of the full frame alone.
bool isFoldInCorners(const Finding& finding, const ImportedCamera& imported) {
  if (finding.check != "lens-fold") return false;
  const auto camera = interop::fullFrameCamera(imported.calibration);
  const auto* const written = std::get_if<interop::WrittenCamera>(&camera);
  return written != nullptr && calibration::coverage(written->model).share > 1 - kMostWithoutRay;
}

}  // namespace

ImportTarget readTarget(const ImportVerbOptions& options) {
  ImportTarget target;
  target.as_text = !options.binary;
  if (options.output_path) {
    target.is_stream = *options.output_path == "-";
    target.name = target.is_stream ? "standard output" : *options.output_path;
    return target;
  }
  CalibrationInput input = readInput(options.into_path.value());
  target.name = input.name;
  const InputFormat format = parseExpected(&input, CalibrationKind::kRobot, &target.robot);
  if (format == InputFormat::kJson && !options.text && !options.binary) {
    throw ToolError(input.name +
                    ": is JSON, which no robot loads; --text or --binary says what it becomes");
  }
  target.as_text = options.text || (format == InputFormat::kText && !options.binary);
  target.has_comments = format == InputFormat::kText && hasComment(input.data);
  return target;
}

std::vector<Finding> reviewImported(const RobotCalibration& robot,
                                    const std::vector<ImportedCamera>& cameras) {
  const auto entries = entriesOf(robot, cameras);
  std::vector<Finding> concerned;
  for (Finding& finding : reviewCalibration(robot)) {
    const auto entry = entries.find(finding.field.substr(0, finding.field.find(']') + 1));
    const bool is_of_imported = entry != entries.end() && !isSaidAnyway(finding, *entry->second);
    if (entry != entries.end() && isFoldInCorners(finding, *entry->second)) {
      finding.severity = Severity::kWarning;
    }
    if (is_of_imported || finding.severity == Severity::kError) {
      concerned.push_back(std::move(finding));
    }
  }
  return concerned;
}

std::string findObjection(const ImportTarget& target, const std::vector<ImportedCamera>& cameras,
                          const std::vector<Finding>& findings, bool force) {
  for (const ImportedCamera& camera : cameras) {
    const auto problem = calibration::findLoadProblem(camera.calibration);
    if (!problem) continue;
    return fmt::format("{}: not written, since the camera \"{}\" does not load: {}: {}",
                       target.name, camera.calibration.name(), problem->field, problem->sentence);
  }
  const int errors = countFindings(findings).errors;
  if (errors == 0 || force) return "";
  return fmt::format(
      "{}: not written, since it would have {} error{}; --force writes it all the same",
      target.name, errors, errors == 1 ? "" : "s");
}

std::optional<std::string> writeTarget(const ImportVerbOptions& options, const std::string& data) {
  const std::string& path = options.output_path ? *options.output_path : options.into_path.value();
  if (!options.backup) {
    writeFileAtomically(path, data);
    return std::nullopt;
  }
  Backup backup(path);
  writeFileAtomically(path, data);
  backup.keep();
  return backup.path();
}

}  // namespace norv::tools

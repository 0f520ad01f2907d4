#include "tools/adjust/adjustment.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <set>
#include <utility>

#include "calibration_common/adjusted_calibration.h"
#include "calibration_common/base_calibration_data.h"
#include "calibration_common/camera_parameters.h"
#include "tools/input/calibration_kind.h"
#include "tools/input/camera_loading.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

using calibration::BaseCalibrationData;
using calibration::BaseCalibrationProto;
using calibration::RobotCalibration;

/// How many cameras an error names.
constexpr std::size_t kMaxNames = 5;

RobotCalibration readRobot(CalibrationInput* input, InputFormat* format) {
  RobotCalibration robot;
  *format = parseExpected(input, CalibrationKind::kRobot, &robot);
  if (robot.camera_calibration().empty()) {
    throw ToolError(input->name + ": holds no camera that could be moved");
  }
  return robot;
}

std::vector<Vector3_f> centersOf(const CalibrationInput& input, const RobotCalibration& robot) {
  std::vector<Vector3_f> centers;
  for (int i = 0; i < robot.camera_calibration_size(); ++i) {
    const auto camera = loadCamera(input, i, robot.camera_calibration(i));
    centers.push_back(camera->getTransform().getCameraCenter());
  }
  return centers;
}

template <class Calibration>
std::vector<PlacedFinding> review(const CalibrationInput& input, CalibrationKind kind,
                                  const Calibration& calibration) {
  ParsedCalibration parsed;
  parsed.kind = kind;
  parsed.message = std::make_unique<Calibration>(calibration);
  return reviewInput(input, parsed);
}

std::vector<CameraMove> movesOf(const Adjustment& adjustment, const BaseCalibrationData& base,
                                const std::vector<Vector3_f>& before) {
  const std::vector<Vector3_f> after = centersOf(adjustment.input, adjustment.adjusted);
  std::vector<CameraMove> moves;
  for (std::size_t i = 0; i < before.size(); ++i) {
    const auto& camera = adjustment.robot.camera_calibration(static_cast<int>(i));
    moves.push_back({camera.name(), before[i], after[i], wasAdjustedBy(camera, base)});
  }
  return moves;
}

/// Those of `found` that are not in `before`: no finding of the same check at the same field.
std::vector<PlacedFinding> findNew(const std::vector<PlacedFinding>& before,
                                   const std::vector<PlacedFinding>& found) {
  std::set<std::pair<std::string, std::string>> seen;
  for (const auto& [finding, place] : before) seen.emplace(finding.check, finding.field);
  std::vector<PlacedFinding> fresh;
  for (const PlacedFinding& placed : found) {
    if (seen.count({placed.finding.check, placed.finding.field}) == 0) fresh.push_back(placed);
  }
  return fresh;
}

std::string countErrors(const std::vector<PlacedFinding>& findings) {
  const auto count =
      std::count_if(findings.begin(), findings.end(), [](const PlacedFinding& placed) {
        return placed.finding.severity == calibration::Severity::kError;
      });
  return count == 0 ? "" : fmt::format("{} error{}", count, count == 1 ? "" : "s");
}

std::string errorObjection(const Adjustment& adjustment) {
  const std::string in_base = countErrors(adjustment.base_findings);
  const std::string in_result = countErrors(adjustment.findings);
  if (in_base.empty() && in_result.empty()) return "";
  std::string where;
  if (!in_base.empty()) where = fmt::format("{} has {}", adjustment.base_input.name, in_base);
  if (!in_result.empty()) {
    where += fmt::format("{}the moved calibration has {}", where.empty() ? "" : " and ", in_result);
  }
  return fmt::format("{}: not adjusted, since {}; --force does it all the same",
                     adjustment.input.name, where);
}

std::string repetitionObjection(const Adjustment& adjustment) {
  std::size_t count = 0;
  std::string names;
  for (const CameraMove& camera : adjustment.cameras) {
    if (!camera.moved_before || ++count > kMaxNames) continue;
    names += fmt::format("{}\"{}\"", names.empty() ? "" : ", ", camera.name);
  }
  if (count == 0) return "";
  if (count > kMaxNames) names += fmt::format(" and {} more", count - kMaxNames);
  return fmt::format(
      "{}: not adjusted, since the global transform of {} was applied before to {}; --again "
      "applies it once more",
      adjustment.input.name, adjustment.base_input.name, names);
}

}  // namespace

Adjustment adjustFiles(const std::string& path, const std::string& base_path) {
  Adjustment result;
  result.input = readInput(path);
  result.robot = readRobot(&result.input, &result.format);
  const std::vector<Vector3_f> before = centersOf(result.input, result.robot);
  result.base_input = readInput(base_path);
  BaseCalibrationProto base_message;
  parseExpected(&result.base_input, CalibrationKind::kBase, &base_message);
  const std::unique_ptr<BaseCalibrationData> base = loadBase(result.base_input, base_message);
  std::optional<RobotCalibration> adjusted = adjustCalibration(result.robot, *base);
  if (!adjusted) throw ToolError(result.input.name + ": cannot be loaded");
  result.adjusted = std::move(*adjusted);
  result.cameras = movesOf(result, *base, before);
  result.base_findings = review(result.base_input, CalibrationKind::kBase, base_message);
  result.findings = review(result.input, CalibrationKind::kRobot, result.adjusted);
  result.new_findings =
      findNew(review(result.input, CalibrationKind::kRobot, result.robot), result.findings);
  return result;
}

bool movesNothing(const Adjustment& adjustment) {
  const auto& before = adjustment.robot.camera_calibration();
  const auto& after = adjustment.adjusted.camera_calibration();
  return std::equal(before.begin(), before.end(), after.begin(), [](const auto& a, const auto& b) {
    return a.extrinsics().SerializeAsString() == b.extrinsics().SerializeAsString();
  });
}

std::string findObjection(const Adjustment& adjustment, bool force, bool again) {
  std::string repetition = again ? "" : repetitionObjection(adjustment);
  if (!repetition.empty()) return repetition;
  return force ? "" : errorObjection(adjustment);
}

}  // namespace norv::tools

#include "calibration_common/loading/load_reporting.h"

#include <algorithm>
#include <cstddef>
#include <tuple>
#include <unordered_set>
#include <utility>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/calibration_review.h"
#include "calibration_common/camera_parameters.h"
#include "calibration_common/ptz_camera_model.h"
#include "support/text_places.h"

namespace norv::internal {
namespace {

using calibration::BaseCalibrationProto;
using calibration::CalibrationFormat;
using calibration::Finding;
using calibration::LoadReport;
using calibration::PlacedFinding;
using calibration::PTZCameraParameters;
using calibration::RobotCalibration;

/// Without its place.
template <class M>
std::optional<Finding> findProblemOf(const M& message) {
  const std::optional<LoadProblem> problem = findLoadProblem(message);
  if (!problem) return std::nullopt;
  return parseProblem(problem->field, problem->sentence).finding;
}

std::optional<Finding> findProblemOf(const RobotCalibration& robot) {
  for (int i = 0; i < robot.camera_calibration_size(); ++i) {
    std::optional<Finding> problem = findProblemOf(robot.camera_calibration(i));
    if (!problem) continue;
    problem->field = "camera_calibration[" + std::to_string(i) + "]." + problem->field;
    problem->camera = robot.camera_calibration(i).name();
    return problem;
  }
  return std::nullopt;
}

template <class M>
std::vector<TextPlace> findPlaces(const ReadCalibration<M>& read,
                                  const std::vector<std::string>& fields) {
  if (read.reading.format != CalibrationFormat::kText) return std::vector<TextPlace>(fields.size());
  return findTextPlaces(read.data, *M::descriptor(), fields);
}

bool standsBefore(const PlacedFinding& a, const PlacedFinding& b) {
  return std::tie(a.place.line, a.place.column) < std::tie(b.place.line, b.place.column);
}

template <class M>
std::vector<PlacedFinding> review(const ReadCalibration<M>& read) {
  std::vector<Finding> findings = reviewCalibration(read.message);
  std::vector<std::string> fields;
  fields.reserve(findings.size());
  for (const Finding& finding : findings) fields.push_back(finding.field);
  const std::vector<TextPlace> places = findPlaces(read, fields);
  std::vector<PlacedFinding> placed;
  placed.reserve(findings.size());
  for (std::size_t i = 0; i < findings.size(); ++i) {
    placed.push_back({std::move(findings[i]), places[i]});
  }
  std::stable_sort(placed.begin(), placed.end(), standsBefore);
  return placed;
}

}  // namespace

template <class M>
std::optional<PlacedFinding> findProblem(const ReadCalibration<M>& read) {
  if (!read.reading.format) return read.reading.problem;
  std::optional<Finding> problem = findProblemOf(read.message);
  if (!problem) return std::nullopt;
  const TextPlace place = findPlaces(read, {problem->field}).front();
  return PlacedFinding{*std::move(problem), place};
}

template <class M>
LoadReport reportOn(const ReadCalibration<M>& read, const std::optional<PlacedFinding>& problem) {
  LoadReport report;
  report.format = read.reading.format;
  report.problem = problem;
  if (report.format) report.findings = review(read);
  if (read.reading.problem) report.findings.insert(report.findings.begin(), *read.reading.problem);
  return report;
}

LoadReport reportUnreadable(const std::string& reason) {
  LoadReport report;
  report.problem = parseProblem("", "cannot be read: " + reason);
  report.findings = {*report.problem};
  return report;
}

std::vector<std::string> listNames(const RobotCalibration& robot, int end) {
  std::vector<std::string> names;
  std::unordered_set<std::string> listed;
  for (int i = 0; i < end; ++i) {
    const std::string& name = robot.camera_calibration(i).name();
    if (listed.insert(name).second) names.push_back(name);
  }
  return names;
}

int findWrongEntry(const RobotCalibration& robot) {
  const auto& entries = robot.camera_calibration();
  const auto wrong = std::find_if(entries.begin(), entries.end(), [](const auto& camera) {
    return findLoadProblem(camera).has_value();
  });
  return static_cast<int>(wrong - entries.begin());
}

template std::optional<PlacedFinding> findProblem(const ReadCalibration<RobotCalibration>&);
template std::optional<PlacedFinding> findProblem(const ReadCalibration<PTZCameraParameters>&);
template std::optional<PlacedFinding> findProblem(const ReadCalibration<BaseCalibrationProto>&);
template LoadReport reportOn(const ReadCalibration<RobotCalibration>&,
                             const std::optional<PlacedFinding>&);
template LoadReport reportOn(const ReadCalibration<PTZCameraParameters>&,
                             const std::optional<PlacedFinding>&);
template LoadReport reportOn(const ReadCalibration<BaseCalibrationProto>&,
                             const std::optional<PlacedFinding>&);

}  // namespace norv::internal

namespace norv::calibration {

std::string describeFinding(const PlacedFinding& placed) {
  std::string text;
  if (placed.place.line > 0) {
    text = std::to_string(placed.place.line) + ":" + std::to_string(placed.place.column) + ": ";
  }
  if (!placed.finding.field.empty()) text += placed.finding.field + ": ";
  return text + placed.finding.text;
}

}  // namespace norv::calibration

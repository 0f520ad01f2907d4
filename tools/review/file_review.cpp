#include "tools/review/file_review.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <tuple>
#include <utility>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/camera_parameters.h"
#include "calibration_common/ptz_camera_model.h"
#include "support/printable_text.h"
#include "support/text_places.h"
#include "tools/input/input_error.h"

namespace norv::tools {
namespace {

using calibration::BaseCalibrationProto;
using calibration::Finding;
using calibration::PTZCameraParameters;
using calibration::RobotCalibration;
using calibration::Severity;

std::vector<Finding> review(const ParsedCalibration& parsed) {
  switch (parsed.kind) {
    case CalibrationKind::kRobot:
      return reviewCalibration(dynamic_cast<const RobotCalibration&>(*parsed.message));
    case CalibrationKind::kPtz:
      return reviewCalibration(dynamic_cast<const PTZCameraParameters&>(*parsed.message));
    case CalibrationKind::kBase:
      break;
  }
  return reviewCalibration(dynamic_cast<const BaseCalibrationProto&>(*parsed.message));
}

std::vector<PlacedFinding> place(const CalibrationInput& input, std::vector<Finding> findings) {
  std::vector<std::string> paths;
  paths.reserve(findings.size());
  for (const Finding& finding : findings) paths.push_back(finding.field);
  std::vector<TextPlace> places(paths.size(), TextPlace{});
  if (input.text_type != nullptr) places = findTextPlaces(input.data, *input.text_type, paths);
  std::vector<PlacedFinding> placed;
  placed.reserve(findings.size());
  for (std::size_t i = 0; i < findings.size(); ++i) {
    placed.push_back({std::move(findings[i]), places[i]});
  }
  return placed;
}

Finding parseFinding(const std::string& field, const std::string& text) {
  Finding finding = {};
  finding.severity = Severity::kError;
  finding.check = kParseCheck;
  finding.field = field;
  finding.text = text;
  return finding;
}

Finding loadFinding(const LoadProblem& problem, const std::string& prefix) {
  return parseFinding(prefix + problem.field, "does not load: " + problem.sentence);
}

std::optional<Finding> findLoadFinding(const RobotCalibration& robot) {
  for (int i = 0; i < robot.camera_calibration_size(); ++i) {
    const auto problem = findLoadProblem(robot.camera_calibration(i));
    if (!problem) continue;
    Finding finding = loadFinding(*problem, fmt::format("camera_calibration[{}].", i));
    finding.camera = robot.camera_calibration(i).name();
    return finding;
  }
  return std::nullopt;
}

template <class Calibration>
std::optional<Finding> findLoadFinding(const Calibration& calibration) {
  const auto problem = findLoadProblem(calibration);
  if (!problem) return std::nullopt;
  return loadFinding(*problem, "");
}

std::optional<Finding> findLoadFinding(const ParsedCalibration& parsed) {
  switch (parsed.kind) {
    case CalibrationKind::kRobot:
      return findLoadFinding(dynamic_cast<const RobotCalibration&>(*parsed.message));
    case CalibrationKind::kPtz:
      return findLoadFinding(dynamic_cast<const PTZCameraParameters&>(*parsed.message));
    case CalibrationKind::kBase:
      break;
  }
  return findLoadFinding(dynamic_cast<const BaseCalibrationProto&>(*parsed.message));
}

void reviewInto(const std::string& path, std::optional<CalibrationKind> kind, FileReview* review) {
  review->input = readInput(path);
  review->file = review->input->name;
  ParsedCalibration parsed = parseCalibration(&*review->input, kind);
  if (kind) requireBestKind(*review->input, parsed);
  review->findings = reviewInput(*review->input, parsed);
  review->parsed = std::move(parsed);
}

}  // namespace

bool standsBefore(const PlacedFinding& a, const PlacedFinding& b) {
  return std::tie(a.place.line, a.place.column) < std::tie(b.place.line, b.place.column);
}

std::vector<PlacedFinding> reviewInput(const CalibrationInput& input,
                                       const ParsedCalibration& parsed) {
  std::vector<PlacedFinding> placed = place(input, review(parsed));
  std::stable_sort(placed.begin(), placed.end(), standsBefore);
  return placed;
}

FileReview reviewFile(const std::string& path, std::optional<CalibrationKind> kind) {
  FileReview review;
  try {
    reviewInto(path, kind, &review);
  } catch (const InputError& error) {
    const InputProblem& problem = error.problem();
    review.file = problem.file;
    review.findings.push_back({parseFinding(problem.field, problem.text), problem.place});
  }
  return review;
}

std::optional<PlacedFinding> findLoadFinding(const CalibrationInput& input,
                                             const ParsedCalibration& parsed) {
  std::optional<Finding> finding = findLoadFinding(parsed);
  if (!finding) return std::nullopt;
  return std::move(place(input, {*std::move(finding)}).front());
}

const char* severityName(Severity severity) {
  switch (severity) {
    case Severity::kError:
      return "error";
    case Severity::kWarning:
      return "warning";
    case Severity::kInfo:
      break;
  }
  return "info";
}

std::string findingLine(const std::string& file, const PlacedFinding& placed) {
  const Finding& finding = placed.finding;
  const std::string place =
      placed.place.line > 0 ? fmt::format(":{}:{}", placed.place.line, placed.place.column) : "";
  const std::string field = finding.field.empty() ? "" : finding.field + ": ";
  return toPrintable(fmt::format("{}{}: {}: {}{} [{}]", file, place, severityName(finding.severity),
                                 field, finding.text, finding.check)) +
         "\n";
}

}  // namespace norv::tools

#include "python/bindings/findings.h"

#include <pybind11/stl.h>

#include <set>
#include <utility>

#include "calibration_common/calibration_review.h"
#include "python/bindings/calibration_source.h"
#include "python/bindings/camera_message.h"
#include "python/bindings/cameras.h"
#include "python/bindings/data.h"
#include "python/bindings/errors.h"
#include "python/bindings/library_call.h"
#include "python/bindings/source_arguments.h"

namespace norv::python {
namespace {

using calibration::Finding;
using calibration::PlacedFinding;
using calibration::Severity;

const char* severityName(Severity severity) {
  if (severity == Severity::kError) return "error";
  return severity == Severity::kWarning ? "warning" : "info";
}

py::object orNone(int number) { return number > 0 ? py::object(py::int_(number)) : py::none(); }

py::object orNone(const std::string& text) {
  return text.empty() ? py::object(py::none()) : py::object(toText(text));
}

py::list listFindings(const std::vector<PlacedFinding>& findings) {
  py::list list;
  for (const PlacedFinding& placed : findings) list.append(findingDict(placed));
  return list;
}

/// What a review found out.
struct Review {
  std::optional<Kind> kind;
  std::optional<SourceFormat> format;
  std::vector<std::string> cameras;
  std::vector<PlacedFinding> findings;
  std::optional<PlacedFinding> problem;
};

std::vector<std::string> namesIn(const Source& source) {
  std::vector<std::string> names;
  std::set<std::string> listed;
  if (source.kind != Kind::kRobot) return names;
  const auto& robot = dynamic_cast<const calibration::RobotCalibration&>(*source.message);
  for (const auto& camera : robot.camera_calibration()) {
    if (listed.insert(camera.name()).second) names.push_back(camera.name());
  }
  return names;
}

/// Why loads refuse what has no error: that there is nothing to load.
std::optional<PlacedFinding> findNothing(const Source& source) {
  if (source.message->ByteSizeLong() == 0) return parseFinding("", "is empty");
  if (source.kind == Kind::kRobot && namesIn(source).empty()) {
    return parseFinding("", "holds no camera");
  }
  return std::nullopt;
}

Review reviewOf(const SourceArgument& argument) {
  auto read = argument.read();
  if (const auto* problem = std::get_if<PlacedFinding>(&read)) {
    return {std::nullopt, std::nullopt, {}, {*problem}, *problem};
  }
  const Source& source = std::get<Source>(read);
  Review review = {source.kind, std::nullopt, namesIn(source), reviewSource(source), {}};
  if (!argument.is_object) review.format = source.format;
  review.problem = findNothing(source);
  if (!review.problem) review.problem = findSourceProblem(source);
  return review;
}

py::dict reviewDict(const py::bytes& data, const std::optional<std::string>& kind, bool is_object) {
  const SourceArgument argument = sourceArgument(data, kind, is_object);
  const Review review = [&] {
    const LibraryCall call;
    return reviewOf(argument);
  }();
  py::dict dict;
  dict["kind"] = review.kind ? py::object(py::str(kindName(*review.kind))) : py::none();
  dict["format"] = review.format ? py::object(py::str(formatName(*review.format))) : py::none();
  py::list cameras;
  for (const std::string& name : review.cameras) cameras.append(toText(name));
  dict["cameras"] = cameras;
  dict["findings"] = listFindings(review.findings);
  dict["problem"] = review.problem ? py::object(findingDict(*review.problem)) : py::none();
  return dict;
}

/// A robot's calibration of that camera alone, which may be called otherwise in it.
py::bytes robotOf(const Camera& camera, const std::optional<std::string>& name) {
  calibration::RobotCalibration robot;
  *robot.add_camera_calibration() = presentMessage(camera);
  if (name) robot.mutable_camera_calibration(0)->set_name(*name);
  return py::bytes(robot.SerializeAsString());
}

/// The binary form of a calibration of that kind, or what keeps it from being read.
py::object readMessage(const py::bytes& data, const std::optional<std::string>& kind,
                       bool is_object) {
  const SourceArgument argument = sourceArgument(data, kind, is_object);
  if (!is_object && argument.data.empty()) return findingDict(parseFinding("", "is empty"));
  const auto read = [&] {
    const LibraryCall call;
    return argument.read();
  }();
  if (const auto* problem = std::get_if<PlacedFinding>(&read)) return findingDict(*problem);
  return py::bytes(std::get<Source>(read).message->SerializeAsString());
}

py::list listChecks() {
  py::list checks;
  for (const calibration::CheckDescription& check : calibration::calibrationChecks()) {
    py::list severities;
    for (const Severity severity : check.severities) severities.append(severityName(severity));
    checks.append(py::make_tuple(check.id, py::tuple(severities), check.found_when, check.reason));
  }
  return checks;
}

}  // namespace

py::dict findingDict(const PlacedFinding& placed) {
  const Finding& finding = placed.finding;
  const bool has_size = finding.width != 0 || finding.height != 0;
  py::dict dict;
  dict["severity"] = severityName(finding.severity);
  dict["check"] = finding.check;
  dict["line"] = orNone(placed.place.line);
  dict["column"] = orNone(placed.place.column);
  dict["field"] = orNone(finding.field);
  dict["camera"] = orNone(finding.camera);
  dict["size"] = has_size ? py::object(py::make_tuple(finding.width, finding.height)) : py::none();
  dict["value"] = finding.value;
  dict["threshold"] = finding.threshold;
  dict["text"] = toText(finding.text);
  dict["unlisted"] = finding.unlisted;
  return dict;
}

void bindFindings(py::module_& module) {
  module.def("_review", &reviewDict, py::arg("data"), py::arg("kind"), py::arg("is_object"));
  module.def("_read_message", &readMessage, py::arg("data"), py::arg("kind"), py::arg("is_object"));
  module.def("_checks", &listChecks);
  module.def("_robot_of", &robotOf, py::arg("camera"), py::arg("name") = py::none());
}

}  // namespace norv::python

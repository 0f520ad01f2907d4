#include <pybind11/stl.h>

#include <tuple>
#include <utility>
#include <variant>

#include "interop/calibration_export.h"
#include "python/bindings/data.h"
#include "python/bindings/errors.h"
#include "python/bindings/exported_cameras.h"
#include "python/bindings/findings.h"
#include "python/bindings/library_call.h"
#include "python/bindings/loads.h"
#include "python/bindings/peer_arguments.h"
#include "python/bindings/source_arguments.h"
#include "support/atomic_file.h"

namespace norv::python {
namespace {

using calibration::PlacedFinding;
using interop::ExportOptions;
using interop::ExportOutcome;
using interop::Syntax;
using interop::WrittenCamera;

/// What an export made, with the cameras that it was made of.
struct Exported {
  ExportOutcome outcome;
  std::vector<WrittenCamera> cameras;
};

using Answer = std::variant<Exported, PlacedFinding, CameraProblem>;

Syntax takeSyntax(const std::string& name) {
  if (name == "ini") return Syntax::kIni;
  if (name == "xml") return Syntax::kXml;
  return name == "json" ? Syntax::kJson : Syntax::kUsual;
}

/// The options, checked in Python to go together. Poses are arrays (3, 4) in metres.
ExportOptions optionsOf(const py::dict& given) {
  ExportOptions options;
  options.writing.format = takeFormat(given["format"].cast<std::string>()).value();
  options.writing.syntax = takeSyntax(given["syntax"].cast<std::string>());
  options.writing.pixel_origin =
      takeOrigin(given["pixel_origin"].cast<std::optional<std::string>>(), "pixel_origin");
  options.writing.parent = given["parent"].cast<std::string>();
  options.writing.all_coefficients = given["all_coefficients"].cast<bool>();
  if (!given["parent_from_robot"].is_none()) {
    options.parent_from_robot = takeRigidPose(given["parent_from_robot"], "parent_from_robot");
  }
  options.coefficients = given["coefficients"].cast<std::optional<int>>();
  options.max_error = given["max_error"].cast<double>();
  return options;
}

Answer exportSource(const SourceArgument& argument, const WantedCameras& wanted,
                    const ExportOptions& options) {
  auto read = argument.read();
  if (const auto* problem = std::get_if<PlacedFinding>(&read)) return *problem;
  const Source& source = std::get<Source>(read);
  if (source.kind != Kind::kRobot) {
    return parseFinding("", std::string("holds the calibration of ") + describeKind(source.kind) +
                                ", not of " + describeKind(Kind::kRobot));
  }
  auto cameras =
      chooseCameras(dynamic_cast<const calibration::RobotCalibration&>(*source.message), wanted);
  if (const auto* problem = std::get_if<CameraProblem>(&cameras)) return *problem;
  auto& written = std::get<std::vector<WrittenCamera>>(cameras);
  auto made = interop::exportCameras(written, options);
  if (const auto* reason = std::get_if<std::string>(&made)) return CameraProblem{*reason, ""};
  return Exported{std::get<ExportOutcome>(std::move(made)), std::move(written)};
}

py::dict exportedDict(const Exported& exported, const ExportOptions& options) {
  py::list files;
  for (const interop::WrittenFile& file : exported.outcome.writing.files) {
    files.append(py::make_tuple(toText(file.name), py::bytes(file.contents)));
  }
  py::list notes;
  for (const std::string& note : exported.outcome.writing.notes) notes.append(toText(note));
  py::list cameras;
  for (std::size_t i = 0; i < exported.outcome.cameras.size(); ++i) {
    const interop::ExportedCamera& camera = exported.outcome.cameras[i];
    const calibration::CameraModel& model = exported.cameras[i].model;
    cameras.append(py::make_tuple(
        toText(camera.name), py::make_tuple(model.width, model.height),
        camera.is_exact ? py::object(py::none()) : py::object(deviationTuple(camera.deviation))));
  }
  py::dict dict;
  dict["files"] = files;
  dict["cameras"] = cameras;
  dict["notes"] = notes;
  dict["pixel_origin"] = originName(interop::writtenOrigin(options.writing));
  return dict;
}

py::dict exportCalibration(const std::tuple<py::bytes, std::optional<std::string>, bool>& source,
                           const py::dict& given) {
  const SourceArgument argument =
      sourceArgument(std::get<0>(source), std::get<1>(source), std::get<2>(source));
  const WantedCameras wanted = {given["cameras"].cast<std::vector<std::string>>(),
                                given["size"].cast<std::optional<std::pair<int, int>>>()};
  const ExportOptions options = optionsOf(given);
  const Answer answer = [&] {
    const LibraryCall call;
    return exportSource(argument, wanted, options);
  }();
  if (const auto* exported = std::get_if<Exported>(&answer)) {
    return exportedDict(*exported, options);
  }
  py::dict dict;
  if (const auto* problem = std::get_if<PlacedFinding>(&answer)) {
    dict["problem"] = findingDict(*problem);
  } else if (const auto& problem_of = std::get<CameraProblem>(answer);
             problem_of.missing_name.empty()) {
    dict["problem"] = findingDict(parseFinding("", problem_of.sentence));
  } else {
    dict["missing"] = toText(problem_of.missing_name);
  }
  return dict;
}

/// Replaces a file in one step, or throws OSError.
void writeFile(const py::object& path_like, const std::string& contents) {
  const std::string path = pathOf(path_like);
  std::optional<std::string> reason;
  {
    const LibraryCall call;
    reason = writeFileAtomically(path, contents);
  }
  if (reason) throwSaveProblem({*reason, {}}, path);
}

}  // namespace

void bindExports(py::module_& module) {
  module.def("_export_calibration", &exportCalibration, py::arg("source"), py::arg("options"));
  module.def("_write_file", &writeFile, py::arg("path"), py::arg("contents"));
}

}  // namespace norv::python

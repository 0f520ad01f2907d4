#include <pybind11/stl.h>

#include <utility>
#include <variant>

#include "calibration_common/camera_parameters.h"
#include "interop/calibration_import.h"
#include "python/bindings/calibration_source.h"
#include "python/bindings/camera_message.h"
#include "python/bindings/data.h"
#include "python/bindings/errors.h"
#include "python/bindings/findings.h"
#include "python/bindings/import_review.h"
#include "python/bindings/library_call.h"
#include "python/bindings/peer_arguments.h"
#include "python/bindings/point_check.h"

namespace norv::python {
namespace {

using calibration::PlacedFinding;
using calibration::RobotCalibration;
using interop::FormatProblem;
using interop::ImportedCamera;
using interop::ImportedFile;
using interop::ImportOptions;
using interop::ImportOutcome;
using interop::NotTakenOver;
using interop::PoseSource;
using interop::SourceFile;

constexpr double kMillimetresPerMetre = 1000;

/// The options, None where they are not given. Poses are arrays (3, 4) in metres.
ImportOptions optionsOf(const py::dict& given) {
  const auto text = [&](const char* key) { return given[key].cast<std::optional<std::string>>(); };
  ImportOptions options;
  options.format = takeFormat(text("format"));
  options.reading.pixel_origin = takeOrigin(text("pixel_origin"), "pixel_origin");
  if (const auto size = given["size"].cast<std::optional<std::pair<int, int>>>()) {
    options.reading.size = calibration::PixelSize{size->first, size->second};
  }
  options.reading.node = given["node"].cast<int>();
  options.reading.full_frame = given["full_frame"].cast<bool>();
  options.reading.metres_per_unit = given["scale"].cast<std::optional<double>>();
  options.parent_is_robot = given["parent_is_robot"].cast<bool>();
  if (!given["parent_from_robot"].is_none()) {
    options.parent_from_robot = takeRigidPose(given["parent_from_robot"], "parent_from_robot");
  }
  options.names = given["names"].cast<std::vector<std::string>>();
  options.model = text("model").value_or("");
  options.max_error = given["max_error"].cast<double>();
  return options;
}

/// A pose as calibrations store it: that of a camera, or of an array in metres.
std::optional<calibration::CameraExtrinsics> extrinsicsOf(const py::handle& given) {
  if (given.is_none()) return std::nullopt;
  if (py::isinstance<Camera>(given)) {
    return presentMessage(given.cast<const Camera&>()).extrinsics();
  }
  calibration::CameraExtrinsics extrinsics;
  const interop::RigidPose pose = takeRigidPose(given, "extrinsics");
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) extrinsics.add_a(pose.rotation(r, c));
    extrinsics.add_a(pose.translation[r] * kMillimetresPerMetre);
  }
  return extrinsics;
}

const char* poseSourceName(PoseSource source) {
  if (source == PoseSource::kFile) return "file";
  return source == PoseSource::kOptions ? "extrinsics" : "none";
}

py::dict cameraDict(const ImportedCamera& camera) {
  py::dict dict;
  dict["name"] = toText(camera.calibration.name());
  dict["file"] = camera.file;
  dict["size"] = py::make_tuple(camera.source.size.width, camera.source.size.height);
  dict["pose_source"] = poseSourceName(camera.pose_source);
  dict["has_pose"] = camera.source.camera_from_parent.has_value();
  dict["deviation"] = camera.deviation ? py::object(deviationTuple(*camera.deviation)) : py::none();
  return dict;
}

py::dict fileDict(const ImportedFile& file) {
  py::list left;
  for (const NotTakenOver& one : file.not_taken_over) {
    left.append(py::make_tuple(toText(one.key), toText(one.reason)));
  }
  py::list notes;
  for (const std::string& note : file.notes) notes.append(toText(note));
  py::dict dict;
  dict["file"] = toText(file.name);
  dict["format"] = interop::formatName(file.format);
  dict["pixel_origin"] = originName(file.pixel_origin);
  dict["parent"] = file.parent.empty() ? py::object(py::none()) : toText(file.parent);
  dict["not_taken_over"] = left;
  dict["notes"] = notes;
  return dict;
}

/// What an import made.
struct Made {
  std::variant<ImportOutcome, FormatProblem> imported;
  RobotCalibration robot;
  std::vector<std::string> notes;  ///< about cameras that are replaced
  std::vector<calibration::Finding> findings;
  std::optional<PlacedFinding> problem;  ///< why the library would not load an imported camera
};

void put(Made* made) {
  const auto* const outcome = std::get_if<ImportOutcome>(&made->imported);
  if (outcome == nullptr) return;
  made->notes = replacementNotes(made->robot, outcome->cameras);
  interop::putCameras(outcome->cameras, &made->robot);
  for (const ImportedCamera& camera : outcome->cameras) {
    const auto problem = findLoadProblem(camera.calibration);
    if (!problem) continue;
    made->problem = parseFinding(problem->field, "the camera \"" + camera.calibration.name() +
                                                     "\" does not load: " + problem->sentence);
    return;
  }
  made->findings = reviewImported(made->robot, outcome->cameras);
}

py::dict madeDict(const Made& made) {
  py::dict dict;
  if (const auto* problem = std::get_if<FormatProblem>(&made.imported)) {
    dict["problem"] =
        py::make_tuple(toText(problem->file), problem->place.line, problem->place.column,
                       toText(problem->key), toText(problem->sentence));
    return dict;
  }
  const auto& outcome = std::get<ImportOutcome>(made.imported);
  py::list files;
  for (const ImportedFile& file : outcome.files) files.append(fileDict(file));
  py::list cameras;
  for (const ImportedCamera& camera : outcome.cameras) cameras.append(cameraDict(camera));
  py::list findings;
  for (const auto& finding : made.findings) findings.append(findingDict({finding, {}}));
  dict["files"] = files;
  dict["cameras"] = cameras;
  dict["findings"] = findings;
  py::list notes;
  for (const std::string& note : made.notes) notes.append(toText(note));
  dict["notes"] = notes;
  dict["data"] = py::bytes(made.robot.SerializeAsString());
  dict["load_problem"] =
      made.problem ? py::object(findingDict(*made.problem)) : py::object(py::none());
  return dict;
}

/// `sources` are pairs of a name and contents; `into` is the binary form of a robot's calibration.
py::dict importCalibration(const std::vector<std::pair<std::string, std::string>>& sources,
                           const py::dict& given, const std::string& into,
                           const py::handle& check) {
  ImportOptions options = optionsOf(given);
  options.extrinsics = extrinsicsOf(given["extrinsics"]);
  const PointTable table = pointTableOf(check);
  std::vector<SourceFile> files;
  for (const auto& [name, contents] : sources) files.push_back({name, contents});
  Made made;
  PointChecks checks;
  {
    const LibraryCall call;
    made.robot.ParseFromString(into);
    made.imported = interop::importCameras(files, options);
    put(&made);
    if (const auto* outcome = std::get_if<ImportOutcome>(&made.imported)) {
      checks = checkPoints(outcome->cameras, table);
    }
  }
  py::dict dict = madeDict(made);
  addPointChecks(checks, &dict);
  return dict;
}

}  // namespace

void bindImports(py::module_& module) {
  py::tuple names(interop::peerFormats().size());
  for (std::size_t i = 0; i < names.size(); ++i) {
    names[i] = interop::formatName(interop::peerFormats()[i]);
  }
  module.attr("formats") = names;
  module.def("_import_calibration", &importCalibration, py::arg("sources"), py::arg("options"),
             py::arg("into"), py::arg("check"));
}

}  // namespace norv::python

#include <pybind11/stl.h>

#include <optional>
#include <string>
#include <utility>

#include "calibration_common/load_report.h"
#include "python/bindings/camera_copies.h"
#include "python/bindings/camera_set_docs.h"
#include "python/bindings/cameras.h"
#include "python/bindings/errors.h"
#include "python/bindings/library_call.h"
#include "python/bindings/messages.h"
#include "python/bindings/names.h"

namespace norv::python {
namespace {

using calibration::CameraParametersSet;
using calibration::LoadReport;
namespace py = pybind11;

/// A load that makes an object or raises. `load(report)` enters the library.
template <class Load>
CameraSet made(const Load& load, const std::optional<std::string>& path = std::nullopt) {
  LoadReport report;
  std::unique_ptr<CameraParametersSet> cameras;
  {
    const LibraryCall call;
    cameras = load(&report);
  }
  if (cameras == nullptr) throwLoadProblem(report, path);
  return {std::move(cameras)};
}

CameraSet fromFile(const py::object& path_like) {
  const std::string path = bytesOfPath(path_like);
  return made([&](LoadReport* report) { return CameraParametersSet::fromFile(path, report); },
              path);
}

CameraSet fromString(const std::string& data) {
  return made([&](LoadReport* report) { return CameraParametersSet::fromString(data, report); });
}

CameraSet fromDict(const py::object& dict) {
  return fromString(bytesOfDict(dict, calibration::RobotCalibration()));
}

/// A load into a set that is there. Where it fails the default is in force.
void loadFromFile(CameraSet& set, const py::object& path_like) {
  const std::string path = bytesOfPath(path_like);
  LoadReport report;
  if (!set.lock->change([&] { return set.cameras->loadFromFile(path, &report); })) {
    throwLoadProblem(report, path);
  }
}

std::vector<std::string> namesOf(const CameraSet& set) {
  return set.lock->read([&] { return set.cameras->getCameraNames(); });
}

py::list listNames(const CameraSet& set) {
  py::list names;
  for (const std::string& name : namesOf(set)) names.append(nameOf(name));
  return names;
}

py::object getCamera(const CameraSet& set, const py::handle& name) {
  const std::optional<std::string> bytes = bytesOfName(name, "name");
  if (!bytes) return py::none();
  auto parameters = set.lock->read([&] { return set.cameras->getCamera(*bytes); });
  if (parameters == nullptr) return py::none();
  return py::cast(Camera{*bytes, std::move(parameters), set.lock});
}

py::object requireCamera(const CameraSet& set, const py::handle& name) {
  py::object camera = getCamera(set, name);
  if (!camera.is_none()) return camera;
  const py::str sentence = py::str("no camera {!r}, there are: {!r}");
  const py::object text = sentence.format(name, listNames(set));
  PyErr_SetObject(PyExc_KeyError, text.ptr());
  throw py::error_already_set();
}

py::object getOr(const CameraSet& set, const py::handle& name, const py::object& otherwise) {
  py::object camera = getCamera(set, name);
  return camera.is_none() ? otherwise : camera;
}

/// What mappings give as their keys, values and items.
py::object mappingView(const py::object& set, const char* kind) {
  return py::module_::import("collections.abc").attr(kind)(set);
}

bool hasCamera(const CameraSet& set, const py::handle& name) {
  return PyUnicode_Check(name.ptr()) && !getCamera(set, name).is_none();
}

void adjust(CameraSet& set, const Base& base) {
  // One lock after the other: both let go of the interpreter's while they wait.
  const calibration::BaseCalibrationData data =
      base.lock->read([&] { return calibration::BaseCalibrationData(*base.data); });
  set.lock->change([&] { set.cameras->adjustUsingBaseCalibration(data); });
}

calibration::RobotCalibration messageOf(const CameraSet& set) {
  return set.lock->read([&] { return set.cameras->getRobotCalibration(); });
}

void save(const CameraSet& set, const py::object& path_like, bool binary) {
  const std::string path = bytesOfNewPath(path_like);
  const auto format =
      binary ? calibration::CalibrationFormat::kBinary : calibration::CalibrationFormat::kText;
  const auto problem = set.lock->read([&] { return set.cameras->saveToFile(path, format); });
  if (problem) throwSaveProblem(*problem, path);
}

CameraSet copyOf(const CameraSet& set) { return setFromState(stateOfSet(set)); }

std::string describe(const CameraSet& set) {
  return "CameraParametersSet(" + py::repr(listNames(set)).cast<std::string>() + ")";
}

void bindLoads(py::class_<CameraSet>* set) {
  set->def(py::init([] {
       const LibraryCall call;
       return CameraSet{std::make_shared<CameraParametersSet>()};
     }))
      .def(py::init([](const py::object&) -> CameraSet {
        throw py::type_error(
            "CameraParametersSet() takes no arguments and gives the calibration that is compiled "
            "in; from_file(path), from_bytes, from_text and from_dict make sets of others");
      }))
      .def_static("from_file", &fromFile, docs::kFromFile, py::arg("path"))
      .def_static(
          "from_bytes", [](const py::object& data) { return fromString(takeBytes(data)); },
          docs::kFromBytes, py::arg("data"))
      .def_static(
          "from_text",
          [](const py::object& text) {
            return loadedText(text, calibration::RobotCalibration(), &fromString);
          },
          docs::kFromText, py::arg("text"))
      .def_static("from_dict", &fromDict, docs::kFromDict, py::arg("dict"))
      .def("load_from_file", &loadFromFile, docs::kLoadFromFile, py::arg("path"))
      .def("adjust_using_base_calibration", &adjust, docs::kAdjust, py::arg("base"));
}

void bindContainer(py::class_<CameraSet>* set) {
  set->def_property_readonly("names", &listNames, docs::kNames)
      .def("get_camera", &getCamera, docs::kGetCamera, py::arg("name"))
      .def("__getitem__", &requireCamera, docs::kGetItem, py::arg("name"))
      .def("get", &getOr, docs::kGet, py::arg("name"), py::arg("default") = py::none())
      .def(
          "keys", [](const py::object& self) { return mappingView(self, "KeysView"); }, docs::kKeys)
      .def(
          "values", [](const py::object& self) { return mappingView(self, "ValuesView"); },
          docs::kValues)
      .def(
          "items", [](const py::object& self) { return mappingView(self, "ItemsView"); },
          docs::kItems)
      .def(
          "__eq__", [](const CameraSet& a, const CameraSet& b) { return areEqual(a, b); },
          py::is_operator(), "Whether both hold the same cameras, to the last bit.")
      .def("__contains__", &hasCamera, "Whether there is a camera of that name.", py::arg("name"))
      .def(
          "__len__", [](const CameraSet& self) { return namesOf(self).size(); },
          "The number of cameras.")
      .def(
          "__iter__", [](const CameraSet& self) { return py::iter(listNames(self)); },
          "Iterates over the names that there are now.")
      .def("__repr__", &describe);
}

void bindMessages(py::class_<CameraSet>* set) {
  set->def(
         "to_bytes", [](const CameraSet& self) { return toBytes(messageOf(self)); }, docs::kToBytes)
      .def(
          "to_text", [](const CameraSet& self) { return toPrintedText(messageOf(self)); },
          docs::kToText)
      .def(
          "to_dict", [](const CameraSet& self) { return toDict(messageOf(self)); }, docs::kToDict)
      .def("save", &save, docs::kSave, py::arg("path"), py::kw_only(), py::arg("binary") = false)
      .def("__copy__", &copyOf, docs::kCopy)
      .def(
          "__deepcopy__", [](const CameraSet& self, const py::dict&) { return copyOf(self); },
          docs::kCopy, py::arg("memo"))
      .def(py::pickle(&stateOfSet, &setFromState));
}

}  // namespace

void bindCameraSet(py::module_& module) {
  py::class_<CameraSet> set(module, "CameraParametersSet", docs::kSet);
  bindLoads(&set);
  bindContainer(&set);
  bindMessages(&set);
}

}  // namespace norv::python

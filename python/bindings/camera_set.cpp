#include <fmt/format.h>
#include <pybind11/stl.h>

#include <algorithm>

#include "calibration_common/load_report.h"
#include "python/bindings/cameras.h"
#include "python/bindings/errors.h"
#include "python/bindings/messages.h"

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
    const py::gil_scoped_release released;
    cameras = load(&report);
  }
  if (cameras == nullptr) throwLoadProblem(report, path);
  return {std::move(cameras)};
}

CameraSet fromFile(const py::object& path_like) {
  const auto path = py::module_::import("os").attr("fsencode")(path_like).cast<std::string>();
  return made([&](LoadReport* report) { return CameraParametersSet::fromFile(path, report); },
              path);
}

CameraSet fromString(const std::string& data) {
  return made([&](LoadReport* report) { return CameraParametersSet::fromString(data, report); });
}

CameraSet fromDict(const py::dict& dict) {
  return fromString(bytesOfDict(dict, calibration::RobotCalibration()));
}

/// A load into a set that is there. Where it fails the default is in force.
void loadFromFile(CameraSet& set, const py::object& path_like) {
  const auto path = py::module_::import("os").attr("fsencode")(path_like).cast<std::string>();
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
  for (const std::string& name : namesOf(set)) names.append(toText(name));
  return names;
}

py::object getCamera(const CameraSet& set, const std::string& name) {
  auto parameters = set.lock->read([&] { return set.cameras->getCamera(name); });
  if (parameters == nullptr) return py::none();
  return py::cast(Camera{name, std::move(parameters), set.lock});
}

py::object requireCamera(const CameraSet& set, const std::string& name) {
  py::object camera = getCamera(set, name);
  if (!camera.is_none()) return camera;
  const auto names = py::str(", ").attr("join")(listNames(set)).cast<std::string>();
  throw py::key_error(fmt::format("no camera {}, there are: {}",
                                  py::repr(toText(name)).cast<std::string>(), names));
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
  const auto path = py::module_::import("os").attr("fsencode")(path_like).cast<std::string>();
  const auto format =
      binary ? calibration::CalibrationFormat::kBinary : calibration::CalibrationFormat::kText;
  const auto problem = set.lock->read([&] { return set.cameras->saveToFile(path, format); });
  if (problem) throwSaveProblem(*problem, path);
}

CameraSet copyOf(const CameraSet& set) {
  return {set.lock->read([&] { return std::make_shared<CameraParametersSet>(*set.cameras); })};
}

void bindLoads(py::class_<CameraSet>* set) {
  set->def(py::init([] {
       const py::gil_scoped_release released;
       return CameraSet{std::make_shared<CameraParametersSet>()};
     }))
      .def_static("from_file", &fromFile, py::arg("path"))
      .def_static(
          "from_bytes", [](const py::bytes& data) { return fromString(data); }, py::arg("data"))
      .def_static(
          "from_text", [](const py::str& text) { return fromString(text); }, py::arg("text"))
      .def_static("from_dict", &fromDict, py::arg("dict"))
      .def("load_from_file", &loadFromFile, py::arg("path"))
      .def("adjust_using_base_calibration", &adjust, py::arg("base"));
}

}  // namespace

void bindCameraSet(py::module_& module) {
  py::class_<CameraSet> set(module, "CameraParametersSet");
  bindLoads(&set);
  set.def_property_readonly("names", &listNames)
      .def("get_camera", &getCamera, py::arg("name"))
      .def("__getitem__", &requireCamera, py::arg("name"))
      .def("__contains__",
           [](const CameraSet& cameras, const std::string& name) {
             return !getCamera(cameras, name).is_none();
           })
      .def("__len__", [](const CameraSet& cameras) { return namesOf(cameras).size(); })
      .def("__iter__", [](const CameraSet& cameras) { return py::iter(listNames(cameras)); })
      .def("to_bytes", [](const CameraSet& cameras) { return toBytes(messageOf(cameras)); })
      .def("to_text", [](const CameraSet& cameras) { return toPrintedText(messageOf(cameras)); })
      .def("to_dict", [](const CameraSet& cameras) { return toDict(messageOf(cameras)); })
      .def("save", &save, py::arg("path"), py::kw_only(), py::arg("binary") = false)
      .def("__copy__", &copyOf)
      .def("__deepcopy__",
           [](const CameraSet& cameras, const py::dict&) { return copyOf(cameras); })
      .def("__repr__", [](const CameraSet& cameras) {
        return "CameraParametersSet(" + py::repr(listNames(cameras)).cast<std::string>() + ")";
      });
}

}  // namespace norv::python

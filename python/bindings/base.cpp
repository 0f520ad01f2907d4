#include <fmt/format.h>

#include "python/bindings/base_fields.h"
#include "python/bindings/library_call.h"
#include "python/bindings/loads.h"
#include "python/bindings/messages.h"
#include "python/bindings/names.h"

namespace norv::python {
namespace {

namespace py = pybind11;
using calibration::BaseCalibrationData;
using calibration::BaseCalibrationProto;
using calibration::LoadReport;

Base fromFile(const py::object& path_like) {
  const std::string path = pathOf(path_like);
  return {loadedOrThrow(
      [&](LoadReport* report) { return BaseCalibrationData::fromFile(path, report); }, path)};
}

Base fromString(const std::string& data) {
  return {loadedOrThrow(
      [&](LoadReport* report) { return BaseCalibrationData::fromString(data, report); })};
}

void loadFromFile(Base& base, const py::object& path_like) {
  const std::string path = pathOf(path_like);
  LoadReport report;
  if (!base.lock->change([&] { return base.data->loadFromFile(path, &report); })) {
    throwLoadProblem(report, path);
  }
}

BaseCalibrationProto messageOf(const Base& base) {
  return base.lock->read([&] { return base.data->getCalibration(); });
}

Base copyOf(const Base& base) {
  return {base.lock->read([&] { return std::make_shared<BaseCalibrationData>(*base.data); })};
}

void save(const Base& base, const py::object& path_like, bool binary) {
  const std::string path = bytesOfNewPath(path_like);
  const auto format =
      binary ? calibration::CalibrationFormat::kBinary : calibration::CalibrationFormat::kText;
  const auto problem = base.lock->read([&] { return base.data->saveToFile(path, format); });
  if (problem) throwSaveProblem(*problem, path);
}

std::string describe(const Base& base) {
  return base.lock->read([&] {
    const Vector3_f t = base.data->getWorldTranslation();
    return fmt::format("BaseCalibrationData(world_translation=[{}, {}, {}], gyroscope_gain={})",
                       t.x(), t.y(), t.z(), base.data->getGyroscopeGain());
  });
}

constexpr const char* kClass =
    R"(The calibration of the robot's mobile base: its sizes, its global transform, its gyroscope's gain.

The global transform is rigid: rotation W and translation b (metres), by which camera poses that were measured in the
frame of the calibration are moved onto the base. `BaseCalibrationData()` holds the compiled-in default. Thread-safe.

>>> import camera_parameters as cp
>>> base = cp.BaseCalibrationData()
>>> base.wheel_base > 0, base.world_rotation.shape
(True, (3, 3))
)";

void bindLoads(py::class_<Base>* base) {
  base->def(py::init([] {
        const LibraryCall call;
        return Base{std::make_shared<BaseCalibrationData>()};
      }))
      .def_static("from_file", &fromFile, py::arg("path"),
                  R"(The base's calibration that a file holds, binary or text; never the default.

Raises CalibrationError where it does not load, and OSError where it cannot be read.

>>> import camera_parameters as cp
>>> try:
...     cp.BaseCalibrationData.from_file("no such file")
... except FileNotFoundError as error:
...     print(error.strerror)
No such file or directory
)")
      .def_static(
          "from_bytes", [](const py::object& data) { return fromString(takeBytes(data)); },
          py::arg("data"),
          R"(The same from bytes, binary or text. Inverse: `to_bytes`.

>>> import camera_parameters as cp
>>> cp.BaseCalibrationData.from_bytes(cp.BaseCalibrationData().to_bytes()) == cp.BaseCalibrationData()
True
)")
      .def_static(
          "from_text",
          [](const py::object& text) {
            return loadedText(text, BaseCalibrationProto::default_instance(), &fromString);
          },
          py::arg("text"),
          R"(The same from text format. Inverse: `to_text`.

>>> import camera_parameters as cp
>>> cp.BaseCalibrationData.from_text("wheel_base: 1")
Traceback (most recent call last):
camera_parameters.CalibrationError: ...global_transform_adjustment.global_transform.a: holds 0 values, at least 12 are needed
)")
      .def_static(
          "from_dict",
          [](const py::object& dict) {
            return fromString(bytesOfDict(dict, BaseCalibrationProto::default_instance()));
          },
          py::arg("dict"),
          R"(The same from a dict by Protocol Buffers' JSON mapping. Inverse: `to_dict`.

>>> import camera_parameters as cp
>>> cp.BaseCalibrationData.from_dict(cp.BaseCalibrationData().to_dict()) == cp.BaseCalibrationData()
True
)")
      .def(
          "load_from_file", &loadFromFile, py::arg("path"),
          R"(Loads a file into this object. Where that fails it raises, and the compiled-in default is in force.

>>> import camera_parameters as cp
>>> base = cp.BaseCalibrationData()
>>> try:
...     base.load_from_file("no such file")
... except OSError:
...     print(base == cp.BaseCalibrationData())
True
)")
      .def(
          "set_default", [](Base& self) { self.lock->change([&] { self.data->setDefault(); }); },
          R"(Puts the compiled-in default in force.

>>> import camera_parameters as cp
>>> base = cp.BaseCalibrationData()
>>> base.wheel_base = 2
>>> base.set_default()
>>> base == cp.BaseCalibrationData()
True
)");
}

void bindWrites(py::class_<Base>* base) {
  base->def(
          "to_bytes", [](const Base& self) { return toBytes(messageOf(self)); },
          R"(The binary form, fields that this version does not know included.

>>> import camera_parameters as cp
>>> type(cp.BaseCalibrationData().to_bytes())
<class 'bytes'>
)")
      .def(
          "to_text", [](const Base& self) { return toPrintedText(messageOf(self)); },
          R"(The text form. Raises CalibrationError where text cannot hold a field, such as one that is not known.

>>> import camera_parameters as cp
>>> "wheel_base" in cp.BaseCalibrationData().to_text()
True
)")
      .def(
          "to_dict", [](const Base& self) { return toDict(messageOf(self)); },
          R"(A dict by Protocol Buffers' JSON mapping, under the fields' own names; 64-bit integers are strings.

>>> import camera_parameters as cp
>>> cp.BaseCalibrationData().to_dict()["gyroscope"]["metadata"]["calibration_time"]
'1715677200000000000'
)")
      .def(
          "save", &save, py::arg("path"), py::kw_only(), py::arg("binary") = false,
          R"(Writes the calibration to a file in one step, as text or binary. Raises OSError, or CalibrationError.

>>> import camera_parameters as cp, os, tempfile
>>> with tempfile.TemporaryDirectory() as folder:
...     cp.BaseCalibrationData().save(os.path.join(folder, "base.txt"))
...     cp.BaseCalibrationData.from_file(os.path.join(folder, "base.txt")) == cp.BaseCalibrationData()
True
)")
      .def("__copy__", &copyOf)
      .def("__deepcopy__", [](const Base& self, const py::dict&) { return copyOf(self); })
      .def("__eq__",
           [](const Base& self, const py::object& other) -> py::object {
             if (!py::isinstance<Base>(other)) {
               return py::reinterpret_borrow<py::object>(Py_NotImplemented);
             }
             const BaseCalibrationProto theirs = messageOf(other.cast<const Base&>());
             return py::bool_(messageOf(self).SerializeAsString() == theirs.SerializeAsString());
           })
      .def(py::pickle([](const Base& self) { return toBytes(messageOf(self)); },
                      [](const py::bytes& data) { return fromString(data); }))
      .def("__repr__", &describe);
  base->attr("__hash__") = py::none();
}

}  // namespace

void bindBase(py::module_& module) {
  py::class_<Base> base(module, "BaseCalibrationData", kClass);
  bindLoads(&base);
  bindWrites(&base);
  bindBaseFields(&base);
}

}  // namespace norv::python

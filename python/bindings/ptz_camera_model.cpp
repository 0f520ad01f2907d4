#include <fmt/format.h>
#include <pybind11/stl.h>

#include "calibration_common/calibration_saving.h"
#include "calibration_common/load_report.h"
#include "python/bindings/errors.h"
#include "python/bindings/heads.h"
#include "python/bindings/library_call.h"
#include "python/bindings/messages.h"
#include "python/bindings/names.h"

namespace norv::python {
namespace {

using calibration::LoadReport;
using calibration::PTZCameraModel;
using calibration::PTZCameraModelPtr;
using calibration::PTZCameraParameters;

/// A load that makes a model or raises. `load(report)` enters the library.
template <class Load>
Head made(const Load& load, const std::optional<std::string>& path = std::nullopt) {
  LoadReport report;
  PTZCameraModelPtr model;
  {
    const LibraryCall call;
    model = load(&report);
  }
  if (model == nullptr) throwLoadProblem(report, path);
  return {std::move(model)};
}

Head fromFile(const py::object& path_like) {
  const std::string path = bytesOfPath(path_like);
  return made([&](LoadReport* report) { return PTZCameraModel::fromFile(path, report); }, path);
}

Head fromDict(const py::object& dict) {
  return headOfData(bytesOfDict(dict, PTZCameraParameters()));
}

const PTZCameraParameters& messageOf(const Head& head) { return head.model->getParams(); }

void save(const Head& head, const py::object& path_like, bool binary) {
  const std::string path = bytesOfNewPath(path_like);
  const auto format =
      binary ? calibration::CalibrationFormat::kBinary : calibration::CalibrationFormat::kText;
  std::optional<calibration::SaveProblem> problem;
  {
    const LibraryCall call;
    problem = calibration::saveToFile(messageOf(head), path, format);
  }
  if (problem) throwSaveProblem(*problem, path);
}

bool isSame(const Head& a, const Head& b) {
  if (a.model == b.model) return true;
  const LibraryCall call;
  return messageOf(a).SerializeAsString() == messageOf(b).SerializeAsString();
}

std::string describe(const Head& head) {
  const calibration::PTZIntrinsicsTable& table = messageOf(head).intrinsics();
  return fmt::format("PTZCameraModel({}x{}, {} samples, zoom factor {:.4g})", table.image_width(),
                     table.image_height(), table.samples_size(), head.model->getMaxZoomFactor());
}

using Class = py::class_<Head>;

void bindLoads(Class* head) {
  head->def(py::init([](const py::args&, const py::kwargs&) -> Head {
        throw py::type_error(
            "PTZCameraModel has no constructor, and none is compiled in: from_file(path), "
            "from_bytes, from_text and from_dict make one");
      }))
      .def_static("from_file", &fromFile, py::arg("path"),
                  R"(The calibration in a file, binary or text.

Raises OSError where the file cannot be read and CalibrationError where it holds no such calibration.

>>> import camera_parameters as cp
>>> cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt")
PTZCameraModel(1920x1080, 12 samples, zoom factor 29.6)
)")
      .def_static(
          "from_bytes", [](const py::object& data) { return headOfData(takeBytes(data)); },
          py::arg("data"),
          R"(The calibration in binary data, as `to_bytes` makes it. Raises CalibrationError.

>>> import camera_parameters as cp
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt")
>>> cp.PTZCameraModel.from_bytes(head.to_bytes()) == head
True
)")
      .def_static(
          "from_text",
          [](const py::object& text) {
            return loadedText(text, PTZCameraParameters(),
                              [](const std::string& data) { return headOfData(data); });
          },
          py::arg("text"),
          R"(The calibration in text, as `to_text` makes it. Raises CalibrationError with line and column.

>>> import camera_parameters as cp
>>> try:
...     cp.PTZCameraModel.from_text("intrinsics { image_width: 640 }")
... except cp.CalibrationError as error:
...     print(error.field)
intrinsics.samples
)")
      .def_static("from_dict", &fromDict, py::arg("dict"),
                  R"(The calibration in a dict, as `to_dict` makes it. Raises CalibrationError.

>>> import camera_parameters as cp
>>> fields = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").to_dict()
>>> fields["pan_tilt"]["max_tilt"] = 6283
>>> cp.PTZCameraModel.from_dict(fields).tilt_range
(-1047, 6283)
)");
}

void bindForms(Class* head) {
  head->def(
          "to_bytes", [](const Head& h) { return toBytes(messageOf(h)); },
          R"(The binary form; it keeps fields that this version does not know.

>>> import camera_parameters as cp
>>> type(cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").to_bytes())
<class 'bytes'>
)")
      .def(
          "to_text", [](const Head& h) { return toPrintedText(messageOf(h)); },
          R"(The text form. Raises CalibrationError where text has no words for a field.

>>> import camera_parameters as cp
>>> print(cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").to_text().splitlines()[1].strip())
image_width: 1920
)")
      .def(
          "to_dict", [](const Head& h) { return toDict(messageOf(h)); },
          R"(All fields under the names of the .proto files. Lengths are in millimetres there.

>>> import camera_parameters as cp
>>> cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").to_dict()["pan_tilt"]["max_pan"]
5934
)")
      .def("save", &save, py::arg("path"), py::kw_only(), py::arg("binary") = false,
           R"(Writes the calibration to a file, which is replaced in one step.

Raises OSError where the system does not let it, and CalibrationError where text has no words for a field.

>>> import camera_parameters as cp, os, tempfile
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt")
>>> with tempfile.TemporaryDirectory() as folder:
...     head.save(os.path.join(folder, "head.txt"))
...     cp.PTZCameraModel.from_file(os.path.join(folder, "head.txt")) == head
True
)")
      .def(py::pickle([](const Head& h) { return toBytes(messageOf(h)); },
                      [](const py::bytes& data) { return headOfData(data); }))
      .def("__copy__", [](const py::object& self) { return self; })
      .def("__deepcopy__", [](const py::object& self, const py::dict&) { return self; })
      .def("__eq__", &isSame, py::is_operator())
      .def("__hash__", [](const Head& h) { return py::hash(toBytes(messageOf(h))); })
      .def("__repr__", &describe);
}

}  // namespace

Head headOfData(const std::string& data, const std::optional<std::string>& path) {
  return made([&](LoadReport* report) { return PTZCameraModel::fromString(data, report); }, path);
}

Head headOfMessage(const PTZCameraParameters& message) {
  return headOfData(message.SerializeAsString());
}

void bindPtzCameraModel(py::module_& module) {
  Class head(module, "PTZCameraModel",
             R"(The calibration of a pan-tilt-zoom camera: its zoom lens and the head that turns it.

Immutable: hashable, and safe in all threads. Made by `from_file`, `from_bytes`, `from_text` and `from_dict`; none
is compiled in. Copies are the object itself.

>>> import camera_parameters as cp
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt")
>>> head.image_size, head.zoom_range, head.pan_range
((1920, 1080), (0, 10000), (-5934, 5934))
)");
  bindLoads(&head);
  bindForms(&head);
}

}  // namespace norv::python

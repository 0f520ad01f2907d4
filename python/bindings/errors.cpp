#include "python/bindings/errors.h"

namespace norv::python {
namespace {

namespace py = pybind11;

py::object errorClass(const char* name) {
  return py::module_::import("camera_parameters._errors").attr(name);
}

[[noreturn]] void raise(const py::object& type, const py::object& error) {
  PyErr_SetObject(type.ptr(), error.ptr());
  throw py::error_already_set();
}

py::object orNone(int number) { return number > 0 ? py::object(py::int_(number)) : py::none(); }

py::object orNone(const std::string& text) {
  return text.empty() ? py::object(py::none()) : py::object(toText(text));
}

}  // namespace

py::str toText(const std::string& bytes) {
  PyObject* text = PyUnicode_DecodeUTF8(bytes.data(), static_cast<py::ssize_t>(bytes.size()),
                                        "backslashreplace");
  if (text == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(text);
}

void throwLoadProblem(const calibration::LoadReport& report,
                      const std::optional<std::string>& path) {
  // Python's own error knows the number of the system's, and its class.
  if (path) py::module_::import("io").attr("open")(py::bytes(*path), "rb").attr("close")();
  const calibration::PlacedFinding placed = report.problem.value_or(calibration::PlacedFinding{});
  const py::object type = errorClass("CalibrationError");
  raise(type,
        type(toText(placed.finding.text), path ? py::object(toText(*path)) : py::none(),
             orNone(placed.place.line), orNone(placed.place.column), orNone(placed.finding.field)));
}

void throwSaveProblem(const calibration::SaveProblem& problem, const std::string& path) {
  const bool is_of_system = problem.lost_fields.empty();
  const py::object type = is_of_system ? py::reinterpret_borrow<py::object>(PyExc_OSError)
                                       : errorClass("CalibrationError");
  raise(type, is_of_system ? type(toText(path + ": " + problem.sentence))
                           : type(toText(problem.sentence), toText(path)));
}

void throwCalibrationError(const std::string& text, const std::string& field) {
  const py::object type = errorClass("CalibrationError");
  raise(type, type(toText(text), py::none(), py::none(), py::none(), orNone(field)));
}

void throwNoSolution(const std::string& text, const std::string& reason) {
  const py::object type = errorClass("NoSolutionError");
  raise(type, type(toText(text), orNone(reason)));
}

}  // namespace norv::python

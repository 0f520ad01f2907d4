#include "python/bindings/names.h"

namespace norv::python {

namespace py = pybind11;

py::str nameOf(const std::string& bytes) {
  PyObject* name =
      PyUnicode_DecodeUTF8(bytes.data(), static_cast<py::ssize_t>(bytes.size()), "surrogateescape");
  if (name == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(name);
}

py::str pathOf(const std::string& bytes) {
  PyObject* path =
      PyUnicode_DecodeFSDefaultAndSize(bytes.data(), static_cast<py::ssize_t>(bytes.size()));
  if (path == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(path);
}

std::optional<std::string> bytesOfName(const py::handle& name, const char* argument) {
  if (!PyUnicode_Check(name.ptr())) {
    throw py::type_error(std::string(argument) + ": expected a str, got " +
                         Py_TYPE(name.ptr())->tp_name);
  }
  PyObject* const encoded = PyUnicode_AsEncodedString(name.ptr(), "utf-8", "surrogateescape");
  if (encoded != nullptr) return py::reinterpret_steal<py::bytes>(encoded).cast<std::string>();
  const py::error_already_set error;
  if (!error.matches(PyExc_UnicodeEncodeError)) throw error;
  return std::nullopt;
}

std::string bytesOfPath(const py::handle& path) {
  return py::module_::import("os").attr("fsencode")(path).cast<std::string>();
}

std::string bytesOfNewPath(const py::handle& path_like) {
  const std::string path = bytesOfPath(path_like);
  const py::str lower = pathOf(path).attr("lower")();
  if (lower.attr("endswith")(".json").cast<bool>()) {
    throw py::value_error(
        "path: ends in .json, and save writes text or binary; json.dump(x.to_dict(), file) writes "
        "JSON");
  }
  return path;
}

}  // namespace norv::python

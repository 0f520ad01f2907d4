#include "python/bindings/numbers.h"

#include <fmt/format.h>

#include <cmath>
#include <limits>

namespace norv::python {

namespace py = pybind11;

namespace {

std::string typeName(const py::handle& object) {
  return py::str(py::type::handle_of(object).attr("__name__")).cast<std::string>();
}

[[noreturn]] void refuse(const py::handle& object, const char* name, const char* expected) {
  throw py::type_error(fmt::format("{}: expected {}, got {}", name, expected, typeName(object)));
}

/// NumPy's as well.
bool isBool(const py::handle& object) {
  const std::string name = typeName(object);
  return name == "bool" || name == "bool_";
}

}  // namespace

int takeWhole(const py::handle& number, const char* name, int low, int high) {
  const auto whole = py::reinterpret_steal<py::object>(PyNumber_Index(number.ptr()));
  if (!whole) {
    PyErr_Clear();
    throw py::type_error(fmt::format("{}: expected a whole number, got {}", name,
                                     py::repr(number).cast<std::string>()));
  }
  int is_beyond = 0;
  const long long value = PyLong_AsLongLongAndOverflow(whole.ptr(), &is_beyond);
  if (is_beyond != 0 || value < low || value > high) {
    throw py::value_error(fmt::format("{}: expected {} to {}, got {}", name, low, high,
                                      py::str(whole).cast<std::string>()));
  }
  return static_cast<int>(value);
}

int takeLength(const py::handle& number, const char* name) {
  return takeWhole(number, name, 1, std::numeric_limits<int>::max());
}

int takeThreads(const py::handle& number) { return takeWhole(number, "threads", 0, 256); }

void requireFinite(double number, const char* name) {
  if (std::isfinite(number)) return;
  throw py::value_error(fmt::format("{}: expected a finite number, got {}", name, number));
}

void requireModestSize(int width, int height) {
  if (static_cast<std::size_t>(width) * static_cast<std::size_t>(height) <= kMaxPixels) return;
  throw py::value_error(
      fmt::format("size: {}x{} has more than {} pixels", width, height, kMaxPixels));
}

int takeSteps(const py::handle& object, const char* name) {
  if (isBool(object)) refuse(object, name, "a whole number");
  return takeWhole(object, name, std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
}

std::array<int, 3> takeMotors(const py::handle& object, const char* name) {
  const bool is_text = PyUnicode_Check(object.ptr()) != 0 || PyBytes_Check(object.ptr()) != 0;
  if (is_text || PySequence_Check(object.ptr()) == 0) refuse(object, name, "(pan, tilt, zoom)");
  const auto sequence = py::reinterpret_borrow<py::sequence>(object);
  if (sequence.size() != 3) {
    throw py::value_error(
        fmt::format("{}: expected (pan, tilt, zoom), got {} numbers", name, sequence.size()));
  }
  std::array<int, 3> motors = {};
  for (std::size_t i = 0; i < 3; ++i) motors.at(i) = takeSteps(py::object(sequence[i]), name);
  return motors;
}

double takeNumber(const py::handle& object, const char* name) {
  PyObject* const o = object.ptr();
  if (isBool(object) || PyNumber_Check(o) == 0 || PyComplex_Check(o) != 0) {
    refuse(object, name, "a number");
  }
  const double number = PyFloat_AsDouble(o);
  if (number != -1 || PyErr_Occurred() == nullptr) return number;
  if (PyErr_ExceptionMatches(PyExc_OverflowError) == 0) throw py::error_already_set();
  PyErr_Clear();
  throw py::value_error(fmt::format("{}: expected a number within the range of float", name));
}

}  // namespace norv::python

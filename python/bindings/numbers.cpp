#include "python/bindings/numbers.h"

#include <fmt/format.h>

#include <cmath>
#include <limits>

namespace norv::python {

namespace py = pybind11;

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

}  // namespace norv::python

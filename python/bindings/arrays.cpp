#include "python/bindings/arrays.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <type_traits>
#include <utility>

namespace norv::python {
namespace {

using Shape = std::vector<py::ssize_t>;

Shape shapeOf(const py::array& array) { return Shape(array.shape(), array.shape() + array.ndim()); }

/// "(5, 2)", as NumPy writes it.
std::string describeShape(const Shape& shape) {
  std::string text = "(";
  for (std::size_t i = 0; i < shape.size(); ++i) {
    text += (i == 0 ? "" : ", ") + std::to_string(shape[i]);
  }
  return text + (shape.size() == 1 ? ",)" : ")");
}

std::string textOf(const py::handle& object) { return py::str(object).cast<std::string>(); }

/// NumPy's own sentence with the argument's name before it. What else went wrong is passed on:
/// `__array__` of a caller's object may raise anything.
[[noreturn]] void throwNotAnArray(const char* name) {
  py::error_already_set error;
  if (!error.matches(PyExc_ValueError)) throw std::move(error);
  throw py::value_error(std::string(name) + ": " + textOf(error.value()));
}

py::array takeArrayLike(const py::handle& object, const char* name) {
  PyObject* made =
      py::detail::npy_api::get().PyArray_FromAny_(object.ptr(), nullptr, 0, 0, 0, nullptr);
  if (made == nullptr) throwNotAnArray(name);
  return py::reinterpret_steal<py::array>(made);
}

/// A mask would get lost where NumPy converts.
void refuseMask(const py::array& array, const char* name) {
  const bool is_plain = Py_TYPE(array.ptr()) == py::detail::npy_api::get().PyArray_Type_;
  if (is_plain || !py::hasattr(array, "mask")) return;
  throw py::type_error(std::string(name) +
                       ": masked arrays are not taken, fill them first: filled(numpy.nan)");
}

/// NumPy would convert complex numbers by dropping a half of them, and take bools for numbers.
py::array requireNumbers(const py::handle& object, const char* name) {
  if (object.is_none()) throw py::type_error(std::string(name) + ": expected numbers, got None");
  py::array array = takeArrayLike(object, name);
  const char kind = array.dtype().kind();
  // An empty list has no kind of its own: NumPy calls it float.
  if (kind != 'f' && kind != 'i' && kind != 'u') {
    throw py::type_error(std::string(name) + ": expected numbers, got dtype " +
                         textOf(array.dtype()));
  }
  refuseMask(array, name);
  return array;
}

/// The addresses between which an array's elements lie.
struct Extent {
  std::uintptr_t begin;
  std::uintptr_t end;
};

Extent extentOf(const py::array& array) {
  const auto start = reinterpret_cast<std::uintptr_t>(array.data());
  if (array.size() == 0) return {start, start};
  Extent extent = {start, start + static_cast<std::uintptr_t>(array.itemsize())};
  for (py::ssize_t axis = 0; axis < array.ndim(); ++axis) {
    const py::ssize_t reach = array.strides(axis) * (array.shape(axis) - 1);
    (reach < 0 ? extent.begin : extent.end) += static_cast<std::uintptr_t>(reach);
  }
  return extent;
}

bool mayShareMemory(const py::array& a, const py::array& b) {
  const Extent one = extentOf(a);
  const Extent other = extentOf(b);
  return std::max(one.begin, other.begin) < std::min(one.end, other.end);
}

/// Of exactly this element type, in the machine's byte order.
template <class T>
void requireType(const py::handle& out, const char* name) {
  const py::dtype wanted = py::dtype::of<T>();
  if (!py::isinstance<py::array>(out)) {
    throw py::type_error(std::string(name) + ": expected an array of " + textOf(wanted) + ", got " +
                         Py_TYPE(out.ptr())->tp_name);
  }
  const py::dtype got = py::reinterpret_borrow<py::array>(out).dtype();
  if (got.is(wanted)) return;
  if (!py::detail::npy_api::get().PyArray_EquivTypes_(got.ptr(), wanted.ptr())) {
    throw py::value_error(std::string(name) + ": expected dtype " + textOf(wanted) + ", got " +
                          textOf(got));
  }
}

constexpr int kInPlace =
    py::detail::npy_api::NPY_ARRAY_C_CONTIGUOUS_ | py::detail::npy_api::NPY_ARRAY_ALIGNED_;

/// Whether NumPy would give the object back as it is: what costs most of a call with few points.
template <class T>
bool isInPlace(const py::handle& object) {
  if (Py_TYPE(object.ptr()) != py::detail::npy_api::get().PyArray_Type_) return false;
  const auto array = py::reinterpret_borrow<py::array>(object);
  return array.dtype().is(py::dtype::of<T>()) && (array.flags() & kInPlace) == kInPlace;
}

/// NumPy warns of each number that becomes infinite, which may be an exception of the caller's.
py::array_t<float> narrowed(const py::array_t<double>& array) {
  py::array_t<float> narrow(shapeOf(array));
  std::transform(array.data(), array.data() + array.size(), narrow.mutable_data(),
                 [](double number) { return static_cast<float>(number); });
  return narrow;
}

template <class T>
py::array_t<T> convert(const py::array& array) {
  if (isInPlace<T>(array)) return py::reinterpret_borrow<py::array_t<T>>(array);
  if constexpr (std::is_same_v<T, float>) {
    const py::dtype type = array.dtype();
    if (type.kind() == 'f' && type.itemsize() == sizeof(double)) {
      return narrowed(convert<double>(array));
    }
  }
  using detail = py::detail::npy_api;
  PyObject* converted =
      detail::get().PyArray_FromAny_(array.ptr(), py::dtype::of<T>().release().ptr(), 0, 0,
                                     kInPlace | detail::NPY_ARRAY_FORCECAST_, nullptr);
  if (converted == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::array_t<T>>(converted);
}

}  // namespace

template <class T>
py::array_t<T> takeNumbers(const py::handle& object, const char* name) {
  return convert<T>(requireNumbers(object, name));
}

template <class T>
Points<T> takePoints(const py::handle& object, const char* name, py::ssize_t coordinates) {
  const py::array array = isInPlace<T>(object) ? py::reinterpret_borrow<py::array>(object)
                                               : requireNumbers(object, name);
  Shape leading = shapeOf(array);
  if (leading.empty() || leading.back() != coordinates) {
    throw py::value_error(std::string(name) + ": expected shape (..., " +
                          std::to_string(coordinates) + "), got " + describeShape(leading));
  }
  leading.pop_back();
  const auto count = std::accumulate(leading.begin(), leading.end(), py::ssize_t{1},
                                     std::multiplies<py::ssize_t>());
  return {array, convert<T>(array), leading, static_cast<std::size_t>(count)};
}

template <class T>
py::array_t<T> takeArray(const py::handle& object, const char* name, const Shape& shape) {
  const py::array array = requireNumbers(object, name);
  if (shapeOf(array) != shape) {
    throw py::value_error(std::string(name) + ": expected shape " + describeShape(shape) +
                          ", got " + describeShape(shapeOf(array)));
  }
  return convert<T>(array);
}

template <class T>
py::array_t<T> giveArray(const py::handle& out, const char* name, const Shape& shape,
                         const std::vector<py::array>& others) {
  if (out.is_none()) return py::array_t<T>(shape);
  requireType<T>(out, name);
  auto array = py::reinterpret_borrow<py::array_t<T>>(out);
  if (shapeOf(array) != shape) {
    throw py::value_error(std::string(name) + ": expected shape " + describeShape(shape) +
                          ", got " + describeShape(shapeOf(array)));
  }
  if ((array.flags() & kInPlace) != kInPlace) {
    throw py::value_error(std::string(name) + ": is not C-contiguous and aligned");
  }
  if (!array.writeable()) throw py::value_error(std::string(name) + ": cannot be written");
  for (const py::array& other : others) {
    if (mayShareMemory(array, other)) {
      throw py::value_error(std::string(name) + ": shares memory with another argument");
    }
  }
  return array;
}

Shape withAxes(Shape leading, std::initializer_list<py::ssize_t> axes) {
  leading.insert(leading.end(), axes);
  return leading;
}

template py::array_t<double> takeNumbers(const py::handle&, const char*);
template Points<float> takePoints(const py::handle&, const char*, py::ssize_t);
template Points<double> takePoints(const py::handle&, const char*, py::ssize_t);
template py::array_t<float> takeArray(const py::handle&, const char*, const Shape&);
template py::array_t<double> takeArray(const py::handle&, const char*, const Shape&);
template py::array_t<float> giveArray(const py::handle&, const char*, const Shape&,
                                      const std::vector<py::array>&);
template py::array_t<double> giveArray(const py::handle&, const char*, const Shape&,
                                       const std::vector<py::array>&);
template py::array_t<std::uint8_t> giveArray(const py::handle&, const char*, const Shape&,
                                             const std::vector<py::array>&);
template py::array_t<std::int16_t> giveArray(const py::handle&, const char*, const Shape&,
                                             const std::vector<py::array>&);
template py::array_t<std::uint16_t> giveArray(const py::handle&, const char*, const Shape&,
                                              const std::vector<py::array>&);

}  // namespace norv::python

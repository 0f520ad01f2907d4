#include "python/bindings/arrays.h"

#include <cstdint>
#include <numeric>

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

/// NumPy would convert complex numbers by dropping a half of them, and take bools for numbers.
py::array requireNumbers(const py::handle& object, const char* name) {
  if (object.is_none()) throw py::type_error(std::string(name) + ": expected numbers, got None");
  PyObject* made =
      py::detail::npy_api::get().PyArray_FromAny_(object.ptr(), nullptr, 0, 0, 0, nullptr);
  if (made == nullptr) throw py::error_already_set();
  const auto array = py::reinterpret_steal<py::array>(made);
  const char kind = array.dtype().kind();
  // An empty list has no kind of its own: NumPy calls it float.
  if (kind != 'f' && kind != 'i' && kind != 'u') {
    throw py::type_error(std::string(name) + ": expected numbers, got dtype " +
                         py::str(array.dtype()).cast<std::string>());
  }
  return array;
}

template <class T>
py::array_t<T> convert(const py::array& array) {
  using detail = py::detail::npy_api;
  constexpr int kFlags =
      detail::NPY_ARRAY_C_CONTIGUOUS_ | detail::NPY_ARRAY_ALIGNED_ | detail::NPY_ARRAY_FORCECAST_;
  PyObject* converted = detail::get().PyArray_FromAny_(
      array.ptr(), py::dtype::of<T>().release().ptr(), 0, 0, kFlags, nullptr);
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
  const py::array array = requireNumbers(object, name);
  Shape leading = shapeOf(array);
  if (leading.empty() || leading.back() != coordinates) {
    throw py::value_error(std::string(name) + ": expected shape (..., " +
                          std::to_string(coordinates) + "), got " + describeShape(leading));
  }
  leading.pop_back();
  const auto count = std::accumulate(leading.begin(), leading.end(), py::ssize_t{1},
                                     std::multiplies<py::ssize_t>());
  return {convert<T>(array), leading, static_cast<std::size_t>(count)};
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
                         const py::array* input) {
  if (out.is_none()) return py::array_t<T>(shape);
  if (!py::isinstance<py::array>(out) ||
      !py::reinterpret_borrow<py::array>(out).dtype().equal(py::dtype::of<T>())) {
    throw py::type_error(std::string(name) + ": expected an array of " +
                         py::str(py::dtype::of<T>()).cast<std::string>());
  }
  auto array = py::reinterpret_borrow<py::array_t<T>>(out);
  if (shapeOf(array) != shape) {
    throw py::value_error(std::string(name) + ": expected shape " + describeShape(shape) +
                          ", got " + describeShape(shapeOf(array)));
  }
  constexpr int kFlags =
      py::detail::npy_api::NPY_ARRAY_C_CONTIGUOUS_ | py::detail::npy_api::NPY_ARRAY_ALIGNED_;
  if ((array.flags() & kFlags) != kFlags) {
    throw py::value_error(std::string(name) + ": is not C-contiguous and aligned");
  }
  if (!array.writeable()) throw py::value_error(std::string(name) + ": cannot be written");
  if (input != nullptr &&
      py::bool_(py::module_::import("numpy").attr("may_share_memory")(array, *input))) {
    throw py::value_error(std::string(name) + ": shares memory with the input");
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
                                      const py::array*);
template py::array_t<double> giveArray(const py::handle&, const char*, const Shape&,
                                       const py::array*);
template py::array_t<std::uint8_t> giveArray(const py::handle&, const char*, const Shape&,
                                             const py::array*);
template py::array_t<std::int16_t> giveArray(const py::handle&, const char*, const Shape&,
                                             const py::array*);
template py::array_t<std::uint16_t> giveArray(const py::handle&, const char*, const Shape&,
                                              const py::array*);

}  // namespace norv::python

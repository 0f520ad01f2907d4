#pragma once

/// NumPy arrays as the library takes them, and as callers get them. All functions need the
/// interpreter's lock; the pointers that they give may be used without it, as long as the array
/// that holds them lives.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstddef>
#include <string>
#include <vector>

namespace norv::python {

namespace py = pybind11;

/// Points of a caller: an array of shape (..., coordinates), contiguous, aligned and of the
/// library's own element type, in place where the caller's already was.
template <class T>
struct Points {
  py::array given;  ///< as it came, before it was converted
  py::array_t<T> array;
  std::vector<py::ssize_t> leading;  ///< the shape before the last axis
  std::size_t count;                 ///< product of these
  const T* data() const { return array.data(); }
};

/// What NumPy makes of `object`, as points of `coordinates` each. Numbers of any kind but complex
/// ones and bools are converted once. Throws TypeError for what holds no numbers and for masked
/// arrays, whose mask would get lost, and ValueError for a wrong shape, all of which name the
/// argument.
template <class T>
Points<T> takePoints(const py::handle& object, const char* name, py::ssize_t coordinates);

/// What NumPy makes of `object`, in whatever shape.
template <class T>
py::array_t<T> takeNumbers(const py::handle& object, const char* name);

/// What NumPy makes of `object`, in the shape that is asked for.
template <class T>
py::array_t<T> takeArray(const py::handle& object, const char* name,
                         const std::vector<py::ssize_t>& shape);

/// An array to be filled: a new one, or `out` where that is not None. Throws TypeError where `out`
/// is no array and ValueError where it is not of exactly this element type, has another shape, is
/// not C-contiguous and aligned, cannot be written, or may share memory with one of `others`: lies
/// between the first and the last of its bytes.
template <class T>
py::array_t<T> giveArray(const py::handle& out, const char* name,
                         const std::vector<py::ssize_t>& shape,
                         const std::vector<py::array>& others = {});

/// `leading` with further axes.
std::vector<py::ssize_t> withAxes(std::vector<py::ssize_t> leading,
                                  std::initializer_list<py::ssize_t> axes);

/// A copy of a matrix's or vector's elements that nobody can write to, so that assignments to it
/// fail and do not get lost.
template <class Matrix>
py::array_t<typename Matrix::Scalar> constantArray(const Matrix& matrix) {
  using Scalar = typename Matrix::Scalar;
  std::vector<py::ssize_t> shape = {matrix.rows()};
  if (Matrix::ColsAtCompileTime != 1) shape.push_back(matrix.cols());
  py::array_t<Scalar> array(shape);
  Scalar* element = array.mutable_data();
  for (int row = 0; row < matrix.rows(); ++row) {
    for (int column = 0; column < matrix.cols(); ++column) *element++ = matrix(row, column);
  }
  py::detail::array_proxy(array.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
  return array;
}

}  // namespace norv::python

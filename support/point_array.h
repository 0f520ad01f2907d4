#pragma once

/// Arrays of points as callers have them. Units, frames, pixel origin: docs/conventions.md.

#include <cstddef>
#include <type_traits>

namespace norv::calibration {

/// Where a list of points lies in memory that belongs to the caller: coordinate c of point i is
/// `data[i * stride + c * coordinate_stride]`, the strides in elements, of any sign. Eigen's 3 x N
/// and NumPy's N x 3 arrays are `{data, 3}`, three arrays in a row `{data, 1, N}`.
template <class T>
struct PointArray {
  PointArray(T* first, std::ptrdiff_t stride_of_points, std::ptrdiff_t stride_of_coordinates = 1)
      : data(first), stride(stride_of_points), coordinate_stride(stride_of_coordinates) {}

  /// The same points to read.
  template <class Other, class = std::enable_if_t<std::is_convertible_v<Other (*)[], T (*)[]>>>
  PointArray(const PointArray<Other>& other)  // NOLINT(google-explicit-constructor)
      : PointArray(other.data, other.stride, other.coordinate_stride) {}

  T* data;
  std::ptrdiff_t stride;
  std::ptrdiff_t coordinate_stride;

  T& at(std::size_t point, std::ptrdiff_t coordinate) const {
    return data[static_cast<std::ptrdiff_t>(point) * stride + coordinate * coordinate_stride];
  }
};

}  // namespace norv::calibration

#pragma once

/// Arrays of points as callers have them. Units, frames, pixel origin: docs/conventions.md.

#include <cstddef>

namespace norv::calibration {

/// Where a list of points lies in memory that belongs to the caller: coordinate c of point i is
/// `data[i * stride + c * coordinate_stride]`, the strides in elements, of any sign. Eigen's 3 x N
/// and NumPy's N x 3 arrays are `{data, 3}`, three arrays in a row `{data, 1, N}`.
template <class T>
struct PointArray {
  T* data = nullptr;
  std::ptrdiff_t stride = 0;
  std::ptrdiff_t coordinate_stride = 1;

  T& at(std::size_t point, std::ptrdiff_t coordinate) const {
    return data[static_cast<std::ptrdiff_t>(point) * stride + coordinate * coordinate_stride];
  }
};

}  // namespace norv::calibration

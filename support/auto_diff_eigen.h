#pragma once

/// Makes dual numbers usable as elements of Eigen matrices, alone and mixed with plain numbers.
/// Conventions: docs/conventions.md.

#include <Eigen/Core>
#include <cstddef>

#include "auto_diff.h"

namespace Eigen {

/// Products, sums and casts of matrices of dual numbers are those of their elements. The real type
/// is the plain one, so functions that need a real result (`norm`, `squaredNorm`) do not apply:
/// write `sqrt(v.dot(v))`.
template <class T, std::size_t N>
struct NumTraits<norv::autodiff::AutoDiff1<T, N>> : NumTraits<T> {
  using Real = T;
  using NonInteger = norv::autodiff::AutoDiff1<T, N>;
  using Nested = norv::autodiff::AutoDiff1<T, N>;
  using Literal = T;

  enum {
    IsComplex = 0,
    IsInteger = 0,
    IsSigned = 1,
    RequireInitialization = 1,
    ReadCost = static_cast<int>(N) + 1,
    AddCost = (static_cast<int>(N) + 1) * NumTraits<T>::AddCost,
    MulCost = NumTraits<T>::MulCost +
              static_cast<int>(N) * (2 * NumTraits<T>::MulCost + NumTraits<T>::AddCost),
  };
};

template <class T, std::size_t N, class BinaryOp>
struct ScalarBinaryOpTraits<norv::autodiff::AutoDiff1<T, N>, T, BinaryOp> {
  using ReturnType = norv::autodiff::AutoDiff1<T, N>;
};

template <class T, std::size_t N, class BinaryOp>
struct ScalarBinaryOpTraits<T, norv::autodiff::AutoDiff1<T, N>, BinaryOp> {
  using ReturnType = norv::autodiff::AutoDiff1<T, N>;
};

}  // namespace Eigen

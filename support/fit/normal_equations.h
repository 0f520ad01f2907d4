#pragma once

/// Sums over the rows of a least-squares problem.

#include <Eigen/Core>
#include <array>

#include "support/fit/parameters.h"

namespace norv::internal::fit {

using ParameterMatrix = Eigen::Matrix<double, kParameterCount, kParameterCount>;

/// A row of the problem: a residual, and its derivatives with respect to the unknowns.
struct Row {
  double residual = 0;
  ParameterVector derivatives = ParameterVector::Zero();
};

/// J^T J and J^T r of residuals r with the Jacobian J, summed as the rows come: no Jacobian is
/// ever stored.
struct NormalEquations {
  ParameterMatrix matrix =
      ParameterMatrix::Zero();  ///< the lower triangle; above it is unspecified
  ParameterVector gradient = ParameterVector::Zero();

  /// Adds four rows, which costs less than adding one after the other. Rows of zeros change
  /// nothing.
  void addRows(const std::array<Row, 4>& rows);

  /// As if all rows so far had been multiplied by `factor`.
  void scaleRows(double factor);
};

}  // namespace norv::internal::fit

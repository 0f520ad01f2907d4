#include "support/fit/normal_equations.h"

#include <utility>

namespace norv::internal::fit {
namespace {

/// Adds the lower part of a column of the rows' outer products. It starts at an even element, one
/// above the diagonal in the odd columns, so that all columns consist of whole pairs.
template <int column>
void addColumn(const std::array<Row, 4>& rows, ParameterMatrix* matrix) {
  constexpr int kBegin = column - column % 2;
  constexpr int kSize = kParameterCount - kBegin;
  const auto part = [&](const Row& row) {
    return row.derivatives[column] * row.derivatives.segment<kSize>(kBegin);
  };
  matrix->col(column).segment<kSize>(kBegin) +=
      part(rows[0]) + part(rows[1]) + part(rows[2]) + part(rows[3]);
}

template <int... columns>
void addColumns(const std::array<Row, 4>& rows, ParameterMatrix* matrix,
                std::integer_sequence<int, columns...> /*columns*/) {
  (addColumn<columns>(rows, matrix), ...);
}

}  // namespace

void NormalEquations::addRows(const std::array<Row, 4>& rows) {
  // Unrolled with sizes known to the compiler: most of the fit's time is spent here.
  addColumns(rows, &matrix, std::make_integer_sequence<int, kParameterCount>());
  for (const Row& row : rows) gradient += row.residual * row.derivatives;
}

void NormalEquations::scaleRows(double factor) {
  matrix *= factor * factor;
  gradient *= factor * factor;
}

}  // namespace norv::internal::fit

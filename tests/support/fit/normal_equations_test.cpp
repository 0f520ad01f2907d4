#include "support/fit/normal_equations.h"

#include <gtest/gtest.h>

#include <random>

namespace norv::internal::fit {
namespace {

/// Rows of random numbers, and the same as one Jacobian and one vector of residuals.
struct RandomRows {
  explicit RandomRows(int count) : jacobian(count, kParameterCount), residuals(count) {
    std::mt19937_64 random(8);
    std::uniform_real_distribution<double> uniform(-1, 1);
    for (double& element : jacobian.reshaped()) element = uniform(random);
    for (double& element : residuals) element = uniform(random);
  }

  NormalEquations sum() const {
    NormalEquations equations;
    for (Eigen::Index i = 0; i < residuals.size(); i += 4) {
      std::array<Row, 4> rows;
      for (Eigen::Index j = 0; j < 4 && i + j < residuals.size(); ++j) {
        rows[static_cast<std::size_t>(j)] = {residuals[i + j], jacobian.row(i + j)};
      }
      equations.addRows(rows);
    }
    return equations;
  }

  Eigen::MatrixXd jacobian;
  Eigen::VectorXd residuals;
};

void expectEqual(const NormalEquations& equations, const Eigen::MatrixXd& matrix,
                 const Eigen::VectorXd& gradient) {
  const ParameterMatrix full = equations.matrix.selfadjointView<Eigen::Lower>();
  EXPECT_LT((full - matrix).cwiseAbs().maxCoeff(), 1e-14);                  // measured 4e-15
  EXPECT_LT((equations.gradient - gradient).cwiseAbs().maxCoeff(), 1e-14);  // measured 9e-16
}

TEST(NormalEquations, SumsOverTheRows) {
  for (const int count : {4, 8, 23}) {
    const RandomRows rows(count);
    expectEqual(rows.sum(), rows.jacobian.transpose() * rows.jacobian,
                rows.jacobian.transpose() * rows.residuals);
  }
}

TEST(NormalEquations, NothingAddedIsZero) {
  NormalEquations equations;
  equations.addRows({});
  EXPECT_EQ(equations.matrix, ParameterMatrix::Zero());
  EXPECT_EQ(equations.gradient, ParameterVector::Zero());
}

TEST(NormalEquations, FactorAppliesToResidualsAndDerivatives) {
  const RandomRows rows(12);
  NormalEquations equations = rows.sum();
  equations.scaleRows(0.5);
  expectEqual(equations, 0.25 * rows.jacobian.transpose() * rows.jacobian,
              0.25 * rows.jacobian.transpose() * rows.residuals);
}

}  // namespace
}  // namespace norv::internal::fit

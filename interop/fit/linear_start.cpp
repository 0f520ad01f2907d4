#include "interop/fit/linear_start.h"

#include <Eigen/QR>

namespace norv::interop {
namespace {

constexpr int kMaxRounds = 8;

/// Rounds end when no coefficient moves by more.
constexpr double kSettled = 1e-9;

/// Least squares; again with `caution` times the misses as the cost of the unknowns, unless 0.
Eigen::VectorXd solvedWithCaution(const Eigen::MatrixXd& a, const Eigen::VectorXd& b,
                                  double caution) {
  Eigen::VectorXd x = a.colPivHouseholderQr().solve(b);
  if (caution == 0) return x;
  const double cost = caution * (a * x - b).norm();
  Eigen::MatrixXd longer(a.rows() + a.cols(), a.cols());
  longer << a, cost * Eigen::MatrixXd::Identity(a.cols(), a.cols());
  Eigen::VectorXd target = Eigen::VectorXd::Zero(longer.rows());
  target.head(b.size()) = b;
  return longer.colPivHouseholderQr().solve(target);
}

/// The coefficients that make the misses least, times the denominator and divided by that of
/// `lens`. These are the misses of a lens with the same denominator, whose derivatives by the
/// denominator's coefficients have the imaged point in the place of the distorted one.
LensCoefficients solved(const LensProblem& problem, const calibration::LensDistortion<double>& lens,
                        double caution) {
  const auto columns = static_cast<Eigen::Index>(problem.free.size());
  Eigen::MatrixXd a(2 * static_cast<Eigen::Index>(problem.samples.size()), columns);
  Eigen::VectorXd b(a.rows());
  Eigen::Index row = 0;
  for (const RaySample& sample : problem.samples) {
    const auto& p = sample.ray;
    const double s = p.x * p.x + p.y * p.y;
    const double weight = 1 / lens.denominator(s);
    const Eigen::Vector2d imaged(sample.imaged.x, sample.imaged.y);
    b.segment<2>(row) = weight * (problem.to_pixels * (imaged - Eigen::Vector2d(p.x, p.y)));
    a.middleRows<2>(row) = linearJacobian(problem, lens, sample);
    row += 2;
  }
  const Eigen::VectorXd x = solvedWithCaution(a, b, caution);
  LensCoefficients c = LensCoefficients::Zero();
  for (Eigen::Index i = 0; i < columns; ++i) {
    c[static_cast<Eigen::Index>(problem.free[static_cast<std::size_t>(i)])] = x[i];
  }
  return c;
}

}  // namespace

LensCoefficients linearStart(const LensProblem& problem, double caution) {
  LensCoefficients c = LensCoefficients::Zero();
  for (int i = 0; i < kMaxRounds; ++i) {
    const LensCoefficients next = solved(problem, lensOf(c), caution);
    const double moved = (next - c).cwiseAbs().maxCoeff();
    c = next;
    if (!(moved > kSettled)) break;
  }
  return c;
}

}  // namespace norv::interop

#include "interop/fit/lens_problem.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace norv::interop {
namespace {

using calibration::LensDistortion;
using Point = calibration::NormalizedPoint<double>;

/// What a power of a coefficient's unit has as its exponent, in storage order.
constexpr std::array<int, 8> kPowers = {2, 4, 1, 1, 6, 2, 4, 6};

Point scaled(const Point& p, double unit) { return {p.x / unit, p.y / unit}; }

/// The derivative of the point p N / D by a coefficient of N or of D, where it is `q`; or that of
/// the tangential terms by p1 or p2.
Point derivativeBy(std::size_t index, const Point& p, const Point& q, double denominator) {
  const double s = p.x * p.x + p.y * p.y;
  if (index == 2) return {2 * p.x * p.y, s + 2 * p.y * p.y};
  if (index == 3) return {s + 2 * p.x * p.x, 2 * p.x * p.y};
  double factor = 1 / denominator;
  for (int power = 0; power < kPowers[index]; power += 2) factor *= s;
  return index < 5 ? Point{factor * p.x, factor * p.y} : Point{-factor * q.x, -factor * q.y};
}

MissJacobian jacobianAt(const LensProblem& problem, const Point& p, const Point& q,
                        double denominator) {
  MissJacobian jacobian(2, static_cast<Eigen::Index>(problem.free.size()));
  for (std::size_t i = 0; i < problem.free.size(); ++i) {
    const Point d = derivativeBy(problem.free[i], p, q, denominator);
    jacobian.col(static_cast<Eigen::Index>(i)) = problem.to_pixels * Eigen::Vector2d(d.x, d.y);
  }
  return jacobian;
}

}  // namespace

LensDistortion<double> lensOf(const LensCoefficients& c) {
  return {c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7]};
}

LensProblem makeProblem(std::vector<RaySample> samples, const Eigen::Matrix2d& to_pixels,
                        std::vector<std::size_t> free) {
  double unit = 0;
  for (const RaySample& sample : samples) {
    unit = std::max(unit, std::hypot(sample.ray.x, sample.ray.y));
  }
  for (RaySample& sample : samples) {
    sample = {scaled(sample.ray, unit), scaled(sample.imaged, unit)};
  }
  return {std::move(samples), unit * to_pixels, unit, std::move(free)};
}

LensCoefficients coefficientSizes(double ratio) {
  LensCoefficients sizes;
  for (std::size_t i = 0; i < kPowers.size(); ++i) {
    sizes[static_cast<Eigen::Index>(i)] = std::pow(ratio, kPowers[i]);
  }
  return sizes;
}

LensDistortion<double> inPlaneUnits(const LensProblem& problem,
                                    const LensCoefficients& coefficients) {
  return lensOf(coefficients.cwiseProduct(coefficientSizes(1 / problem.unit)));
}

LensCoefficients inProblemUnits(const LensProblem& problem, const LensDistortion<double>& lens) {
  const std::array<double, 8> k = lens.toCoefficients();
  LensCoefficients c = LensCoefficients::Zero();
  for (const std::size_t i : problem.free) c[static_cast<Eigen::Index>(i)] = k[i];
  return c.cwiseProduct(coefficientSizes(problem.unit));
}

Eigen::Vector2d missOf(const LensProblem& problem, const LensDistortion<double>& lens,
                       const RaySample& sample) {
  const Point q = lens.distort(sample.ray);
  return problem.to_pixels * Eigen::Vector2d(q.x - sample.imaged.x, q.y - sample.imaged.y);
}

MissJacobian missJacobian(const LensProblem& problem, const LensDistortion<double>& lens,
                          const RaySample& sample) {
  const Point& p = sample.ray;
  const double s = p.x * p.x + p.y * p.y;
  const double denominator = lens.denominator(s);
  const double g = lens.numerator(s) / denominator;
  return jacobianAt(problem, p, {g * p.x, g * p.y}, denominator);
}

MissJacobian linearJacobian(const LensProblem& problem, const LensDistortion<double>& lens,
                            const RaySample& sample) {
  const Point& p = sample.ray;
  return jacobianAt(problem, p, sample.imaged, lens.denominator(p.x * p.x + p.y * p.y));
}

}  // namespace norv::interop

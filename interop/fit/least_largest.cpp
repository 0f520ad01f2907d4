#include "interop/fit/least_largest.h"

#include <Eigen/QR>
#include <algorithm>
#include <cmath>
#include <limits>

namespace norv::interop {
namespace {

constexpr int kMinExponent = 8;
constexpr int kMaxExponent = 1024;

/// Up to this exponent a part of many samples stands for all.
constexpr int kMaxCoarseExponent = 64;
constexpr std::size_t kManySamples = 1000;
constexpr std::size_t kCoarseStep = 4;

constexpr int kMaxSteps = 15;
constexpr int kMaxHalvings = 30;

/// A step that promises to lower the norm by a smaller share ends the work at an exponent.
constexpr double kSettled = 5e-5;

/// Where the largest miss is certainly that close to the least one, all is done.
constexpr double kGap = 0.002;

/// The barrier's weight times the exponent. With a hundred terms it costs less than 1e-4 of the
/// largest miss at the end.
constexpr double kBarrierWeight = 1e-3;

/// The barrier's weight in a search that begins far off, times its terms: less than the weight of
/// the norm, or large coefficients were best, and a share of that at the end.
constexpr double kMostBarrier = 0.2;
constexpr double kLeastBarrier = 1e-3;

/// Weight of the sum of the squared coefficients, in units of the farthest ray or of this length on
/// the plane z = 1, whichever is shorter. Where the best lens lies at infinity, as numerator and
/// denominator that all but share a factor, this finds one at hand that is hardly worse.
constexpr double kSizeWeight = 1e-5;
constexpr double kMaxSizeUnit = 1.5;

/// Samples with a smaller share of the norm do not move it.
constexpr double kLeastShare = 1e-9;

/// Misses that are rounding alone, in pixels for each pixel of distance from the centre.
constexpr double kRounding = 1e-15;

/// The misses of a lens, and the p-norm of their lengths, all in parts of the largest.
struct Misses {
  std::vector<Eigen::Vector2d> parts;
  double largest = 0;
  std::vector<double> powers;  ///< of the lengths, with the exponent
  double sum = 0;              ///< of these
};

Misses missesOf(const LensProblem& problem, const LensCoefficients& c, int exponent) {
  Misses misses;
  const calibration::LensDistortion<double> lens = lensOf(c);
  double squared = 0;
  for (const RaySample& sample : problem.samples) {
    misses.parts.push_back(missOf(problem, lens, sample));
    squared = std::max(squared, misses.parts.back().squaredNorm());
  }
  misses.largest = std::sqrt(squared);
  for (Eigen::Vector2d& part : misses.parts) {
    if (misses.largest > 0) part /= misses.largest;
    double power = part.squaredNorm();
    for (int p = 2; p < exponent; p *= 2) power *= power;
    misses.powers.push_back(power);
    misses.sum += power;
  }
  return misses;
}

/// The minimisation at one exponent.
class NormDescent {
 public:
  NormDescent(const LensProblem& problem, const RisingBarrier& barrier, int exponent,
              double barrier_weight)
      : problem_(problem),
        barrier_(barrier),
        exponent_(exponent),
        barrier_weight_(barrier_weight),
        sizes_(coefficientSizes(std::min(1.0, kMaxSizeUnit / problem.unit))) {}

  LensCoefficients from(const LensCoefficients& start) const {
    LensCoefficients c = start;
    for (int i = 0; i < kMaxSteps; ++i) {
      const Misses misses = missesOf(problem_, c, exponent_);
      const Eigen::VectorXd step = stepAt(c, misses);
      if (!step.allFinite() || !advance(&c, misses, step)) break;
    }
    return c;
  }

 private:
  /// The logarithm of the norm, with the barrier and the size.
  double objective(const LensCoefficients& c, const Misses& misses) const {
    const double value = std::log(misses.largest) + std::log(misses.sum) / exponent_ +
                         barrier_weight_ * barrier_.value(lensOf(c)) +
                         kSizeWeight * sizes_.cwiseProduct(c).squaredNorm();
    return std::isnan(value) ? std::numeric_limits<double>::infinity() : value;
  }

  /// Newton's step, as a problem of least squares.
  Eigen::VectorXd stepAt(const LensCoefficients& c, const Misses& misses) const {
    const auto columns = static_cast<Eigen::Index>(problem_.free.size());
    const auto others = static_cast<Eigen::Index>(barrier_.rows()) + columns;
    const auto most = 2 * static_cast<Eigen::Index>(misses.parts.size()) + others;
    Eigen::MatrixXd a(most, columns);
    Eigen::VectorXd b = Eigen::VectorXd::Zero(most);
    const Eigen::Index row = putMisses(c, misses, &a, &b);
    putOthers(c, a.middleRows(row, others), b.segment(row, others));
    return a.topRows(row + others).colPivHouseholderQr().solve(b.head(row + others));
  }

  /// The rows of the barrier and of the size.
  void putOthers(const LensCoefficients& c, Eigen::Ref<Eigen::MatrixXd> a,
                 Eigen::Ref<Eigen::VectorXd> b) const {
    const auto rows = static_cast<Eigen::Index>(barrier_.rows());
    const double weight = std::sqrt(barrier_weight_);
    barrier_.putDerivatives(lensOf(c), problem_.free, a.topRows(rows));
    a.topRows(rows) *= weight;
    b.head(rows).setConstant(weight);
    a.bottomRows(a.cols()).setZero();
    for (Eigen::Index i = 0; i < a.cols(); ++i) {
      const auto index = static_cast<Eigen::Index>(problem_.free[static_cast<std::size_t>(i)]);
      a(rows + i, i) = std::sqrt(2 * kSizeWeight) * sizes_[index];
      b[rows + i] = -a(rows + i, i) * c[index];
    }
  }

  /// The rows along each miss and across it; their number.
  Eigen::Index putMisses(const LensCoefficients& c, const Misses& misses, Eigen::MatrixXd* a,
                         Eigen::VectorXd* b) const {
    const calibration::LensDistortion<double> lens = lensOf(c);
    Eigen::Index row = 0;
    for (std::size_t i = 0; i < misses.parts.size(); ++i) {
      const double share = misses.powers[i] / misses.sum;
      if (!(share > kLeastShare)) continue;
      const double length = misses.parts[i].norm();
      const Eigen::Vector2d along = misses.parts[i] / length;
      const Eigen::Vector2d across(-along.y(), along.x());
      const MissJacobian jacobian =
          missJacobian(problem_, lens, problem_.samples[i]) / misses.largest;
      const double weight = std::sqrt(share) / length;
      const double steep = std::sqrt(exponent_ - 1.0);
      a->row(row) = weight * steep * (along.transpose() * jacobian);
      a->row(row + 1) = weight * (across.transpose() * jacobian);
      (*b)[row] = -weight * length / steep;
      row += 2;
    }
    return row;
  }

  /// Moves along the step as far as it lowers the objective; false where nothing is to be gained.
  bool advance(LensCoefficients* c, const Misses& misses, const Eigen::VectorXd& step) const {
    const double before = objective(*c, misses);
    double t = 1;
    for (int i = 0; i < kMaxHalvings; ++i, t /= 2) {
      LensCoefficients next = *c;
      for (std::size_t j = 0; j < problem_.free.size(); ++j) {
        next[static_cast<Eigen::Index>(problem_.free[j])] += t * step[static_cast<Eigen::Index>(j)];
      }
      const double after = objective(next, missesOf(problem_, next, exponent_));
      if (after < before) {
        *c = next;
        return before - after > kSettled;
      }
    }
    return false;
  }

  const LensProblem& problem_;
  const RisingBarrier& barrier_;
  int exponent_;
  double barrier_weight_;
  LensCoefficients sizes_;  ///< what makes coefficients comparable
};

/// The problem with a part of the samples, where they are many.
LensProblem coarseOf(const LensProblem& problem) {
  if (problem.samples.size() < kManySamples) return problem;
  LensProblem coarse = problem;
  coarse.samples.clear();
  for (std::size_t i = 0; i < problem.samples.size(); i += kCoarseStep) {
    coarse.samples.push_back(problem.samples[i]);
  }
  return coarse;
}

/// By how much the largest miss exceeds the least possible one at most, as a share, at a minimum of
/// the p-norm: the weights with which the misses' derivatives cancel each other bound it from
/// below.
double gapOf(const Misses& misses) {
  double sum = 0;
  for (std::size_t i = 0; i < misses.parts.size(); ++i) {
    const double length = misses.parts[i].norm();
    if (length > 0) sum += misses.powers[i] / length;
  }
  return sum / misses.sum - 1;
}

}  // namespace

LensCoefficients startWithin(const LensProblem& problem, const RisingBarrier& barrier) {
  LensCoefficients c = LensCoefficients::Zero();
  const double most = kMostBarrier / static_cast<double>(barrier.rows());
  for (double weight = most; weight > kLeastBarrier * most; weight /= 4) {
    c = NormDescent(problem, barrier, 2, weight).from(c);
  }
  return c;
}

LensCoefficients leastLargestMiss(const LensProblem& problem, const RisingBarrier& barrier,
                                  const LensCoefficients& start) {
  const double rounding = kRounding * problem.to_pixels.norm();
  const LensProblem coarse = coarseOf(problem);
  LensCoefficients c = start;
  for (int exponent = kMinExponent; exponent <= kMaxExponent; exponent *= 2) {
    const LensProblem& used = exponent > kMaxCoarseExponent ? problem : coarse;
    if (missesOf(problem, c, exponent).largest <= rounding) break;
    c = NormDescent(used, barrier, exponent, kBarrierWeight / exponent).from(c);
    if (gapOf(missesOf(problem, c, exponent)) < kGap) break;
  }
  return c;
}

}  // namespace norv::interop

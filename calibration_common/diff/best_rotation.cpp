#include "calibration_common/diff/best_rotation.h"

#include <Eigen/Cholesky>
#include <array>
#include <cstddef>

#include "support/auto_diff.h"
#include "support/numeric/infinity.h"

namespace norv::internal::diff {
namespace {

using Dual = autodiff::AutoDiff1<double, 3>;

constexpr int kMaxSteps = 200;
constexpr int kMaxHalvings = 40;
constexpr double kTolerance = 1e-13;  ///< of a step, radians
/// By how much rounding alone may let the sum of squares grow.
constexpr double kRounding = 1 + 1e-12;
/// Share of the normal equations' trace that keeps them solvable where the rays do not fix all
/// three angles.
constexpr double kDamping = 1e-14;

/// The sum of squares at a rotation and its normal equations in a further, small one.
struct NormalEquations {
  Eigen::Matrix3d matrix = Eigen::Matrix3d::Zero();  ///< J^T J
  Eigen::Vector3d right = Eigen::Vector3d::Zero();   ///< -J^T r

  /// Adds one residual, whose derivatives are by the three angles.
  void add(const Dual& residual) {
    const Eigen::Map<const Eigen::Vector3d> slope(residual.derivatives.data());
    matrix += slope * slope.transpose();
    right -= slope * residual.value;
  }

  Eigen::Vector3d solve() const {
    const Eigen::Matrix3d damping = kDamping * matrix.trace() * Eigen::Matrix3d::Identity();
    return (matrix + damping).ldlt().solve(right);
  }
};

/// The rays that count, with where they are to be imaged.
std::vector<GridRay> raysOf(const std::vector<GridPixel>& grid, const Shifts& as_is) {
  std::vector<GridRay> rays;
  for (std::size_t i = 0; i < grid.size(); ++i) {
    if (as_is[i]) rays.push_back(*grid[i].seen);
  }
  return rays;
}

/// Infinite where a ray comes to lie behind the camera.
double sumOfSquares(const ImageCamera& b, const std::vector<GridRay>& rays,
                    const Eigen::Quaterniond& rotation) {
  const Eigen::Matrix3d r = rotation.toRotationMatrix();
  double sum = 0;
  for (const GridRay& at : rays) {
    const Eigen::Vector3d p = r * at.ray;
    if (!(p.z() > 0)) return kInfinity;
    const auto pixel = b.project(p.x(), p.y(), p.z());
    sum += (Eigen::Vector2d(pixel.x, pixel.y) - at.imaged).squaredNorm();
  }
  return sum;
}

/// A point turned by three angles that are all 0: p + w x p, with derivatives by w.
std::array<Dual, 3> turned(const Eigen::Vector3d& p) {
  return {Dual(p.x(), {0, p.z(), -p.y()}), Dual(p.y(), {-p.z(), 0, p.x()}),
          Dual(p.z(), {p.y(), -p.x(), 0})};
}

NormalEquations linearise(const ImageCamera& b, const std::vector<GridRay>& rays,
                          const Eigen::Quaterniond& rotation) {
  const Eigen::Matrix3d r = rotation.toRotationMatrix();
  NormalEquations equations;
  for (const GridRay& at : rays) {
    const std::array<Dual, 3> p = turned(r * at.ray);
    const auto pixel = b.project(p[0], p[1], p[2]);
    equations.add(pixel.x - at.imaged.x());
    equations.add(pixel.y - at.imaged.y());
  }
  return equations;
}

/// The rotation, followed by the turn about the axis `turn` by its length, radians.
Eigen::Quaterniond turnedBy(const Eigen::Vector3d& turn, const Eigen::Quaterniond& rotation) {
  const Eigen::Quaterniond further(Eigen::AngleAxisd(turn.norm(), turn.normalized()));
  return (further * rotation).normalized();
}

}  // namespace

Eigen::Quaterniond findBestRotation(const ImageCamera& b, const std::vector<GridPixel>& grid,
                                    const Shifts& as_is) {
  const std::vector<GridRay> rays = raysOf(grid, as_is);
  Eigen::Quaterniond best = Eigen::Quaterniond::Identity();
  double least = sumOfSquares(b, rays, best);
  for (int i = 0; i < kMaxSteps; ++i) {
    Eigen::Vector3d step = linearise(b, rays, best).solve();
    if (!(step.norm() > kTolerance)) break;  // ends for NaN too
    Eigen::Quaterniond trial = turnedBy(step, best);
    double sum = sumOfSquares(b, rays, trial);
    for (int k = 0; k < kMaxHalvings && !(sum <= least * kRounding); ++k) {
      step *= 0.5;
      trial = turnedBy(step, best);
      sum = sumOfSquares(b, rays, trial);
    }
    if (!(sum <= least * kRounding)) break;
    best = trial;
    least = sum;
  }
  return best;
}

}  // namespace norv::internal::diff

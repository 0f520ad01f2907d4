#include "support/fit/plane_pose.h"

#include <Eigen/Cholesky>
#include <Eigen/Eigenvalues>
#include <Eigen/Geometry>
#include <cmath>
#include <cstddef>

namespace norv::internal::fit {
namespace {

/// Area spanned by two columns, over the sum of their squared lengths, below which they leave the
/// orientation to rounding: a plane seen edge-on.
constexpr double kDependentColumns = 1e-6;

Eigen::Vector2d mean(const std::vector<Eigen::Vector2d>& points) {
  Eigen::Vector2d sum = Eigen::Vector2d::Zero();
  for (const Eigen::Vector2d& point : points) sum += point;
  return sum / static_cast<double>(points.size());
}

/// The 3 x 2 matrix with orthonormal columns that is nearest to `columns`: columns G^(-1/2), with G
/// their Gram matrix, whose root is (G + s I) / sqrt(trace G + 2 s), s the root of its determinant.
/// Nothing when the columns are dependent.
std::optional<Eigen::Matrix<double, 3, 2>> orthonormalColumns(
    const Eigen::Matrix<double, 3, 2>& columns) {
  const Eigen::Matrix2d gram = columns.transpose() * columns;
  const double s = columns.col(0).cross(columns.col(1)).norm();
  if (!(s > kDependentColumns * gram.trace())) return std::nullopt;
  // The inverse of G + s I, but for a factor, by its adjugate.
  Eigen::Matrix2d adjugate;
  adjugate << gram(1, 1) + s, -gram(0, 1), -gram(1, 0), gram(0, 0) + s;
  return columns * adjugate / (s * std::sqrt(gram.trace() + 2 * s));
}

/// The rotation with these first two columns, which need not be orthonormal to rounding.
Eigen::Matrix3d completeRotation(const Eigen::Matrix<double, 3, 2>& columns) {
  Eigen::Matrix3d rotation;
  rotation.col(0) = columns.col(0).normalized();
  rotation.col(2) = rotation.col(0).cross(columns.col(1)).normalized();
  rotation.col(1) = rotation.col(2).cross(rotation.col(0));
  return rotation;
}

}  // namespace

Eigen::Matrix3d fitHomography(const std::vector<PointPair>& plane,
                              const std::vector<Eigen::Vector2d>& rays) {
  // About their mean, so that a small image far off the axis does not lose its digits to the
  // offset.
  const Eigen::Vector2d centre = mean(rays);
  Eigen::Matrix3d aa = Eigen::Matrix3d::Zero();
  Eigen::Matrix3d xaa = Eigen::Matrix3d::Zero();
  Eigen::Matrix3d yaa = Eigen::Matrix3d::Zero();
  Eigen::Matrix3d rraa = Eigen::Matrix3d::Zero();
  for (std::size_t i = 0; i < plane.size(); ++i) {
    const Eigen::Vector3d a(plane[i].plane_x, plane[i].plane_y, 1);
    const Eigen::Vector2d ray = rays[i] - centre;
    const Eigen::Matrix3d product = a * a.transpose();
    aa += product;
    xaa += ray.x() * product;
    yaa += ray.y() * product;
    rraa += ray.squaredNorm() * product;
  }
  // The first two rows of H follow from the third, h; what is left is a quadratic form in h.
  const Eigen::LDLT<Eigen::Matrix3d> ldlt(aa);
  const Eigen::Matrix3d row0_from_row2 = ldlt.solve(xaa);
  const Eigen::Matrix3d row1_from_row2 = ldlt.solve(yaa);
  const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> eigen(rraa - xaa * row0_from_row2 -
                                                             yaa * row1_from_row2);
  const Eigen::Vector3d h = eigen.eigenvectors().col(0);
  Eigen::Matrix3d homography;
  homography.row(0) = row0_from_row2 * h + centre.x() * h;
  homography.row(1) = row1_from_row2 * h + centre.y() * h;
  homography.row(2) = h;
  return homography;
}

std::optional<PlanePose> poseFromHomography(const Eigen::Matrix3d& homography) {
  double scale = (homography.col(0).norm() + homography.col(1).norm()) / 2;
  if (homography(2, 2) < 0) scale = -scale;
  const Eigen::Matrix3d h = homography / scale;
  const std::optional<Eigen::Matrix<double, 3, 2>> columns = orthonormalColumns(h.leftCols<2>());
  if (!columns) return std::nullopt;
  return PlanePose{completeRotation(*columns), h.col(2)};
}

}  // namespace norv::internal::fit

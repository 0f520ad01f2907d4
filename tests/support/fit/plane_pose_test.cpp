#include "support/fit/plane_pose.h"

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <Eigen/SVD>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace norv::internal::fit {
namespace {

/// A centred grid of 5 x 5 points of about unit radius.
std::vector<PointPair> grid() {
  std::vector<PointPair> points;
  points.reserve(25);
  for (int i = 0; i < 25; ++i) {
    points.push_back(
        {0, 0, (i % 5 - 2) / 2.0, (i / 5 - 2) / 2.0});  // NOLINT(bugprone-integer-division)
  }
  return points;
}

std::vector<Eigen::Vector2d> imagesOf(const std::vector<PointPair>& plane,
                                      const Eigen::Matrix3d& homography) {
  std::vector<Eigen::Vector2d> images;
  images.reserve(plane.size());
  for (const PointPair& point : plane) {
    images.emplace_back(
        (homography * Eigen::Vector3d(point.plane_x, point.plane_y, 1)).hnormalized());
  }
  return images;
}

/// What the fit minimises, for any last row.
double algebraicError(const std::vector<PointPair>& plane, const std::vector<Eigen::Vector2d>& rays,
                      const Eigen::Matrix3d& homography) {
  double sum = 0;
  for (std::size_t i = 0; i < plane.size(); ++i) {
    const Eigen::Vector3d image =
        homography * Eigen::Vector3d(plane[i].plane_x, plane[i].plane_y, 1);
    sum += (image.head<2>() - image.z() * rays[i]).squaredNorm();
  }
  return sum / homography.row(2).squaredNorm();
}

TEST(PlanePose, ExactHomographyIsRecovered) {
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> uniform(-0.3, 0.3);
  for (int i = 0; i < 100; ++i) {
    Eigen::Matrix3d expected = Eigen::Matrix3d::Identity();
    for (double& element : expected.reshaped()) element += uniform(random);
    expected /= expected.row(2).norm();
    const std::vector<PointPair> plane = grid();
    Eigen::Matrix3d found = fitHomography(plane, imagesOf(plane, expected));
    if (found(2, 2) < 0) found = -found;
    EXPECT_LT((found - expected).norm(), 1e-13);  // measured 1.4e-15
  }
}

TEST(PlanePose, SmallImageFarOffTheAxisIsNoHarderThanOneOnIt) {
  Eigen::Matrix3d expected;
  expected << 1e-3, 0, 5,  //
      2e-4, 1e-3, -3,      //
      1e-5, -2e-5, 1;
  expected /= expected.row(2).norm();
  const std::vector<PointPair> plane = grid();
  Eigen::Matrix3d found = fitHomography(plane, imagesOf(plane, expected));
  if (found(2, 2) < 0) found = -found;
  EXPECT_LT((found - expected).norm(), 1e-10);  // measured 4e-13
}

TEST(PlanePose, NoisyHomographyMinimisesTheAlgebraicError) {
  std::mt19937_64 random(2);
  std::normal_distribution<double> normal(0, 0.01);
  const std::vector<PointPair> plane = grid();
  Eigen::Matrix3d truth;
  truth << 0.5, 0.1, 0.2, -0.1, 0.6, 0.1, 0.1, -0.2, 1;
  std::vector<Eigen::Vector2d> rays = imagesOf(plane, truth);
  for (Eigen::Vector2d& ray : rays) ray += Eigen::Vector2d(normal(random), normal(random));
  const Eigen::Matrix3d found = fitHomography(plane, rays);
  EXPECT_NEAR(found.row(2).norm(), 1, 1e-15);
  const double error = algebraicError(plane, rays, found);
  for (int i = 0; i < 200; ++i) {
    Eigen::Matrix3d other = found;
    for (double& element : other.reshaped()) element += 0.01 * normal(random);
    EXPECT_GT(algebraicError(plane, rays, other), error);
  }
}

TEST(PlanePose, PoseOfARigidHomography) {
  const Eigen::Matrix3d rotation =
      Eigen::AngleAxisd(0.7, Eigen::Vector3d(1, -2, 0.5).normalized()).toRotationMatrix();
  const Eigen::Vector3d translation(0.3, -0.2, 4);
  Eigen::Matrix3d homography;
  homography << rotation.col(0), rotation.col(1), translation;
  for (const double factor : {1.0, 7.0, -0.01}) {
    const std::optional<PlanePose> pose = poseFromHomography(factor * homography);
    ASSERT_TRUE(pose);
    EXPECT_LT((pose->rotation - rotation).norm(), 1e-14) << factor;        // measured 1.3e-16
    EXPECT_LT((pose->translation - translation).norm(), 1e-14) << factor;  // measured 0
  }
}

TEST(PlanePose, RotationIsTheNearestOne) {
  std::mt19937_64 random(3);
  std::normal_distribution<double> normal(0, 1);
  for (int i = 0; i < 100; ++i) {
    Eigen::Matrix3d homography;
    for (double& element : homography.reshaped()) element = normal(random);
    homography(2, 2) = 3;
    const std::optional<PlanePose> pose = poseFromHomography(homography);
    ASSERT_TRUE(pose);
    // The polar factor of the two columns and their cross product.
    const double scale = (homography.col(0).norm() + homography.col(1).norm()) / 2;
    Eigen::Matrix3d full = homography / scale;
    full.col(2) = full.col(0).cross(full.col(1));
    const Eigen::JacobiSVD<Eigen::Matrix3d> svd(full, Eigen::ComputeFullU | Eigen::ComputeFullV);
    EXPECT_LT((pose->rotation - svd.matrixU() * svd.matrixV().transpose()).norm(),
              1e-11);  // measured 1.2e-15
    EXPECT_LT((pose->translation - homography.col(2) / scale).norm(), 1e-15);
    EXPECT_LT((pose->rotation * pose->rotation.transpose() - Eigen::Matrix3d::Identity()).norm(),
              2e-15);  // measured 8e-16
  }
}

TEST(PlanePose, DependentColumnsHaveNoPose) {
  Eigen::Matrix3d homography;
  homography << 1, 2, 0, 0, 0, 0, 1, 2, 1;
  EXPECT_FALSE(poseFromHomography(homography));
  homography.col(1).setZero();
  EXPECT_FALSE(poseFromHomography(homography));
  homography.setZero();
  EXPECT_FALSE(poseFromHomography(homography));
  homography.setConstant(std::numeric_limits<double>::quiet_NaN());
  EXPECT_FALSE(poseFromHomography(homography));
}

}  // namespace
}  // namespace norv::internal::fit

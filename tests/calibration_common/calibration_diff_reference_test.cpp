/// Cameras compared by mrcal's projection and its inverse, and the best rotation by another
/// minimisation.

#include <gtest/gtest.h>

#include <Eigen/Cholesky>
#include <Eigen/Core>
#include <Eigen/Geometry>
#include <Eigen/SVD>
#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

// A header of C.
extern "C" {
#include <mrcal/mrcal.h>
}

#include "calibration_common/calibration_diff.h"
#include "testing/calibration_edits.h"
#include "testing/calibration_messages.h"

namespace norv::calibration {
namespace {

using Intrinsics = CameraParameters::Intrinsics;
using Pixels = std::vector<mrcal_point2_t>;
using Points = std::vector<mrcal_point3_t>;
using testing::robotOf;

/// A camera as mrcal takes it.
class Reference {
 public:
  explicit Reference(const Intrinsics& camera) {
    model_.type = MRCAL_LENSMODEL_OPENCV8;
    for (const float value : {camera.fx, camera.fy, camera.cx, camera.cy}) {
      intrinsics_.push_back(static_cast<double>(value));
    }
    intrinsics_.insert(intrinsics_.end(), camera.distortion.begin(), camera.distortion.end());
  }

  Points unproject(const Pixels& pixels) const {
    Points points(pixels.size());
    EXPECT_TRUE(mrcal_unproject(points.data(), pixels.data(), static_cast<int>(pixels.size()),
                                &model_, intrinsics_.data()));
    return points;
  }

  Pixels project(const Points& points) const {
    Pixels pixels(points.size());
    EXPECT_TRUE(mrcal_project(pixels.data(), nullptr, nullptr, points.data(),
                              static_cast<int>(points.size()), &model_, intrinsics_.data()));
    return pixels;
  }

 private:
  mrcal_lensmodel_t model_ = {};
  std::vector<double> intrinsics_;
};

Points turned(const Points& points, const Eigen::Matrix3d& rotation) {
  Points result(points.size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    const Eigen::Vector3d p = rotation * Eigen::Vector3d(points[i].x, points[i].y, points[i].z);
    result[i].x = p.x();
    result[i].y = p.y();
    result[i].z = p.z();
  }
  return result;
}

/// Differences of two lists of pixels, one coordinate after the other.
Eigen::VectorXd differences(const Pixels& b, const Pixels& a) {
  Eigen::VectorXd result(2 * static_cast<Eigen::Index>(a.size()));
  for (std::size_t i = 0; i < a.size(); ++i) {
    result[2 * static_cast<Eigen::Index>(i)] = b[i].x - a[i].x;
    result[2 * static_cast<Eigen::Index>(i) + 1] = b[i].y - a[i].y;
  }
  return result;
}

double rmsOf(const Eigen::VectorXd& differences) {
  return std::sqrt(2 * differences.squaredNorm() / static_cast<double>(differences.size()));
}

Eigen::Matrix3d rotationBy(const Eigen::Vector3d& turn) {
  return Eigen::AngleAxisd(turn.norm(), turn.normalized()).toRotationMatrix();
}

/// The rotation that brings A's unit rays closest to B's (Kabsch, A solution for the best rotation
/// to relate two sets of vectors, Acta Crystallographica A32, 1976): what is minimised are angles,
/// not pixels.
Eigen::Matrix3d closestInAngle(const Points& a, const Points& b) {
  Eigen::Matrix3d covariance = Eigen::Matrix3d::Zero();
  for (std::size_t i = 0; i < a.size(); ++i) {
    covariance += Eigen::Vector3d(b[i].x, b[i].y, b[i].z).normalized() *
                  Eigen::Vector3d(a[i].x, a[i].y, a[i].z).normalized().transpose();
  }
  const Eigen::JacobiSVD<Eigen::Matrix3d> svd(covariance,
                                              Eigen::ComputeFullU | Eigen::ComputeFullV);
  Eigen::Matrix3d signs = Eigen::Matrix3d::Identity();
  signs(2, 2) = (svd.matrixU() * svd.matrixV().transpose()).determinant();
  return svd.matrixU() * signs * svd.matrixV().transpose();
}

/// The least RMS over all rotations, by Levenberg and Marquardt's method from `rotation`, with
/// derivatives by differences.
double leastRms(const Reference& b, const Points& rays, const Pixels& pixels,
                Eigen::Matrix3d rotation) {
  constexpr double kStep = 1e-6;
  const auto residuals = [&](const Eigen::Matrix3d& r) {
    return differences(b.project(turned(rays, r)), pixels);
  };
  Eigen::VectorXd current = residuals(rotation);
  double damping = 1e-3;
  for (int i = 0; i < 60; ++i) {
    Eigen::MatrixX3d jacobian(current.size(), 3);
    for (int k = 0; k < 3; ++k) {
      const Eigen::Vector3d turn = kStep * Eigen::Vector3d::Unit(k);
      jacobian.col(k) =
          (residuals(rotationBy(turn) * rotation) - residuals(rotationBy(-turn) * rotation)) /
          (2 * kStep);
    }
    Eigen::Matrix3d normal = jacobian.transpose() * jacobian;
    normal.diagonal() *= 1 + damping;
    const Eigen::Vector3d step = -normal.ldlt().solve(jacobian.transpose() * current);
    if (!(step.norm() > 0)) break;
    const Eigen::VectorXd trial = residuals(rotationBy(step) * rotation);
    damping *= trial.squaredNorm() < current.squaredNorm() ? 0.1 : 10;
    if (trial.squaredNorm() >= current.squaredNorm()) continue;
    rotation = rotationBy(step) * rotation;
    current = trial;
  }
  return rmsOf(current);
}

/// A camera somewhat like others: a lens that is regular all over the image.
CameraCalibration randomCamera(std::mt19937_64* random) {
  const auto draw = [random](double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(*random);
  };
  CameraCalibration camera = testing::pinholeCamera("a", 1280, 960);
  CameraIntrinsics* in = camera.mutable_intrinsics();
  in->set_fx(draw(850, 900));
  in->set_fy(in->fx() * draw(0.99, 1.01));
  in->set_cx(640 + draw(-15, 15));
  in->set_cy(480 + draw(-15, 15));
  in->set_radial(0, draw(-0.3, -0.2));
  in->set_radial(1, draw(0.06, 0.1));
  in->set_radial(2, draw(0, 0.02));
  in->set_radial(3, draw(0, 0.05));
  in->set_radial(4, draw(0, 0.02));
  in->set_tangential(0, draw(-1e-3, 1e-3));
  in->set_tangential(1, draw(-1e-3, 1e-3));
  return camera;
}

class DiffAgainstReference : public ::testing::TestWithParam<int> {
 protected:
  void SetUp() override {
    std::mt19937_64 random(static_cast<std::uint64_t>(GetParam()));
    DiffOptions options;
    options.keep_grid = true;
    const auto difference = diffCalibrations(robotOf({randomCamera(&random)}),
                                             robotOf({randomCamera(&random)}), options);
    ASSERT_TRUE(difference);
    ours_ = difference->cameras.at(0).images.at(0);
    ASSERT_EQ(ours_.as_is.compared, 61 * 46);
    for (const GridDifference& at : ours_.grid) {
      mrcal_point2_t pixel;
      pixel.x = at.u;
      pixel.y = at.v;
      pixels_.push_back(pixel);
    }
    rays_ = Reference(ours_.a).unproject(pixels_);
  }

  ImageDifference ours_;
  Pixels pixels_;
  Points rays_;
};

TEST_P(DiffAgainstReference, AsIs) {
  const Eigen::VectorXd expected = differences(Reference(ours_.b).project(rays_), pixels_);
  double worst = 0;
  std::vector<double> lengths;
  for (std::size_t i = 0; i < ours_.grid.size(); ++i) {
    const Eigen::Vector2d d = expected.segment<2>(2 * static_cast<Eigen::Index>(i));
    worst = std::max(worst, (Eigen::Vector2d(ours_.grid[i].du, ours_.grid[i].dv) - d).norm());
    lengths.push_back(d.norm());
  }
  EXPECT_LT(worst, 1e-6);  // 3.2e-8, to which mrcal's inverse is worked out
  std::sort(lengths.begin(), lengths.end());
  EXPECT_NEAR(ours_.as_is.max, lengths.back(), 1e-6);
  const std::size_t half = lengths.size() / 2;
  EXPECT_NEAR(ours_.as_is.median, 0.5 * (lengths[half - 1] + lengths[half]), 1e-6);
  EXPECT_NEAR(ours_.as_is.rms, rmsOf(expected), 1e-6);
}

TEST_P(DiffAgainstReference, RotatedIsTheLeastThatThereIs) {
  const Reference b(ours_.b);
  const Eigen::Matrix3d in_angle = closestInAngle(rays_, b.unproject(pixels_));
  const double by_angles = rmsOf(differences(b.project(turned(rays_, in_angle)), pixels_));
  EXPECT_LE(ours_.rotated.rms, by_angles + 1e-9);
  // 7e-10 apart, by the rays of mrcal's inverse.
  EXPECT_NEAR(ours_.rotated.rms, leastRms(b, rays_, pixels_, in_angle), 1e-9);
  EXPECT_NEAR(ours_.rotated.rms, leastRms(b, rays_, pixels_, Eigen::Matrix3d::Identity()), 1e-9);
}

INSTANTIATE_TEST_SUITE_P(RandomPairs, DiffAgainstReference, ::testing::Range(1, 13));

}  // namespace
}  // namespace norv::calibration

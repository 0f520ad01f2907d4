/// Derivatives of projections and their inverse against dual numbers and differences.

#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <array>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

#include "support/auto_diff.h"
#include "support/point_projection.h"
#include "testing/lenses.h"
#include "testing/numeric_derivative.h"
#include "testing/random_camera.h"

namespace norv::calibration {
namespace {

using testing::NamedLens;
using testing::uniform;

/// A point of the camera frame and the thirteen numbers of a camera, in the order of Jacobians.
using Variables = Eigen::Matrix<double, 16, 1>;

Variables variablesOf(const CameraModel& c, const Eigen::Vector3d& p) {
  Variables v;
  v << p, c.fx, c.fy, c.skew, c.cx, c.cy, c.lens.k1, c.lens.k2, c.lens.p1, c.lens.p2, c.lens.k3,
      c.lens.k4, c.lens.k5, c.lens.k6;
  return v;
}

CameraModel cameraOf(const Variables& v) {
  return {1280, 960,  v[3], v[4],
          v[5], v[6], v[7], {v[8], v[9], v[10], v[11], v[12], v[13], v[14], v[15]}};
}

/// The projection, written for any number.
template <class T>
std::array<T, 2> project(const std::array<T, 16>& v) {
  const LensDistortion<T> lens{v[8], v[9], v[10], v[11], v[12], v[13], v[14], v[15]};
  const auto d = lens.distort(NormalizedPoint<T>{v[0] / v[2], v[1] / v[2]});
  return {v[3] * d.x + v[5] * d.y + v[6], v[4] * d.y + v[7]};
}

/// Both rows of derivatives by all variables, by dual numbers.
Eigen::Matrix<double, 2, 16> dualJacobian(const Variables& at) {
  using Dual = autodiff::AutoDiff1<double, 16>;
  std::array<Dual, 16> v;
  for (std::size_t i = 0; i < v.size(); ++i) {
    v[i] = Dual::variable(at[static_cast<Eigen::Index>(i)], i);
  }
  const std::array<Dual, 2> pixel = project(v);
  Eigen::Matrix<double, 2, 16> jacobian;
  for (Eigen::Index row = 0; row < 2; ++row) {
    jacobian.row(row) =
        Eigen::Map<const Variables>(pixel[static_cast<std::size_t>(row)].derivatives.data());
  }
  return jacobian;
}

/// How far apart two Jacobians are, of 1 + |J| element by element.
template <class A, class B>
double apart(const A& a, const B& expected) {
  return ((a - expected).array().abs() / (1 + expected.array().abs())).maxCoeff();
}

/// Central difference with a step for functions that bend as strongly as they rise.
template <class Function>
double difference(const Function& f, double x, double step) {
  const volatile double above = x + step;
  const volatile double below = x - step;
  return (f(double(above)) - f(double(below))) / (double(above) - double(below));
}

struct Place {
  CameraModel camera;
  Eigen::Vector3d point;
};

/// Places within the radius that each lens serves, up to `share` of it.
std::vector<Place> places(double share, std::mt19937* random) {
  std::vector<Place> all;
  for (const NamedLens& lens : testing::kLenses) {
    for (int i = 0; i < 200; ++i) {
      const double r = share * lens.radius * std::sqrt(uniform(0, 1, random));
      const double angle = uniform(-3.14, 3.14, random);
      const double z = uniform(0.3, 5, random);
      all.push_back({testing::randomCamera(lens, random),
                     {z * r * std::cos(angle), z * r * std::sin(angle), z}});
    }
  }
  return all;
}

TEST(PointJacobians, OfTheProjectionAreThoseOfDualNumbers) {
  std::mt19937 random(71);
  double worst = 0;
  for (const Place& place : places(0.99, &random)) {
    Eigen::Vector2d pixel;
    ProjectionJacobian jacobian;
    ASSERT_TRUE(hasAnswer(projectPoint(place.camera, place.point, &pixel, &jacobian)));
    const auto expected = dualJacobian(variablesOf(place.camera, place.point));
    worst = std::fmax(worst, apart(jacobian.point, expected.leftCols<3>()));
    worst = std::fmax(worst, apart(jacobian.intrinsics, expected.rightCols<13>()));
  }
  // Measured: 1.5e-14.
  EXPECT_LT(worst, 1e-12);
}

TEST(PointJacobians, OfTheInverseAreThoseOfDifferences) {
  std::mt19937 random(72);
  double worst_pixel = 0;
  double worst_intrinsics = 0;
  // Short of fold and pole, where differences mean little.
  for (const Place& place : places(0.7, &random)) {
    Eigen::Vector2d pixel;
    projectPoint(place.camera, place.point, &pixel);
    Eigen::Vector2d ray;
    RectificationJacobian jacobian;
    ASSERT_TRUE(hasAnswer(rectifyPixel(place.camera, pixel, &ray, &jacobian)));
    const Variables at = variablesOf(place.camera, place.point);
    for (int row = 0; row < 2; ++row) {
      for (int i = 0; i < 2; ++i) {
        const auto move = [&](double x) {
          Eigen::Vector2d moved = pixel;
          moved[i] = x;
          rectifyPixel(place.camera, moved, &ray);
          return ray[row];
        };
        const double expected = testing::numericDerivative(move, pixel[i]);
        worst_pixel = std::fmax(
            worst_pixel, std::abs(jacobian.pixel(row, i) - expected) / (1 + std::abs(expected)));
      }
      for (int i = 0; i < kIntrinsicsCount; ++i) {
        const auto move = [&](double x) {
          Variables moved = at;
          moved[3 + i] = x;
          rectifyPixel(cameraOf(moved), pixel, &ray);
          return ray[row];
        };
        const double step = 1e-5 / (1 + jacobian.intrinsics.col(i).norm());
        const double expected = difference(move, at[3 + i], step);
        worst_intrinsics =
            std::fmax(worst_intrinsics,
                      std::abs(jacobian.intrinsics(row, i) - expected) / (1 + std::abs(expected)));
      }
    }
  }
  // Measured: 6.2e-11 and 5.4e-8, both errors of the differences.
  EXPECT_LT(worst_pixel, 1e-7);
  EXPECT_LT(worst_intrinsics, 1e-7);
}

TEST(PointJacobians, OfBothWaysAreInverse) {
  std::mt19937 random(73);
  double worst = 0;
  double worst_intrinsics = 0;
  for (const Place& place : places(0.98, &random)) {
    Eigen::Vector2d pixel;
    projectPoint(place.camera, place.point, &pixel);
    Eigen::Vector2d ray;
    RectificationJacobian back;
    ASSERT_TRUE(hasAnswer(rectifyPixel(place.camera, pixel, &ray, &back)));
    ProjectionJacobian there;
    projectPoint(place.camera, {ray.x(), ray.y(), 1}, &pixel, &there);
    const Eigen::Matrix2d product = there.point.leftCols<2>() * back.pixel;
    worst = std::fmax(worst, (product - Eigen::Matrix2d::Identity()).cwiseAbs().maxCoeff());
    const DerivativeRows<kIntrinsicsCount> by_intrinsics = -back.pixel * there.intrinsics;
    worst_intrinsics = std::fmax(worst_intrinsics, apart(back.intrinsics, by_intrinsics));
  }
  // Measured: 3.6e-15, and nothing.
  EXPECT_LT(worst, 1e-10);
  EXPECT_LT(worst_intrinsics, 1e-10);
}

/// exp(xi) for xi = (translation, rotation), by its power series.
Eigen::Matrix4d exponential(const Eigen::Matrix<double, 6, 1>& xi) {
  Eigen::Matrix4d generator = Eigen::Matrix4d::Zero();
  generator.topLeftCorner<3, 3>() << 0, -xi[5], xi[4], xi[5], 0, -xi[3], -xi[4], xi[3], 0;
  generator.topRightCorner<3, 1>() = xi.head<3>();
  Eigen::Matrix4d sum = Eigen::Matrix4d::Identity();
  Eigen::Matrix4d term = sum;
  for (int i = 1; i < 30; ++i) {
    term = term * generator / i;
    sum += term;
  }
  return sum;
}

TEST(PointJacobians, ByThePoseAreThoseOfDifferences) {
  std::mt19937 random(74);
  double worst = 0;
  for (const Place& place : places(0.7, &random)) {
    Eigen::Vector2d pixel;
    ProjectionJacobian jacobian;
    projectPoint(place.camera, place.point, &pixel, &jacobian);
    const DerivativeRows<6> by_pose = byPose(jacobian, place.point);
    for (int row = 0; row < 2; ++row) {
      for (int i = 0; i < 6; ++i) {
        const auto move = [&](double x) {
          const Eigen::Matrix4d moved = exponential(x * Eigen::Matrix<double, 6, 1>::Unit(i));
          projectPoint(place.camera, (moved * place.point.homogeneous()).head<3>(), &pixel);
          return pixel[row];
        };
        const double expected = testing::numericDerivative(move, 0.0);
        worst = std::fmax(worst, std::abs(by_pose(row, i) - expected) / (1 + std::abs(expected)));
      }
    }
  }
  // Measured: 2.8e-8.
  EXPECT_LT(worst, 1e-6);
}

TEST(PointJacobians, AreNothingWhereNothingIsAnswered) {
  CameraModel camera{640, 480, 500, 500, 0, 320, 240, {}};
  camera.lens.k1 = -0.5;
  Eigen::Vector2d at;
  ProjectionJacobian by_point;
  RectificationJacobian by_pixel;
  for (const Eigen::Vector3d& p : {Eigen::Vector3d(1, 0, 1), Eigen::Vector3d(0, 0, -1)}) {
    by_point.point.setZero();
    by_point.intrinsics.setZero();
    EXPECT_FALSE(hasAnswer(projectPoint(camera, p, &at, &by_point)));
    EXPECT_TRUE(by_point.point.array().isNaN().all());
    EXPECT_TRUE(by_point.intrinsics.array().isNaN().all());
  }
  by_pixel.pixel.setZero();
  by_pixel.intrinsics.setZero();
  EXPECT_FALSE(hasAnswer(rectifyPixel(camera, {0, 0}, &at, &by_pixel)));
  EXPECT_TRUE(by_pixel.pixel.array().isNaN().all());
  EXPECT_TRUE(by_pixel.intrinsics.array().isNaN().all());
  // Outside of the image there are derivatives.
  EXPECT_EQ(projectPoint(camera, {0, 0.7, 1}, &at, &by_point), PointStatus::kOutsideImage);
  EXPECT_TRUE(by_point.point.allFinite() && by_point.intrinsics.allFinite());
}

/// A bit before the fold the derivatives of the inverse are large, but numbers.
TEST(PointJacobians, AreFiniteUpToTheFold) {
  CameraModel camera{4000, 3000, 500, 500, 0, 2000, 1500, {}};
  camera.lens.k1 = -0.5;
  const double reach = 500 * std::sqrt(2.0 / 3) * 2 / 3;
  for (const double gap : {1e-3, 1e-6, 1e-9, 1e-11}) {
    Eigen::Vector2d ray;
    RectificationJacobian jacobian;
    ASSERT_EQ(rectifyPixel(camera, {2000 + reach * (1 - gap), 1500}, &ray, &jacobian),
              PointStatus::kOk);
    EXPECT_TRUE(jacobian.pixel.allFinite() && jacobian.intrinsics.allFinite());
    // r_d is 2 / 3 r_f (1 - gap) at r = r_f (1 - sqrt(2 gap / 3)) to first order, where its slope
    // 1 - 3 / 2 r^2 is sqrt(8 gap / 3). Measured: 0.009 for the first, where sqrt(gap) is not
    // small.
    EXPECT_NEAR(jacobian.pixel(0, 0) * 500 * std::sqrt(8 * gap / 3), 1, 0.02) << gap;
  }
}

/// Intrinsics and pose of a pinhole camera fitted to where it images points.
class Fit {
 public:
  Fit(const CameraModel& camera, const Eigen::Matrix4d& pose) : camera_(camera), pose_(pose) {}

  /// One step of Gauss and Newton's method for the five numbers of the camera matrix and the pose.
  void step(const std::vector<Eigen::Vector3d>& points,
            const std::vector<Eigen::Vector2d>& pixels) {
    Eigen::MatrixXd jacobian(2 * static_cast<Eigen::Index>(points.size()), 11);
    Eigen::VectorXd residual(jacobian.rows());
    for (std::size_t i = 0; i < points.size(); ++i) {
      const Eigen::Vector3d p = (pose_ * points[i].homogeneous()).head<3>();
      Eigen::Vector2d pixel;
      ProjectionJacobian at;
      EXPECT_TRUE(hasAnswer(projectPoint(camera_, p, &pixel, &at)));
      const auto row = 2 * static_cast<Eigen::Index>(i);
      jacobian.block<2, 5>(row, 0) = at.intrinsics.leftCols<5>();
      jacobian.block<2, 6>(row, 5) = byPose(at, p);
      residual.segment<2>(row) = pixel - pixels[i];
    }
    const Eigen::VectorXd change = -jacobian.householderQr().solve(residual);
    camera_.fx += change[0];
    camera_.fy += change[1];
    camera_.skew += change[2];
    camera_.cx += change[3];
    camera_.cy += change[4];
    pose_ = exponential(change.tail<6>()) * pose_;
  }

  const CameraModel& camera() const { return camera_; }
  const Eigen::Matrix4d& pose() const { return pose_; }

 private:
  CameraModel camera_;
  Eigen::Matrix4d pose_;
};

TEST(PointJacobians, LeadGaussAndNewtonToTheCamera) {
  std::mt19937 random(75);
  for (const char* name : {"none", "barrel", "zoom", "stereographic"}) {
    CameraModel truth{1280, 960, 800, 790, 3, 650, 470, testing::lensNamed(name).lens()};
    Eigen::Matrix<double, 6, 1> xi;
    xi << 0.1, -0.2, 0.3, 0.2, -0.1, 0.15;
    const Eigen::Matrix4d pose = exponential(xi);
    std::vector<Eigen::Vector3d> points;
    std::vector<Eigen::Vector2d> pixels;
    for (int i = 0; i < 50; ++i) {
      const double z = uniform(2, 5, &random);
      const Eigen::Vector3d p(z * uniform(-0.4, 0.4, &random), z * uniform(-0.35, 0.35, &random),
                              z);
      Eigen::Vector2d pixel;
      ASSERT_TRUE(hasAnswer(projectPoint(truth, p, &pixel)));
      points.emplace_back((pose.inverse() * p.homogeneous()).head<3>());
      pixels.push_back(pixel);
    }
    CameraModel start = truth;
    start.fx *= 1.05;
    start.fy *= 0.95;
    start.skew = 0;
    start.cx *= 1.05;
    start.cy *= 0.95;
    Fit fit(start, exponential(0.95 * xi));
    for (int i = 0; i < 8; ++i) fit.step(points, pixels);
    const Variables found = variablesOf(fit.camera(), {0, 0, 0});
    const Variables expected = variablesOf(truth, {0, 0, 0});
    // Measured: 1.7e-14 and 6e-16.
    EXPECT_LT(apart(found, expected), 1e-10) << name;
    EXPECT_LT(apart(fit.pose(), pose), 1e-10) << name;
  }
}

}  // namespace
}  // namespace norv::calibration

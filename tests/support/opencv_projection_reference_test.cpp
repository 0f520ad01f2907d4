/// The projections and their inverse against OpenCV.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <random>
#include <vector>

#include "support/auto_diff.h"
#include "support/camera_projection.h"
#include "support/opencv_projection.h"
#include "testing/lenses.h"

namespace norv::calibration {
namespace {

using Dual = autodiff::AutoDiff1<double, 20>;
using testing::kLenses;
using testing::NamedLens;

constexpr double kFx = 612.5;
constexpr double kFy = 608.25;
constexpr double kCx = 321.5;
constexpr double kCy = 238.75;
const cv::Vec3d kRotation(0.11, -0.07, 0.19);
const cv::Vec3d kTranslation(0.05, -0.03, 0.4);

cv::Mat cameraMatrix() { return cv::Mat(cv::Matx33d(kFx, 0, kCx, 0, kFy, kCy, 0, 0, 1)).clone(); }

std::vector<double> coefficients(const NamedLens& lens) {
  return {lens.coefficients.begin(), lens.coefficients.end()};
}

/// Points in front of the camera within the radius that the lens serves.
std::vector<cv::Point3d> points(const NamedLens& lens) {
  cv::Matx33d rotation;
  cv::Rodrigues(kRotation, rotation);
  std::mt19937_64 random(40);
  std::uniform_real_distribution<double> radius(0, 0.9 * lens.radius);
  std::uniform_real_distribution<double> angle(-3.14, 3.14);
  std::uniform_real_distribution<double> depth(0.5, 4);
  std::vector<cv::Point3d> result;
  for (int i = 0; i < 100; ++i) {
    const double z = depth(random);
    const double r = z * radius(random);
    const double a = angle(random);
    const cv::Vec3d in_camera(r * std::cos(a), r * std::sin(a), z);
    const cv::Vec3d p = rotation.t() * (in_camera - kTranslation);
    // As floats, which all interfaces can take.
    result.emplace_back(static_cast<float>(p[0]), static_cast<float>(p[1]),
                        static_cast<float>(p[2]));
  }
  return result;
}

template <class T>
OpenCVProjection<T> projection(const NamedLens& named) {
  OpenCVProjection<T> p;
  p.fx = T(kFx);
  p.fy = T(kFy);
  p.cx = T(kCx);
  p.cy = T(kCy);
  const LensDistortion<double> lens = named.lens();
  p.k1 = T(lens.k1);
  p.k2 = T(lens.k2);
  p.k3 = T(lens.k3);
  p.k4 = T(lens.k4);
  p.k5 = T(lens.k5);
  p.k6 = T(lens.k6);
  p.p1 = T(lens.p1);
  p.p2 = T(lens.p2);
  cv::Matx33d rotation;
  cv::Rodrigues(kRotation, rotation);
  for (int i = 0; i < 9; ++i) p.rotation[static_cast<std::size_t>(i)] = T(rotation.val[i]);
  for (int i = 0; i < 3; ++i) p.translation[static_cast<std::size_t>(i)] = T(kTranslation[i]);
  return p;
}

template <class X, class Y>
double distance(X x, Y y, const cv::Point2d& b) {
  return std::hypot(static_cast<double>(x) - b.x, static_cast<double>(y) - b.y);
}

template <class T>
std::array<T, 3> coordinates(const cv::Point3d& p) {
  return {T(p.x), T(p.y), T(p.z)};
}

TEST(OpenCVReference, Project3dToCamera) {
  cv::Matx33d rotation;
  cv::Rodrigues(kRotation, rotation);
  Matrix4x4_f camera_from_world = Matrix4x4_f::Identity();
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      camera_from_world(row, column) = static_cast<float>(rotation(row, column));
    }
    camera_from_world(row, 3) = static_cast<float>(kTranslation[row]);
  }
  CameraTransform pose;
  pose.setTransform(camera_from_world, CameraTransform::kForward);
  Matrix3x3_f k;
  k << kFx, 0, kCx, 0, kFy, kCy, 0, 0, 1;
  double worst = 0;
  for (const NamedLens& lens : kLenses) {
    std::vector<cv::Point2d> expected;
    cv::projectPoints(points(lens), kRotation, kTranslation, cameraMatrix(), coefficients(lens),
                      expected);
    const std::vector<float> distortion(lens.coefficients.begin(), lens.coefficients.end());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const cv::Point3d p = points(lens)[i];
      const Vector2_f pixel = project3dToCamera(
          pose, distortion, k,
          {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)});
      worst = std::fmax(worst, distance(pixel.x(), pixel.y(), expected[i]));
    }
  }
  // The pose is rounded to float here. Measured: 8e-4 pixels, next to the pole.
  EXPECT_LT(worst, 2e-3);
}

TEST(OpenCVReference, ProjectionInDoubleAndFloat) {
  double worst_double = 0;
  double worst_float = 0;
  for (const NamedLens& lens : kLenses) {
    std::vector<cv::Point2d> expected;
    cv::projectPoints(points(lens), kRotation, kTranslation, cameraMatrix(), coefficients(lens),
                      expected);
    const OpenCVProjection<double> in_double = projection<double>(lens);
    const OpenCVProjection<float> in_float = projection<float>(lens);
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const std::array<double, 2> d = in_double.project(coordinates<double>(points(lens)[i]));
      const std::array<float, 2> f = in_float.project(coordinates<float>(points(lens)[i]));
      worst_double = std::fmax(worst_double, distance(d[0], d[1], expected[i]));
      worst_float = std::fmax(worst_float, distance(f[0], f[1], expected[i]));
    }
  }
  // Measured: 2.7e-12 and 1.2e-3 pixels, next to the pole.
  EXPECT_LT(worst_double, 1e-10);
  EXPECT_LT(worst_float, 1e-2);
}

/// The projection with its parameters as variables, in the order of OpenCV's Jacobian: rotation
/// vector, translation, fx, fy, cx, cy, k1, k2, p1, p2, k3, k4, k5, k6.
OpenCVProjection<Dual> differentiable(const NamedLens& lens) {
  OpenCVProjection<Dual> p = projection<Dual>(lens);
  cv::Mat rotation;
  cv::Mat by_vector;  // 3 x 9
  cv::Rodrigues(kRotation, rotation, by_vector);
  for (int i = 0; i < 9; ++i) {
    for (int j = 0; j < 3; ++j) {
      p.rotation[static_cast<std::size_t>(i)].derivatives[static_cast<std::size_t>(j)] =
          by_vector.at<double>(j, i);
    }
  }
  auto& [x, y, z] = p.translation;
  Dual* const variables[] = {&x,    &y,    &z,    &p.fx, &p.fy, &p.cx, &p.cy, &p.k1,
                             &p.k2, &p.p1, &p.p2, &p.k3, &p.k4, &p.k5, &p.k6};
  std::size_t slot = 3;
  for (Dual* variable : variables) *variable = Dual::variable(variable->value, slot++);
  return p;
}

TEST(OpenCVReference, ProjectionOfDualNumbersHasTheJacobian) {
  double worst = 0;
  for (const NamedLens& lens : kLenses) {
    std::vector<cv::Point2d> pixels;
    cv::Mat jacobian;
    cv::projectPoints(points(lens), kRotation, kTranslation, cameraMatrix(), coefficients(lens),
                      pixels, jacobian);
    ASSERT_EQ(jacobian.cols, 18);
    const OpenCVProjection<Dual> p = differentiable(lens);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
      const std::array<Dual, 2> pixel = p.project(coordinates<Dual>(points(lens)[i]));
      for (int axis = 0; axis < 2; ++axis) {
        const Dual& coordinate = pixel[static_cast<std::size_t>(axis)];
        EXPECT_NEAR(coordinate.value, axis == 0 ? pixels[i].x : pixels[i].y, 1e-10) << lens;
        for (int slot = 0; slot < 18; ++slot) {
          const double expected = jacobian.at<double>(2 * static_cast<int>(i) + axis, slot);
          const double derivative = coordinate.derivatives[static_cast<std::size_t>(slot)];
          worst = std::fmax(worst, std::abs(derivative - expected) / (1 + std::abs(expected)));
        }
        EXPECT_EQ(coordinate.derivatives[18], 0);
        EXPECT_EQ(coordinate.derivatives[19], 0);
      }
    }
  }
  // Measured: 7e-14.
  EXPECT_LT(worst, 1e-12);
}

TEST(OpenCVReference, RectifyPointOfMildLenses) {
  const float principal_point[] = {static_cast<float>(kCx), static_cast<float>(kCy)};
  const float focal_lengths[] = {static_cast<float>(kFx), static_cast<float>(kFy)};
  // Fixed-point steps, run to the end: they settle for these lenses.
  const cv::TermCriteria tight(cv::TermCriteria::COUNT | cv::TermCriteria::EPS, 2000, 1e-13);
  double worst = 0;
  for (const NamedLens& lens : kLenses) {
    const std::string name = lens.name;
    if (name != "none" && name != "mild" && name != "zoom" && name != "barrel") continue;
    std::vector<cv::Point2d> pixels;
    for (int i = 0; i < 20; ++i) {
      for (int j = 0; j < 15; ++j) pixels.emplace_back(4.5 + 33.25 * i, 2.25 + 33.5 * j);
    }
    std::vector<cv::Point2d> expected;
    cv::undistortPoints(pixels, expected, cameraMatrix(), coefficients(lens), cv::noArray(),
                        cv::noArray(), tight);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
      const Vector2_f ray =
          rectifyPoint(lens.coefficients.data(), principal_point, focal_lengths,
                       {static_cast<float>(pixels[i].x), static_cast<float>(pixels[i].y)});
      worst = std::fmax(worst, distance(ray.x(), ray.y(), expected[i]));
    }
  }
  // Rounding to float. Measured: 3.2e-8.
  EXPECT_LT(worst, 6e-8);
}

}  // namespace
}  // namespace norv::calibration

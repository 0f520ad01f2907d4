/// Derivatives of the projection against OpenCV's.

#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <cmath>
#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <random>
#include <vector>

#include "support/point_projection.h"
#include "testing/lenses.h"
#include "testing/random_camera.h"

namespace norv::calibration {
namespace {

using testing::NamedLens;
using testing::uniform;

/// Columns of ours for OpenCV's fx, fy, cx, cy, k1, k2, p1, p2, k3, k4, k5, k6, its columns 6
/// to 17.
constexpr int kColumns[] = {0, 1, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};

double difference(double a, double expected) {
  return std::abs(a - expected) / (1 + std::abs(expected));
}

TEST(PointJacobiansReference, OpenCV) {
  std::mt19937 random(76);
  double worst = 0;
  for (const NamedLens& lens : testing::kLenses) {
    CameraModel camera = testing::randomCamera(lens, &random);
    camera.skew = 0;
    std::vector<cv::Point3d> points;
    for (int i = 0; i < 100; ++i) {
      const double r = 0.9 * lens.radius * uniform(0, 1, &random);
      const double angle = uniform(-3.14, 3.14, &random);
      const double z = uniform(0.5, 4, &random);
      points.emplace_back(z * r * std::cos(angle), z * r * std::sin(angle), z);
    }
    const cv::Mat k =
        (cv::Mat_<double>(3, 3) << camera.fx, 0, camera.cx, 0, camera.fy, camera.cy, 0, 0, 1);
    const std::vector<double> coefficients(lens.coefficients.begin(), lens.coefficients.end());
    std::vector<cv::Point2d> pixels;
    cv::Mat expected;
    cv::projectPoints(points, cv::Vec3d(0, 0, 0), cv::Vec3d(0, 0, 0), k, coefficients, pixels,
                      expected);
    for (std::size_t i = 0; i < points.size(); ++i) {
      Eigen::Vector2d pixel;
      ProjectionJacobian jacobian;
      const Eigen::Vector3d p(points[i].x, points[i].y, points[i].z);
      ASSERT_TRUE(hasAnswer(projectPoint(camera, p, &pixel, &jacobian))) << lens;
      const DerivativeRows<6> by_pose = byPose(jacobian, p);
      for (int axis = 0; axis < 2; ++axis) {
        const double* const row = expected.ptr<double>(2 * static_cast<int>(i) + axis);
        for (int c = 0; c < 3; ++c) {
          // At the rotation vector 0 its derivative is that of the exponential.
          worst = std::fmax(worst, difference(by_pose(axis, 3 + c), row[c]));
          worst = std::fmax(worst, difference(by_pose(axis, c), row[3 + c]));
          worst = std::fmax(worst, difference(jacobian.point(axis, c), row[3 + c]));
        }
        for (int c = 0; c < 12; ++c) {
          worst = std::fmax(worst, difference(jacobian.intrinsics(axis, kColumns[c]), row[6 + c]));
        }
      }
    }
  }
  // Measured: 2.2e-14.
  EXPECT_LT(worst, 1e-12);
}

}  // namespace
}  // namespace norv::calibration

/// Projection and its derivatives against mrcal's.

extern "C" {
#include <mrcal/mrcal.h>
}

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

#include "support/point_projection.h"
#include "testing/lenses.h"
#include "testing/random_camera.h"

namespace norv::calibration {
namespace {

using testing::NamedLens;
using testing::uniform;

/// fx, fy, cx, cy and the coefficients.
constexpr int kNumbers = 12;
constexpr int kColumns[kNumbers] = {0, 1, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};

double difference(double a, double expected) {
  return std::abs(a - expected) / (1 + std::abs(expected));
}

TEST(PointMrcalReference, PixelsAndDerivatives) {
  std::mt19937 random(77);
  mrcal_lensmodel_t model = {};
  model.type = MRCAL_LENSMODEL_OPENCV8;
  double worst_pixel = 0;
  double worst = 0;
  for (const NamedLens& lens : testing::kLenses) {
    CameraModel camera = testing::randomCamera(lens, &random);
    camera.skew = 0;
    std::vector<double> numbers = {camera.fx, camera.fy, camera.cx, camera.cy};
    numbers.insert(numbers.end(), lens.coefficients.begin(), lens.coefficients.end());
    for (int i = 0; i < 100; ++i) {
      const double r = 0.9 * lens.radius * uniform(0, 1, &random);
      const double angle = uniform(-3.14, 3.14, &random);
      const double z = uniform(0.5, 4, &random);
      const Eigen::Vector3d p(z * r * std::cos(angle), z * r * std::sin(angle), z);
      mrcal_point3_t point;
      point.x = p.x();
      point.y = p.y();
      point.z = p.z();
      mrcal_point2_t expected;
      mrcal_point3_t by_point[2];
      double by_numbers[2 * kNumbers];
      ASSERT_TRUE(
          mrcal_project(&expected, by_point, by_numbers, &point, 1, &model, numbers.data()));
      Eigen::Vector2d pixel;
      ProjectionJacobian jacobian;
      ASSERT_TRUE(hasAnswer(projectPoint(camera, p, &pixel, &jacobian))) << lens;
      worst_pixel = std::fmax(worst_pixel, difference(pixel.x(), expected.x));
      worst_pixel = std::fmax(worst_pixel, difference(pixel.y(), expected.y));
      for (int axis = 0; axis < 2; ++axis) {
        worst = std::fmax(worst, difference(jacobian.point(axis, 0), by_point[axis].x));
        worst = std::fmax(worst, difference(jacobian.point(axis, 1), by_point[axis].y));
        worst = std::fmax(worst, difference(jacobian.point(axis, 2), by_point[axis].z));
        for (int c = 0; c < kNumbers; ++c) {
          worst = std::fmax(worst, difference(jacobian.intrinsics(axis, kColumns[c]),
                                              by_numbers[kNumbers * axis + c]));
        }
      }
    }
  }
  EXPECT_LT(worst_pixel, 1e-13);
  EXPECT_LT(worst, 1e-12);
}

}  // namespace
}  // namespace norv::calibration

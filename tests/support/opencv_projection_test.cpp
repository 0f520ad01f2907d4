#include "support/opencv_projection.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "support/auto_diff.h"
#include "testing/numeric_derivative.h"

namespace norv::calibration {
namespace {

using Dual = autodiff::AutoDiff1<double, 20>;

template <class T>
OpenCVProjection<T> example() {
  OpenCVProjection<T> projection;
  projection.fx = T(612.5);
  projection.fy = T(608.25);
  projection.cx = T(321.5);
  projection.cy = T(238.75);
  projection.k1 = T(0.125);
  projection.k2 = T(-0.03125);
  projection.k3 = T(0.0078125);
  projection.k4 = T(0.25);
  projection.k5 = T(0.0625);
  projection.k6 = T(-0.015625);
  projection.p1 = T(0.00390625);
  projection.p2 = T(-0.001953125);
  projection.rotation = {T(0.96), T(0.28), T(0), T(-0.28), T(0.96), T(0), T(0), T(0), T(1)};
  projection.translation = {T(0.25), T(-0.5), T(2)};
  return projection;
}

/// The k-th of all 24 parameters.
template <class T>
T& parameter(OpenCVProjection<T>& p, std::size_t k) {
  T* const intrinsics[] = {&p.fx, &p.fy, &p.cx, &p.cy, &p.k1, &p.k2,
                           &p.k3, &p.k4, &p.k5, &p.k6, &p.p1, &p.p2};
  if (k < 12) return *intrinsics[k];
  return k < 21 ? p.rotation[k - 12] : p.translation[k - 21];
}

TEST(OpenCVProjection, ParametersAreZeroInitially) {
  OpenCVProjection<float> projection;
  for (std::size_t k = 0; k < 24; ++k) EXPECT_EQ(parameter(projection, k), 0) << k;
}

TEST(OpenCVProjection, ToCameraRotatesAndThenShifts) {
  const std::array<double, 3> p = example<double>().toCamera({1, 2, 3});
  EXPECT_DOUBLE_EQ(p[0], 0.96 + 2 * 0.28 + 0.25);
  EXPECT_DOUBLE_EQ(p[1], -0.28 + 2 * 0.96 - 0.5);
  EXPECT_DOUBLE_EQ(p[2], 5);
}

TEST(OpenCVProjection, LensHasEachCoefficientInItsPlace) {
  const LensDistortion<double> lens = example<double>().lens();
  EXPECT_EQ(lens.k1, 0.125);
  EXPECT_EQ(lens.k2, -0.03125);
  EXPECT_EQ(lens.k3, 0.0078125);
  EXPECT_EQ(lens.k4, 0.25);
  EXPECT_EQ(lens.k5, 0.0625);
  EXPECT_EQ(lens.k6, -0.015625);
  EXPECT_EQ(lens.p1, 0.00390625);
  EXPECT_EQ(lens.p2, -0.001953125);
}

TEST(OpenCVProjection, ByHand) {
  // The reference's point (0, 0, 0) lies at (1, 2, 1), s = 5, with N / D = 1.625 / 2.25.
  OpenCVProjection<double> projection;
  projection.fx = 100;
  projection.fy = 200;
  projection.cx = 10;
  projection.cy = 20;
  projection.k1 = 0.125;
  projection.k4 = 0.25;
  projection.p1 = 0.25;
  projection.p2 = 0.5;
  projection.translation = {1, 2, 1};
  const std::array<double, 2> pixel = projection.project({0, 0, 0});
  EXPECT_NEAR(pixel[0], 100 * (1.625 / 2.25 + 2 * 0.25 * 2 + 0.5 * (5 + 2)) + 10, 1e-12);
  EXPECT_NEAR(pixel[1], 200 * (2 * 1.625 / 2.25 + 0.25 * (5 + 8) + 2 * 0.5 * 2) + 20, 1e-12);
}

TEST(OpenCVProjection, ScalarsAgree) {
  const std::array<double, 2> expected = example<double>().project({0.5, -0.25, 1});
  const std::array<float, 2> single = example<float>().project({0.5F, -0.25F, 1});
  // Measured: 1.2e-5 pixels.
  EXPECT_NEAR(single[0], expected[0], 1e-4);
  EXPECT_NEAR(single[1], expected[1], 1e-4);
  const std::array<Dual, 2> dual = example<Dual>().project({0.5, -0.25, 1});
  EXPECT_EQ(dual[0].value, expected[0]);
  EXPECT_EQ(dual[1].value, expected[1]);
  EXPECT_EQ(dual[0].derivatives, Dual::Derivatives{});
}

TEST(OpenCVProjection, DerivativesByAllParameters) {
  // 20 slots for 24 parameters: one at a time.
  const std::array<double, 3> point = {0.5, -0.25, 1};
  double worst = 0;
  for (std::size_t k = 0; k < 24; ++k) {
    OpenCVProjection<Dual> dual = example<Dual>();
    const double value = parameter(dual, k).value;
    parameter(dual, k) = Dual::variable(value, 13);
    const std::array<Dual, 2> pixel = dual.project({point[0], point[1], point[2]});
    for (std::size_t axis = 0; axis < 2; ++axis) {
      const double expected = testing::numericDerivative(
          [&](double x) {
            OpenCVProjection<double> moved = example<double>();
            parameter(moved, k) = x;
            return moved.project(point)[axis];
          },
          value);
      worst = std::fmax(worst, std::abs(pixel[axis].derivatives[13] - expected));
      EXPECT_EQ(pixel[axis].derivatives[12], 0) << k;
    }
  }
  // Measured: 5e-9 pixels per unit.
  EXPECT_LT(worst, 1e-6);
}

TEST(OpenCVProjection, DepthIsNotChecked) {
  OpenCVProjection<double> projection;
  projection.fx = projection.fy = 100;
  projection.rotation = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  EXPECT_EQ(projection.project({-1, -2, -4}), projection.project({1, 2, 4}));
  EXPECT_FALSE(std::isfinite(projection.project({1, 2, 0})[0]));
  EXPECT_TRUE(std::isnan(projection.project({0, 0, 0})[0]));
}

}  // namespace
}  // namespace norv::calibration

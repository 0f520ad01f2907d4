#include "support/fit/regular_map.h"

#include <gtest/gtest.h>

#include <cmath>

#include "testing/numeric_derivative.h"
#include "tests/support/fit/known_camera.h"

namespace norv::internal::fit {
namespace {

const Eigen::Vector2d kHalfSize(1, 0.75);

FittedCamera withLens(double focal_length, const std::array<double, 6>& k) {
  FittedCamera camera = KnownView(testing::makePinhole(800, 800, 640, 480)).truth;
  camera.intrinsics.head<2>().setConstant(focal_length);
  for (int i = 0; i < 6; ++i) camera.intrinsics[kK1 + i] = k[static_cast<std::size_t>(i)];
  return camera;
}

/// A lens with a zero and a pole side by side, one whose map folds, and one whose map never reaches
/// the corner; all within an image whose corner is one focal length away.
const std::array<double, 6> kPole = {-1.52, 0, 0, -1.5, 0, 0};
const std::array<double, 6> kFold = {-0.6, 0, 0, 0, 0, 0};
const std::array<double, 6> kFlat = {0, 0, 0, 1.5, 0, 0};

TEST(RegularMap, CornerIsTheFarthestOfTheFour) {
  FittedCamera camera = withLens(2, {});
  EXPECT_DOUBLE_EQ(cornerRadius(camera, kHalfSize), 0.625);
  camera.intrinsics[kCx] = -0.2;
  camera.intrinsics[kCy] = 0.15;
  camera.intrinsics[kFy] = 1;
  EXPECT_DOUBLE_EQ(cornerRadius(camera, kHalfSize), std::hypot(0.6, 0.9));
}

TEST(RegularMap, LensFamiliesAreRegular) {
  for (const LensFamily& family : kLensFamilies) {
    for (const double focal_length : {0.9, 1.25, 6.0}) {
      const FittedCamera camera = withLens(focal_length, family.k);
      EXPECT_EQ(RegularityRows(camera, family, kHalfSize).cost(camera), 0) << family.tau;
      EXPECT_TRUE(cornerRatio(camera, kHalfSize)) << family.tau;
    }
  }
}

TEST(RegularMap, IrregularLensesAreFound) {
  for (const std::array<double, 6>& k : {kPole, kFold, kFlat}) {
    const FittedCamera camera = withLens(1.25, k);
    EXPECT_GT(RegularityRows(camera, kLensFamilies[0], kHalfSize).cost(camera), 100);
    EXPECT_FALSE(cornerRatio(camera, kHalfSize));
  }
}

TEST(RegularMap, LensMayFoldOutsideTheImage) {
  // 1 + 3 k1 r^2 = 0 at radius 1.5, and the corner at 0.2.
  const FittedCamera camera = withLens(6.25, {-1 / 6.75, 0, 0, 0, 0, 0});
  EXPECT_EQ(RegularityRows(camera, kLensFamilies[0], kHalfSize).cost(camera), 0);
  EXPECT_TRUE(cornerRatio(camera, kHalfSize));
}

TEST(RegularMap, DenominatorBelowATenthCosts) {
  // D = 1 - 0.8 q falls to 0.1 at q = 1.125; the numerator equals it, so that the map is the
  // pinhole's.
  const std::array<double, 6> k = {-0.8, 0, 0, -0.8, 0, 0};
  const FittedCamera inside = withLens(1.25 / 0.85, k);
  EXPECT_EQ(RegularityRows(inside, kLensFamilies[0], kHalfSize).cost(inside), 0);
  const FittedCamera beyond = withLens(1.25 / 0.86, k);
  EXPECT_GT(RegularityRows(beyond, kLensFamilies[0], kHalfSize).cost(beyond), 1);
}

TEST(RegularMap, CostIsThatOfTheViolations) {
  // d(r_d)/d(theta) = (1 - 3 a q) (1 + q) for g = 1 - a q, 32 angles up to 1.15 times the corner's.
  const double a = 0.28;
  const FittedCamera camera = withLens(1.25, {-a, 0, 0, 0, 0, 0});
  double expected = 0;
  double last_radius = 0;
  for (int i = 1; i <= 32; ++i) {
    last_radius = std::tan(1.15 * std::atan(1.0) * i / 32);
    const double q = last_radius * last_radius;
    const double slope = (1 - 3 * a * q) * (1 + q);
    if (slope < 0.2) expected += std::pow(300 * (0.2 - slope), 2);
  }
  const double reach = last_radius * (1 - a * last_radius * last_radius);
  EXPECT_GT(expected, 0);
  expected += std::pow(300 * (1.0 - reach), 2);  // the corner is at 1
  EXPECT_NEAR(RegularityRows(camera, kLensFamilies[0], kHalfSize).cost(camera), expected,
              1e-9 * expected);
}

TEST(RegularMap, BeyondAPoleOnlyTheDenominatorCosts) {
  // N = 1 - 50 q and D = 1 - 40 q, whose ratio falls everywhere.
  const FittedCamera camera = withLens(1.25, {-50, 0, 0, -40, 0, 0});
  double expected = 0;
  for (int i = 1; i <= 32; ++i) {
    const double q = std::pow(std::tan(1.15 * std::atan(1.0) * i / 32), 2);
    const double denominator = 1 - 40 * q;
    const double slope =
        ((1 - 50 * q) * denominator - 20 * q) / (denominator * denominator) * (1 + q);
    if (denominator < 0.1) expected += std::pow(300 * (0.1 - denominator), 2);
    if (denominator > 0.02 && slope < 0.2) expected += std::pow(300 * (0.2 - slope), 2);
  }
  EXPECT_NEAR(RegularityRows(camera, kLensFamilies[0], kHalfSize).cost(camera), expected,
              1e-12 * expected);  // measured 7e-16
}

TEST(RegularMap, RadiiEndAtEightyDegrees) {
  // The equidistant lens has the corner at 75 degrees, and 1.15 times that is more. The denominator
  // of these lenses falls to 0.1 at 79.7 and 80.1 degrees.
  const LensFamily& equidistant = kLensFamilies[3];
  const double f = 1.25 / (75 * testing::kDegree);
  const auto cost = [&](double zero_of_excess) {
    const double k = -0.9 / std::pow(std::tan(zero_of_excess * testing::kDegree), 2);
    const FittedCamera camera = withLens(f, {k, 0, 0, k, 0, 0});
    return RegularityRows(camera, equidistant, kHalfSize).cost(camera);
  };
  EXPECT_GT(cost(79.7), 1);
  EXPECT_EQ(cost(80.1), 0);
}

TEST(RegularMap, RowsAreTheDerivativesOfTheCost) {
  // The pinhole's map with a denominator of 0.06 at the last radius; two with slopes below the
  // smallest.
  const std::array<double, 6> thin = {-0.58, 0, 0, -0.58, 0, 0};
  for (const std::array<double, 6>& k : {thin, kFold, kFlat}) {
    const FittedCamera camera = withLens(1.25, k);
    const RegularityRows rows(camera, kLensFamilies[0], kHalfSize);
    NormalEquations equations;
    rows.addRows(camera, &equations);
    const double size = equations.gradient.norm();
    EXPECT_GT(size, 1);
    for (int i = 0; i < kParameterCount; ++i) {
      const double slope = testing::numericDerivative(
          [&](double h) { return rows.cost(camera.moved(h * ParameterVector::Unit(i))); }, 0.0);
      EXPECT_NEAR(equations.gradient[i], slope / 2, 1e-7 * size) << i;  // measured 8e-11
    }
  }
}

TEST(RegularMap, MatrixIsTheSquareOfTheRows) {
  // Rows that are linear in the coefficients: a denominator that is violated where it is a pole.
  const FittedCamera camera = withLens(1.25, {0, 0, 0, -40, 0, 0});
  const RegularityRows rows(camera, kLensFamilies[0], kHalfSize);
  NormalEquations equations;
  rows.addRows(camera, &equations);
  const ParameterMatrix full = equations.matrix.selfadjointView<Eigen::Lower>();
  ParameterVector step = ParameterVector::Zero();
  step.segment<3>(kK1 + 3) << 0.1, -0.2, 0.3;
  NormalEquations moved;
  rows.addRows(camera.moved(step), &moved);
  const ParameterVector predicted = equations.gradient + full * step;
  EXPECT_LT((moved.gradient - predicted).segment<3>(kK1 + 3).norm(),
            1e-3 * (full * step).norm());  // measured 1e-14
}

TEST(RegularMap, RowsOfARegularLensAreNone) {
  const FittedCamera camera = withLens(1.25, kLensFamilies[2].k);
  NormalEquations equations;
  RegularityRows(camera, kLensFamilies[2], kHalfSize).addRows(camera, &equations);
  EXPECT_EQ(equations.gradient, ParameterVector::Zero());
  EXPECT_EQ(equations.matrix, ParameterMatrix::Zero());
}

TEST(RegularMap, CornerRatioIsTheRadialFactorThere) {
  EXPECT_DOUBLE_EQ(*cornerRatio(withLens(1.25, {}), kHalfSize), 1);
  // The stereographic lens images tan(theta) at 2 tan(theta / 2), and the corner at 1; radii are
  // tried in steps of a third of a degree.
  const double theta = 2 * std::atan(0.5);
  EXPECT_NEAR(*cornerRatio(withLens(1.25, kLensFamilies[2].k), kHalfSize), 1 / std::tan(theta),
              5e-3);  // measured 3.6e-3
}

}  // namespace
}  // namespace norv::internal::fit

#include "support/fit/priors.h"

#include <gtest/gtest.h>

#include <cmath>

#include "testing/numeric_derivative.h"
#include "tests/support/fit/known_camera.h"

namespace norv::internal::fit {
namespace {

const LensFamily& kPinhole = kLensFamilies[0];
const LensFamily& kStereographic = kLensFamilies[2];
const Eigen::Vector2d kHalfSize(1, 0.75);

/// The camera that is believed in most.
FittedCamera mostProbable(const LensFamily& family) {
  FittedCamera camera = KnownView(testing::makePinhole(800, 800, 640, 480)).truth;
  for (int i = 0; i < 6; ++i) {
    camera.intrinsics[kK1 + i] = family.k[static_cast<std::size_t>(i)];
  }
  return camera;
}

/// Cost after adding `difference` to one of the intrinsics of the most probable camera.
double costAt(const Priors& priors, const LensFamily& family, int index, double difference) {
  FittedCamera camera = mostProbable(family);
  camera.intrinsics[index] += difference;
  return priors.cost(camera);
}

TEST(Priors, CameraAtTheMeansCostsNothing) {
  for (const LensFamily& family : kLensFamilies) {
    EXPECT_LT(Priors(family, 1.3, kHalfSize).cost(mostProbable(family)), 1e-28);  // measured 0
  }
}

TEST(Priors, OneStandardDeviationCostsOne) {
  const Priors priors(kStereographic, 1.25, kHalfSize);
  FittedCamera camera = mostProbable(kStereographic);
  camera.intrinsics.head<2>() *= std::exp(0.5);
  EXPECT_NEAR(priors.cost(camera), 1, 1e-12);
  camera = mostProbable(kStereographic);
  camera.intrinsics[kFx] *= std::exp(0.0025);
  camera.intrinsics[kFy] *= std::exp(-0.0025);
  EXPECT_NEAR(priors.cost(camera), 1, 1e-12);
  EXPECT_NEAR(costAt(priors, kStereographic, kCx, 0.04), 1, 1e-12);
  EXPECT_NEAR(costAt(priors, kStereographic, kCy, -0.04), 1, 1e-12);
  EXPECT_NEAR(costAt(priors, kStereographic, kP1, 0.005), 1, 1e-12);
  EXPECT_NEAR(costAt(priors, kStereographic, kP2, -0.005), 1, 1e-12);
}

TEST(Priors, RadialDeviationsAreThoseOfTheirEffectAtTheCorner) {
  // The stereographic lens sees the corner, 1.25 from the centre, at 2 atan(1.25 / 2 f).
  const double radius = std::tan(2 * std::atan(1.25 / (2 * 2.0)));
  const Priors priors(kStereographic, 2.0, kHalfSize);
  for (const int first : {+kK1, kK1 + 3}) {
    EXPECT_NEAR(costAt(priors, kStereographic, first, 0.5 / std::pow(radius, 2)), 1, 1e-12);
    EXPECT_NEAR(costAt(priors, kStereographic, first + 1, 0.5 / std::pow(radius, 4)), 1, 1e-12);
    EXPECT_NEAR(costAt(priors, kStereographic, first + 2, 0.25 / std::pow(radius, 6)), 1, 1e-12);
  }
}

TEST(Priors, CornerCountsUpToSeventyDegrees) {
  const double radius = std::tan(70 * testing::kDegree);
  const LensFamily& equidistant = kLensFamilies[3];
  const Priors priors(equidistant, 0.7, kHalfSize);  // the corner is at 102 degrees
  EXPECT_NEAR(costAt(priors, equidistant, kK1 + 5, 0.25 / std::pow(radius, 6)), 1, 1e-9);
}

TEST(Priors, PinholeFamilyKeepsItsDenominatorNearOne) {
  const double radius = 1.25 / 1.4;
  const Priors priors(kPinhole, 1.4, kHalfSize);
  EXPECT_NEAR(costAt(priors, kPinhole, kK1 + 1, 0.5 / std::pow(radius, 4)), 1, 1e-12);
  EXPECT_NEAR(costAt(priors, kPinhole, kK1 + 4, 0.05 / std::pow(radius, 4)), 1, 1e-12);
}

TEST(Priors, DroppedFocalLengthCostsNothing) {
  Priors priors(kPinhole, 1.4, kHalfSize);
  priors.dropFocalLength();
  FittedCamera camera = mostProbable(kPinhole);
  camera.intrinsics.head<2>() *= 5;
  EXPECT_LT(priors.cost(camera), 1e-20);
  camera.intrinsics[kFx] *= std::exp(0.005);
  EXPECT_NEAR(priors.cost(camera), 1, 1e-12);
}

TEST(Priors, RowsAreTheDerivativesOfTheCost) {
  const Priors priors(kStereographic, 1.4, kHalfSize);
  const FittedCamera camera = KnownView(distortedCamera()).truth;
  const double sigma = 0.3;
  NormalEquations equations;
  priors.addRows(camera, sigma, &equations);
  for (int i = 0; i < kParameterCount; ++i) {
    const double slope = testing::numericDerivative(
        [&](double h) { return priors.cost(camera.moved(h * ParameterVector::Unit(i))); }, 0.0);
    // The gradient is J^T r, half the derivative of r^T r.
    EXPECT_NEAR(equations.gradient[i], sigma * sigma * slope / 2, 1e-6) << i;  // measured 2.4e-8
  }
}

TEST(Priors, MatrixIsTheSquareOfTheRows) {
  // At the means the second derivatives of the cost are twice J^T J.
  const Priors priors(kStereographic, 1.4, kHalfSize);
  const FittedCamera camera = mostProbable(kStereographic);
  NormalEquations equations;
  priors.addRows(camera, 0.3, &equations);
  const ParameterMatrix full = equations.matrix.selfadjointView<Eigen::Lower>();
  const double h = 1e-5;
  for (int i = 0; i < kParameterCount; ++i) {
    NormalEquations above;
    priors.addRows(camera.moved(h * ParameterVector::Unit(i)), 0.3, &above);
    NormalEquations below;
    priors.addRows(camera.moved(-h * ParameterVector::Unit(i)), 0.3, &below);
    const ParameterVector column = (above.gradient - below.gradient) / (2 * h);
    EXPECT_LT((full.col(i) - column).norm(), 1e-4) << i;  // measured 2.9e-7
  }
}

}  // namespace
}  // namespace norv::internal::fit

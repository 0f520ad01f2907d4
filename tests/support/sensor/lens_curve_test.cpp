#include "support/sensor/lens_curve.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "testing/lens_tables.h"
#include "testing/numeric_derivative.h"

namespace norv::internal {
namespace {

using testing::headCameraTables;
using testing::kRadiansPerDegree;
using testing::LensTables;
using testing::sampleLens;
using testing::Stereographic;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

LensTable usable(const LensTables& tables) { return usableLensTable(tables.radii, tables.degrees); }

LensCurve curveOf(const LensTables& tables) {
  return LensCurve::fromTable(tables.radii, tables.degrees).value();
}

/// How many entries beyond the origin are used.
std::size_t usableEntries(const std::vector<float>& radii, const std::vector<float>& degrees) {
  const LensTable table = usableLensTable(radii, degrees);
  EXPECT_EQ(table.radii.size(), table.angles.size());
  EXPECT_EQ(table.radii.at(0), 0);
  EXPECT_EQ(table.angles.at(0), 0);
  return table.radii.size() - 1;
}

TEST(UsableLensTable, ConvertsDegreesToRadians) {
  const LensTable table = usableLensTable({0, 10, 20}, {0, 30, 45});
  EXPECT_EQ(table.radii, (std::vector<double>{0, 10, 20}));
  ASSERT_EQ(table.angles.size(), 3U);
  EXPECT_DOUBLE_EQ(table.angles[1], std::asin(0.5));
  EXPECT_DOUBLE_EQ(table.angles[2], std::atan(1));
}

TEST(UsableLensTable, TheOriginIsImplied) {
  EXPECT_EQ(usableEntries({}, {}), 0U);
  EXPECT_EQ(usableEntries({0}, {0}), 0U);
  EXPECT_EQ(usableEntries({10}, {1}), 1U);
  EXPECT_EQ(usableEntries({0, 10}, {0, 1}), 1U);
  EXPECT_EQ(usableEntries({10, 20}, {1, 2}), 2U);
  EXPECT_EQ(usableEntries({-0.0F, 10}, {-0.0F, 1}), 1U);
}

TEST(UsableLensTable, EndsWithTheShorterList) {
  EXPECT_EQ(usableEntries({0, 10, 20, 30}, {0, 1, 2}), 2U);
  EXPECT_EQ(usableEntries({0, 10}, {0, 1, 2, 3}), 1U);
  EXPECT_EQ(usableEntries({0, 10, 20}, {}), 0U);
}

TEST(UsableLensTable, EndsBeforeTheFirstNumberThatIsNotFinite) {
  for (const float bad : {kNaN, kInfinity, -kInfinity}) {
    EXPECT_EQ(usableEntries({0, 10, bad, 30}, {0, 1, 2, 3}), 1U) << bad;
    EXPECT_EQ(usableEntries({0, 10, 20, 30}, {0, 1, bad, 3}), 1U) << bad;
    EXPECT_EQ(usableEntries({bad, 10, 20}, {0, 1, 2}), 0U) << bad;
    EXPECT_EQ(usableEntries({0, 10, 20}, {bad, 1, 2}), 0U) << bad;
  }
}

TEST(UsableLensTable, EndsWhereOneDoesNotIncrease) {
  EXPECT_EQ(usableEntries({0, 10, 20, 20, 40}, {0, 1, 2, 3, 4}), 2U);
  EXPECT_EQ(usableEntries({0, 10, 20, 15, 40}, {0, 1, 2, 3, 4}), 2U);
  EXPECT_EQ(usableEntries({0, 10, 20, 30, 40}, {0, 1, 2, 2, 4}), 2U);
  EXPECT_EQ(usableEntries({0, 10, 20, 30, 40}, {0, 1, 2, 1.5F, 4}), 2U);
  // Against the origin too.
  EXPECT_EQ(usableEntries({0, 10}, {1, 2}), 0U);
  EXPECT_EQ(usableEntries({5, 10}, {0, 2}), 0U);
  EXPECT_EQ(usableEntries({-5, 10}, {1, 2}), 0U);
  EXPECT_EQ(usableEntries({5, 10}, {-1, 2}), 0U);
  EXPECT_EQ(usableEntries({0, 0, 10}, {0, 0, 1}), 0U);
}

TEST(UsableLensTable, EndsBeyond80Degrees) {
  const float above = std::nextafter(80.0F, 90.0F);
  EXPECT_EQ(usableEntries({10, 20, 30}, {70, 80, 85}), 2U);
  EXPECT_EQ(usableEntries({10, 20, 30}, {70, above, 85}), 1U);
}

/// An exact table of theta = 2 atan(g / 2), g = s (c1 + c3 s^2 + c5 s^4) at `count` even steps.
LensTable polynomialTable(double c1, double c3, double c5, int count, double last_radius) {
  LensTable table{{0}, {0}};
  for (int i = 1; i <= count; ++i) {
    const double s = static_cast<double>(i) / count;
    const double g = c1 * s + c3 * std::pow(s, 3) + c5 * std::pow(s, 5);
    table.radii.push_back(last_radius * s);
    table.angles.push_back(2 * std::atan(g / 2));
  }
  return table;
}

TEST(StereographicCurve, RecoversACurveOfItsKind) {
  const LensTable table = polynomialTable(0.7, 0.5, -0.2, 20, 500);
  const auto curve = StereographicCurve::fit(table);
  ASSERT_TRUE(curve.has_value());
  for (double r = 0; r <= 500; r += 0.5) {
    const double s = r / 500;
    const double g = 0.7 * s + 0.5 * std::pow(s, 3) - 0.2 * std::pow(s, 5);
    const double slope = (0.7 + 1.5 * s * s - 1.0 * std::pow(s, 4)) / 500;
    EXPECT_NEAR(curve->at(r).value, 2 * std::atan(g / 2), 1e-14) << r;     // measured 7e-16
    EXPECT_NEAR(curve->at(r).slope, slope / (1 + g * g / 4), 1e-16) << r;  // measured 2e-17
  }
}

TEST(StereographicCurve, SlopeIsTheDerivative) {
  const auto curve = StereographicCurve::fit(usable(headCameraTables()));
  ASSERT_TRUE(curve.has_value());
  const auto angle = [&curve](double r) { return curve->at(r).value; };
  for (double r = 5; r < 985; r += 7) {
    // Measured 4e-14.
    EXPECT_NEAR(curve->at(r).slope, testing::numericDerivative(angle, r), 2e-13) << r;
  }
}

TEST(StereographicCurve, SmoothsTheHeadCamerasTable) {
  const LensTable table = usable(headCameraTables());
  const auto curve = StereographicCurve::fit(table);
  ASSERT_TRUE(curve.has_value());
  double squares = 0;
  double largest = 0;
  for (std::size_t i = 1; i < table.radii.size(); ++i) {
    const double miss = (curve->at(table.radii[i]).value - table.angles[i]) / kRadiansPerDegree;
    squares += miss * miss;
    largest = std::max(largest, std::abs(miss));
  }
  // Rounding to 0.1 degree alone is 0.029 and 0.05.
  EXPECT_NEAR(std::sqrt(squares / 99), 0.026944, 1e-6);
  EXPECT_NEAR(largest, 0.052237, 1e-6);
  EXPECT_NEAR(1 / curve->at(0).slope, 719.8634, 1e-4);  // the lens' own: 720
}

TEST(StereographicCurve, MinimisesTheMissInAngle) {
  // At the minimum the residuals, weighted with d(theta) / d(g), are orthogonal to s, s^3 and s^5.
  const LensTable table = usable(headCameraTables());
  const auto curve = StereographicCurve::fit(table);
  ASSERT_TRUE(curve.has_value());
  for (const int power : {1, 3, 5}) {
    double product = 0;
    double magnitude = 0;
    for (std::size_t i = 1; i < table.radii.size(); ++i) {
      const double weight = std::pow(std::cos(table.angles[i] / 2), 4);
      const double fitted = 2 * std::tan(curve->at(table.radii[i]).value / 2);
      const double miss = fitted - 2 * std::tan(table.angles[i] / 2);
      const double term = weight * miss * std::pow(table.radii[i] / 990, power);
      product += term;
      magnitude += std::abs(term);
    }
    EXPECT_LT(std::abs(product) / magnitude, 1e-10) << power;  // measured 6e-13
  }
}

TEST(StereographicCurve, NeedsEightEntries) {
  EXPECT_FALSE(StereographicCurve::fit(polynomialTable(1, 0, 0, 7, 500)).has_value());
  EXPECT_TRUE(StereographicCurve::fit(polynomialTable(1, 0, 0, 8, 500)).has_value());
}

/// A stereographic lens known at 20 radii from `nearest` to 1 alone.
LensTable ringTable(double nearest) {
  LensTable table{{0}, {0}};
  for (int i = 0; i < 20; ++i) {
    table.radii.push_back(nearest + (1 - nearest) * i / 19);
    table.angles.push_back(2 * std::atan(table.radii.back() / 2));
  }
  return table;
}

TEST(StereographicCurve, NeedsEntriesTowardsTheCentre) {
  EXPECT_TRUE(StereographicCurve::fit(ringTable(0.5)).has_value());
  EXPECT_FALSE(StereographicCurve::fit(ringTable(0.99)).has_value());
}

TEST(StereographicCurve, NeedsASlopeThatStaysPositive) {
  // At the edge the slope 1 + 3 c3 + 5 c5 against 2 % of that at the centre.
  EXPECT_TRUE(StereographicCurve::fit(polynomialTable(1, -0.97 / 3, 0, 20, 500)).has_value());
  EXPECT_FALSE(StereographicCurve::fit(polynomialTable(1, -0.99 / 3, 0, 20, 500)).has_value());
  // In between: 1 + b q + (b^2 / 4 (1 - m)) q^2 has its minimum m at q = 2 (1 - m) / -b, here near
  // 1/2, between two entries that still rise.
  const auto dipping = [](double smallest) {
    const double b = -4;
    const double c5 = b * b / (4 * (1 - smallest)) / 5;
    return StereographicCurve::fit(polynomialTable(1, b / 3, c5, 20, 500));
  };
  EXPECT_TRUE(dipping(0.03).has_value());
  EXPECT_FALSE(dipping(0.01).has_value());
  EXPECT_FALSE(dipping(-0.01).has_value());
}

TEST(StereographicCurve, RefusesToMissAnEntry) {
  const auto shifted = [](double degrees) {
    LensTables tables = sampleLens(Stereographic{720}, 10, 100);
    tables.degrees[50] += static_cast<float>(degrees);
    return StereographicCurve::fit(usable(tables));
  };
  // One entry among a hundred hardly pulls the curve along: 3 % of its shift.
  EXPECT_TRUE(shifted(0.19).has_value());
  EXPECT_TRUE(shifted(-0.19).has_value());
  EXPECT_FALSE(shifted(0.22).has_value());
  EXPECT_FALSE(shifted(-0.22).has_value());
}

TEST(LensCurve, NeedsTwoEntriesBeyondTheOrigin) {
  EXPECT_FALSE(LensCurve::fromTable({}, {}).has_value());
  EXPECT_FALSE(LensCurve::fromTable({0, 10}, {0, 1}).has_value());
  EXPECT_FALSE(LensCurve::fromTable({0, 10, 20, 30}, {0, 1, 1, 3}).has_value());
  EXPECT_TRUE(LensCurve::fromTable({10, 20}, {1, 2}).has_value());
  EXPECT_TRUE(LensCurve::fromTable({0, 10, 20}, {0, 1, 2}).has_value());
}

TEST(LensCurve, EndsAtTheLastUsableEntry) {
  EXPECT_EQ(curveOf(headCameraTables()).lastRadius(), 990);
  EXPECT_EQ(curveOf({{10, 20, 25, 40}, {1, 2, 3, 81}}).lastRadius(), 25);
}

TEST(LensCurve, IsSmoothWhereThatFits) {
  const LensCurve curve = curveOf(headCameraTables());
  const auto smooth = StereographicCurve::fit(usable(headCameraTables()));
  ASSERT_TRUE(smooth.has_value());
  for (double r = 0; r <= 990; r += 9) {
    EXPECT_EQ(curve.at(r).value, smooth->at(r).value);
    EXPECT_EQ(curve.at(r).slope, smooth->at(r).slope);
    // The rounding is gone: within 0.0044 degree of the lens itself.
    EXPECT_NEAR(curve.at(r).value, Stereographic{720}(r), 0.006 * kRadiansPerDegree) << r;
  }
}

TEST(LensCurve, IsTheMonotoneCubicWhereNothingSmootherFits) {
  // An orthographic lens, r = f sin(theta), turns steep towards the edge.
  const LensTables tables = sampleLens([](double r) { return std::asin(r / 1005); }, 10, 100);
  const LensTable table = usable(tables);
  ASSERT_FALSE(StereographicCurve::fit(table).has_value());
  const LensCurve curve = curveOf(tables);
  EXPECT_EQ(curve.lastRadius(), 980);
  for (std::size_t i = 0; i < table.radii.size(); ++i) {
    EXPECT_NEAR(curve.at(table.radii[i]).value, table.angles[i], 1e-15) << i;
  }
  EXPECT_DOUBLE_EQ(curve.at(0).slope, table.angles[1] / 10);
}

TEST(LensCurve, IsTheMonotoneCubicForShortTables) {
  const LensCurve curve = curveOf({{10, 30}, {2, 5}});
  EXPECT_NEAR(curve.at(10).value, 2 * kRadiansPerDegree, 1e-15);
  EXPECT_NEAR(curve.at(30).value, 5 * kRadiansPerDegree, 1e-15);
  EXPECT_DOUBLE_EQ(curve.at(0).slope, 0.2 * kRadiansPerDegree);
}

/// The largest distance in degrees between the curve fitted to a lens and the lens, up to its end.
template <class AngleOf>
double largestMiss(const AngleOf& angle_of) {
  const LensCurve curve = curveOf(sampleLens(angle_of, 10, 100));
  double largest = 0;
  for (double r = 0; r <= curve.lastRadius(); r += 0.5) {
    largest = std::max(largest, std::abs(curve.at(r).value - angle_of(r)));
  }
  return largest / kRadiansPerDegree;
}

TEST(LensCurve, FollowsOtherLenses) {
  // Of its own kind: measured 1.5e-6 and 1.2e-7, from the tables' single precision.
  EXPECT_LT(largestMiss(Stereographic{720}), 3e-6);
  EXPECT_LT(largestMiss(Stereographic{500}), 3e-6);
  // How far the families lie apart: measured 0.0615, 0.0197 and 0.109.
  EXPECT_LT(largestMiss([](double r) { return std::atan(r / 900); }), 0.065);
  EXPECT_LT(largestMiss([](double r) { return r / 700; }), 0.021);
  EXPECT_LT(largestMiss([](double r) { return 2 * std::asin(r / 1440); }), 0.12);
  // The cubic between the entries: measured 0.0088.
  EXPECT_LT(largestMiss([](double r) { return std::asin(r / 1005); }), 0.01);
}

}  // namespace
}  // namespace norv::internal

#include "interop/fit/radial_inverse.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace norv::interop {
namespace {

RadialMap mapOf(RadialKind kind, double a0, double a1 = 0) { return {kind, {a0, a1, 0, 0}, {}}; }

TEST(RadialInverse, FindsTheAngleOfEveryRadius) {
  for (const RadialMap& map :
       {mapOf(RadialKind::kKannalaBrandt, 0), mapOf(RadialKind::kKannalaBrandt, -0.1),
        mapOf(RadialKind::kEnhancedUnified, 0.6, 1.1), mapOf(RadialKind::kDoubleSphere, -0.2, 0.59),
        mapOf(RadialKind::kOmni, 1.4), mapOf(RadialKind::kFieldOfView, 0.9),
        mapOf(RadialKind::kStereographic, 0)}) {
    RadialInverse inverse(map);
    // To and fro, so that the last answer, the start, is near and far.
    for (int i = 0; i <= 100; ++i) {
      const double share = (i % 2 == 0 ? i : 100 - i) / 100.0;
      const double theta = 0.95 * share * inverse.end();
      const auto found = inverse.angleAt(radiusAt(map, theta));
      ASSERT_TRUE(found) << kindName(map.kind) << " " << theta;
      EXPECT_NEAR(*found, theta, 1e-13) << kindName(map.kind);
    }
  }
}

TEST(RadialInverse, EndsAtAFold) {
  // theta - 0.1 theta^3 is largest where 0.3 theta^2 = 1, and two thirds of that theta there.
  RadialInverse inverse(mapOf(RadialKind::kKannalaBrandt, -0.1));
  EXPECT_NEAR(inverse.end(), std::sqrt(1 / 0.3), 1e-12);
  EXPECT_NEAR(inverse.largestRadius(), std::sqrt(1 / 0.3) * 2 / 3, 1e-12);
  EXPECT_TRUE(inverse.angleAt(inverse.largestRadius()));
  EXPECT_FALSE(inverse.angleAt(1.0001 * inverse.largestRadius()));
  EXPECT_FALSE(inverse.angleAt(std::numeric_limits<double>::quiet_NaN()));
}

TEST(RadialInverse, ReachesAnyRadiusBeforeAPole) {
  const RadialMap map = mapOf(RadialKind::kOmni, 0.5);
  RadialInverse inverse(map);
  EXPECT_EQ(inverse.largestRadius(), std::numeric_limits<double>::infinity());
  for (const double radius : {1e-12, 1.0, 1e6}) {
    const auto theta = inverse.angleAt(radius);
    ASSERT_TRUE(theta) << radius;
    EXPECT_NEAR(radiusAt(map, *theta), radius, 1e-8 * radius);
  }
}

TEST(RadialInverse, HasNothingOfParametersOutOfTheirRange) {
  RadialInverse inverse(mapOf(RadialKind::kOmni, -2));
  EXPECT_FALSE(inverse.angleAt(0.1));
}

}  // namespace
}  // namespace norv::interop

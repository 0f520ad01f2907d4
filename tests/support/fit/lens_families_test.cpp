#include "support/fit/lens_families.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/lens_distortion.h"

namespace norv::internal::fit {
namespace {

constexpr double kDegree = 3.14159265358979323846 / 180;

double rationalImageRadius(const LensFamily& family, double field_angle) {
  calibration::LensDistortion<double> lens;
  lens.k1 = family.k[0];
  lens.k2 = family.k[1];
  lens.k3 = family.k[2];
  lens.k4 = family.k[3];
  lens.k5 = family.k[4];
  lens.k6 = family.k[5];
  return lens.distort(calibration::NormalizedPoint<double>{std::tan(field_angle), 0}).x;
}

double largestError(const LensFamily& family, double degrees) {
  double largest = 0;
  for (double theta = 0; theta <= degrees * kDegree; theta += 0.1 * kDegree) {
    largest = std::max(largest,
                       std::abs(rationalImageRadius(family, theta) - imageRadius(family, theta)));
  }
  return largest;
}

TEST(LensFamilies, KnownCurves) {
  const double theta = 0.6;
  EXPECT_DOUBLE_EQ(imageRadius(kLensFamilies[0], theta), std::tan(theta));
  EXPECT_DOUBLE_EQ(imageRadius(kLensFamilies[2], theta), 2 * std::tan(theta / 2));
  EXPECT_DOUBLE_EQ(imageRadius(kLensFamilies[3], theta), theta);
}

TEST(LensFamilies, FieldAngleInvertsImageRadius) {
  for (const LensFamily& family : kLensFamilies) {
    for (double theta = 0; theta < 85 * kDegree; theta += kDegree) {
      EXPECT_NEAR(fieldAngle(family, imageRadius(family, theta)), theta, 1e-15) << family.tau;
    }
  }
}

TEST(LensFamilies, CoefficientsFollowTheCurves) {
  EXPECT_LT(largestError(kLensFamilies[0], 70), 1e-14);   // measured 0
  EXPECT_LT(largestError(kLensFamilies[1], 70), 2.5e-5);  // 8.2e-6
  EXPECT_LT(largestError(kLensFamilies[2], 70), 2.5e-5);  // 4.6e-6
  EXPECT_LT(largestError(kLensFamilies[3], 70), 2.5e-5);  // 2.4e-5
  EXPECT_LT(largestError(kLensFamilies[2], 66), 1.6e-6);  // 1.5e-6
}

TEST(LensFamilies, OnlyTheFirstIsWithoutDistortion) {
  EXPECT_TRUE(isPinhole(kLensFamilies[0]));
  for (std::size_t i = 1; i < kLensFamilies.size(); ++i) EXPECT_FALSE(isPinhole(kLensFamilies[i]));
}

}  // namespace
}  // namespace norv::internal::fit

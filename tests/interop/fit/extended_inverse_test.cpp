#include "interop/fit/extended_inverse.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/interop/second_formulas.h"

namespace norv::interop {
namespace {

const ExtendedLens kLens{
    {0.3, -0.1, 0.001, -0.0005, 0.02, 0.6, 0.05, 0.01}, 1e-4, 2e-4, 3e-4, 4e-4, 0.05, -0.03};

TEST(ExtendedInverse, UndoesPrismsAndTilts) {
  const ExtendedInverse inverse(kLens);
  for (int i = -6; i <= 6; ++i) {
    for (int j = -4; j <= 4; ++j) {
      const Eigen::Vector2d p(0.15 * i, 0.15 * j);
      const Eigen::Vector2d q = testing::secondImaged(kLens, p);
      const auto found = inverse.undistort({q.x(), q.y()});
      ASSERT_TRUE(found) << p.transpose();
      EXPECT_NEAR(found->x, p.x(), 1e-11);
      EXPECT_NEAR(found->y, p.y(), 1e-11);
    }
  }
}

TEST(ExtendedInverse, EndsAtTheFold) {
  // The radial part is largest at r = 1.3317, as a table of it in steps of 1e-4 shows, and 0.7773
  // there.
  ExtendedLens lens = kLens;
  lens.tau_x = 0;
  lens.tau_y = 0;
  const ExtendedInverse inverse(lens);
  EXPECT_NEAR(inverse.largestRadius(), 1.3317, 2e-4);
  EXPECT_TRUE(inverse.undistort({0.75, 0}));
  EXPECT_FALSE(inverse.undistort({0.8, 0}));
  EXPECT_FALSE(inverse.undistort({-30, 5}));
}

TEST(ExtendedInverse, SeesNothingEdgeOn) {
  ExtendedLens lens;
  lens.tau_x = 3.14159265358979323846 / 2;
  EXPECT_FALSE(ExtendedInverse(lens).undistort({0.1, 0.1}));
  lens.tau_x = 1;
  const auto found = ExtendedInverse(lens).undistort({0, 0.3});
  ASSERT_TRUE(found);
  EXPECT_NEAR(testing::secondImaged(lens, {found->x, found->y}).y(), 0.3, 1e-12);
}

TEST(ExtendedInverse, HasNothingOfNumbersThatAreNone) {
  ExtendedLens lens = kLens;
  lens.s1 = std::nan("");
  EXPECT_FALSE(ExtendedInverse(lens).undistort({0.1, 0.1}));
  EXPECT_FALSE(ExtendedInverse(kLens).undistort({std::nan(""), 0.1}));
}

}  // namespace
}  // namespace norv::interop

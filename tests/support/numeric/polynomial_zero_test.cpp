#include "support/numeric/polynomial_zero.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <random>

namespace norv::internal {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Degree13 = Polynomial<14>;

/// The product of (1 - s / zero).
template <class Result = Sextic>
Result withZeros(std::initializer_list<double> zeros) {
  Result c{1};
  for (const double zero : zeros) {
    for (std::size_t i = c.size() - 1; i > 0; --i) c[i] -= c[i - 1] / zero;
  }
  return c;
}

template <std::size_t kCount>
double evaluate(const Polynomial<kCount>& c, double s) {
  double value = 0;
  for (std::size_t i = kCount; i-- > 0;) value = c[i] + s * value;
  return value;
}

TEST(FirstPositiveZero, NoneWithoutNegativeCoefficients) {
  EXPECT_EQ(firstPositiveZero({1}), kInfinity);
  EXPECT_EQ(firstPositiveZero({1, 2, 3, 4, 5, 6, 7}), kInfinity);
  EXPECT_EQ(firstPositiveZero(withZeros({-1, -2, -3, -4, -5, -6})), kInfinity);
}

TEST(FirstPositiveZero, NothingIsKnownOfWhatIsNotFinite) {
  EXPECT_EQ(firstPositiveZero({1, kInfinity}), 0);
  EXPECT_EQ(firstPositiveZero({1, -1, -kInfinity}), 0);
  EXPECT_EQ(firstPositiveZero({1, std::nan(""), 1}), 0);
}

TEST(FirstPositiveZero, NoneThoughCoefficientsAreNegative) {
  // (1 - s)^2 + 0.01.
  EXPECT_EQ(firstPositiveZero({1, -2 / 1.01, 1 / 1.01}), kInfinity);
  // The same with the minimum 1e-6 above zero, and far out.
  EXPECT_EQ(firstPositiveZero({1, -2e-8 / (1 + 1e-6), 1e-16 / (1 + 1e-6)}), kInfinity);
  EXPECT_EQ(firstPositiveZero({1, -0.3, 0.2, -0.1, 0.2, -0.1, 0.1}), kInfinity);
}

TEST(FirstPositiveZero, TheSmallestOfSeveral) {
  EXPECT_DOUBLE_EQ(firstPositiveZero(withZeros({2})), 2);
  EXPECT_DOUBLE_EQ(firstPositiveZero(withZeros({3, 2})), 2);
  // Measured: 2.2e-15 and 6e-17.
  EXPECT_NEAR(firstPositiveZero(withZeros({5, 3, 7, -1, 2, 11})), 2, 1e-14);
  EXPECT_NEAR(firstPositiveZero(withZeros({0.1, 0.2, 0.3, 0.4, 0.5, 0.6})), 0.1, 1e-14);
}

TEST(FirstPositiveZero, NeighboursAreToldApart) {
  // Rounded coefficients move them. Measured: 1.3e-13, 3.3e-11 and 0.
  EXPECT_NEAR(firstPositiveZero(withZeros({1, 1.0001})), 1, 1e-12);
  EXPECT_NEAR(firstPositiveZero(withZeros({1, 1.001, 1.002})), 1, 1e-9);
  EXPECT_NEAR(firstPositiveZero(withZeros({0.001, 1.001, 1.002, 1.003})), 0.001, 1e-17);
}

TEST(FirstPositiveZero, DoubleZeroIsFoundWithinItsWidth) {
  // Rounding may lift it off zero by 1e-16, which is 1e-8 in the argument; it is found or not, but
  // nothing else is.
  for (const double zero : {0.3, 1.0, 1.7, 40.0}) {
    const double found = firstPositiveZero(withZeros({zero, zero}));
    if (found != kInfinity) {
      EXPECT_NEAR(found, zero, 1e-7 * zero);
    }
    EXPECT_NEAR(firstPositiveZero(withZeros({zero, zero, 2 * zero})),
                std::isinf(found) ? 2 * zero : zero, 1e-6 * zero)
        << zero;
  }
}

TEST(FirstPositiveZero, TripleZero) {
  // Measured: 2.1e-6, of the cube root of the rounding of its coefficients.
  EXPECT_NEAR(firstPositiveZero(withZeros({1.5, 1.5, 1.5})), 1.5, 2e-5);
}

TEST(FirstPositiveZero, AnyScale) {
  for (const double scale : {1e-30, 1e-9, 1e-3, 1e3, 1e9, 1e30}) {
    // Measured: 1.3e-15 of the scale.
    EXPECT_NEAR(firstPositiveZero(withZeros({3 * scale, -scale, 2 * scale, 1e4 * scale})),
                2 * scale, 1e-14 * scale);
    // The zero is a million times as far away as the largest coefficient suggests.
    EXPECT_NEAR(firstPositiveZero(withZeros({-scale, 1e6 * scale})), 1e6 * scale, 1e-8 * scale);
  }
  EXPECT_DOUBLE_EQ(firstPositiveZero({1, 0, 0, 0, 0, 0, -1e-42}), 1e7);
}

TEST(FirstPositiveZero, BeyondEveryScaleItCountsAsTheEnd) {
  const double end = firstPositiveZero({1, 1, 0, 0, 0, 0, -1e-300});
  EXPECT_GE(end, 1e39);
  EXPECT_LE(end, 1e60);
}

TEST(FirstPositiveZero, RandomPolynomials) {
  std::mt19937_64 random(20);
  std::uniform_real_distribution<double> coefficient(-3, 3);
  int with_zero = 0;
  for (int trial = 0; trial < 20000; ++trial) {
    Sextic c{1};
    for (std::size_t i = 1; i < 7; ++i) c[i] = coefficient(random);
    const double zero = firstPositiveZero(c);
    // No sign change before it, and one just there.
    const double end = std::min(zero, 50.0);
    for (int i = 0; i < 500; ++i) {
      const double s = end * i / 500;
      ASSERT_GT(evaluate(c, s), 0) << "at " << s << " before " << zero;
    }
    if (std::isinf(zero)) continue;
    ++with_zero;
    EXPECT_GE(evaluate(c, zero * (1 - 1e-9)), 0);
    EXPECT_LE(evaluate(c, zero * (1 + 1e-9)), 0);
  }
  EXPECT_GT(with_zero, 10000);
  EXPECT_LT(with_zero, 19000);
}

TEST(FirstPositiveZeroOfDegree13, NoneWhereThereIsNone) {
  EXPECT_EQ(firstPositiveZero(Degree13{1}), kInfinity);
  EXPECT_EQ(firstPositiveZero(
                withZeros<Degree13>({-1, -2, -3, -4, -5, -6, -7, -8, -9, -10, -11, -12, -13})),
            kInfinity);
  // 1 - 1.9 s + s^2 stays above 0.0975; so does its product with 1 + s^11.
  Degree13 c{1, -1.9, 1};
  c[11] = 1;
  c[12] = -1.9;
  c[13] = 1;
  EXPECT_EQ(firstPositiveZero(c), kInfinity);
}

TEST(FirstPositiveZeroOfDegree13, TheSmallestOfSeveral) {
  // Measured: 0, 6e-17 and 3e-15; the coefficients of the last cancel.
  EXPECT_DOUBLE_EQ(firstPositiveZero(withZeros<Degree13>({2})), 2);
  EXPECT_NEAR(firstPositiveZero(withZeros<Degree13>({5, 0.5, -1, 7})), 0.5, 1e-14);
  EXPECT_NEAR(
      firstPositiveZero(withZeros<Degree13>({2, 3, -4, 5, -6, 7, -8, 9, -10, 11, -12, 13, -14})), 2,
      1e-12);
  // The leading power alone.
  Degree13 last{1};
  last[13] = -8192;
  EXPECT_DOUBLE_EQ(firstPositiveZero(last), 0.5);
}

TEST(FirstPositiveZeroOfDegree13, AnyScale) {
  for (const double scale : {1e-15, 1e-6, 1e6, 1e15}) {
    // Measured: 4.4e-16 of the zero.
    EXPECT_NEAR(firstPositiveZero(withZeros<Degree13>({3 * scale, -scale, 2 * scale, 50 * scale})),
                2 * scale, 1e-13 * scale);
  }
}

TEST(FirstPositiveZeroOfDegree13, ThatOfASexticIsTheSame) {
  std::mt19937_64 random(24);
  std::uniform_real_distribution<double> coefficient(-3, 3);
  for (int trial = 0; trial < 2000; ++trial) {
    Sextic c{1};
    Degree13 padded{1};
    for (std::size_t i = 1; i < 7; ++i) padded[i] = c[i] = coefficient(random);
    const double zero = firstPositiveZero(c);
    const double found = firstPositiveZero(padded);
    if (std::isinf(zero)) {
      EXPECT_EQ(found, zero);
    } else {
      // Measured: 0.
      EXPECT_NEAR(found, zero, 1e-12 * zero) << trial;
    }
  }
}

TEST(FirstPositiveZeroOfDegree13, RandomPolynomials) {
  std::mt19937_64 random(25);
  std::uniform_real_distribution<double> coefficient(-3, 3);
  int with_zero = 0;
  for (int trial = 0; trial < 10000; ++trial) {
    Degree13 c{1};
    for (std::size_t i = 1; i < c.size(); ++i) c[i] = coefficient(random);
    const double zero = firstPositiveZero(c);
    // No sign change before it, and one just there.
    const double end = std::min(zero, 20.0);
    for (int i = 0; i < 500; ++i) {
      const double s = end * i / 500;
      ASSERT_GT(evaluate(c, s), 0) << "at " << s << " before " << zero;
    }
    if (std::isinf(zero)) continue;
    ++with_zero;
    EXPECT_GE(evaluate(c, zero * (1 - 1e-9)), 0);
    EXPECT_LE(evaluate(c, zero * (1 + 1e-9)), 0);
  }
  EXPECT_GT(with_zero, 5000);
  EXPECT_LT(with_zero, 9900);
}

TEST(BernsteinPositive, DecidesUpToTheVeryEnd) {
  // 1 - s is positive before 1 only.
  EXPECT_TRUE(bernsteinPositive({1, -1}, 1 - 1e-12));
  EXPECT_FALSE(bernsteinPositive({1, -1}, 1 + 1e-12));
  EXPECT_FALSE(bernsteinPositive({1, -1}, 2));
  EXPECT_TRUE(bernsteinPositive({1, -0.9, 0.5}, 1.5));
  EXPECT_TRUE(bernsteinPositive({1}, 1e40));
}

TEST(BernsteinPositive, NeedsFiniteTerms) {
  EXPECT_FALSE(bernsteinPositive({1, 0, 0, 0, 0, 0, -1}, 1e60));
  EXPECT_FALSE(bernsteinPositive({1, std::nan("")}, 0.1));
}

TEST(BernsteinPositive, NeverTrueWithAZeroInside) {
  std::mt19937_64 random(21);
  std::uniform_real_distribution<double> coefficient(-3, 3);
  int decided = 0;
  int positive = 0;
  for (int trial = 0; trial < 20000; ++trial) {
    Sextic c{1};
    for (std::size_t i = 1; i < 7; ++i) c[i] = coefficient(random);
    bool is_positive = true;
    for (int i = 0; i <= 200; ++i) is_positive = is_positive && evaluate(c, 0.8 * i / 200) > 0;
    const bool surely = bernsteinPositive(c, 0.8);
    EXPECT_FALSE(surely && !is_positive);
    decided += surely ? 1 : 0;
    positive += is_positive ? 1 : 0;
  }
  // Measured: 12868 of 13166.
  EXPECT_GT(decided, positive * 9 / 10);
}

}  // namespace
}  // namespace norv::internal

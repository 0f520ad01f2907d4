#include "support/auto_diff.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "testing/numeric_derivative.h"

namespace norv::autodiff {
namespace {

using testing::numericDerivative;

template <class Dual>
struct DualTraits;
template <class T, std::size_t N>
struct DualTraits<AutoDiff1<T, N>> {
  using Scalar = T;
  static constexpr std::size_t kCount = N;
};

template <class Dual>
class AutoDiffTest : public ::testing::Test {
 public:
  using T = typename DualTraits<Dual>::Scalar;
  static constexpr std::size_t kCount = DualTraits<Dual>::kCount;

  /// A number that depends on every variable.
  static Dual dense(T value, T seed) {
    Dual x(value);
    for (std::size_t i = 0; i < kCount; ++i) {
      x.derivatives[i] = seed * static_cast<T>(i + 1) - T(1.5);
    }
    return x;
  }

  /// Compares f at a dual number with f on plain numbers: its value exactly, its derivatives with
  /// differences of the plain function.
  template <class Function>
  void expectMatchesDifferences(const Function& f, T at, const std::string& name) {
    const Dual x = dense(at, T(0.75));
    const Dual y = f(x);
    EXPECT_EQ(y.value, f(at)) << name;
    const T slope = numericDerivative<T>(f, at);
    // Measured: at most 16 of these units, where the function bends most.
    const T tolerance = std::cbrt(std::numeric_limits<T>::epsilon()) *
                        std::cbrt(std::numeric_limits<T>::epsilon()) * T(40);
    for (std::size_t i = 0; i < kCount; ++i) {
      const T expected = slope * x.derivatives[i];
      EXPECT_NEAR(y.derivatives[i], expected, tolerance * (1 + std::fabs(expected)))
          << name << " at " << at << ", variable " << i;
    }
  }
};

using Duals = ::testing::Types<AutoDiff1<double, 1>, AutoDiff1<double, 2>, AutoDiff1<double, 20>,
                               AutoDiff1<float, 1>, AutoDiff1<float, 2>, AutoDiff1<float, 20>>;
TYPED_TEST_SUITE(AutoDiffTest, Duals);

TYPED_TEST(AutoDiffTest, HoldsOneMoreScalarThanItHasVariables) {
  using Real = typename TestFixture::T;
  EXPECT_EQ(sizeof(TypeParam), (TestFixture::kCount + 1) * sizeof(Real));
  EXPECT_EQ(alignof(TypeParam), alignof(Real));
  EXPECT_EQ(offsetof(TypeParam, value), 0U);
  EXPECT_TRUE(std::is_trivially_copyable_v<TypeParam>);
}

TYPED_TEST(AutoDiffTest, DefaultIsAllZero) {
  // On memory that held something else.
  std::vector<unsigned char> memory(sizeof(TypeParam) + alignof(TypeParam), 0xff);
  alignas(TypeParam) unsigned char place[sizeof(TypeParam)];
  std::copy(memory.begin(), memory.begin() + sizeof(place), place);
  const auto* x = new (place) TypeParam;
  EXPECT_EQ(x->value, 0);
  for (const auto d : x->derivatives) EXPECT_EQ(d, 0);
}

TYPED_TEST(AutoDiffTest, ConstantsHaveZeroDerivatives) {
  for (const TypeParam& x : {TypeParam(2.5), TypeParam(2.5F)}) {
    EXPECT_EQ(x.value, 2.5);
    for (const auto d : x.derivatives) EXPECT_EQ(d, 0);
  }
  EXPECT_EQ(TypeParam(3).value, 3);
}

TYPED_TEST(AutoDiffTest, VariableHasUnitDerivative) {
  const std::size_t last = TestFixture::kCount - 1;
  const TypeParam x = TypeParam::variable(4, last);
  EXPECT_EQ(x.value, 4);
  for (std::size_t i = 0; i <= last; ++i) EXPECT_EQ(x.derivatives[i], i == last ? 1 : 0);
}

TYPED_TEST(AutoDiffTest, FunctionsMatchDifferences) {
  using Real = typename TestFixture::T;
  const auto check = [this](const auto& f, const char* name, const std::vector<double>& points) {
    for (const double at : points) this->expectMatchesDifferences(f, static_cast<Real>(at), name);
  };
  using std::abs, std::atan2, std::cos, std::exp, std::log, std::pow, std::sin, std::sqrt, std::tan;
  check([](auto x) { return sin(x); }, "sin", {-3, -0.5, 0, 1, 2.5});
  check([](auto x) { return cos(x); }, "cos", {-3, -0.5, 0, 1, 2.5});
  check([](auto x) { return tan(x); }, "tan", {-1, -0.5, 0, 0.75});
  check([](auto x) { return sqrt(x); }, "sqrt", {0.25, 1, 3});
  check([](auto x) { return exp(x); }, "exp", {-2, 0, 1});
  check([](auto x) { return log(x); }, "log", {0.25, 1, 3});
  check([](auto x) { return abs(x); }, "abs", {-2, 3});
  check([](auto x) { return pow(x, Real(2.5)); }, "pow(x, c)", {0.5, 1, 2});
  check([](auto x) { return pow(x, Real(3)); }, "pow(x, 3)", {-2, -0.5, 1});
  check([](auto x) { return pow(Real(2.5), x); }, "pow(c, x)", {-1, 0, 1.5});
  check([](auto x) { return pow(x, x); }, "pow(x, x)", {0.5, 1, 2});
  check([](auto x) { return atan2(x, x * x - Real(2)); }, "atan2", {-2.5, -0.5, 0.5, 3});
  check([](auto x) { return Real(1) / x; }, "c / x", {-2, 0.5, 3});
  check([](auto x) { return x / Real(3); }, "x / c", {-2, 0.5, 3});
  check([](auto x) { return (x + Real(1)) / (x * x + Real(2)); }, "x / x", {-2, 0, 3});
  check([](auto x) { return (Real(2) - x) * (x - Real(3)) * Real(4) * (Real(5) * x); }, "products",
        {-1, 2});
  check([](auto x) { return -x + (Real(1) + x) - (+x) + (x + Real(2)); }, "sums", {-1, 2});
}

TYPED_TEST(AutoDiffTest, CompoundFormsAgreeWithPlainOnes) {
  using Real = typename TestFixture::T;
  const TypeParam a = TestFixture::dense(Real(1.25), Real(0.5));
  const TypeParam b = TestFixture::dense(Real(-2.5), Real(0.25));
  const auto expectSame = [](const TypeParam& got, const TypeParam& want) {
    EXPECT_EQ(got.value, want.value);
    EXPECT_EQ(got.derivatives, want.derivatives);
  };
  TypeParam x = a;
  expectSame(x += b, a + b);
  x = a;
  expectSame(x -= b, a - b);
  x = a;
  expectSame(x *= b, a * b);
  x = a;
  expectSame(x /= b, a / b);
  x = a;
  expectSame(x += Real(3), a + Real(3));
  x = a;
  expectSame(x -= Real(3), a - Real(3));
  x = a;
  expectSame(x *= Real(3), a * Real(3));
  x = a;
  expectSame(x /= Real(3), a / Real(3));
  // With itself, where the operand changes underway.
  x = a;
  expectSame(x *= x, a * a);
  x = a;
  expectSame(x /= x, a / a);
  x = a;
  expectSame(x -= x, a - a);
}

TYPED_TEST(AutoDiffTest, PlainNumbersCountAsConstants) {
  using Real = typename TestFixture::T;
  const TypeParam a = TestFixture::dense(Real(1.25), Real(0.5));
  const TypeParam two(2);
  const auto expectSame = [](const TypeParam& got, const TypeParam& want) {
    EXPECT_EQ(got.value, want.value);
    for (std::size_t i = 0; i < got.derivatives.size(); ++i) {
      // Measured: equal but for the quotient c / x, which differs by one rounding.
      EXPECT_NEAR(got.derivatives[i], want.derivatives[i],
                  2 * std::numeric_limits<Real>::epsilon() * std::fabs(want.derivatives[i]));
    }
  };
  expectSame(a + 2, a + two);
  expectSame(2 + a, two + a);
  expectSame(a - 2, a - two);
  expectSame(2 - a, two - a);
  expectSame(a * 2, a * two);
  expectSame(2 * a, two * a);
  expectSame(a / 2, a / two);
  expectSame(2 / a, two / a);
  expectSame(a * 2.0F, a * two);
  expectSame(a * 2.0, a * two);
}

TYPED_TEST(AutoDiffTest, ComparesByValueAlone) {
  using Real = typename TestFixture::T;
  const TypeParam a = TestFixture::dense(Real(1), Real(0.5));
  const TypeParam same = TestFixture::dense(Real(1), Real(7));
  const TypeParam more = TestFixture::dense(Real(2), Real(0.5));
  EXPECT_TRUE(a == same);
  EXPECT_FALSE(a != same);
  EXPECT_FALSE(a == more);
  EXPECT_TRUE(a != more);
  EXPECT_TRUE(a < more);
  EXPECT_FALSE(more < a);
  EXPECT_FALSE(a < same);
  EXPECT_TRUE(a <= same);
  EXPECT_FALSE(more <= a);
  EXPECT_TRUE(more > a);
  EXPECT_FALSE(a > same);
  EXPECT_TRUE(a >= same);
  EXPECT_FALSE(a >= more);
  EXPECT_TRUE(a == 1);
  EXPECT_TRUE(0.5 < a);
  EXPECT_TRUE(a > 0.5F);
  const TypeParam nan(std::numeric_limits<Real>::quiet_NaN());
  EXPECT_FALSE(nan == nan);
  EXPECT_FALSE(nan < a || nan > a || nan <= a || nan >= a);
  EXPECT_TRUE(nan != a);
}

TYPED_TEST(AutoDiffTest, Identities) {
  using Real = typename TestFixture::T;
  const Real tolerance =
      std::numeric_limits<Real>::epsilon() * Real(100);  // measured: at most 30 epsilons
  const auto expectNear = [&](const TypeParam& got, const TypeParam& want, const char* name) {
    EXPECT_NEAR(got.value, want.value, tolerance * (1 + std::fabs(want.value))) << name;
    for (std::size_t i = 0; i < TestFixture::kCount; ++i) {
      EXPECT_NEAR(got.derivatives[i], want.derivatives[i],
                  tolerance * (1 + std::fabs(want.derivatives[i])))
          << name << ", variable " << i;
    }
  };
  std::mt19937_64 random(20240611);
  std::uniform_real_distribution<Real> positive(Real(0.2), Real(1.4));
  for (int trial = 0; trial < 100; ++trial) {
    const TypeParam x = TestFixture::dense(positive(random), positive(random));
    const TypeParam y = TestFixture::dense(positive(random), -positive(random));
    const auto [s, c] = sinCos(x);
    expectNear(s, sin(x), "sinCos, sine");
    expectNear(c, cos(x), "sinCos, cosine");
    expectNear(s * s + c * c, TypeParam(1), "sin^2 + cos^2");
    expectNear(s / c, tan(x), "sin / cos");
    expectNear(atan2(s, c), x, "atan2(sin, cos)");
    expectNear(sqrt(x) * sqrt(x), x, "sqrt^2");
    expectNear(exp(log(x)), x, "exp(log)");
    expectNear(pow(x, y), exp(y * log(x)), "pow");
    expectNear((x / y) * y, x, "quotient");
    expectNear((x + y) * (x - y), x * x - y * y, "difference of squares");
    expectNear(x * y - y * x, TypeParam(0), "commutes");
  }
}

TYPED_TEST(AutoDiffTest, FiniteOnlyIfEverythingIs) {
  using Real = typename TestFixture::T;
  const Real infinity = std::numeric_limits<Real>::infinity();
  TypeParam x = TestFixture::dense(Real(1), Real(0.5));
  EXPECT_TRUE(isfinite(x));
  x.derivatives[TestFixture::kCount - 1] = std::numeric_limits<Real>::quiet_NaN();
  EXPECT_FALSE(isfinite(x));
  EXPECT_FALSE(isfinite(TypeParam(infinity)));
  EXPECT_FALSE(isfinite(TypeParam(-infinity)));
}

TEST(AutoDiff, ProductOfConstantAndVariable) {
  const AutoDiff1<double, 2> pan(0.3, {1, 0});
  const AutoDiff1<double, 2> product = 2.5 * pan;
  EXPECT_EQ(product.value, 0.75);
  EXPECT_EQ(product.derivatives[0], 2.5);
  EXPECT_EQ(product.derivatives[1], 0);
}

TEST(AutoDiff, SineAndCosineAtZero) {
  const AutoDiff1<double, 2> x(0, {1, 0});
  EXPECT_EQ(cos(x).value, 1);
  EXPECT_EQ(cos(x).derivatives[0], 0);
  EXPECT_EQ(cos(x).derivatives[1], 0);
  EXPECT_EQ(sin(x).value, 0);
  EXPECT_EQ(sin(x).derivatives[0], 1);
  EXPECT_EQ(sin(x).derivatives[1], 0);
}

TEST(AutoDiff, ProductRuleIsExact) {
  const AutoDiff1<double, 2> a(3, {5, 7});
  const AutoDiff1<double, 2> b(11, {13, 17});
  const AutoDiff1<double, 2> product = a * b;
  EXPECT_EQ(product.value, 33);
  EXPECT_EQ(product.derivatives[0], 3 * 13 + 11 * 5);
  EXPECT_EQ(product.derivatives[1], 3 * 17 + 11 * 7);
}

TEST(AutoDiff, NegationFlipsEverything) {
  const AutoDiff1<double, 2> x = -AutoDiff1<double, 2>(3, {5, -7});
  EXPECT_EQ(x.value, -3);
  EXPECT_EQ(x.derivatives[0], -5);
  EXPECT_EQ(x.derivatives[1], 7);
}

TEST(AutoDiff, ZeroDerivativesSurviveInfiniteSlopes) {
  using Dual = AutoDiff1<double, 2>;
  const Dual x(0, {1, 0});
  EXPECT_EQ(sqrt(x).derivatives[0], std::numeric_limits<double>::infinity());
  EXPECT_EQ(sqrt(x).derivatives[1], 0);
  EXPECT_EQ(pow(x, 0.5).derivatives[1], 0);
  EXPECT_EQ(pow(x, 0.0).value, 1);
  EXPECT_EQ(pow(x, 0.0).derivatives[0], 0);
  EXPECT_EQ(pow(x, 1.0).derivatives[0], 1);
  // A negative base with a constant exponent, given as a dual number without derivatives.
  EXPECT_EQ(pow(Dual(-2, {1, 0}), Dual(2)).value, 4);
  EXPECT_EQ(pow(Dual(-2, {1, 0}), Dual(2)).derivatives[0], -4);
  // A zero base with a variable exponent: 0^p is 0 around p = 2.
  EXPECT_EQ(pow(0.0, Dual(2, {1, 0})).derivatives[0], 0);
}

TEST(AutoDiff, AbsoluteValueAtZeroRises) {
  EXPECT_EQ(abs(AutoDiff1<double, 1>(0, {1})).derivatives[0], 1);
  // Of the negative zero too, whose absolute value is the positive one.
  EXPECT_EQ(abs(AutoDiff1<double, 1>(-0.0, {1})).derivatives[0], 1);
  EXPECT_FALSE(std::signbit(abs(AutoDiff1<double, 1>(-0.0, {1})).value));
}

constexpr double thirdPowerSlope(double at) {
  AutoDiff1<double, 1> x = AutoDiff1<double, 1>::variable(at, 0);
  x *= x * x;
  x += 1.0;
  x /= 1.0;
  return (abs(x) - 1.0).derivatives[0];
}

TEST(AutoDiff, ArithmeticIsConstant) {
  static_assert(thirdPowerSlope(2) == 12);
  static_assert(AutoDiff1<double, 2>(1) < 2.0 && -AutoDiff1<double, 2>(1) / 2.0 == -0.5);
  EXPECT_EQ(thirdPowerSlope(-1), 3);
}

}  // namespace
}  // namespace norv::autodiff

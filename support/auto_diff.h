#pragma once

/// Forward-mode automatic differentiation: numbers that carry the derivatives of what they were
/// computed from. (Griewank and Walther, Evaluating Derivatives, 2nd ed., SIAM 2008, chapter 3.)
/// As elements of Eigen matrices they need support/auto_diff_eigen.h.
/// Conventions: docs/conventions.md.

#include <array>
#include <cmath>
#include <cstddef>
#include <type_traits>

namespace norv::autodiff {

/// What `sinCos` gives.
template <class Number>
struct SineAndCosine {
  Number sine;
  Number cosine;
};

/// A value together with its partial derivatives with respect to N independent variables.
///
/// A plain value of N + 1 scalars without heap storage. Plain numbers mix with it in every
/// operation and count as constants. Comparisons look at the value alone. Where a function has no
/// finite derivative (sqrt and log at 0, atan2 at the origin), the derivatives come out infinite or
/// NaN; those that are zero in the argument of sqrt and pow stay zero.
template <class T, std::size_t N>
struct AutoDiff1 {
  static_assert(std::is_floating_point_v<T>, "derivatives need a floating-point type");

  using Derivatives = std::array<T, N>;

  T value{};                  ///< the function's value
  Derivatives derivatives{};  ///< its derivative with respect to each variable

  /// Zero, a constant.
  constexpr AutoDiff1() = default;

  /// A constant. Implicit, so that plain numbers can stand wherever a dual number can.
  template <class Constant, class = std::enable_if_t<std::is_arithmetic_v<Constant>>>
  constexpr AutoDiff1(Constant constant) : value(static_cast<T>(constant)) {}

  /// A value with its derivatives. The i-th variable itself has the i-th unit vector.
  constexpr AutoDiff1(T v, const Derivatives& d) : value(v), derivatives(d) {}

  /// The variable `index` at `v`: its derivative with respect to itself is 1.
  static constexpr AutoDiff1 variable(T v, std::size_t index) {
    AutoDiff1 x(v);
    x.derivatives[index] = T(1);
    return x;
  }

  constexpr AutoDiff1& operator+=(const AutoDiff1& b) { return *this = *this + b; }
  constexpr AutoDiff1& operator-=(const AutoDiff1& b) { return *this = *this - b; }
  constexpr AutoDiff1& operator*=(const AutoDiff1& b) { return *this = *this * b; }
  constexpr AutoDiff1& operator/=(const AutoDiff1& b) { return *this = *this / b; }

  constexpr AutoDiff1& operator+=(T b) { return value += b, *this; }
  constexpr AutoDiff1& operator-=(T b) { return value -= b, *this; }
  constexpr AutoDiff1& operator*=(T b) { return *this = *this * b; }
  constexpr AutoDiff1& operator/=(T b) { return *this = *this / b; }

  friend constexpr AutoDiff1 operator+(const AutoDiff1& a) { return a; }
  friend constexpr AutoDiff1 operator-(const AutoDiff1& a) { return chain(a, -a.value, T(-1)); }

  friend constexpr AutoDiff1 operator+(const AutoDiff1& a, const AutoDiff1& b) {
    return make(a.value + b.value,
                [&](std::size_t i) { return a.derivatives[i] + b.derivatives[i]; });
  }
  friend constexpr AutoDiff1 operator+(AutoDiff1 a, T b) { return a += b; }
  friend constexpr AutoDiff1 operator+(T a, AutoDiff1 b) { return b += a; }

  friend constexpr AutoDiff1 operator-(const AutoDiff1& a, const AutoDiff1& b) {
    return make(a.value - b.value,
                [&](std::size_t i) { return a.derivatives[i] - b.derivatives[i]; });
  }
  friend constexpr AutoDiff1 operator-(AutoDiff1 a, T b) { return a -= b; }
  friend constexpr AutoDiff1 operator-(T a, const AutoDiff1& b) {
    return chain(b, a - b.value, T(-1));
  }

  friend constexpr AutoDiff1 operator*(const AutoDiff1& a, const AutoDiff1& b) {
    return chain(a, b.value, b, a.value, a.value * b.value);
  }
  friend constexpr AutoDiff1 operator*(const AutoDiff1& a, T b) { return chain(a, a.value * b, b); }
  friend constexpr AutoDiff1 operator*(T a, const AutoDiff1& b) { return chain(b, a * b.value, a); }

  friend constexpr AutoDiff1 operator/(const AutoDiff1& a, const AutoDiff1& b) {
    const T quotient = a.value / b.value;
    return make(quotient, [&](std::size_t i) {
      return (a.derivatives[i] - quotient * b.derivatives[i]) / b.value;
    });
  }
  friend constexpr AutoDiff1 operator/(const AutoDiff1& a, T b) {
    return make(a.value / b, [&](std::size_t i) { return a.derivatives[i] / b; });
  }
  friend constexpr AutoDiff1 operator/(T a, const AutoDiff1& b) {
    const T quotient = a / b.value;
    return chain(b, quotient, -quotient / b.value);
  }

  friend constexpr bool operator==(const AutoDiff1& a, const AutoDiff1& b) {
    return a.value == b.value;
  }
  friend constexpr bool operator!=(const AutoDiff1& a, const AutoDiff1& b) {
    return a.value != b.value;
  }
  friend constexpr bool operator<(const AutoDiff1& a, const AutoDiff1& b) {
    return a.value < b.value;
  }
  friend constexpr bool operator<=(const AutoDiff1& a, const AutoDiff1& b) {
    return a.value <= b.value;
  }
  friend constexpr bool operator>(const AutoDiff1& a, const AutoDiff1& b) {
    return a.value > b.value;
  }
  friend constexpr bool operator>=(const AutoDiff1& a, const AutoDiff1& b) {
    return a.value >= b.value;
  }

  /// The sine and the cosine from one evaluation of both: `const auto [s, c] = sinCos(x);`
  friend SineAndCosine<AutoDiff1> sinCos(const AutoDiff1& x) {
    T s;
    T c;
    sinCosOf(x.value, &s, &c);
    return {chain(x, s, c), chain(x, c, -s)};
  }

  friend AutoDiff1 sin(const AutoDiff1& x) {
    T s;
    T c;
    sinCosOf(x.value, &s, &c);
    return chain(x, s, c);
  }
  friend AutoDiff1 cos(const AutoDiff1& x) {
    T s;
    T c;
    sinCosOf(x.value, &s, &c);
    return chain(x, c, -s);
  }
  friend AutoDiff1 tan(const AutoDiff1& x) {
    const T t = std::tan(x.value);
    return chain(x, t, T(1) + t * t);
  }

  /// Angle of the point (x, y), with both coordinates dual.
  friend AutoDiff1 atan2(const AutoDiff1& y, const AutoDiff1& x) {
    const T r2 = x.value * x.value + y.value * y.value;
    return chain(y, x.value / r2, x, -y.value / r2, std::atan2(y.value, x.value));
  }

  friend AutoDiff1 sqrt(const AutoDiff1& x) {
    const T root = std::sqrt(x.value);
    return chainKeepingZeros(x, root, T(0.5) / root);
  }
  friend AutoDiff1 exp(const AutoDiff1& x) {
    const T e = std::exp(x.value);
    return chain(x, e, e);
  }
  friend AutoDiff1 log(const AutoDiff1& x) { return chain(x, std::log(x.value), T(1) / x.value); }

  friend AutoDiff1 pow(const AutoDiff1& x, T exponent) {
    const T slope = exponent == T(0) ? T(0) : exponent * std::pow(x.value, exponent - T(1));
    return chainKeepingZeros(x, std::pow(x.value, exponent), slope);
  }
  friend AutoDiff1 pow(T base, const AutoDiff1& exponent) {
    const T power = std::pow(base, exponent.value);
    return chainKeepingZeros(exponent, power, slopeInExponent(base, exponent.value, power));
  }
  friend AutoDiff1 pow(const AutoDiff1& x, const AutoDiff1& exponent) {
    AutoDiff1 result = pow(x, exponent.value);
    const T slope = slopeInExponent(x.value, exponent.value, result.value);
    result.derivatives = (result + chainKeepingZeros(exponent, T(0), slope)).derivatives;
    return result;
  }

  /// At 0 the derivative is taken from the right. (Adding 0 turns -0 into 0 and nothing else.)
  friend constexpr AutoDiff1 abs(const AutoDiff1& x) { return x.value < T(0) ? -x : x + T(0); }

  /// Whether the value and all derivatives are finite.
  friend bool isfinite(const AutoDiff1& x) {
    bool finite = std::isfinite(x.value);
    for (const T& d : x.derivatives) finite = finite && std::isfinite(d);
    return finite;
  }

 private:
  /// A value with its derivatives by a function of their index. Unrolled, the zeros that they begin
  /// with vanish and pairs of them are computed together (4 times as fast for 20 derivatives).
  template <class Derivative>
  static constexpr AutoDiff1 make(T value, const Derivative& derivative) {
    AutoDiff1 result(value);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // minutes to compile
#pragma GCC unroll 32
#endif
    for (std::size_t i = 0; i < N; ++i) result.derivatives[i] = derivative(i);
    return result;
  }

  /// f(x) from its value and its slope at x.
  static constexpr AutoDiff1 chain(const AutoDiff1& x, T value, T slope) {
    return make(value, [&](std::size_t i) { return slope * x.derivatives[i]; });
  }

  /// f(x, y) from its slopes in x and y and its value.
  static constexpr AutoDiff1 chain(const AutoDiff1& x, T slope_x, const AutoDiff1& y, T slope_y,
                                   T value) {
    return make(value, [&](std::size_t i) {
      return slope_y * y.derivatives[i] + slope_x * x.derivatives[i];
    });
  }

  /// The same as the first, with 0 times an infinite or undefined slope taken as 0.
  static constexpr AutoDiff1 chainKeepingZeros(const AutoDiff1& x, T value, T slope) {
    return make(value, [&](std::size_t i) {
      const T dx = x.derivatives[i];
      return dx == T(0) ? T(0) : slope * dx;
    });
  }

  /// d(base^exponent)/d(exponent); its limit 0 at base 0.
  static T slopeInExponent(T base, T exponent, T power) {
    return base == T(0) && exponent > T(0) ? T(0) : power * std::log(base);
  }

  static void sinCosOf(T x, T* sine, T* cosine) {
    if constexpr (std::is_same_v<T, double>) {
      ::sincos(x, sine, cosine);
    } else if constexpr (std::is_same_v<T, float>) {
      ::sincosf(x, sine, cosine);
    } else {
      ::sincosl(x, sine, cosine);
    }
  }
};

}  // namespace norv::autodiff

#include "support/numeric/polynomial_zero.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "support/numeric/bracketed_newton.h"
#include "support/numeric/infinity.h"

namespace norv::internal {
namespace {

/// 1 over (n choose i), with n = kCount - 1, at index i.
template <std::size_t kCount>
constexpr Polynomial<kCount> oneOverBinomials() {
  Polynomial<kCount> result{};
  double binomial = 1;
  for (std::size_t i = 0; i < kCount; ++i) {
    result[i] = 1 / binomial;
    binomial = binomial * static_cast<double>(kCount - 1 - i) / static_cast<double>(i + 1);
  }
  return result;
}

template <std::size_t kCount>
constexpr Polynomial<kCount> kOneOverBinomial = oneOverBinomials<kCount>();

/// A piece of a polynomial in the Bernstein basis of [begin, end]. The number of zeros inside is at
/// most the number of sign changes among the coefficients, and of the same parity. (Farouki, The
/// Bernstein polynomial basis: a centennial retrospective, CAGD 29, 2012.)
template <std::size_t kCount>
struct BernsteinPiece {
  Polynomial<kCount> coefficients;
  double begin;
  double end;

  int signChanges() const {
    int changes = 0;
    bool negative = false;
    for (const double c : coefficients) {
      if (c != 0 && (c < 0) != negative) {
        negative = !negative;
        ++changes;
      }
    }
    return changes;
  }

  /// Cuts itself down to the right half and returns the left one (de Casteljau).
  BernsteinPiece splitLeft() {
    BernsteinPiece left = *this;
    left.end = begin = 0.5 * (begin + end);
    for (std::size_t level = 1; level < kCount; ++level) {
      for (std::size_t i = 0; i + level < kCount; ++i) {
        coefficients[i] = 0.5 * (coefficients[i] + coefficients[i + 1]);
      }
      left.coefficients[level] = coefficients[0];
    }
    return left;
  }
};

struct Bracket {
  double begin;
  double end;
};

/// An interval that holds the first zero and no other, or that is too short to divide further; an
/// empty one at infinity when there is no zero. The value at the piece's begin is positive.
template <std::size_t kCount>
Bracket isolateFirstZero(BernsteinPiece<kCount> piece, int divisions) {
  const int changes = piece.signChanges();
  if (changes == 0) return {kInfinity, kInfinity};
  if (changes == 1 || divisions == 0) return {piece.begin, piece.end};
  const BernsteinPiece<kCount> left = piece.splitLeft();
  const Bracket first = isolateFirstZero(left, divisions - 1);
  return std::isfinite(first.begin) ? first : isolateFirstZero(piece, divisions - 1);
}

template <std::size_t kCount>
ValueAndSlope evaluate(const Polynomial<kCount>& c, double s) {
  double value = c[kCount - 1];
  double slope = 0;
  for (std::size_t i = kCount - 1; i-- > 0;) {
    slope = value + s * slope;
    value = c[i] + s * value;
  }
  return {value, slope};
}

/// Exponent e such that with s = 2^e t no coefficient in t exceeds 1.
template <std::size_t kCount>
int scalingExponent(const Polynomial<kCount>& c) {
  int scale = std::numeric_limits<int>::max();
  for (int i = 1; i < static_cast<int>(kCount); ++i) {
    if (c[static_cast<std::size_t>(i)] == 0) continue;
    const int bits = std::ilogb(c[static_cast<std::size_t>(i)]) + 1;  // |c| < 2^bits
    scale = std::min(scale, static_cast<int>(std::floor(-static_cast<double>(bits) / i)));
  }
  return scale;
}

}  // namespace

template <std::size_t kCount>
double firstPositiveZero(const Polynomial<kCount>& polynomial) {
  const auto all = [&](auto holds) {
    return std::all_of(polynomial.begin(), polynomial.end(), holds);
  };
  if (!all([](double c) { return std::isfinite(c); })) return 0;
  if (all([](double c) { return c >= 0; })) return kInfinity;
  const int exponent = scalingExponent(polynomial);
  Polynomial<kCount> scaled;
  // With t = u / (1 - u) and n the degree, (1 - u)^n times the polynomial has the Bernstein
  // coefficients c_i over (n choose i) on 0 <= u <= 1, which is all of 0 <= t.
  BernsteinPiece<kCount> whole{{}, 0, 1};
  for (std::size_t i = 0; i < kCount; ++i) {
    scaled[i] = std::ldexp(polynomial[i], exponent * static_cast<int>(i));
    whole.coefficients[i] = scaled[i] * kOneOverBinomial<kCount>[i];
  }
  const Bracket u = isolateFirstZero(whole, 30);
  if (!std::isfinite(u.begin)) return u.begin;
  const double begin = u.begin / (1 - u.begin);
  double end = u.end < 1 ? u.end / (1 - u.end) : std::max(1.0, 2 * begin);
  // Beyond 1e40 of the scale nothing is looked for: that counts as a zero itself.
  while (u.end == 1 && end < 1e40 && evaluate(scaled, end).value > 0) end *= 2;
  if (!(evaluate(scaled, end).value <= 0)) return std::ldexp(u.end < 1 ? begin : end, exponent);
  const double t = bracketedNewton([&](double at) { return evaluate(scaled, at); }, end, begin,
                                   0.5 * (begin + end));
  return std::ldexp(t, exponent);
}

template double firstPositiveZero(const Sextic& polynomial);
template double firstPositiveZero(const Polynomial<14>& polynomial);

bool bernsteinPositive(const Sextic& polynomial, double end) {
  constexpr std::size_t kDegree = 6;
  Sextic b;
  double power = 1;
  for (std::size_t i = 0; i <= kDegree; ++i, power *= end) {
    b[i] = polynomial[i] * power * kOneOverBinomial<7>[i];
  }
  for (std::size_t level = 1; level <= kDegree; ++level) {
    for (std::size_t i = kDegree; i >= level; --i) b[i] += b[i - 1];
  }
  return std::all_of(b.begin(), b.end(), [](double c) { return c > 0; });
}

}  // namespace norv::internal

#pragma once

/// The eight-coefficient rational lens model, as most vision libraries have it, in normalised image
/// coordinates: a ratio of polynomials for the radial part (after Claus and Fitzgibbon, A rational
/// function lens distortion model for general cameras, CVPR 2005) and Brown's tangential terms
/// (Decentering distortion of lenses, Photogrammetric Engineering 32, 1966).
/// Units, frames, pixel origin: docs/conventions.md.

#include <algorithm>
#include <array>
#include <cstddef>

namespace norv::calibration {

/// A point in normalised image coordinates (x/z, y/z).
template <class T>
struct NormalizedPoint {
  T x;
  T y;
};

/// Numerator and denominator of a lens' radial factor, with their derivatives by the squared
/// radius.
template <class T>
struct RadialTerms {
  T numerator;
  T denominator;
  T numerator_slope;
  T denominator_slope;
};

/// Coefficients without unit, in the library's storage order: k radial, p tangential. A plain
/// value.
template <class T>
struct LensDistortion {
  T k1{};
  T k2{};
  T p1{};
  T p2{};
  T k3{};
  T k4{};
  T k5{};
  T k6{};

  /// 1 + k1 s + k2 s^2 + k3 s^3, with s the squared radius.
  template <class Squared>
  auto numerator(const Squared& s) const {
    return T(1) + s * (k1 + s * (k2 + s * k3));
  }

  /// 1 + k4 s + k5 s^2 + k6 s^3.
  template <class Squared>
  auto denominator(const Squared& s) const {
    return T(1) + s * (k4 + s * (k5 + s * k6));
  }

  /// Both of them at the squared radius `s`, with the slopes k1 + 2 k2 s + 3 k3 s^2 and
  /// k4 + 2 k5 s + 3 k6 s^2.
  template <class Squared>
  auto radial(const Squared& s) const {
    return RadialTerms<decltype(k1 * s)>{numerator(s), denominator(s),
                                         k1 + s * (2 * k2 + 3 * s * k3),
                                         k4 + s * (2 * k5 + 3 * s * k6)};
  }

  /// The coefficients in storage order. The inverse is `lensFromCoefficients`.
  std::array<T, 8> toCoefficients() const { return {k1, k2, p1, p2, k3, k4, k5, k6}; }

  /// Where the lens puts the ray through the undistorted point `p`: with s = x^2 + y^2 and g the
  /// numerator over the denominator,
  ///
  ///     x_d = x g + 2 p1 x y + p2 (s + 2 x^2)
  ///     y_d = y g + p1 (s + 2 y^2) + 2 p2 x y
  ///
  /// Nothing is checked: a vanishing denominator gives infinite or NaN coordinates. With dual
  /// coordinates the result carries the Jacobian.
  template <class Coordinate>
  NormalizedPoint<Coordinate> distort(const NormalizedPoint<Coordinate>& p) const {
    const Coordinate s = p.x * p.x + p.y * p.y;
    return distort(p, Coordinate(numerator(s) / denominator(s)));
  }

  /// The same for those who have the radial factor `g` already.
  template <class Coordinate>
  NormalizedPoint<Coordinate> distort(const NormalizedPoint<Coordinate>& p,
                                      const Coordinate& g) const {
    const Coordinate xx = p.x * p.x;
    const Coordinate yy = p.y * p.y;
    const Coordinate xy = p.x * p.y;
    const Coordinate s = xx + yy;
    return {p.x * g + T(2) * p1 * xy + p2 * (s + T(2) * xx),
            p.y * g + p1 * (s + T(2) * yy) + T(2) * p2 * xy};
  }
};

/// The lens stored as k1, k2, p1, p2, k3, k4, k5, k6. Coefficients beyond the first `count` are
/// zero, so that shorter vectors of the same order (4 or 5 coefficients) serve too. The inverse is
/// `toCoefficients`.
template <class T>
LensDistortion<T> lensFromCoefficients(const float* coefficients, std::size_t count) {
  constexpr std::size_t kCount = 8;
  float padded[kCount] = {};
  if (count < kCount) {
    std::copy_n(coefficients, count, padded);
    coefficients = padded;
  }
  const auto at = [=](std::size_t i) { return static_cast<T>(coefficients[i]); };
  return {at(0), at(1), at(2), at(3), at(4), at(5), at(6), at(7)};
}

}  // namespace norv::calibration

#pragma once

/// Lenses that tests run over, and brute-force answers about them.

#include <array>
#include <cmath>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <string_view>

#include "support/lens_distortion.h"

namespace norv::testing {

/// A lens with the radius, in normalised coordinates, out to which tests use it.
struct NamedLens {
  const char* name;
  std::array<float, 8> coefficients;  ///< k1, k2, p1, p2, k3, k4, k5, k6
  double radius;

  calibration::LensDistortion<double> lens() const {
    return calibration::lensFromCoefficients<double>(coefficients.data(), coefficients.size());
  }
  friend std::ostream& operator<<(std::ostream& out, const NamedLens& lens) {
    return out << lens.name;
  }
};

/// One of each kind. Those that fold or have a pole end there: k1 = -0.5 folds at r = sqrt(2 / 3),
/// within the image of any wide camera.
inline constexpr NamedLens kLenses[] = {
    {"none", {}, 2},
    {"mild", {-0.05F, 0.01F, 1e-4F, -2e-4F}, 0.7},
    {"zoom", {-0.28F, 0.11F, 5e-4F, -3e-4F, 0, 0.05F, 0.002F, 0}, 0.6},
    {"pincushion", {0.3F, 0.2F, 1e-3F, 0, 0.05F}, 1.5},
    {"barrel", {-0.3F, 0.1F, 1e-3F, -5e-4F, -0.01F}, 0.8},
    {"folding barrel", {-0.5F}, 0.81649},
    {"stereographic",
     {0.800174F, 0.117548F, 0, 0, 0.001619F, 1.050108F, 0.255504F, 0.011237F},
     5.6},
    {"equidistant", {0.830758F, 0.126584F, 0, 0, 0.001800F, 1.164004F, 0.315184F, 0.015266F}, 5.6},
    {"decentred fisheye",
     {0.830758F, 0.126584F, 1e-3F, -1e-3F, 0.001800F, 1.164004F, 0.315184F, 0.015266F},
     3},
    {"tangential", {-0.1F, 0, 0.02F, -0.05F}, 0.8},
    {"pole", {0.1F, 0, 0, 0, 0, -1, 0, 0}, 0.999},
};

/// The lens of that name in the table.
inline const NamedLens& lensNamed(std::string_view name) {
  for (const NamedLens& lens : kLenses) {
    if (name == lens.name) return lens;
  }
  throw std::invalid_argument("no such lens");
}

/// Radius up to which the radial map rises without a pole, in steps of `step`; infinity when it
/// does so up to `limit`.
inline double bruteForceBranchEnd(const calibration::LensDistortion<double>& lens, double limit,
                                  double step) {
  double last = 0;
  for (double r = step; r < limit; r += step) {
    const double d = lens.denominator(r * r);
    const double distorted = r * lens.numerator(r * r) / d;
    if (!(d > 0) || !(distorted > last)) return r - step;
    last = distorted;
  }
  return std::numeric_limits<double>::infinity();
}

}  // namespace norv::testing

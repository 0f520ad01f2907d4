#include "support/lens/lens_domain.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

#include "support/lens/radial_branch.h"
#include "support/numeric/float_range.h"
#include "support/numeric/polynomial_zero.h"

namespace norv::internal {
namespace {

/// A polynomial in the radius.
using InRadius = Polynomial<14>;

/// `even` in the squared radius less `slope` r times `odd` in the squared radius.
InRadius lessSlopedBy(double slope, const Sextic& even, const Sextic& odd) {
  InRadius result{};
  for (std::size_t i = 0; i < even.size(); ++i) {
    result[2 * i] = even[i];
    result[2 * i + 1] = -slope * odd[i];
  }
  return result;
}

/// Radius up to which both eigenvalues of the radial part's Jacobian, N / D across and F / D^2
/// along the radius, exceed 6 t r, the most that tangential terms with t = hypot(p1, p2) take off.
double certainRadius(const calibration::LensDistortion<double>& l, const RadialBranch& branch,
                     double t) {
  const Sextic numerator{1, l.k1, l.k2, l.k3, 0, 0, 0};
  return std::min(
      firstPositiveZero(lessSlopedBy(6 * t, numerator, branch.denominator())),
      firstPositiveZero(lessSlopedBy(6 * t, branch.slope(), branch.denominatorSquared())));
}

}  // namespace

LensDomain::LensDomain(const calibration::LensDistortion<double>& lens) {
  const std::array<double, 8> all = lens.toCoefficients();
  if (!std::all_of(all.begin(), all.end(), isInFloatRange)) {
    certain = end = std::numeric_limits<double>::quiet_NaN();
    return;
  }
  RadialBranch branch(lens);
  certain = end = branch.end();
  const double tangential = std::hypot(lens.p1, lens.p2);
  if (tangential > 0) {
    const double radius = certainRadius(lens, branch, tangential);
    certain = std::min(end, radius * radius);
  }
}

}  // namespace norv::internal

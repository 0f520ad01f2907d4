#include "interop/fit/first_zero.h"

#include <cmath>
#include <cstddef>
#include <limits>

namespace norv::interop {
namespace {

double valueAt(const std::vector<double>& polynomial, double x) {
  double value = 0;
  for (std::size_t i = polynomial.size(); i-- > 0;) value = value * x + polynomial[i];
  return value;
}

std::vector<double> derivativeOf(const std::vector<double>& polynomial) {
  std::vector<double> derivative;
  for (std::size_t i = 1; i < polynomial.size(); ++i) {
    derivative.push_back(static_cast<double>(i) * polynomial[i]);
  }
  return derivative;
}

/// Where between `a` and `b` the values leave the sign of the one at `a`, from its side.
double bisect(const std::vector<double>& polynomial, double a, double b) {
  const bool is_positive = valueAt(polynomial, a) > 0;
  while (true) {
    const double middle = a + (b - a) / 2;
    if (middle <= a || middle >= b) return a;
    ((valueAt(polynomial, middle) > 0) == is_positive ? a : b) = middle;
  }
}

/// The places within (0, end) at which the polynomial changes its sign, in order. Between those of
/// its derivative it is monotone.
std::vector<double> signChanges(const std::vector<double>& polynomial, double end) {
  if (polynomial.size() < 2) return {};
  std::vector<double> ends = signChanges(derivativeOf(polynomial), end);
  ends.push_back(end);
  std::vector<double> changes;
  double begin = 0;
  for (const double next : ends) {
    if ((valueAt(polynomial, begin) > 0) != (valueAt(polynomial, next) > 0)) {
      changes.push_back(bisect(polynomial, begin, next));
    }
    begin = next;
  }
  return changes;
}

}  // namespace

double firstZero(const std::vector<double>& polynomial, double end) {
  const std::vector<double> changes = signChanges(polynomial, end);
  return changes.empty() ? std::numeric_limits<double>::infinity() : changes.front();
}

}  // namespace norv::interop

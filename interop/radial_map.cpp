#include "interop/radial_map.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "interop/fit/first_zero.h"

namespace norv::interop {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = 3.14159265358979323846;

/// A direction as the point of the unit circle.
struct Direction {
  double sine;
  double cosine;
};

/// sin / denominator, the form that all maps by projection onto a surface have; nothing behind it.
double overDenominator(double sine, double denominator) {
  return denominator > 0 ? sine / denominator : kNaN;
}

/// Whether the weight of a blend of two projections is one.
bool isWeight(double alpha) { return alpha >= 0 && alpha <= 1; }

double kannalaBrandtRadius(const RadialMap& map, double theta) {
  const auto& a = map.parameters;
  const double s = theta * theta;
  return theta * (1 + s * (a[0] + s * (a[1] + s * (a[2] + s * a[3]))));
}

/// With s = theta^2 the slope is 1 + 3 a0 s + 5 a1 s^2 + 7 a2 s^3 + 9 a3 s^4.
double kannalaBrandtEnd(const RadialMap& map) {
  const auto& a = map.parameters;
  const double zero = firstZero({1, 3 * a[0], 5 * a[1], 7 * a[2], 9 * a[3]}, kPi * kPi);
  return std::min(kPi, std::sqrt(zero));
}

double enhancedUnifiedRadius(const RadialMap& map, const Direction& d) {
  const double alpha = map.parameters[0];
  const double beta = map.parameters[1];
  if (!isWeight(alpha) || !(beta > 0)) return kNaN;
  const double rho = std::sqrt(beta * d.sine * d.sine + d.cosine * d.cosine);
  return overDenominator(d.sine, alpha * rho + (1 - alpha) * d.cosine);
}

/// How far cos / rho may fall, rho being the second term of a blend of two projections: at
/// -alpha / (1 - alpha) there is a pole, at -(1 - alpha) / alpha a fold. The absolute value of the
/// one that comes first.
double leastCosine(double alpha) { return std::min(alpha, 1 - alpha) / std::max(alpha, 1 - alpha); }

/// The slope has the sign of alpha cos / rho + 1 - alpha, and the denominator that of alpha +
/// (1 - alpha) cos / rho.
double enhancedUnifiedEnd(const RadialMap& map) {
  const double alpha = map.parameters[0];
  const double beta = map.parameters[1];
  if (!isWeight(alpha) || !(beta > 0)) return 0;
  const double w = leastCosine(alpha);
  return kPi - std::atan2(std::sqrt((1 - w) * (1 + w)), w * std::sqrt(beta));
}

double doubleSphereRadius(const RadialMap& map, const Direction& d) {
  const double xi = map.parameters[0];
  const double alpha = map.parameters[1];
  if (!isWeight(alpha) || !(xi > -1)) return kNaN;
  const double z = xi + d.cosine;
  const double rho = std::sqrt(d.sine * d.sine + z * z);
  return overDenominator(d.sine, alpha * rho + (1 - alpha) * z);
}

/// With phi the angle at which the point of the unit sphere is seen from the centre that is xi
/// behind, the slope has the sign of (1 + xi cos(theta)) (alpha cos(phi) + 1 - alpha), and the
/// denominator that of alpha + (1 - alpha) cos(phi).
double doubleSphereEnd(const RadialMap& map) {
  const double xi = map.parameters[0];
  const double alpha = map.parameters[1];
  if (!isWeight(alpha) || !(xi > -1)) return 0;
  // Seen from outside of the sphere, phi stays below 90 degrees and is largest at the tangent.
  if (xi > 1) return std::acos(-1 / xi);
  const double phi = std::acos(-leastCosine(alpha));
  return std::min(kPi, phi + std::asin(xi * std::sin(phi)));
}

double omniRadius(const RadialMap& map, const Direction& d) {
  const double xi = map.parameters[0];
  return xi > -1 ? overDenominator(d.sine, d.cosine + xi) : kNaN;
}

/// A pole where cos = -xi, or, from outside of the sphere, the tangent where cos = -1 / xi.
double omniEnd(const RadialMap& map) {
  const double xi = map.parameters[0];
  if (!(xi > -1)) return 0;
  return std::acos(xi > 1 ? -1 / xi : -xi);
}

/// 2 tan(w / 2), of a field of view that is one: 0 is the pinhole camera.
double fieldOfViewScale(double w) {
  return std::abs(w) < kPi ? 2 * std::tan(std::abs(w) / 2) : kNaN;
}

/// The angle of a point of the undistorted picture, which has none beyond 90 degrees.
double fieldOfViewRadius(const RadialMap& map, const Direction& d) {
  const double w = std::abs(map.parameters[0]);
  const double scale = fieldOfViewScale(w);
  if (std::isnan(scale) || d.cosine < 0) return kNaN;
  return w == 0 ? d.sine / d.cosine : std::atan2(scale * d.sine, d.cosine) / w;
}

double fieldOfViewSlope(double w) { return w == 0 ? 1 : fieldOfViewScale(w) / std::abs(w); }

}  // namespace

const char* kindName(RadialKind kind) {
  switch (kind) {
    case RadialKind::kKannalaBrandt:
      return "equidistant";
    case RadialKind::kEnhancedUnified:
      return "eucm";
    case RadialKind::kDoubleSphere:
      return "ds";
    case RadialKind::kOmni:
      return "omni";
    case RadialKind::kFieldOfView:
      return "fov";
    case RadialKind::kStereographic:
      return "stereographic";
  }
  return "";
}

double radiusAt(const RadialMap& map, double theta) {
  const Direction direction{std::sin(theta), std::cos(theta)};
  switch (map.kind) {
    case RadialKind::kKannalaBrandt:
      return kannalaBrandtRadius(map, theta);
    case RadialKind::kEnhancedUnified:
      return enhancedUnifiedRadius(map, direction);
    case RadialKind::kDoubleSphere:
      return doubleSphereRadius(map, direction);
    case RadialKind::kOmni:
      return omniRadius(map, direction);
    case RadialKind::kFieldOfView:
      return fieldOfViewRadius(map, direction);
    case RadialKind::kStereographic:
      return 2 * std::tan(theta / 2);
  }
  return kNaN;
}

double slopeOnAxis(const RadialMap& map) {
  const double xi = map.parameters[0];
  switch (map.kind) {
    case RadialKind::kKannalaBrandt:
    case RadialKind::kEnhancedUnified:
    case RadialKind::kStereographic:
      return 1;
    case RadialKind::kDoubleSphere:
    case RadialKind::kOmni:
      return xi > -1 ? 1 / (1 + xi) : kNaN;
    case RadialKind::kFieldOfView:
      return fieldOfViewSlope(map.parameters[0]);
  }
  return kNaN;
}

double largestAngle(const RadialMap& map) {
  switch (map.kind) {
    case RadialKind::kKannalaBrandt:
      return kannalaBrandtEnd(map);
    case RadialKind::kEnhancedUnified:
      return enhancedUnifiedEnd(map);
    case RadialKind::kDoubleSphere:
      return doubleSphereEnd(map);
    case RadialKind::kOmni:
      return omniEnd(map);
    case RadialKind::kFieldOfView:
      return std::isnan(fieldOfViewScale(map.parameters[0])) ? 0 : kPi / 2;
    case RadialKind::kStereographic:
      return kPi;
  }
  return 0;
}

}  // namespace norv::interop

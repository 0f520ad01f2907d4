#include "support/sensor/lens_curve.h"

#include <Eigen/Cholesky>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "support/numeric/angles.h"

namespace norv::internal {
namespace {

/// Towards 90 degrees a pinhole image has no end; no lens that is worth unwarping goes there.
constexpr double kMaxDegrees = 80;

/// Three coefficients through fewer entries would follow their rounding.
constexpr std::size_t kMinFitted = 8;

/// Of the normal equations. Entries spread from the centre outwards give 1e-3, entries in the outer
/// tenth of the radius 6e-7, and in the outer hundredth 5e-11: they leave the centre to guesswork.
constexpr double kMinReciprocalCondition = 1e-8;

constexpr double kMinRelativeSlope = 0.02;

/// A table rounded to 0.1 degree is met within 0.05.
constexpr double kMaxMiss = radians(0.2);

}  // namespace

LensTable usableLensTable(const std::vector<float>& radii, const std::vector<float>& degrees) {
  const std::size_t length = std::min(radii.size(), degrees.size());
  LensTable table{{0}, {0}};
  double last_degrees = 0;
  const bool starts_at_origin = length > 0 && radii[0] == 0 && degrees[0] == 0;
  for (std::size_t i = starts_at_origin ? 1 : 0; i < length; ++i) {
    const auto radius = static_cast<double>(radii[i]);
    const auto angle = static_cast<double>(degrees[i]);
    const bool usable = std::isfinite(radius) && radius > table.radii.back() &&
                        angle > last_degrees && angle <= kMaxDegrees;
    if (!usable) break;
    last_degrees = angle;
    table.radii.push_back(radius);
    table.angles.push_back(radians(angle));
  }
  return table;
}

std::optional<StereographicCurve> StereographicCurve::fit(const LensTable& table) {
  if (table.radii.size() < 1 + kMinFitted) return std::nullopt;
  const std::optional<Polynomial> g = solve(table);
  if (!g || !rises(*g)) return std::nullopt;
  const StereographicCurve curve(*g, table.radii.back());
  if (!curve.passesNear(table)) return std::nullopt;
  return curve;
}

std::optional<StereographicCurve::Polynomial> StereographicCurve::solve(const LensTable& table) {
  Eigen::Matrix3d normal = Eigen::Matrix3d::Zero();
  Eigen::Vector3d right = Eigen::Vector3d::Zero();
  for (std::size_t i = 1; i < table.radii.size(); ++i) {
    const double s = table.radii[i] / table.radii.back();
    const double half = table.angles[i] / 2;
    // d(theta) = cos^2(theta / 2) d(g): with this weight the residuals are angles.
    const double weight = std::cos(half) * std::cos(half);
    const Eigen::Vector3d row = weight * s * Eigen::Vector3d(1, s * s, s * s * s * s);
    normal += row * row.transpose();
    right += row * (weight * 2 * std::tan(half));
  }
  const Eigen::LDLT<Eigen::Matrix3d> factors(normal);
  if (!(factors.rcond() >= kMinReciprocalCondition)) return std::nullopt;
  const Eigen::Vector3d c = factors.solve(right);
  return Polynomial{c[0], c[1], c[2]};
}

bool StereographicCurve::rises(const Polynomial& g) {
  // The slope c1 + 3 c3 q + 5 c5 q^2 is a parabola in q = s^2: smallest at an end of 0..1 or, when
  // it opens upwards, at its vertex.
  const auto slope = [&g](double q) { return g.c1 + q * (3 * g.c3 + q * 5 * g.c5); };
  const double vertex = g.c5 > 0 ? std::clamp(-0.3 * g.c3 / g.c5, 0.0, 1.0) : 0;
  return g.c1 > 0 && std::min(slope(vertex), slope(1)) > kMinRelativeSlope * g.c1;
}

bool StereographicCurve::passesNear(const LensTable& table) const {
  for (std::size_t i = 0; i < table.radii.size(); ++i) {
    const double miss = std::abs(at(table.radii[i]).value - table.angles[i]);
    if (!(miss <= kMaxMiss)) return false;
  }
  return true;
}

ValueAndSlope StereographicCurve::at(double radius) const {
  const double s = radius / last_radius_;
  const double q = s * s;
  const double g = s * (g_.c1 + q * (g_.c3 + q * g_.c5));
  const double slope = (g_.c1 + q * (3 * g_.c3 + q * 5 * g_.c5)) / last_radius_;
  return {2 * std::atan(g / 2), slope / (1 + g * g / 4)};
}

std::optional<LensCurve> LensCurve::fromTable(const std::vector<float>& radii,
                                              const std::vector<float>& degrees) {
  LensTable table = usableLensTable(radii, degrees);
  if (table.radii.size() < 3) return std::nullopt;
  const double last_radius = table.radii.back();
  if (const auto smooth = StereographicCurve::fit(table)) return LensCurve(*smooth, last_radius);
  return LensCurve(MonotoneCubic(std::move(table.radii), std::move(table.angles)), last_radius);
}

LensCurve::LensCurve(Curve curve, double last_radius)
    : curve_(std::move(curve)), last_radius_(last_radius) {}

ValueAndSlope LensCurve::at(double radius) const {
  return std::visit([radius](const auto& curve) { return curve.at(radius); }, curve_);
}

}  // namespace norv::internal

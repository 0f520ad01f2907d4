#include "support/sensor_transform.h"

#include <cmath>
#include <optional>
#include <utility>

#include "support/sensor/lens_curve.h"
#include "support/sensor/sensor_warp.h"

namespace norv::calibration {
namespace {

/// Null where the arguments describe no warp.
std::unique_ptr<const internal::SensorWarp> makeWarp(int width, int height, float factor,
                                                     const std::vector<float>& radii,
                                                     const std::vector<float>& degrees) {
  if (!(std::isfinite(factor) && factor > 0)) return nullptr;
  std::optional<internal::LensCurve> curve = internal::LensCurve::fromTable(radii, degrees);
  if (!curve) return nullptr;
  // The full frame is twice the output's size both ways.
  const Eigen::Vector2d centre(width, height);
  return std::make_unique<internal::SensorWarp>(centre, factor, std::move(*curve));
}

}  // namespace

AptinaSTE::AptinaSTE(int width, int height, float factor, const std::vector<float>& table1,
                     const std::vector<float>& table2)
    : width_(width),
      height_(height),
      factor_(factor),
      table1_(table1),
      table2_(table2),
      warp_(makeWarp(width_, height_, factor_, table1_, table2_)) {}

AptinaSTE::~AptinaSTE() = default;

Vector2_f AptinaSTE::transformPoint(const Vector2_f& p) const {
  return warp_ ? Vector2_f(warp_->warp(p.cast<double>()).cast<float>()) : p;
}

Vector2_f AptinaSTE::inverseTransformPoint(const Vector2_f& p) const {
  return warp_ ? Vector2_f(warp_->unwarp(p.cast<double>()).cast<float>()) : p;
}

}  // namespace norv::calibration

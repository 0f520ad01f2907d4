#pragma once

#include <optional>

#include "interop/radial_map.h"

namespace norv::interop {

/// The inverse of a radial map, quick for points that lie beside each other. Not thread-safe: it
/// keeps its last answer as the next start.
class RadialInverse {
 public:
  explicit RadialInverse(const RadialMap& map);

  /// The angle of the map's rising part at which `radiusAt` is `target`, to a few roundings; none
  /// where it does not get there.
  std::optional<double> angleAt(double target);

  /// `largestAngle` of the map, and the radius there: infinity at a pole.
  double end() const { return end_; }
  double largestRadius() const { return largest_radius_; }

 private:
  /// The radius, infinity where the map has none.
  double radius(double theta) const;

  RadialMap map_;
  double end_;
  double largest_radius_;
  double last_angle_ = 0;
};

}  // namespace norv::interop

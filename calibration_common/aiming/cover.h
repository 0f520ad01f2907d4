#pragma once

#include <Eigen/Core>
#include <limits>

namespace norv::internal {

/// The rectangle around what is seen of a target, pixels.
struct Cover {
  Eigen::Vector2d low = Eigen::Vector2d::Constant(std::numeric_limits<double>::infinity());
  Eigen::Vector2d high = -low;
  bool is_whole = true;  ///< whether all of the target is seen

  bool empty() const { return !(low.x() <= high.x()); }
  Eigen::Vector2d middle() const { return 0.5 * (low + high); }
  void add(const Eigen::Vector2d& pixel) {
    low = low.cwiseMin(pixel);
    high = high.cwiseMax(pixel);
  }
};

}  // namespace norv::internal

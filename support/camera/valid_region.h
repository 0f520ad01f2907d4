#pragma once

#include <Eigen/Core>
#include <limits>
#include <optional>

#include "support/camera/clear_rectangle.h"
#include "support/camera/image_border.h"
#include "support/camera/prepared_camera.h"

namespace norv::internal {

/// The rays that a camera images within its picture, in the plane of a view. Where the first branch
/// of the lens ends within the picture, only those in the disc of `validRadius` count. Rays farther
/// than 88.8 degrees from the view's axes do not.
class ValidRegion {
 public:
  /// Pixels closer than `margin` to the picture's border do not count. `camera` and `plane` have to
  /// live as long.
  ValidRegion(const PreparedCamera& camera, double margin, const ViewPlane& plane);

  /// The largest rectangle with the proportions of `half` that shows the middle of the picture, or
  /// the optical axis where that is not in the region: but for half a per cent; where several are
  /// as large, one in their middle. Its scale is not above 0 where there is none.
  Placement largest(const Eigen::Vector2d& half) const;

  /// That rectangle widened until it touches the region's border on all sides.
  std::optional<PlaneBox> widest(const Eigen::Vector2d& half) const;

  /// Largest scale of the rectangle about a point; 0 where that is none of the region.
  double scaleAbout(const Eigen::Vector2d& anchor, const Reach& reach) const;

 private:
  bool contains(const Eigen::Vector2d& point) const;
  void keepClearOf(PlaneCurve curve);
  void keepWithinSight();
  std::optional<Eigen::Vector2d> middle() const;

  const PreparedCamera& camera_;
  double margin_;
  const ViewPlane& plane_;
  double radius_ = std::numeric_limits<double>::infinity();  ///< of the disc
  ClearPlane outlines_;
  ClearPlane coarse_;
  PlaneBox box_;  ///< around the region's border; low above high without
};

}  // namespace norv::internal

#pragma once

#include <Eigen/Core>
#include <functional>

#include "support/camera/clear_rectangle.h"

namespace norv::internal {

/// The clear rectangle as wanted that is the largest of all with a centre in `box` of which
/// `isInside` holds, but for `tolerance` of its scale; `best`, where no other is larger by more.
/// Gives up after some ten thousand rectangles, with the largest of them.
Placement largestAnywhere(const ClearPlane& plane, const PlaneBox& box,
                          const std::function<bool(const Eigen::Vector2d&)>& isInside,
                          const WantedRectangle& wanted, const Placement& best, double tolerance);

}  // namespace norv::internal

#pragma once

#include <Eigen/Core>
#include <vector>

#include "interop/fit/picture_rays.h"
#include "interop/radial_map.h"

namespace norv::interop {

/// Rays of a camera with a radial map, close by each other from the innermost to the farthest one
/// of the picture, among which those are that a radial lens in its place misses most: of those with
/// one angle, they have the direction that counts most pixels. A grid's points leave gaps where the
/// picture has few directions, next to its corners.
///
/// `picture` are the rays at the points of the grid, at less than 90 degrees, and at least one of
/// them is not the axis; `to_pixels` takes imaged points to pixels. `map.then` does nothing.
/// Thread-safe.
std::vector<RaySample> radialSamples(const RadialMap& map, const std::vector<RaySample>& picture,
                                     const Eigen::Matrix2d& to_pixels);

}  // namespace norv::interop

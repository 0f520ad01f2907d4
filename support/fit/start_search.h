#pragma once

#include <optional>

#include "support/fit/fitted_camera.h"
#include "support/fit/lens_families.h"
#include "support/fit/planar_view.h"

namespace norv::internal::fit {

/// A camera to begin the fit with: the lens `family` with the focal length, out of 18 between 0.35
/// and 6 half image sides, that explains the view best.
///
/// For each of them the lens is undone, which leaves a homography between the plane and the rays,
/// and the pose in it is judged by its squared image error and, weakly, by how usual the focal
/// length is. Unlike the closed-form focal length of a homography this needs neither a weak lens
/// nor a tilted plane. Nothing when no focal length gives a pose with all points in front of the
/// camera.
std::optional<FittedCamera> findStart(const PlanarView& view, const LensFamily& family);

}  // namespace norv::internal::fit

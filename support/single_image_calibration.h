#pragma once

/// A camera fitted to one view of a planar target. Units, frames, pixel origin:
/// docs/conventions.md.

#include <vector>

#include "auto_diff.h"
#include "export.h"
#include "matrix_types.h"
#include "opencv_projection.h"

namespace norv::calibration {

/// Fits a camera, its lens and its pose to one view of a planar target, and returns the error per
/// point: the root mean square distance, in pixels, between the observed points and the fitted
/// ones.
///
/// `observed` are pixels of an image of `image_size` (width, height; where one is not positive, the
/// bounding box of the points stands in for the image), and `reference` the same points on the
/// target's plane, in any unit, index by index; of lists of different lengths the excess is
/// ignored. `scale` is the length of that unit in metres (1 where it is not finite and positive);
/// it scales the fitted translation and nothing else. `size_pair` is the number of target points
/// across and down, which the fit does not need.
///
/// On success the value parts of all 24 parameters of `*projection` are set, the rotation and
/// translation mapping the target's frame (its plane at z = 0, in metres) into the camera frame,
/// and the derivative parts are zero. What it held before is not used.
///
/// When no fit exists the result is positive infinity and `*projection` stays as it was: with fewer
/// than 4 distinct reference points after those are dropped that are not finite or observed beyond
/// 1e6 pixels; when either list is collinear or coincident; when no camera has all points in front
/// of it; and when `scale` carries the translation beyond the range of double. The result is never
/// NaN.
///
/// One view of a plane determines only two combinations of the intrinsics, so that plain least
/// squares over all 18 unknowns finds maps that fold within the image. The fit therefore starts
/// from several lens families, weights its residuals against weak priors that vanish where the data
/// speak, and keeps the radial map regular out to the image corners. Method:
/// docs/single_image_fit.md.
///
/// Takes about 20 microseconds a point, five times that at worst. Of more than 10,000 usable points
/// a random selection of that many, the same at every call, stands for all of them. Thread-safe.
NORV_EXPORT double calibrateFromSingleImage(
    const std::vector<Vector2_f>& observed, const std::vector<Vector2_f>& reference,
    const Eigen::Vector2i& image_size, double scale, const Eigen::Vector2i& size_pair,
    OpenCVProjection<autodiff::AutoDiff1<double, 20>>* projection);

}  // namespace norv::calibration

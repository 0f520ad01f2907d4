#pragma once

/// Straightened pictures: for every pixel of a view where it lies in the camera's picture, and the
/// other way. No picture is touched here; the maps are what `cv::remap` and its like take. The
/// headers that this one includes have the rest: points, views, where a lens ends.
///
/// Pixels of the library begin at the image's corner, those of maps at the centre of the first
/// pixel: pixel (i, j) of a picture is the point (i + 0.5, j + 0.5) here, and 0.5 is taken off
/// where a map says a place (docs/conventions.md).
///
/// Maps are arrays of height x width elements, row by row without gaps, that belong to the caller.
/// Elements are computed in double and rounded once; they are the same to the last bit whatever
/// `threads`, the number of threads that compute at once, is: 0 stands for as many as the machine
/// runs, and where the system refuses one, fewer do. A NaN gives the border's value in `cv::remap`.
/// A camera, view or size that is none gives NaN everywhere, or nothing where there are no pixels.
/// All functions are thread-safe and allocate nothing per pixel.

#include <cstdint>

#include "camera_model.h"
#include "export.h"
#include "lens_validity.h"
#include "pixel_size.h"
#include "point_projection.h"
#include "rectified_view.h"

namespace norv::calibration {

/// For every pixel of the view where its centre is seen in the camera's picture; NaN where the ray
/// lies behind the camera or beyond the first branch of the lens. Places outside of the picture are
/// as they are. The inverse is `makeUndistortMap`.
NORV_EXPORT void makeRectifyMap(const CameraModel& camera, const RectifiedView& view, float* map_x,
                                float* map_y, int threads = 1);

/// The same in fixed point, for `cv::remap` with CV_16SC2 and CV_16UC1 maps: bit for bit what
/// `cv::convertMaps` makes of the float map. `xy` has two elements a pixel, `fraction` one: 32 y +
/// x in thirty-seconds of a pixel. NaN becomes (-32768, -32768) with fraction 0.
NORV_EXPORT void makeFixedPointRectifyMap(const CameraModel& camera, const RectifiedView& view,
                                          std::int16_t* xy, std::uint16_t* fraction,
                                          int threads = 1);

/// For every pixel of the camera's picture where its centre lies in the view, for drawing into the
/// picture; NaN where no ray is imaged or the ray lies behind the view. The arrays have the
/// camera's size.
NORV_EXPORT void makeUndistortMap(const CameraModel& camera, const RectifiedView& view,
                                  float* map_x, float* map_y, int threads = 1);

}  // namespace norv::calibration

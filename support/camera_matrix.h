#pragma once

/// Camera matrices in the two conventions for pixels. Units, frames, pixel origin:
/// docs/conventions.md.

#include <Eigen/Core>

#include "camera_model.h"
#include "export.h"

namespace norv::calibration {

/// Where pixel coordinates are counted from.
enum class PixelOrigin {
  kImageCorner,  ///< the corner of the image, as everywhere in this library
  kPixelCentre,  ///< the centre of its first pixel, as OpenCV does: 0.5 less in x and y
};

/// Camera matrix, rows (fx, skew, cx), (0, fy, cy), (0, 0, 1), pixels. Thread-safe.
NORV_EXPORT Eigen::Matrix3d cameraMatrix(const CameraModel& camera, PixelOrigin origin);

}  // namespace norv::calibration

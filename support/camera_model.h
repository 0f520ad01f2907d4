#pragma once

/// A camera at one image size as numbers alone, and what can become of a point that is projected or
/// rectified with it. Units, frames, pixel origin: docs/conventions.md.

#include <cstdint>

#include "lens_distortion.h"

namespace norv::calibration {

/// What became of one point. Zero is success.
enum class PointStatus : std::uint8_t {
  kOk = 0,
  kBehindCamera,  ///< depth not above 0: there is no pixel
  kBeyondLens,    ///< the ray lies beyond the first branch of the lens, or no ray is imaged at the
                  ///< pixel
  kOutsideImage,  ///< the answer is valid, but the pixel is not in [0, width] x [0, height]
  kNotFinite,     ///< an input is NaN or infinite, a focal length is 0, or a number of the camera
                  ///< or of the answer exceeds the range of float
};

/// Whether a point has an answer, inside of the image or not.
constexpr bool hasAnswer(PointStatus status) {
  return status == PointStatus::kOk || status == PointStatus::kOutsideImage;
}

/// Camera matrix, rows (fx, skew, cx), (0, fy, cy), (0, 0, 1), and lens, for images of one size.
/// Pixels, from the image's corner. A negative focal length is that of a mirrored axis. A plain
/// value.
struct CameraModel {
  int width = 0;
  int height = 0;
  double fx = 0;
  double fy = 0;
  double skew = 0;
  double cx = 0;
  double cy = 0;
  LensDistortion<double> lens;
};

}  // namespace norv::calibration

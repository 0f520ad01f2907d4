#pragma once

#include <Eigen/Core>
#include <optional>

#include "calibration_common/camera_parameters.h"
#include "support/camera/point_formulas.h"
#include "support/camera/prepared_camera.h"
#include "support/lens_distortion.h"

namespace norv::internal::diff {

/// A camera at one image size, with all it does in double precision. Points are in the camera
/// frame, in any unit of length. A value; thread-safe.
class ImageCamera {
 public:
  explicit ImageCamera(const calibration::CameraParameters::Intrinsics& intrinsics);

  /// The point (x, y, 1) of the ray that is imaged at `pixel`; none where there is no ray, and for
  /// a camera that is none.
  std::optional<Eigen::Vector3d> rayAt(const Eigen::Vector2d& pixel) const;

  /// Pixel of a point; none where `rayAt` of that pixel would not give its ray: for points that are
  /// not before the camera, and for those beyond the first branch of the lens.
  std::optional<Eigen::Vector2d> pixelOf(const Eigen::Vector3d& point) const;

  /// Pixel of a point by the formulas alone, wherever it lies. With dual coordinates the result
  /// carries the derivatives.
  template <class Coordinate>
  calibration::NormalizedPoint<Coordinate> project(const Coordinate& x, const Coordinate& y,
                                                   const Coordinate& z) const {
    const calibration::CameraModel& camera = camera_.model;
    return toPixel(camera,
                   camera.lens.distort(calibration::NormalizedPoint<Coordinate>{x / z, y / z}));
  }

 private:
  PreparedCamera camera_;
};

}  // namespace norv::internal::diff

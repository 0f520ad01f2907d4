#pragma once

#include <Eigen/Core>
#include <algorithm>
#include <cmath>

#include "calibration_common/aiming/frozen_lens.h"
#include "calibration_common/ptz_aiming.h"
#include "calibration_common/ptz_camera_model.h"

namespace norv::internal {

/// The picture at the zoom of a camera's range with the shortest focal length, which shows most,
/// and how points lie to it. Not thread-safe: it keeps what it finds out of the lens.
class WidestPicture {
 public:
  /// Of a model that has samples.
  explicit WidestPicture(const calibration::PTZCameraModel& model);

  /// Whether there is such a zoom, and a size of the image.
  bool isUsable() const { return is_usable_; }

  /// For a point of the camera frame: at most 0 in the picture, its border included; outside of it
  /// rising to 1 with the distance; where the lens does not image the point, from 1 to 3 with its
  /// angle from the optical axis.
  double gapTo(const Eigen::Vector3d& in_camera);

  /// At least how far a direction of the camera frame, any length, has to turn to come into the
  /// picture, radians: by how much it is beyond one of the four planes through the optical centre
  /// between which the picture lies. Not above 0 where the lens does not tell.
  double angleOutside(const Eigen::Vector3d& in_camera) const {
    const double sine = (sides_ * in_camera).maxCoeff() / in_camera.norm();
    return sine > 0 ? std::asin(std::min(sine, 1.0)) : 0;
  }

 private:
  WidestPicture(const calibration::PTZCameraModel& model, const calibration::ZoomRange& range);
  void findSides();

  FrozenLens lens_;
  Eigen::Vector2d size_;
  bool is_usable_;
  /// Unit normals of those planes, outwards; zero where the lens does not tell.
  Eigen::Matrix<double, 4, 3> sides_ = Eigen::Matrix<double, 4, 3>::Zero();
};

}  // namespace norv::internal

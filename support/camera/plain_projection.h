#pragma once

#include "support/camera/prepared_camera.h"
#include "support/camera_model.h"
#include "support/numeric/lanes.h"

namespace norv::internal {

/// The projection of a point that is plainly seen: before the camera, by a part of the lens that
/// leaves nothing open, in the picture. Two numbers at once, each to the bits of
/// `PointSolver::project`, which answers all the rest.
class PlainProjection {
 public:
  /// Sees nothing.
  PlainProjection() = default;

  PlainProjection(const PreparedCamera& camera, const PoseRows& camera_from_parent)
      : certain_(camera.certain) {
    const auto& m = camera_from_parent.at;
    for (int i = 0; i < 4; ++i) {
      columns_[i] = DoublePair{m[0][i], m[1][i]};
      depth_[i] = m[2][i];
    }
    const calibration::CameraModel& k = camera.model;
    radial_[0] = DoublePair{k.lens.k1, k.lens.k4};
    radial_[1] = DoublePair{k.lens.k2, k.lens.k5};
    radial_[2] = DoublePair{k.lens.k3, k.lens.k6};
    tangential_[0] = DoublePair{2 * k.lens.p1, k.lens.p1};
    tangential_[1] = DoublePair{k.lens.p2, 2 * k.lens.p2};
    focal_lengths_ = DoublePair{k.fx, k.fy};
    centre_ = DoublePair{k.cx, k.cy};
    skew_ = k.skew;
    size_ = DoublePair{static_cast<double>(k.width), static_cast<double>(k.height)};
  }

  /// Whether the point of the parent frame is plainly seen; then `*u` and `*v` are its pixel, else
  /// anything. A coordinate that is infinite or NaN makes `s` NaN: infinity over infinity.
  bool see(double x, double y, double z, double* u, double* v) const {
    const double depth = depth_[0] * x + depth_[1] * y + depth_[2] * z + depth_[3];
    const DoublePair p =
        (columns_[0] * x + columns_[1] * y + columns_[2] * z + columns_[3]) / depth;
    const DoublePair squares = p * p;
    const double s = squares[0] + squares[1];
    const double xy = p[0] * p[1];
    const DoublePair n_d = 1 + s * (radial_[0] + s * (radial_[1] + s * radial_[2]));
    const DoublePair w = s + 2 * squares;
    const DoublePair distorted = p * (n_d[0] / n_d[1]) + tangential_[0] * DoublePair{xy, w[1]} +
                                 tangential_[1] * DoublePair{w[0], xy};
    const DoublePair scaled = focal_lengths_ * distorted;
    const DoublePair pixel = DoublePair{scaled[0] + skew_ * distorted[1], scaled[1]} + centre_;
    const auto inside = (pixel >= 0) & (pixel <= size_);
    *u = pixel[0];
    *v = pixel[1];
    return depth > 0 && s < certain_ && (inside[0] & inside[1]) != 0;
  }

 private:
  // Of the pose, camera_from_parent.
  DoublePair columns_[4] = {};
  double depth_[4] = {};  ///< its third row
  // Of the camera.
  double certain_ = 0;
  DoublePair radial_[3] = {};  ///< numerator and denominator
  DoublePair tangential_[2] = {};
  DoublePair focal_lengths_ = {};
  DoublePair centre_ = {};
  double skew_ = 0;
  DoublePair size_ = {};
};

}  // namespace norv::internal

#pragma once

#include <Eigen/Core>
#include <optional>

#include "support/fit/fitted_camera.h"
#include "support/fit/normal_equations.h"
#include "support/fit/planar_view.h"
#include "support/lens_distortion.h"

namespace norv::internal::fit {

/// Projects points of the target by one camera, which must outlive it.
class Projector {
 public:
  explicit Projector(const FittedCamera& camera) : camera_(camera), lens_(camera.lens()) {}

  /// Where the camera images the point, whatever was observed; in the units of the view.
  ///
  /// Nothing where the point is not in front of the camera, or where the lens' numerator or
  /// denominator is not above 1e-3: beyond, the map has folded or passed a pole, and no data lie
  /// there.
  std::optional<Eigen::Vector2d> project(const PointPair& point) const;

  /// The two coordinates of the projected point minus the observed one, with their derivatives. The
  /// point projects.
  void linearize(const PointPair& point, Row* u, Row* v) const;

 private:
  const FittedCamera& camera_;
  calibration::LensDistortion<double> lens_;
};

}  // namespace norv::internal::fit

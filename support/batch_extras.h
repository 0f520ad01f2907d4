#pragma once

/// What batches of points say beside their answers. Units, frames, pixel origin:
/// docs/conventions.md.

#include "camera_model.h"
#include "point_derivatives.h"

namespace norv::calibration {

/// Where a batch puts what it has to say beside its points, `count` of each; null where it is not
/// wanted.
struct ProjectionExtras {
  PointStatus* statuses = nullptr;
  ProjectionJacobian* jacobians = nullptr;
};
struct RectificationExtras {
  PointStatus* statuses = nullptr;
  RectificationJacobian* jacobians = nullptr;
};

}  // namespace norv::calibration

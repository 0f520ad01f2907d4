#pragma once

#include <optional>

#include "support/camera/point_formulas.h"
#include "support/camera/prepared_camera.h"
#include "support/camera_model.h"
#include "support/lens/lens_inverse.h"

namespace norv::internal {

/// A point's coordinates, NaN where there is no answer, and why.
struct PointAnswer {
  double x;
  double y;
  calibration::PointStatus status;
};

/// `projectPoint` and `rectifyPixel` for one camera: what the formulas leave open is decided here.
/// What that takes of the lens is found on first use and kept; not thread-safe.
class PointSolver {
 public:
  /// `camera` has to live as long.
  explicit PointSolver(const PreparedCamera& camera) : camera_(camera) {}

  /// The pixel of a point of the parent frame, or of the camera frame where `pose` is null.
  PointAnswer project(const PoseRows* pose, const Point3<double>& point) {
    const Point3<double> p = pose != nullptr ? transformed(*pose, point) : point;
    const calibration::NormalizedPoint<double> ray{p.x / p.z, p.y / p.z};
    const ImagedRay<double> at(camera_.model, ray, radialFactor(camera_.model.lens, ray));
    if (isPlain(camera_, p.z, at)) {
      return {at.pixel.x, at.pixel.y, calibration::PointStatus::kOk};
    }
    return askMore(p, point);
  }
  PointAnswer rectify(double u, double v);

 private:
  PointAnswer askMore(const Point3<double>& p, const Point3<double>& given);
  LensInverse& inverse();
  calibration::PointStatus decide(const calibration::NormalizedPoint<double>& ray,
                                  const CodedPoint<double>& pixel);
  /// Whether a point before the camera, finite or not, lies on the first branch of the lens.
  bool isImaged(const calibration::NormalizedPoint<double>& ray);

  const PreparedCamera& camera_;
  std::optional<LensInverse> inverse_;
};

}  // namespace norv::internal

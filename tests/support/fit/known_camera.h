#pragma once

/// A view together with the camera that had it, in the units of the fit.

#include <Eigen/Core>

#include "support/fit/fitted_camera.h"
#include "support/fit/planar_view.h"
#include "testing/single_image_view.h"

namespace norv::internal::fit {

/// `camera`, whose pose is in the unit of the view's reference points, in the units of the view.
inline FittedCamera inUnitsOf(const PlanarView& view, const testing::SyntheticCamera& camera) {
  FittedCamera result;
  result.intrinsics << camera.fx, camera.fy, camera.cx, camera.cy, camera.k1, camera.k2, camera.k3,
      camera.k4, camera.k5, camera.k6, camera.p1, camera.p2;
  result.intrinsics.segment<2>(kCx) -= view.image_centre;
  result.intrinsics.head<4>() /= view.pixel_unit;
  result.rotation =
      Eigen::Map<const Eigen::Matrix<double, 3, 3, Eigen::RowMajor>>(camera.rotation.data());
  const Eigen::Map<const Eigen::Vector3d> translation(camera.translation.data());
  result.translation =
      (translation + result.rotation.leftCols<2>() * view.plane_centre) / view.plane_unit;
  return result;
}

/// What `camera` sees exactly, in double precision, of the board of `view`.
inline void makeExact(const testing::SyntheticCamera& camera, PlanarView* view) {
  for (PointPair& point : view->points) {
    const std::array<double, 2> pixel =
        camera.project({point.plane_x * view->plane_unit + view->plane_centre.x(),
                        point.plane_y * view->plane_unit + view->plane_centre.y(), 0});
    point.u = (pixel[0] - view->image_centre.x()) / view->pixel_unit;
    point.v = (pixel[1] - view->image_centre.y()) / view->pixel_unit;
  }
}

/// An exact view of a board of 9 x 6 points, tilted by 30 degrees, and its camera.
struct KnownView {
  explicit KnownView(testing::SyntheticCamera camera) {
    const testing::SingleImageView seen =
        testing::seeTilted(testing::gridPoints(9, 6), 30, testing::ImageSize(), &camera);
    view = *makePlanarView(seen.observed, seen.reference, seen.size);
    makeExact(camera, &view);
    truth = inUnitsOf(view, camera);
  }

  PlanarView view;
  FittedCamera truth;
};

/// A camera with all eight distortion coefficients, none of them small.
inline testing::SyntheticCamera distortedCamera() {
  testing::SyntheticCamera camera = testing::makePinhole(900, 907, 655, 468);
  testing::setRadial({0.3, 0.05, 0.01, 0.5, 0.1, 0.02}, &camera);
  camera.p1 = 0.002;
  camera.p2 = -0.003;
  return camera;
}

}  // namespace norv::internal::fit

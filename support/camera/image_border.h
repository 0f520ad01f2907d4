#pragma once

#include <Eigen/Core>
#include <cstddef>
#include <optional>
#include <vector>

#include "support/camera/clear_rectangle.h"
#include "support/camera/prepared_camera.h"

namespace norv::internal {

/// The plane in which views are fitted: where a view of these focal lengths, pixels, has the rays,
/// measured from its principal point.
struct ViewPlane {
  Eigen::Matrix3d view_from_camera;
  double fx;
  double fy;

  /// Nothing where the ray (x, y, 1) of the camera frame is not in front of the view.
  std::optional<Eigen::Vector2d> pointOf(double x, double y) const;

  /// The inverse: a ray of the camera frame.
  Eigen::Vector3d rayOf(const Eigen::Vector2d& point) const;
};

/// The border of a camera's image, as rays in the plane of a view.
struct ImageBorder {
  /// Pieces of its four sides that overlap, each with samples at equal distances: half a pixel or
  /// less. NaN where there is no ray, or none in front of the view.
  std::vector<PlaneCurve> pieces;
  bool is_imaged = true;    ///< there is a ray at each sample
  bool is_in_front = true;  ///< and all of them are in front of the view
};

/// The border `margin` pixels inside of that of the camera's image. Second differences of its
/// samples stay below `bend` focal lengths, but for the most extreme lenses.
ImageBorder imageBorder(const PreparedCamera& camera, double margin, const ViewPlane& plane,
                        double bend);

/// Samples of a piece come in so many intervals, or a multiple.
inline constexpr std::size_t kPieceIntervals = 96;

/// The circle of rays with |(x, y)| = `radius`, as a curve of the same kind.
PlaneCurve circleOfRays(double radius, const ViewPlane& plane);

/// The smallest box with sides along the axes that holds the border, its extremes found between the
/// samples.
PlaneBox boundingBox(const ImageBorder& border);

}  // namespace norv::internal

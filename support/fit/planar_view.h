#pragma once

/// The input of the single-image fit, cleaned and brought to units in which all numbers are
/// about 1.

#include <Eigen/Core>
#include <cstddef>
#include <optional>
#include <vector>

#include "support/matrix_types.h"

namespace norv::internal::fit {

/// A point of the target: where the image shows it, and where it lies on the target's plane.
struct PointPair {
  double u;  ///< image, `PlanarView::pixel_unit` from the image centre
  double v;
  double plane_x;  ///< target, `PlanarView::plane_unit` from the centre of its points
  double plane_y;
};

/// One view of a planar target.
///
/// Pixels are taken about the image centre and divided by half the longer side, so that a focal
/// length or a principal point means the same in every image size; the target's points about their
/// mean and divided by their root mean square radius, so that the pose does not depend on its unit.
struct PlanarView {
  std::vector<PointPair> points;
  int distinct_points;           ///< different positions on the target, counted up to 12
  Eigen::Vector2d image_centre;  ///< pixels
  double pixel_unit;             ///< pixels
  Eigen::Vector2d half_size;     ///< of the image, in pixel_unit
  Eigen::Vector2d plane_centre;  ///< in the unit of the reference points
  double plane_unit;             ///< the same
};

/// No view has more: the fit takes a time proportional to the number of points, and so many leave
/// nothing to be gained.
inline constexpr std::size_t kMaxPoints = 10000;

/// The view in these units, or nothing when no fit exists: with fewer than 4 distinct points among
/// the pairs that are finite and observed within 1e6 pixels, or when either list is collinear or
/// coincident (standard deviations across and along below 1 : 1000). Of more than `kMaxPoints`
/// usable pairs a random selection stands for all, the same at every call. The arguments are those
/// of calibrateFromSingleImage.
std::optional<PlanarView> makePlanarView(const std::vector<Vector2_f>& observed,
                                         const std::vector<Vector2_f>& reference,
                                         const Eigen::Vector2i& image_size);

}  // namespace norv::internal::fit

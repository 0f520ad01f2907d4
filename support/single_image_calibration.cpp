#include "support/single_image_calibration.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>

#include "support/fit/candidate_choice.h"
#include "support/fit/fit_stages.h"
#include "support/fit/fitted_camera.h"
#include "support/fit/planar_view.h"

namespace norv::calibration {
namespace {

namespace fit = internal::fit;

using Projection = OpenCVProjection<autodiff::AutoDiff1<double, 20>>;

constexpr double kNoFit = std::numeric_limits<double>::infinity();

/// The fitted camera in pixels and metres.
Projection toProjection(const fit::FittedCamera& camera, const fit::PlanarView& view,
                        double scale) {
  Projection projection;
  const auto& values = camera.intrinsics;
  projection.fx = values[fit::kFx] * view.pixel_unit;
  projection.fy = values[fit::kFy] * view.pixel_unit;
  projection.cx = values[fit::kCx] * view.pixel_unit + view.image_centre.x();
  projection.cy = values[fit::kCy] * view.pixel_unit + view.image_centre.y();
  const LensDistortion<double> lens = camera.lens();
  projection.k1 = lens.k1;
  projection.k2 = lens.k2;
  projection.k3 = lens.k3;
  projection.k4 = lens.k4;
  projection.k5 = lens.k5;
  projection.k6 = lens.k6;
  projection.p1 = lens.p1;
  projection.p2 = lens.p2;
  // From the plane's own origin instead of the points' centre.
  const Eigen::Vector3d translation = scale * (camera.translation * view.plane_unit -
                                               camera.rotation.leftCols<2>() * view.plane_centre);
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      projection.rotation[3 * static_cast<std::size_t>(row) + static_cast<std::size_t>(column)] =
          camera.rotation(row, column);
    }
    projection.translation[static_cast<std::size_t>(row)] = translation[row];
  }
  return projection;
}

/// Whether the pose, which `scale` and far reference points can bring beyond the range of double,
/// is finite.
bool isFinite(const Projection& projection) {
  return std::all_of(projection.translation.begin(), projection.translation.end(),
                     [](const auto& element) { return std::isfinite(element.value); });
}

}  // namespace

double calibrateFromSingleImage(const std::vector<Vector2_f>& observed,
                                const std::vector<Vector2_f>& reference,
                                const Eigen::Vector2i& image_size, double scale,
                                const Eigen::Vector2i& /*size_pair*/, Projection* projection) {
  const std::optional<fit::PlanarView> view = fit::makePlanarView(observed, reference, image_size);
  if (!view) return kNoFit;
  const std::vector<fit::Candidate> candidates = fit::fitCandidates(*view);
  if (candidates.empty()) return kNoFit;
  const fit::Candidate& best = fit::chooseCandidate(*view, candidates);
  const double metres_per_unit = std::isfinite(scale) && scale > 0 ? scale : 1.0;
  const Projection fitted = toProjection(best.camera, *view, metres_per_unit);
  if (!isFinite(fitted)) return kNoFit;
  *projection = fitted;
  return std::sqrt(best.squared_error / static_cast<double>(view->points.size()));
}

}  // namespace norv::calibration

#include "support/fit/fit_problem.h"

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

#include "support/fit/projector.h"
#include "support/numeric/infinity.h"

namespace norv::internal::fit {

double squaredImageError(const PlanarView& view, const FittedCamera& camera) {
  const Projector projector(camera);
  double sum = 0;
  for (const PointPair& point : view.points) {
    const std::optional<Eigen::Vector2d> projected = projector.project(point);
    if (!projected) return kInfinity;
    sum += (*projected - Eigen::Vector2d(point.u, point.v)).squaredNorm();
  }
  return sum * view.pixel_unit * view.pixel_unit;
}

double FitProblem::cost(const FittedCamera& camera) const {
  if (!camera.isPlausible()) return kInfinity;
  double sum = squaredImageError(*view, camera) + sigma * sigma * priors.cost(camera);
  if (regularity) sum += regularity->cost(camera);
  return sum;
}

NormalEquations FitProblem::linearize(const FittedCamera& camera) const {
  NormalEquations equations;
  const Projector projector(camera);
  const std::vector<PointPair>& points = view->points;
  std::array<Row, 4> rows;
  std::size_t i = 0;
  for (; i + 1 < points.size(); i += 2) {
    projector.linearize(points[i], rows.data(), &rows[1]);
    projector.linearize(points[i + 1], &rows[2], &rows[3]);
    equations.addRows(rows);
  }
  if (i < points.size()) {
    projector.linearize(points[i], rows.data(), &rows[1]);
    rows[2] = rows[3] = Row();
    equations.addRows(rows);
  }
  equations.scaleRows(view->pixel_unit);
  priors.addRows(camera, sigma, &equations);
  if (regularity) regularity->addRows(camera, &equations);
  return equations;
}

}  // namespace norv::internal::fit

#pragma once

#include <Eigen/Core>
#include <vector>

#include "support/fit/fit_stages.h"
#include "support/fit/planar_view.h"

namespace norv::internal::fit {

/// The fit to return. Those whose lens does not reach the farthest image corner on a regular branch
/// are left out, unless all others fit far worse. Of the rest the one with the least squared error
/// and prior cost is taken; that from the pinhole family, whose lens is a plain polynomial, also
/// where it does as well and agrees at the image corner. `candidates` is not empty.
const Candidate& chooseCandidate(const PlanarView& view, const std::vector<Candidate>& candidates);

}  // namespace norv::internal::fit

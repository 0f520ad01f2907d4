#pragma once

/// The parameters of omnidirectional cameras as they stand in files.

#include <vector>

#include "interop/radial_map.h"
#include "interop/syntax/fields.h"

namespace norv::interop {

/// The map of a kind with these parameters, in the order of `RadialMap::parameters`; missing ones
/// are zero, except beta of the unified model, which is 1. `then` is no distortion.
///
/// Refused are parameters for which the model's formula has no meaning: alpha outside of [0, 1],
/// beta not above 0, xi not above -1, a field of view outside of [0, pi).
RadialMap radialMapOf(RadialKind kind, const std::vector<Field>& parameters);

}  // namespace norv::interop

#pragma once

#include <functional>

#include "calibration_common/review/subjects.h"

namespace norv::internal::review {

/// A pan-tilt-zoom camera, measured.
PtzSubject makePtzSubject(const calibration::PTZCameraParameters& ptz);

using LensVisit = std::function<void(const LensSubject&)>;

/// Shows the lens of every sample that can be measured, and the one in the middle between two
/// neighbours that serve their images: what is wrong with a sample is wrong near it too. One at a
/// time, since a hostile table has millions.
void visitLenses(const calibration::PTZIntrinsicsTable& table, const LensVisit& visit);

}  // namespace norv::internal::review

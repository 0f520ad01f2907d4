#pragma once

#include <cstddef>

#include "support/batch_extras.h"
#include "support/camera/prepared_camera.h"
#include "support/camera_model.h"
#include "support/point_array.h"

namespace norv::internal {

/// Fewer points are answered faster one by one than a lens is asked where it ends.
inline constexpr std::size_t kManyPoints = 32;

/// `projectPoints` of points of the parent frame, or of the camera frame where `pose` is null; the
/// derivatives are by the point in the camera frame.
std::size_t projectBatch(const PreparedCamera& camera, const PoseRows* pose,
                         const calibration::PointArray<const double>& points, std::size_t count,
                         const calibration::PointArray<double>& pixels,
                         const calibration::ProjectionExtras& extras, int threads);

/// `rectifyPoints`.
std::size_t rectifyBatch(const PreparedCamera& camera,
                         const calibration::PointArray<const double>& pixels, std::size_t count,
                         const calibration::PointArray<double>& rays,
                         const calibration::RectificationExtras& extras, int threads);

/// The same in single precision: each coordinate rounded once.
void rectifyFloatBatch(const PreparedCamera& camera,
                       const calibration::PointArray<const float>& pixels, std::size_t count,
                       const calibration::PointArray<float>& rays);

}  // namespace norv::internal

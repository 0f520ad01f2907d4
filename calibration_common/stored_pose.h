#pragma once

/// The stored form of a pose: the one place that knows the order and the unit of `a`.

#include <optional>
#include <string_view>

#include "proto/norv_camera_extrinsics.pb.h"
#include "support/load_problem.h"
#include "support/matrix_types.h"

namespace norv::internal {

/// Values of a stored pose: the top three rows of the matrix, row by row. Further ones are ignored.
inline constexpr int kPoseValues = 12;

/// Whether `stored` has enough values to be read.
bool hasPose(const calibration::CameraExtrinsics& stored);

/// What keeps `stored`, the field `path` of some message, from being read; none when it has a pose.
std::optional<LoadProblem> findShortPose(std::string_view path,
                                         const calibration::CameraExtrinsics& stored);

/// The problem of a list that holds too few values.
LoadProblem shortListProblem(std::string_view path, int size, int needed);

/// The pose as a matrix with last row (0, 0, 0, 1), its translation in metres where the message has
/// millimetres. `stored` must have a pose (`hasPose`). Values are passed on whatever they are,
/// rigid and finite or not. The inverse is `storePose`. Thread-safe.
Matrix4x4_f readPose(const calibration::CameraExtrinsics& stored);

/// Stores the top three rows of `pose`, its translation in millimetres, in an otherwise cleared
/// message. The inverse of `readPose`. Different messages may be stored concurrently.
void storePose(const Matrix4x4_f& pose, calibration::CameraExtrinsics* stored);

}  // namespace norv::internal

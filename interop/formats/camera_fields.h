#pragma once

/// What the readers of all formats do with the numbers of a camera.

#include <string>
#include <vector>

#include "interop/peer_reading.h"
#include "interop/syntax/fields.h"

namespace norv::interop {

/// The origin from which a file of this format counts its pixels: the format's own unless the
/// options say otherwise.
calibration::PixelOrigin usedOrigin(PeerFormat format, const ReadOptions& options);

/// A focal length, which must be above 0; refused otherwise.
double focalLengthOf(const Field& field);

/// The same of the element `index` of a list of numbers.
double focalLengthOf(const Field& list, const std::vector<double>& numbers, std::size_t index);

/// A picture's width and height, a list of two; refused unless each is from 1 to `kMaxSide`.
calibration::PixelSize sizeOf(const Field& list);

/// Sets the principal point from one that is counted from `origin`.
void setPrincipalPoint(double cx, double cy, calibration::PixelOrigin origin, PeerCamera* camera);

/// The lens of up to eight coefficients in OpenCV's order; missing ones are zero.
calibration::LensDistortion<double> lensOf(const std::vector<double>& coefficients);

/// A pose of four rows of four numbers, translation in metres; refused unless the last row is (0,
/// 0, 0, 1).
RigidPose poseOfRows(const Field& rows);

/// The pose, which was computed from the field; refused where a number of it is beyond the range of
/// double.
RigidPose finitePose(const Field& field, const RigidPose& pose);

}  // namespace norv::interop

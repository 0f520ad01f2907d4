#pragma once

/// What a pan-tilt-zoom camera sees from where it stands.

#include <array>
#include <optional>
#include <string>

#include "calibration_common/ptz_camera_model.h"
#include "support/matrix_types.h"

namespace norv::tools {

using calibration::PTZCameraModelConfiguration;

/// Pixel of the optical axis.
Vector2_f principalPoint(const PTZCameraModelConfiguration& configuration);

/// Whether a pixel lies in the picture, its border included.
bool isInPicture(const Vector2_f& pixel, const calibration::PTZIntrinsicsTable& table);

/// World direction, of unit length, that is imaged at a pixel; nullopt where there is none.
std::optional<Vector3_f> findRay(const PTZCameraModelConfiguration& configuration,
                                 const Vector2_f& pixel);

/// The four corners of a box given by two opposite ones, pixels, those two first.
std::array<Vector2_f, 4> cornersOf(const std::array<float, 4>& box);

/// Where a camera sees a world point. When it does not, `*why` says so and is left alone otherwise.
std::optional<Vector2_f> see(const PTZCameraModelConfiguration& configuration,
                             const Vector3_f& target, std::string* why);

}  // namespace norv::tools

#pragma once

/// What the writers of all formats ask of a camera, and what they call it.

#include <optional>
#include <string>
#include <string_view>

#include "interop/peer_writing.h"

namespace norv::interop {

/// What sentences call it, fit for a terminal: "camera left", "a camera without a name".
std::string callCamera(const WrittenCamera& camera);

/// The name with an underscore in the place of each character but letters of ASCII, digits and
/// underscores.
std::string underscored(std::string_view name);

/// As a sentence, why a format, called `format` in it, cannot hold the camera, its pose aside:
/// numbers that are not finite, a size that is not from 1 to `kMaxSide`, skew, a focal length that
/// is not above 0.
std::optional<std::string> findUnwritable(const WrittenCamera& camera, std::string_view format);

/// How many of the coefficients in OpenCV's order must be written so that the others are zero: 0,
/// 4, 5 or 8.
int coefficientsNeeded(const calibration::LensDistortion<double>& lens);

/// "Pixels are counted from the image's corner, as COLMAP does."; the other one is said not to be
/// what the format's programs do.
std::string describePixelOrigin(calibration::PixelOrigin origin, PeerFormat format,
                                std::string_view format_name);

}  // namespace norv::interop

#pragma once

/// Numbers as the sentences of findings write them.

#include <string>

namespace norv::internal::review {

/// `value` with 6 significant digits at most, in any locale: 0.727, 1e+30, nan.
std::string number(double value);

/// A number of pixels: "326.599 px".
std::string pixels(double value);

/// An angle given as the distance from the optical axis of its ray in normalised coordinates:
/// "r = 0.8088 (38.97 deg)".
std::string radiusText(double radius);

/// A fraction in percent: "72.7 %".
std::string percent(double fraction);

}  // namespace norv::internal::review

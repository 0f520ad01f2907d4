#pragma once

/// Numbers as a person would write them in a calibration. Thread-safe.

#include <string>

namespace norv::internal {

/// The number with the fewest digits that read back as exactly the same value: 0.1, 1280, -0,
/// 1e-07, inf, nan. In full from 0.00001 to below 10^15, with an exponent beyond. The sign of a NaN
/// is kept, its payload is not.
std::string writeNumber(double value);

/// The same of single precision; reads back by way of a double, too, as texts are read.
std::string writeNumber(float value);

}  // namespace norv::internal

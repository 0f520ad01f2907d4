#pragma once

#include <string>

namespace norv::tools {

/// The fewest digits that read back as the same number: "0.03", "1e-12", "nan", "inf". Zero has no
/// sign, nor has NaN. For numbers that are to be copied.
std::string shortestText(float value);

/// Nine significant digits, which tell any two floats apart, or fewer where those say the same.
std::string nineDigits(double value);

/// The double that prints as `shortestText` does: 0.03 for 0.03F, and not 0.029999999329447746.
/// Narrowed, it is `value` again.
double shortestDouble(float value);

/// The same for a double that holds a number of single precision; any other number as it is.
double shortestIfFloat(double value);

}  // namespace norv::tools

#pragma once

#include <optional>
#include <string>

namespace norv::tools {

/// A distance in metres: a positive number, or "inf"; nullopt for anything else.
std::optional<double> parseDistance(const std::string& text);

/// A limit: a finite number from 0 on; nullopt for anything else.
std::optional<double> parseLimit(const std::string& text);

inline constexpr double kMillimetresPerMetre = 1000;

double toDegrees(double radians);

/// "infinity", "3 m".
std::string distanceText(double metres);

}  // namespace norv::tools

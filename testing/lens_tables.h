#pragma once

/// Sampled lenses, in the form that the sensor's warp takes them.

#include <cmath>
#include <vector>

namespace norv::testing {

constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180;

/// Radii in pixels and the field angles there in degrees, entry by entry.
struct LensTables {
  std::vector<float> radii;
  std::vector<float> degrees;
};

/// Samples `angle_of` (radius in pixels to radians) at 0, step, 2 step, ... `count` times.
template <class AngleOf>
LensTables sampleLens(const AngleOf& angle_of, double step, int count) {
  LensTables tables;
  for (int i = 0; i < count; ++i) {
    tables.radii.push_back(static_cast<float>(i * step));
    tables.degrees.push_back(static_cast<float>(angle_of(i * step) / kRadiansPerDegree));
  }
  return tables;
}

/// The field angle of a stereographic lens with the focal length `f`, r = 2 f tan(theta / 2).
struct Stereographic {
  double f;
  double operator()(double r) const { return 2 * std::atan(r / (2 * f)); }
};

/// The head camera's lens: stereographic with a focal length of 720 pixels, rounded to 0.1 degree.
inline LensTables headCameraTables() {
  LensTables tables = sampleLens(Stereographic{720}, 10, 100);
  for (float& degrees : tables.degrees) degrees = std::round(10 * degrees) / 10;
  return tables;
}

}  // namespace norv::testing

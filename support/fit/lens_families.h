#pragma once

/// Lenses to start the fit from: one-parameter families of field angle against image radius.

#include <array>

namespace norv::internal::fit {

/// The lens with r_d = tan(tau theta) / tau, where theta is the field angle and r_d the image
/// radius in focal lengths; r_d = theta for tau = 0. It covers the common designs: pinhole (tau 1),
/// stereographic (1/2) and equidistant (0).
struct LensFamily {
  double tau;
  std::array<double, 6> k;  ///< the same as rational coefficients k1..k6
};

/// From the pinhole camera to the equidistant fisheye. The coefficients are least-squares fits over
/// field angles of 0 to 70 degrees, within 2.4e-5 focal lengths of the curve; those of the
/// stereographic lens within 1.5e-6 over 66 degrees.
inline constexpr std::array<LensFamily, 4> kLensFamilies = {{
    {1.0, {0, 0, 0, 0, 0, 0}},
    {0.75, {0.760809, 0.106236, 0.001398, 0.906604, 0.183999, 0.006640}},
    {0.5, {0.800174, 0.117548, 0.001619, 1.050108, 0.255504, 0.011237}},
    {0.0, {0.830758, 0.126584, 0.001800, 1.164004, 0.315184, 0.015266}},
}};

/// Without distortion: its rational coefficients are zero, and a fit from it stays near a
/// polynomial.
inline bool isPinhole(const LensFamily& family) { return family.tau == 1.0; }

/// Image radius, in focal lengths, of rays at `field_angle` (radians, tau times it below a right
/// angle).
double imageRadius(const LensFamily& family, double field_angle);

/// The inverse: field angle in radians at an image radius in focal lengths.
double fieldAngle(const LensFamily& family, double image_radius);

}  // namespace norv::internal::fit

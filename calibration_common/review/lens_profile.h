#pragma once

/// What a lens does between its axis and the farthest corner.

#include "calibration_common/review/lens_subject.h"

namespace norv::internal::review {

/// A quantity and the radius, in normalised coordinates, at which the lens has it.
struct AtRadius {
  double value;
  double radius;
};

/// d(r_d)/d(theta), the distorted radius by the angle from the axis, at the radius `r` = tan theta:
/// r_d'(r) (1 + r^2). 1 on the axis; (1 + r^2) for a pinhole, 1 / cos^2(theta / 2) for a
/// stereographic lens.
double slopeByAngle(const calibration::LensDistortion<double>& lens, double r);

struct SlopeRange {
  AtRadius least;
  AtRadius largest;
};

/// The least and the largest slope from the axis to `radius`, by a search between 128 samples. Dips
/// that are much shorter than a sample's distance can go unseen.
SlopeRange slopesByAngle(const calibration::LensDistortion<double>& lens, double radius);

/// The least value of the denominator from the axis to `radius`, exact up to rounding.
AtRadius minDenominator(const calibration::LensDistortion<double>& lens, double radius);

/// The farthest that single precision moves an image point, pixels: of rays along the axes and
/// towards the corners, out to the farthest corner at 32 radii and where the denominator is least,
/// as far as they are imaged within the picture.
double maxNarrowingError(const LensSubject& lens);

/// Share of the image's pixels that lie farther out than the radial map reaches at its end. 0 where
/// it reaches everything.
double shareBeyondEnd(const LensSubject& lens);

}  // namespace norv::internal::review

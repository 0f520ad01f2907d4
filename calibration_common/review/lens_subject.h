#pragma once

#include <array>
#include <string>

#include "calibration_common/review/report.h"
#include "support/lens_distortion.h"

namespace norv::internal::review {

/// A pinhole camera and its image, pixels. Skew does not count: `rectifyPoint` knows none.
struct PinholeImage {
  ImageSize size;
  double fx;
  double fy;
  double cx;
  double cy;
};

/// Whether the numbers are finite, sides and focal lengths positive.
bool isUsable(const PinholeImage& image);

/// The image's corners in normalised coordinates, as the lens distorts them.
std::array<calibration::NormalizedPoint<double>, 4> normalisedCorners(const PinholeImage& image);

/// Distance of the corner that is farthest from the principal point, in normalised coordinates.
double cornerDistance(const PinholeImage& image);

/// How far out the lens is of use. All distances are radii r of undistorted points in normalised
/// coordinates unless they say otherwise, by the radial terms alone: tangential ones are small.
struct LensReach {
  double corner_distorted;  ///< distorted radius of the farthest corner
  double corner_pixels;     ///< its distance from the principal point
  double corner;            ///< of the farthest corner's ray; NaN where none is imaged there
  double end;               ///< where the radial map stops rising; infinite where it never does
  double pole;              ///< of the first zero of the denominator; infinite where it has none
  bool corners_have_rays;   ///< whether all four do, with the tangential terms
};

/// The lens of one image, as it is applied: in single precision, kept as double.
struct LensSubject {
  calibration::LensDistortion<double> lens;
  PinholeImage image;  ///< the one that reaches farthest from the axis of those that the lens has
  std::string field;   ///< path of the list or message that states the radial terms
  /// Path of the tangential terms; empty for a lens that is computed from others or from samples.
  std::string tangential_field;
  std::string name;  ///< begins sentences: "the lens", "the lens between samples 3 and 4"
  /// The lens and the image as they are stored, in double precision; of no meaning for a lens that
  /// is computed.
  calibration::LensDistortion<double> stored_lens;
  PinholeImage stored_image;
  LensReach reach;

  bool isStored() const { return !tangential_field.empty(); }
};

/// The lens in single precision.
calibration::LensDistortion<double> narrowed(const calibration::LensDistortion<double>& lens);

/// The image's numbers in single precision.
PinholeImage narrowed(const PinholeImage& image);

/// Whether all coefficients are finite.
bool isFinite(const calibration::LensDistortion<double>& lens);

/// Fills in the reach. The subject's image must be usable, its coefficients finite.
void measureReach(LensSubject* subject);

/// What becomes of the corners.
enum class LensVerdict {
  kServed,
  kFolds,    ///< a corner has no ray
  kHasPole,  ///< the map rises without bound at or just beyond the farthest corner
};
LensVerdict judgeReach(const LensReach& reach);

/// A pole nearer than this, in radii of the farthest corner's ray, stretches the image there.
inline constexpr double kMinPoleMargin = 1.05;

}  // namespace norv::internal::review

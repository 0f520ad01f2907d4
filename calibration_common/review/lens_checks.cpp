/// Whether a lens model describes a lens: the same for fixed cameras, re-fitted images, zoom
/// samples and what lies between those.

#include <cmath>

#include "calibration_common/review/check.h"
#include "calibration_common/review/lens_profile.h"
#include "calibration_common/review/lens_subject.h"
#include "calibration_common/review/sentence.h"

namespace norv::internal::review {
namespace {

/// The bounds that the fit keeps its own lenses to, and that of a pinhole camera at 77 degrees.
constexpr double kMinSlope = 0.2;
constexpr double kMaxSlope = 20;
constexpr double kMinDenominator = 0.1;
constexpr double kMaxNarrowingError = 0.01;  ///< pixels
/// Twice what the fit expects of real lenses, and a centre off by a tenth of the focal length.
constexpr double kMaxTangential = 0.01;
constexpr double kMaxUsableTangential = 0.1;

bool isServed(const LensSubject& lens) { return judgeReach(lens.reach) == LensVerdict::kServed; }

void checkFold(const LensSubject& lens, Report* report) {
  if (judgeReach(lens.reach) != LensVerdict::kFolds) return;
  const LensReach& reach = lens.reach;
  if (!std::isnan(reach.corner) || !std::isfinite(reach.end)) {
    report->add(
        {Severity::kError, lens.field, std::nullopt, reach.corner_pixels, lens.image.size}, [&] {
          return lens.name + " folds before the farthest corner, " + pixels(reach.corner_pixels) +
                 " from the principal point, by its tangential terms";
        });
    return;
  }
  const double s = reach.end * reach.end;
  const double reached = reach.end * lens.lens.numerator(s) / lens.lens.denominator(s);
  const double imaged = reach.corner_pixels * (reached / reach.corner_distorted);
  report->add({Severity::kError, lens.field, imaged, reach.corner_pixels, lens.image.size}, [&] {
    return lens.name + " folds at " + radiusText(reach.end) + ", which is imaged " +
           pixels(imaged) + " from the principal point; the farthest corner is " +
           pixels(reach.corner_pixels) + " away, and " + percent(shareBeyondEnd(lens)) +
           " of the pixels have no ray";
  });
}

void checkPole(const LensSubject& lens, Report* report) {
  if (judgeReach(lens.reach) != LensVerdict::kHasPole) return;
  const double pole = lens.reach.pole;
  // Where rounding leaves the corner without a ray, the pole stands in for it.
  const double corner = std::isnan(lens.reach.corner) ? pole : lens.reach.corner;
  report->add({Severity::kError, lens.field, pole, kMinPoleMargin * corner, lens.image.size}, [&] {
    return lens.name + " has a pole at " + radiusText(pole) + ", nearer than " +
           number(kMinPoleMargin) + " times the farthest corner's ray at " + radiusText(corner) +
           ": the image is stretched without bound";
  });
}

void addSlope(const LensSubject& lens, const AtRadius& slope, double threshold, Report* report) {
  report->add({Severity::kWarning, lens.field, slope.value, threshold, lens.image.size}, [&] {
    return lens.name + " has the slope d(r_d)/d(theta) = " + number(slope.value) + " at " +
           radiusText(slope.radius) + ", outside " + number(kMinSlope) + " to " + number(kMaxSlope);
  });
}

void checkSlope(const LensSubject& lens, Report* report) {
  if (!isServed(lens)) return;
  const SlopeRange slopes = slopesByAngle(lens.lens, lens.reach.corner);
  if (!(slopes.least.value >= kMinSlope)) addSlope(lens, slopes.least, kMinSlope, report);
  if (!(slopes.largest.value <= kMaxSlope)) addSlope(lens, slopes.largest, kMaxSlope, report);
}

void checkCancellation(const LensSubject& lens, Report* report) {
  if (!isServed(lens)) return;
  const AtRadius least = minDenominator(lens.lens, lens.reach.corner);
  if (least.value >= kMinDenominator) return;
  report->add({Severity::kWarning, lens.field, least.value, kMinDenominator, lens.image.size}, [&] {
    return lens.name + " has the denominator " + number(least.value) + " at " +
           radiusText(least.radius) + ", below " + number(kMinDenominator) +
           ": it nearly cancels with the numerator, and the coefficients mean nothing";
  });
}

void checkNarrowing(const LensSubject& lens, Report* report) {
  if (!isServed(lens) || !lens.isStored()) return;
  const double error = maxNarrowingError(lens);
  if (error <= kMaxNarrowingError) return;
  report->add({Severity::kWarning, lens.field, error, kMaxNarrowingError, lens.image.size}, [&] {
    return lens.name + " moves image points by " + pixels(error) +
           " when its values are narrowed to single precision, more than " +
           pixels(kMaxNarrowingError);
  });
}

void checkTangential(const LensSubject& lens, Report* report) {
  if (!lens.isStored()) return;
  const double size = std::hypot(lens.lens.p1, lens.lens.p2);
  if (size <= kMaxTangential) return;
  const bool unusable = size > kMaxUsableTangential;
  const double threshold = unusable ? kMaxUsableTangential : kMaxTangential;
  report->add({unusable ? Severity::kError : Severity::kWarning, lens.tangential_field, size,
               threshold, lens.image.size},
              [&] {
                return lens.name + " has tangential terms of " + number(size) +
                       " together, above " + number(threshold);
              });
}

}  // namespace

const CheckTable& lensChecks() {
  static const CheckTable table = {
      {"lens-fold",
       {Severity::kError},
       "the lens stops rising before the farthest corner, or a corner has no ray",
       "`rectifyPoint` gives NaN there",
       {&checkFold}},
      {"lens-pole",
       {Severity::kError},
       "the denominator vanishes at less than 1.05 times the radius of the farthest corner's ray",
       "the image is stretched without bound towards a pole, and beyond it no lens is described",
       {&checkPole}},
      {"lens-slope",
       {Severity::kWarning},
       "d(r_d)/d(theta) outside 0.2 to 20 up to the farthest corner",
       "0.2 is the bound of the library's own fit, 20 the slope of a pinhole camera at 77 degrees; "
       "the lenses of the calibrations that come with the library have 0.99 to 2.6",
       {&checkSlope}},
      {"lens-cancel",
       {Severity::kWarning},
       "the denominator is below 0.1 somewhere up to the farthest corner",
       "numerator and denominator nearly cancel there, so that the coefficients mean nothing",
       {&checkCancellation}},
      {"lens-float",
       {Severity::kWarning},
       "single precision moves an image point by more than 0.01 px",
       "camera matrices and coefficients are narrowed to single precision, which moves the lenses "
       "that come with the library by 0.0001 px at most",
       {&checkNarrowing}},
      {"lens-tangential",
       {Severity::kError, Severity::kWarning},
       "hypot(p1, p2) above 0.1 (error) or 0.01 (warning)",
       "0.01 is twice what the library's own fit expects of a lens; those that come with the "
       "library "
       "have 0.0005 at most",
       {&checkTangential}},
  };
  return table;
}

}  // namespace norv::internal::review

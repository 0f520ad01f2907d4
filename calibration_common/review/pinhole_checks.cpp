/// What the pinhole camera should be besides its focal length.

#include <algorithm>
#include <cmath>
#include <optional>

#include "calibration_common/review/check.h"
#include "calibration_common/review/sentence.h"
#include "calibration_common/review/subjects.h"

namespace norv::internal::review {
namespace {

using calibration::CameraIntrinsics;

constexpr double kMinAspect = 0.95;
constexpr double kMaxAspect = 1.05;
/// Of the image's side.
constexpr double kMaxOffCentre = 0.15;

void checkAspect(const CameraSubject& camera, Report* report) {
  const PinholeImage& full = camera.full_frame.pinhole;
  if (!isUsable(full)) return;
  const double aspect = full.fx / full.fy;
  if (aspect >= kMinAspect && aspect <= kMaxAspect) return;
  const double threshold = aspect < kMinAspect ? kMinAspect : kMaxAspect;
  report->add({Severity::kWarning, camera.path + ".intrinsics.fx", aspect, threshold}, [&] {
    return "fx / fy is " + number(aspect) + ", outside " + number(kMinAspect) + " to " +
           number(kMaxAspect);
  });
}

void checkSkew(const CameraSubject& camera, Report* report) {
  const double skew = camera.message.intrinsics().skew();
  const PinholeImage& full = camera.full_frame.pinhole;
  if (skew == 0 || !std::isfinite(skew) || !isUsable(full)) return;
  const double edge = std::max(std::abs(full.cy), std::abs(full.size.height - full.cy)) / full.fy;
  report->add({Severity::kWarning, camera.path + ".intrinsics.skew", skew, 0.0}, [&] {
    return "skew is " + number(skew) + " and not 0: rectifyPoint knows none and errs by up to " +
           pixels(std::abs(skew) * edge);
  });
}

/// Where the principal point lies along one side of an image.
struct OffCentre {
  std::string name;
  ImageSize size;
  int side;
  double position;

  /// 0 in the middle, 0.5 at the border.
  double share() const { return std::abs(position - 0.5 * side) / side; }
};

void reportOffCentre(const OffCentre& off, const std::string& field, Report* report) {
  if (off.share() <= kMaxOffCentre) return;
  const bool outside = off.share() > 0.5;
  const double reach = (outside ? 0.5 : kMaxOffCentre) * off.side;
  const double threshold = 0.5 * off.side + (off.position < 0.5 * off.side ? -reach : reach);
  report->add(
      {outside ? Severity::kError : Severity::kWarning, field, off.position, threshold, off.size},
      [&] {
        return "the principal point's " + off.name + " is " + number(off.position) + " of " +
               std::to_string(off.side) + " px, " +
               (outside ? "outside the image, whose border is at "
                        : "more than " + percent(kMaxOffCentre) +
                              " of the side from its centre, beyond ") +
               number(threshold);
      });
}

OffCentre alongWidth(const PinholeImage& image) {
  return {"x", image.size, image.size.width, image.cx};
}

OffCentre alongHeight(const PinholeImage& image) {
  return {"y", image.size, image.size.height, image.cy};
}

/// Reports the image in which the principal point is farthest off, of those cut out of the full
/// frame or of those that are fitted again.
void reportFarthestOff(const CameraSubject& camera, OffCentre (*along)(const PinholeImage&),
                       bool refitted, const std::string& field, Report* report) {
  std::optional<OffCentre> farthest;
  for (const CameraImage& image : camera.images) {
    if (image.refitted != refitted || !isUsable(image.pinhole)) continue;
    const OffCentre off = along(image.pinhole);
    if (!farthest || off.share() > farthest->share()) farthest = off;
  }
  if (farthest) reportOffCentre(*farthest, field, report);
}

void checkCameraPrincipalPoint(const CameraSubject& camera, Report* report) {
  const std::string in = camera.path + ".intrinsics.";
  reportFarthestOff(camera, alongWidth, false, in + "cx", report);
  reportFarthestOff(camera, alongHeight, false, in + "cy", report);
  reportFarthestOff(camera, alongWidth, true, in + "samples", report);
  reportFarthestOff(camera, alongHeight, true, in + "samples", report);
}

void checkPtzPrincipalPoint(const PtzSubject& ptz, Report* report) {
  for (int i = 0; i < ptz.message.intrinsics().samples_size(); ++i) {
    const PinholeImage image = sampleImage(ptz.message.intrinsics(), i);
    if (!isUsable(image)) continue;
    reportOffCentre(alongWidth(image), samplePath(i) + ".cx", report);
    reportOffCentre(alongHeight(image), samplePath(i) + ".cy", report);
  }
}

void checkPixelOrigin(const CameraSubject& camera, Report* report) {
  const CameraIntrinsics& in = camera.message.intrinsics();
  const double cx = 0.5 * (in.width() - 1.0);
  const double cy = 0.5 * (in.height() - 1.0);
  if (in.width() < 1 || in.height() < 1 || in.cx() != cx || in.cy() != cy) return;
  report->add({Severity::kInfo, camera.path + ".intrinsics.cx", in.cx(), cx + 0.5}, [&] {
    return "cx and cy are (width - 1) / 2 and (height - 1) / 2, the centre " + number(cx) +
           " where pixels are counted from their centres; here it is " + number(cx + 0.5) +
           ": add 0.5 to both";
  });
}

}  // namespace

const CheckTable& pinholeChecks() {
  static const CheckTable table = {
      {"aspect",
       {Severity::kWarning},
       "fx / fy outside 0.95 to 1.05 at the full frame",
       "pixels are square; the library's own fit expects 0.005",
       {&checkAspect}},
      {"skew",
       {Severity::kWarning},
       "skew is not 0",
       "`rectifyPoint` has no skew and errs by skew x y_d",
       {&checkSkew}},
      {"principal-point",
       {Severity::kError, Severity::kWarning},
       "outside the image (error), or more than 15 % of the side from its centre (warning), at the "
       "full frame, at any size that the model delivers, or at a zoom sample",
       "lenses are mounted centred; a cropped image needs the crop's principal point",
       {&checkCameraPrincipalPoint, &checkPtzPrincipalPoint}},
      {"pixel-origin",
       {Severity::kInfo},
       "cx = (width - 1) / 2 and cy = (height - 1) / 2 exactly",
       "made where pixels are counted from their centres: add 0.5",
       {&checkPixelOrigin}},
  };
  return table;
}

}  // namespace norv::internal::review

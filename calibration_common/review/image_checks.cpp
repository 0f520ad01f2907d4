/// Sizes and focal lengths, of fixed cameras and of zoom samples.

#include <algorithm>
#include <cmath>

#include "calibration_common/review/check.h"
#include "calibration_common/review/sentence.h"
#include "calibration_common/review/subjects.h"

namespace norv::internal::review {
namespace {

using calibration::CameraIntrinsics;
using calibration::PTZIntrinsicsItem;
using calibration::PTZIntrinsicsTable;

constexpr int kMaxSide = 16384;  ///< pixels
/// In longer sides of the image: fields of view of 136 and of 3 degrees.
constexpr double kMinFocalLength = 0.2;
constexpr double kMaxFocalLength = 20;

/// Width or height.
struct Side {
  const char* name;
  bool present;
  int pixels;
};

void checkSide(const Side& side, const std::string& field, Report* report) {
  if (!side.present) {
    report->add({Severity::kError, field, std::nullopt, 1.0},
                [&] { return std::string(side.name) + " is missing, where at least 1 is needed"; });
  } else if (side.pixels < 1) {
    report->add({Severity::kError, field, side.pixels, 1.0}, [&] {
      return std::string(side.name) + " is " + std::to_string(side.pixels) + ", below 1";
    });
  } else if (side.pixels > kMaxSide) {
    report->add({Severity::kWarning, field, side.pixels, kMaxSide}, [&] {
      return std::string(side.name) + " is " + std::to_string(side.pixels) + ", above " +
             std::to_string(kMaxSide);
    });
  }
}

void checkCameraSize(const CameraSubject& camera, Report* report) {
  const CameraIntrinsics& in = camera.message.intrinsics();
  checkSide({"width", in.has_width(), in.width()}, camera.path + ".intrinsics.width", report);
  checkSide({"height", in.has_height(), in.height()}, camera.path + ".intrinsics.height", report);
}

void checkPtzSize(const PtzSubject& ptz, Report* report) {
  const PTZIntrinsicsTable& table = ptz.message.intrinsics();
  checkSide({"image_width", table.has_image_width(), table.image_width()}, "intrinsics.image_width",
            report);
  checkSide({"image_height", table.has_image_height(), table.image_height()},
            "intrinsics.image_height", report);
}

/// A focal length, pixels.
struct Focal {
  const char* name;
  bool present;
  double value;
};

void checkFocalLength(const Focal& focal, const std::string& field, Report* report) {
  if (!focal.present) {
    report->add({Severity::kError, field, std::nullopt, 0.0}, [&] {
      return std::string(focal.name) + " is missing, where a number above 0 is needed";
    });
  } else if (static_cast<float>(focal.value) <= 0 && std::isfinite(focal.value)) {
    report->add({Severity::kError, field, focal.value, 0.0}, [&] {
      return std::string(focal.name) + " is " + number(focal.value) +
             (focal.value > 0 ? ", which is 0 in single precision" : ", not above 0");
    });
  }
}

void checkCameraFocal(const CameraSubject& camera, Report* report) {
  const CameraIntrinsics& in = camera.message.intrinsics();
  checkFocalLength({"fx", in.has_fx(), in.fx()}, camera.path + ".intrinsics.fx", report);
  checkFocalLength({"fy", in.has_fy(), in.fy()}, camera.path + ".intrinsics.fy", report);
}

void checkPtzFocal(const PtzSubject& ptz, Report* report) {
  for (int i = 0; i < ptz.message.intrinsics().samples_size(); ++i) {
    const PTZIntrinsicsItem& sample = ptz.message.intrinsics().samples(i);
    checkFocalLength({"focal_length", sample.has_focal_length(), sample.focal_length()},
                     samplePath(i) + ".focal_length", report);
  }
}

/// `max_sides` bounds the focal length from above, in longer sides of the image.
void checkRange(const Focal& focal, const ImageSize& size, double max_sides,
                const std::string& field, Report* report) {
  const int side = std::max(size.width, size.height);
  const double least = kMinFocalLength * side;
  const double largest = max_sides * side;
  if (!std::isfinite(focal.value) || focal.value <= 0 || side < 1) return;
  if (focal.value >= least && focal.value <= largest) return;
  const bool short_lens = focal.value < least;
  report->add({Severity::kWarning, field, focal.value, short_lens ? least : largest}, [&] {
    return std::string(focal.name) + " is " + pixels(focal.value) +
           (short_lens ? ", below " + pixels(least) + ", " + number(kMinFocalLength)
                       : ", above " + pixels(largest) + ", " + number(max_sides)) +
           " times the longer side of the image";
  });
}

void checkCameraFocalRange(const CameraSubject& camera, Report* report) {
  const PinholeImage& full = camera.full_frame.pinhole;
  checkRange({"fx", true, full.fx}, full.size, kMaxFocalLength, camera.path + ".intrinsics.fx",
             report);
  checkRange({"fy", true, full.fy}, full.size, kMaxFocalLength, camera.path + ".intrinsics.fy",
             report);
}

void checkPtzFocalRange(const PtzSubject& ptz, Report* report) {
  const PTZIntrinsicsTable& table = ptz.message.intrinsics();
  for (int i = 0; i < table.samples_size(); ++i) {
    checkRange({"focal_length", true, table.samples(i).focal_length()},
               {table.image_width(), table.image_height()}, INFINITY,
               samplePath(i) + ".focal_length", report);
  }
}

}  // namespace

const CheckTable& imageChecks() {
  static const CheckTable table = {
      {"size",
       {Severity::kError, Severity::kWarning},
       "width or height missing or below 1 (error), or above 16384 (warning)",
       "nothing can be scaled to or from an empty image; no sensor is larger",
       {&checkCameraSize, &checkPtzSize}},
      {"focal",
       {Severity::kError},
       "a focal length missing, 0 (in single precision) or negative",
       "no ray is found without one",
       {&checkCameraFocal, &checkPtzFocal}},
      {"focal-range",
       {Severity::kWarning},
       "a focal length outside 0.2 to 20 times the longer side of the image; for zoom samples, "
       "below 0.2 times",
       "136 to 3 degrees of view",
       {&checkCameraFocalRange, &checkPtzFocalRange}},
  };
  return table;
}

}  // namespace norv::internal::review

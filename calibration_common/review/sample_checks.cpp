/// The sample points of a camera whose sensor warps an image, and the fit to them.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <unordered_map>

#include "calibration_common/review/check.h"
#include "calibration_common/review/sentence.h"
#include "calibration_common/review/subjects.h"
#include "support/fit/planar_view.h"

namespace norv::internal::review {
namespace {

using calibration::CameraIntrinsics;
using calibration::SamplePoint;

/// Distinct target points that a fit needs, and that a fit of all its parameters needs.
constexpr int kMinFittable = 4;
constexpr int kMinPoints = 12;
/// Length of a square of the target, metres.
constexpr float kMinScale = 0.001F;
constexpr float kMaxScale = 1.0F;
/// Of the frame's side.
constexpr double kMinCover = 0.5;
/// Pixels. Corners found to 0.4 pixels, which is poor, give 0.6.
constexpr double kMaxError = 0.6;
constexpr double kMaxLoadableError = 10;
/// An outlier is off by more pixels than the one and more medians than the other.
constexpr double kMinOutlier = 1;
constexpr double kMinOutlierMedians = 5;

std::string samplesPath(const CameraSubject& camera) { return camera.path + ".intrinsics.samples"; }

std::string samplePath(const CameraSubject& camera, int i) {
  return samplesPath(camera) + "[" + std::to_string(i) + "]";
}

bool isFinite(const SamplePoint& sample) {
  return std::isfinite(sample.image_x()) && std::isfinite(sample.image_y()) &&
         std::isfinite(sample.model_x()) && std::isfinite(sample.model_y());
}

/// The same number for equal target points.
std::uint64_t targetKey(const SamplePoint& sample) {
  const auto bits = [](float value) {
    value += 0.0F;  // turns -0 into 0
    std::uint32_t pattern = 0;
    std::memcpy(&pattern, &value, sizeof(value));
    return std::uint64_t{pattern};
  };
  return bits(sample.model_x()) << 32U | bits(sample.model_y());
}

void checkMissing(const CameraSubject& camera, Report* report) {
  if (!camera.warps || camera.message.intrinsics().samples_size() > 0) return;
  report->add({Severity::kError, samplesPath(camera), 0.0, kMinFittable}, [&] {
    return std::string("there are no samples, which the model needs: its sensor warps an image");
  });
}

/// A coordinate that should lie within 0 to `side`.
void checkInside(float position, int side, const std::string& field, Report* report) {
  if (position >= 0 && position <= static_cast<float>(side)) return;
  const double value = static_cast<double>(position);
  report->add({Severity::kError, field, value, position < 0 ? 0.0 : side}, [&] {
    return "the sample is seen at " + number(value) + ", outside the full frame, which ends at " +
           (position < 0 ? "0" : std::to_string(side));
  });
}

void checkOutside(const CameraSubject& camera, Report* report) {
  const CameraIntrinsics& in = camera.message.intrinsics();
  if (!camera.warps || in.width() < 1 || in.height() < 1) return;
  for (int i = 0; i < in.samples_size(); ++i) {
    const SamplePoint& sample = in.samples(i);
    if (!isFinite(sample)) continue;
    checkInside(sample.image_x(), in.width(), samplePath(camera, i) + ".image_x", report);
    checkInside(sample.image_y(), in.height(), samplePath(camera, i) + ".image_y", report);
  }
}

void checkRepeated(const CameraSubject& camera, Report* report) {
  if (!camera.warps) return;
  std::unordered_map<std::uint64_t, int> first;
  for (int i = 0; i < camera.message.intrinsics().samples_size(); ++i) {
    const SamplePoint& sample = camera.message.intrinsics().samples(i);
    if (!isFinite(sample)) continue;
    const auto [found, added] = first.emplace(targetKey(sample), i);
    if (added) continue;
    const int other = found->second;
    report->add({Severity::kError, samplePath(camera, i)}, [&] {
      return "the sample is of the target point of samples[" + std::to_string(other) + "]";
    });
  }
}

int countDistinct(const CameraIntrinsics& in) {
  std::unordered_map<std::uint64_t, int> distinct;
  for (const SamplePoint& sample : in.samples()) {
    if (isFinite(sample)) distinct.emplace(targetKey(sample), 0);
  }
  return static_cast<int>(distinct.size());
}

bool onOneLine(const CameraIntrinsics& in) {
  std::vector<Vector2_f> points;
  for (const SamplePoint& sample : in.samples()) {
    points.emplace_back(sample.model_x(), sample.model_y());
  }
  return !fit::makePlanarView(points, points, {0, 0}).has_value();
}

/// Whether there is no fit because the target points do not span a plane.
bool spansNoPlane(const CameraSubject& camera) {
  if (!camera.refit || camera.refit->exists) return false;
  const CameraIntrinsics& in = camera.message.intrinsics();
  return countDistinct(in) < kMinFittable || onOneLine(in);
}

void checkFew(const CameraSubject& camera, Report* report) {
  if (!camera.refit) return;
  const int distinct = countDistinct(camera.message.intrinsics());
  if (!spansNoPlane(camera)) {
    if (distinct >= kMinPoints) return;
    report->add({Severity::kWarning, samplesPath(camera), distinct, kMinPoints}, [&] {
      return "the samples are of " + std::to_string(distinct) +
             " distinct target points, fewer than " + std::to_string(kMinPoints) +
             ", so that fewer parameters are fitted";
    });
    return;
  }
  report->add({Severity::kError, samplesPath(camera), distinct, kMinFittable}, [&] {
    const std::string points = std::to_string(distinct) + " distinct target points";
    return distinct < kMinFittable
               ? "the samples are of " + points + ", fewer than the " +
                     std::to_string(kMinFittable) + " that a fit needs"
               : "the samples are of " + points + ", all on one line, where a fit needs at least " +
                     std::to_string(kMinFittable) + " that are not";
  });
}

void checkGrid(const CameraSubject& camera, Report* report) {
  if (!camera.refit) return;
  const CameraIntrinsics& in = camera.message.intrinsics();
  const double stated = static_cast<double>(in.sample_size_x()) * in.sample_size_y();
  if (in.samples_size() != stated) {
    report->add(
        {Severity::kWarning, camera.path + ".intrinsics.sample_size_x", in.samples_size(), stated},
        [&] {
          return "there are " + std::to_string(in.samples_size()) +
                 " samples, where sample_size_x times sample_size_y is " + number(stated);
        });
  }
  const float scale = in.sample_scale();
  if ((scale >= kMinScale && scale <= kMaxScale) || !std::isfinite(scale)) return;
  const auto bound = static_cast<double>(scale < kMinScale ? kMinScale : kMaxScale);
  const auto value = static_cast<double>(scale);
  report->add({Severity::kWarning, camera.path + ".intrinsics.sample_scale", value, bound}, [&] {
    return "sample_scale is " + number(value) +
           " m, outside 0.001 to 1 m: is the length of a square in metres?";
  });
}

/// Extent of the samples along one side of the frame.
void checkExtent(const CameraSubject& camera, float (SamplePoint::*position)() const, int side,
                 const char* direction, Report* report) {
  const auto& samples = camera.message.intrinsics().samples();
  const auto less = [position](const SamplePoint& a, const SamplePoint& b) {
    return (a.*position)() < (b.*position)();
  };
  const auto [low, high] = std::minmax_element(samples.begin(), samples.end(), less);
  const double extent = static_cast<double>(((*high).*position)() - ((*low).*position)());
  const double needed = kMinCover * side;
  if (extent >= needed || !std::isfinite(extent)) return;
  report->add({Severity::kWarning, samplesPath(camera), extent, needed}, [&] {
    return "the samples span " + pixels(extent) + " " + direction + ", less than half of the " +
           std::to_string(side) + " px, so that the fit extrapolates";
  });
}

void checkCover(const CameraSubject& camera, Report* report) {
  const CameraIntrinsics& in = camera.message.intrinsics();
  if (!camera.refit || !camera.refit->exists || in.width() < 1 || in.height() < 1) return;
  checkExtent(camera, &SamplePoint::image_x, in.width(), "across", report);
  checkExtent(camera, &SamplePoint::image_y, in.height(), "down", report);
}

void checkRefit(const CameraSubject& camera, Report* report) {
  if (!camera.refit || spansNoPlane(camera)) return;
  const double error = camera.refit->error_per_point;
  if (error <= kMaxError) return;
  const bool loads = error <= kMaxLoadableError;
  const double threshold = loads ? kMaxError : kMaxLoadableError;
  report->add(
      {loads ? Severity::kWarning : Severity::kError, samplesPath(camera), error, threshold}, [&] {
        if (!camera.refit->exists) return std::string("no camera fits the samples");
        return "the fit misses the samples by " + pixels(error) + " per point, more than " +
               pixels(threshold) + (loads ? "" : ", and the camera does not load");
      });
}

double median(std::vector<float> values) {
  values.erase(std::remove_if(values.begin(), values.end(),
                              [](float value) { return !std::isfinite(value); }),
               values.end());
  if (values.empty()) return 0;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return static_cast<double>(*middle);
}

void checkOutliers(const CameraSubject& camera, Report* report) {
  if (!camera.refit || !camera.refit->exists) return;
  const std::vector<float>& residuals = camera.refit->residuals;
  const double typical = median(residuals);
  const double threshold = std::max(kMinOutlier, kMinOutlierMedians * typical);
  for (std::size_t i = 0; i < residuals.size(); ++i) {
    const auto residual = static_cast<double>(residuals[i]);
    if (!std::isfinite(residual) || residual <= threshold) continue;
    report->add({Severity::kWarning, samplePath(camera, static_cast<int>(i)), residual, threshold},
                [&] {
                  return "the fit misses the sample by " + pixels(residual) + ", more than " +
                         pixels(threshold) + ", where the median is " + pixels(typical);
                });
  }
}

}  // namespace

const CheckTable& sampleChecks() {
  static const CheckTable table = {
      {"samples-missing",
       {Severity::kError},
       "no samples for a model whose sensor warps an image",
       "the calibration does not load",
       {&checkMissing}},
      {"samples-outside",
       {Severity::kError},
       "a sample beyond the full frame, or two samples of one target point",
       "no sensor sees there, and no point is in two places",
       {&checkOutside, &checkRepeated}},
      {"samples-few",
       {Severity::kError, Severity::kWarning},
       "fewer than 4 distinct target points or all on one line (error), fewer than 12 (warning)",
       "nothing can be fitted and the camera does not load; fewer parameters are fitted",
       {&checkFew}},
      {"samples-grid",
       {Severity::kWarning},
       "another number of samples than sample_size_x times sample_size_y, or a sample_scale "
       "outside "
       "0.001 to 1 m",
       "points were lost or added; millimetres for metres",
       {&checkGrid}},
      {"samples-cover",
       {Severity::kWarning},
       "the samples' bounding box is narrower or lower than half the full frame",
       "the fit extrapolates",
       {&checkCover}},
      {"refit",
       {Severity::kError, Severity::kWarning},
       "the fit's error per point is above 10 px (error) or 0.6 px (warning), or nothing fits "
       "(error)",
       "above 10 px the camera does not load; corners found to 0.4 px, which is poor, give 0.6 px",
       {&checkRefit}},
      {"refit-outlier",
       {Severity::kWarning},
       "the fit misses a sample by more than 5 times the median and more than 1 px",
       "one wrong sample among 130 spoils the whole fit, and most such cameras load",
       {&checkOutliers}},
  };
  return table;
}

}  // namespace norv::internal::review

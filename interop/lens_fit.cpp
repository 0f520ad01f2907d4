#include "interop/lens_fit.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>

#include "interop/fit/lens_search.h"
#include "interop/fit/picture_grid.h"
#include "interop/fit/picture_rays.h"
#include "interop/fit/radial_samples.h"
#include "support/lens_validity.h"
#include "support/point_projection.h"

namespace norv::interop {
namespace {

using calibration::CameraModel;
using calibration::LensDistortion;

constexpr const char* kBeyondNumbers = "its rays or pixels exceed the range of numbers";

constexpr double kDegree = 3.14159265358979323846 / 180;

CameraModel withoutLens(const PeerCamera& source, double scale) {
  return {source.size.width,   source.size.height, scale * source.fx, scale * source.fy,
          scale * source.skew, source.cx,          source.cy,         {}};
}

/// The mean and the largest of what was added.
class Deviations {
 public:
  void add(double distance) {
    if (!(distance <= max_) && !std::isnan(max_)) max_ = distance;
    squared_ += distance * distance;
    ++count_;
  }
  LensDeviation result(double share) const {
    return {max_, std::sqrt(squared_ / static_cast<double>(count_)), share};
  }

 private:
  double max_ = 0;
  double squared_ = 0;
  std::size_t count_ = 0;
};

std::string beyondTarget(const RaySample& sample, const CameraModel& target) {
  return fmt::format(
      "the picture has rays {:.4g} degrees from the axis, and the lens that is to hold them ends "
      "at {:.4g} degrees",
      std::atan(std::hypot(sample.ray.x, sample.ray.y)) / kDegree,
      calibration::validHalfAngle(target.lens) / kDegree);
}

std::variant<LensDeviation, std::string> deviationOf(const PeerCamera& source,
                                                     const PictureRays& picture,
                                                     const CameraModel& target) {
  const std::vector<RaySample>& samples = picture.samples;
  std::vector<double> points;
  for (const RaySample& sample : samples) {
    points.insert(points.end(), {sample.ray.x, sample.ray.y, 1});
  }
  std::vector<double> pixels(2 * samples.size());
  std::vector<calibration::PointStatus> statuses(samples.size());
  calibration::projectPoints(target, {points.data(), 3}, samples.size(), {pixels.data(), 2},
                             {statuses.data(), nullptr});
  Deviations deviations;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    if (statuses[i] == calibration::PointStatus::kNotFinite) return kBeyondNumbers;
    if (!hasAnswer(statuses[i])) return beyondTarget(samples[i], target);
    const auto& q = samples[i].imaged;
    const double u = source.fx * q.x + source.skew * q.y + source.cx;
    const double v = source.fy * q.y + source.cy;
    deviations.add(std::hypot(pixels[2 * i] - u, pixels[2 * i + 1] - v));
  }
  const LensDeviation deviation = deviations.result(picture.share);
  if (!std::isfinite(deviation.max + deviation.rms)) return kBeyondNumbers;
  return deviation;
}

/// Whether the directions of rays do not matter to the lens.
bool isRadial(const PeerCamera& source) {
  const auto* const map = std::get_if<RadialMap>(&source.lens);
  return map != nullptr && map->then.toCoefficients() == LensDistortion<double>{}.toCoefficients();
}

/// The coefficients that are looked for: the first ones, but for the tangential ones of what has
/// no direction.
std::vector<std::size_t> freeCoefficients(int count, bool is_radial) {
  std::vector<std::size_t> free;
  for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
    const bool is_tangential = i == 2 || i == 3;
    if (!(is_radial && is_tangential)) free.push_back(i);
  }
  return free;
}

bool needsNoMore(const LensDistortion<double>& lens, int count) {
  const std::array<double, 8> c = lens.toCoefficients();
  return std::all_of(c.begin() + count, c.end(), [](double k) { return k == 0; });
}

double scaleOf(const PeerLens& lens) {
  const auto* const map = std::get_if<RadialMap>(&lens);
  return map == nullptr ? 1 : slopeOnAxis(*map);
}

/// The rational part of the source's lens.
std::optional<LensDistortion<double>> rationalPart(const PeerLens& lens) {
  if (const auto* const rational = std::get_if<LensDistortion<double>>(&lens)) return *rational;
  const auto* const extended = std::get_if<ExtendedLens>(&lens);
  if (extended == nullptr) return std::nullopt;
  return extended->rational;
}

/// What the fit on the camera matrix of `target` has to do for these rays of the source.
LensProblem problemOf(const PeerCamera& source, const CameraModel& target,
                      std::vector<RaySample> samples, int coefficients) {
  const bool is_radial = isRadial(source);
  const double scale = scaleOf(source.lens);
  Eigen::Matrix2d to_pixels;
  to_pixels << target.fx, target.skew, 0, target.fy;
  if (is_radial) samples = radialSamples(std::get<RadialMap>(source.lens), samples, to_pixels);
  for (RaySample& sample : samples) {
    sample.imaged = {sample.imaged.x / scale, sample.imaged.y / scale};
  }
  return makeProblem(std::move(samples), to_pixels, freeCoefficients(coefficients, is_radial));
}

}  // namespace

std::optional<CameraModel> exactModel(const PeerCamera& source) {
  CameraModel model = withoutLens(source, 1);
  if (const auto* const lens = std::get_if<LensDistortion<double>>(&source.lens)) {
    model.lens = *lens;
    return model;
  }
  const auto* const extended = std::get_if<ExtendedLens>(&source.lens);
  if (extended == nullptr || !isRational(*extended)) return std::nullopt;
  model.lens = extended->rational;
  return model;
}

std::variant<LensDeviation, std::string> measureDeviation(const PeerCamera& source,
                                                          const CameraModel& target) {
  const auto rays = raysOfPicture(source, pictureGrid(source.size));
  if (const auto* const reason = std::get_if<std::string>(&rays)) return *reason;
  return deviationOf(source, std::get<PictureRays>(rays), target);
}

std::variant<CameraModel, std::string> fitLens(const PeerCamera& source, int coefficients) {
  if (const auto exact = exactModel(source)) {
    if (needsNoMore(exact->lens, coefficients)) return *exact;
  }
  auto rays = raysOfPicture(source, denselyBorderedGrid(source.size));
  if (const auto* const reason = std::get_if<std::string>(&rays)) return *reason;
  const double scale = scaleOf(source.lens);
  if (!(scale > 0 && std::isfinite(scale))) return "its lens has no focal length on its axis";
  CameraModel model = withoutLens(source, scale);
  if (coefficients == 0) return model;
  const LensProblem problem =
      problemOf(source, model, std::get<PictureRays>(std::move(rays)).samples, coefficients);
  std::optional<LensCoefficients> near;
  if (const auto part = rationalPart(source.lens)) near = inProblemUnits(problem, *part);
  const auto lens = searchLens(problem, near);
  if (!lens) {
    return fmt::format("no lens of {} coefficients that rises up to the corners was found",
                       coefficients);
  }
  model.lens = *lens;
  return model;
}

}  // namespace norv::interop

/// What the pointing computation takes for granted of a head.

#include <algorithm>
#include <cmath>

#include "calibration_common/head_geometry.h"
#include "calibration_common/head_limits.h"
#include "calibration_common/review/check.h"
#include "calibration_common/review/sentence.h"
#include "calibration_common/review/subjects.h"
#include "support/numeric/angles.h"

namespace norv::internal::review {
namespace {

using calibration::HeadGeometry;

constexpr const char* kField = "pan_tilt";

using head_limits::kMaxAzimuthError;
using head_limits::kMaxElevation;
using head_limits::kMaxTiltAxisError;
constexpr double kMaxAxisGap = 1000 * head_limits::kMaxAxisGap;  ///< millimetres

std::optional<HeadGeometry> geometryOf(const PtzSubject& ptz) {
  if (!std::all_of(ptz.poses.begin(), ptz.poses.end(), isRotation)) return std::nullopt;
  return calibration::describeHead(ptz.message.pan_tilt());
}

void checkAzimuth(const PtzSubject& ptz, Report* report) {
  const std::optional<HeadGeometry> geometry = geometryOf(ptz);
  if (!geometry || azimuthIsSupported(*geometry)) return;
  const double azimuth = degrees(geometry->azimuth);
  const double error = std::abs(std::remainder(azimuth, 180));
  report->add({Severity::kWarning, kField, error, kMaxAzimuthError}, [&] {
    return "the optical axis at zero tilt has the azimuth " + number(azimuth) +
           " deg in the pan frame, " + number(error) + " deg from 0 or 180 deg, more than " +
           number(kMaxAzimuthError) + " deg: pointing misses targets";
  });
}

void checkElevation(const PtzSubject& ptz, Report* report) {
  const std::optional<HeadGeometry> geometry = geometryOf(ptz);
  if (!geometry || elevationIsSupported(*geometry)) return;
  const double elevation = degrees(geometry->elevation);
  report->add({Severity::kWarning, kField, elevation, elevation < 0 ? 0 : kMaxElevation}, [&] {
    return "the optical axis at zero tilt has the elevation " + number(elevation) +
           " deg in the pan frame, outside 0 to " + number(kMaxElevation) +
           " deg: pointing misses part of the targets in reach";
  });
}

void checkTiltAxis(const PtzSubject& ptz, Report* report) {
  const std::optional<HeadGeometry> geometry = geometryOf(ptz);
  if (!geometry || tiltAxisIsSupported(*geometry)) return;
  const double error = degrees(geometry->tilt_axis_error);
  if (std::isnan(error)) {
    report->add({Severity::kWarning, kField, std::nullopt, kMaxTiltAxisError}, [] {
      return "the optical axis at zero tilt is parallel to the pan axis, so that no tilt axis is "
             "square to both";
    });
    return;
  }
  report->add({Severity::kWarning, kField, error, kMaxTiltAxisError}, [&] {
    return "the tilt axis is " + number(error) +
           " deg from square to the pan axis and the optical axis, more than " +
           number(kMaxTiltAxisError) + " deg: pointing misses part of the targets";
  });
}

void checkAxisGap(const PtzSubject& ptz, Report* report) {
  const std::optional<HeadGeometry> geometry = geometryOf(ptz);
  if (!geometry || reachesThePanAxis(*geometry)) return;
  const double gap = geometry->axis_gap * 1000;
  report->add({Severity::kWarning, kField, gap, kMaxAxisGap}, [&] {
    return "the optical axis passes the pan axis at " + number(gap) + " mm, more than " +
           number(kMaxAxisGap) + " mm: a target exactly on the pan axis is missed";
  });
}

}  // namespace

const CheckTable& headChecks() {
  static const CheckTable table = {
      {"head-azimuth",
       {Severity::kWarning},
       "the optical axis at zero tilt has an azimuth in the pan frame more than 0.05 degrees from "
       "0 and from 180",
       "pointing misses the targets within twice the error of the pan axis; docs/pan_tilt_heads.md "
       "shows how to write the head",
       {&checkAzimuth}},
      {"head-elevation",
       {Severity::kWarning},
       "the optical axis at zero tilt has an elevation in the pan frame outside 0 to 30 degrees",
       "from 30 degrees on, pointing misses targets that are 52 degrees below the plane of pan, "
       "and "
       "with negative ones targets above it",
       {&checkElevation}},
      {"head-tilt-axis",
       {Severity::kWarning},
       "the tilt axis is more than 1 degree from square to the pan axis and the optical axis",
       "pointing misses part of the targets, 0.8 % at 1 degree",
       {&checkTiltAxis}},
      {"head-axis-gap",
       {Severity::kWarning},
       "the optical axis passes the pan axis at more than 3.16 mm",
       "a target exactly on the pan axis is missed: pointing accepts an error of 1e-5 square "
       "metres",
       {&checkAxisGap}},
  };
  return table;
}

}  // namespace norv::internal::review

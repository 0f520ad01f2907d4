/// The motors of a pan-tilt head.

#include <array>
#include <cmath>
#include <cstdint>
#include <optional>

#include "calibration_common/review/check.h"
#include "calibration_common/review/sentence.h"
#include "calibration_common/review/subjects.h"
#include "support/numeric/angles.h"

namespace norv::internal::review {
namespace {

using calibration::PanTiltSystemParameters;

constexpr double kFullTurn = 360;  ///< degrees

/// One motor's numbers, as far as they are stated.
struct Motor {
  std::string name;
  std::optional<float> scale;
  std::optional<int> min;
  std::optional<int> max;
  std::optional<int> home;

  std::string field(const char* kind) const { return "pan_tilt." + std::string(kind) + name; }
  bool hasRange() const { return min && max && *min <= *max; }
};

template <class Value>
std::optional<Value> stated(bool present, Value value) {
  return present ? std::optional<Value>(value) : std::nullopt;
}

std::array<Motor, 2> motors(const PtzSubject& ptz) {
  const PanTiltSystemParameters& p = ptz.message.pan_tilt();
  return {
      {{"pan", stated(p.has_pan_scale(), p.pan_scale()), stated(p.has_min_pan(), p.min_pan()),
        stated(p.has_max_pan(), p.max_pan()), stated(p.has_home_pan(), p.home_pan())},
       {"tilt", stated(p.has_tilt_scale(), p.tilt_scale()), stated(p.has_min_tilt(), p.min_tilt()),
        stated(p.has_max_tilt(), p.max_tilt()), stated(p.has_home_tilt(), p.home_tilt())}}};
}

void checkScale(const PtzSubject& ptz, Report* report) {
  for (const Motor& motor : motors(ptz)) {
    const std::string field = "pan_tilt." + motor.name + "_scale";
    const std::string name = motor.name + "_scale";
    if (!motor.scale) {
      report->add({Severity::kWarning, field},
                  [&] { return name + " is missing and counts as 0: nothing can be pointed at"; });
    } else if (*motor.scale == 0 || !std::isfinite(*motor.scale)) {
      const auto value = static_cast<double>(*motor.scale);
      report->add({Severity::kError, field, value}, [&] {
        return name + " is " + number(value) +
               ", where the radians per step are needed, finite and not 0";
      });
    }
  }
}

void checkZoomLimits(const PtzSubject& ptz, Report* report) {
  const calibration::PTZIntrinsicsTable& table = ptz.message.intrinsics();
  if (!table.has_min_zoom() || !table.has_max_zoom()) return;
  if (table.min_zoom() <= table.max_zoom()) return;
  report->add({Severity::kError, "intrinsics.min_zoom", table.min_zoom(), table.max_zoom()}, [&] {
    return "min_zoom is " + std::to_string(table.min_zoom()) + ", above max_zoom, " +
           std::to_string(table.max_zoom());
  });
}

void checkLimits(const PtzSubject& ptz, Report* report) {
  checkZoomLimits(ptz, report);
  for (const Motor& motor : motors(ptz)) {
    if (motor.min && motor.max && *motor.min > *motor.max) {
      report->add({Severity::kError, motor.field("min_"), *motor.min, *motor.max}, [&] {
        return "min_" + motor.name + " is " + std::to_string(*motor.min) + ", above max_" +
               motor.name + ", " + std::to_string(*motor.max);
      });
    }
    for (const char* kind : {"min_", "max_"}) {
      if (kind[1] == 'i' ? motor.min.has_value() : motor.max.has_value()) continue;
      report->add({Severity::kInfo, motor.field(kind)}, [&] {
        return kind + motor.name + " is missing: the motor is not limited there";
      });
    }
  }
}

void checkHome(const PtzSubject& ptz, Report* report) {
  for (const Motor& motor : motors(ptz)) {
    if (!motor.home || (motor.min && motor.max && !motor.hasRange())) continue;
    const int home = *motor.home;
    const bool below = motor.min && home < *motor.min;
    if (!below && !(motor.max && home > *motor.max)) continue;
    const int limit = below ? *motor.min : *motor.max;
    report->add({Severity::kWarning, motor.field("home_"), home, limit}, [&] {
      return "home_" + motor.name + " is " + std::to_string(home) +
             (below ? ", below min_" : ", above max_") + motor.name + ", " + std::to_string(limit);
    });
  }
}

void checkTurns(const PtzSubject& ptz, Report* report) {
  const Motor pan = motors(ptz)[0];
  if (!pan.hasRange() || !pan.scale || !std::isfinite(*pan.scale)) return;
  const auto steps = static_cast<double>(std::int64_t{*pan.max} - *pan.min);
  const double range = degrees(steps * std::abs(static_cast<double>(*pan.scale)));
  if (range <= kFullTurn) return;
  report->add({Severity::kWarning, "pan_tilt.max_pan", range, kFullTurn}, [&] {
    return "the pan motor's range is " + number(range) + " deg, more than the " +
           number(kFullTurn) +
           " deg of a full turn: are pan_scale in radians and the limits in steps?";
  });
}

}  // namespace

const CheckTable& motorChecks() {
  static const CheckTable table = {
      {"scale",
       {Severity::kError, Severity::kWarning},
       "pan_scale or tilt_scale 0 or not finite (error), or missing (warning)",
       "nothing can be pointed at",
       {&checkScale}},
      {"limits",
       {Severity::kError, Severity::kInfo},
       "a lower limit above the upper one (error); a limit of pan or tilt is missing (info)",
       "where they contradict, the upper one wins, and no zoom is left; pan and tilt are not "
       "limited "
       "by what is missing",
       {&checkLimits}},
      {"home",
       {Severity::kWarning},
       "the home position is outside the limits",
       "the motor cannot go there",
       {&checkHome}},
      {"pan-turns",
       {Severity::kWarning},
       "the range of pan is above a full turn",
       "degrees for radians, or a limit in other units; heads with slip rings turn on",
       {&checkTurns}},
  };
  return table;
}

}  // namespace norv::internal::review

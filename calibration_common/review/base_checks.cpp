/// The mobile base.

#include <chrono>
#include <cmath>
#include <cstdint>

#include "calibration_common/review/check.h"
#include "calibration_common/review/sentence.h"
#include "calibration_common/review/subjects.h"

namespace norv::internal::review {
namespace {

using calibration::BaseCalibrationProto;
using calibration::CalibrationMetadataProto;

/// Metres.
constexpr double kMinSize = 0.05;
constexpr double kMaxSize = 5;
constexpr double kMinGain = 0.9;
constexpr double kMaxGain = 1.1;
/// 2000-01-01 00:00 UTC in nanoseconds since 1970.
constexpr std::int64_t kEarliest = 946684800LL * 1000000000;

/// A positive number with an ordinary range.
struct Quantity {
  const char* name;
  bool present;
  float stored;
  const char* unit;
  double least;
  double largest;
};

void checkQuantity(const Quantity& quantity, const std::string& field, Report* report) {
  const auto value = static_cast<double>(quantity.stored);
  const std::string name = quantity.name;
  if (!quantity.present) {
    report->add({Severity::kWarning, field, std::nullopt, 0.0},
                [&] { return name + " is missing and counts as 0, where it should be above 0"; });
  } else if (!(value > 0 && std::isfinite(value))) {
    report->add({Severity::kError, field, value, 0.0}, [&] {
      return name + " is " + number(value) + quantity.unit + ", where a number above 0 is needed";
    });
  } else if (quantity.stored < static_cast<float>(quantity.least) ||
             quantity.stored > static_cast<float>(quantity.largest)) {
    report->add({Severity::kWarning, field, value,
                 value < quantity.least ? quantity.least : quantity.largest},
                [&] {
                  return name + " is " + number(value) + quantity.unit + ", outside " +
                         number(quantity.least) + " to " + number(quantity.largest) + quantity.unit;
                });
  }
}

void checkSizes(const BaseSubject& base, Report* report) {
  const BaseCalibrationProto& m = base.message;
  for (const Quantity& size :
       {Quantity{"wheel_base", m.has_wheel_base(), m.wheel_base(), " m", kMinSize, kMaxSize},
        Quantity{"base_width", m.has_base_width(), m.base_width(), " m", kMinSize, kMaxSize},
        Quantity{"base_length", m.has_base_length(), m.base_length(), " m", kMinSize, kMaxSize}}) {
    checkQuantity(size, size.name, report);
  }
}

void checkGain(const BaseSubject& base, Report* report) {
  const calibration::GyroscopeCalibrationProto& gyroscope = base.message.gyroscope();
  checkQuantity({"gain", gyroscope.has_gain(), gyroscope.gain(), "", kMinGain, kMaxGain},
                "gyroscope.gain", report);
}

std::int64_t nanosecondsNow() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

void checkTime(const CalibrationMetadataProto& metadata, const std::string& path, Report* report) {
  const std::int64_t time = metadata.calibration_time();
  const std::int64_t now = nanosecondsNow();
  if (!metadata.has_calibration_time() || (time >= kEarliest && time <= now)) return;
  const bool early = time < kEarliest;
  const std::int64_t threshold = early ? kEarliest : now;
  report->add({Severity::kWarning, path + ".calibration_time", static_cast<double>(time),
               static_cast<double>(threshold)},
              [&] {
                return "calibration_time is " + std::to_string(time) + " ns, " +
                       (early ? "before 2000, which began at " : "in the future: now it is ") +
                       std::to_string(threshold) + " ns since 1970: is it in nanoseconds?";
              });
}

void checkTimes(const BaseSubject& base, Report* report) {
  checkTime(base.message.global_transform_adjustment().metadata(),
            "global_transform_adjustment.metadata", report);
  checkTime(base.message.gyroscope().metadata(), "gyroscope.metadata", report);
}

}  // namespace

const CheckTable& baseChecks() {
  static const CheckTable table = {
      {"base-size",
       {Severity::kError, Severity::kWarning},
       "wheel_base, base_width or base_length not above 0 (error), outside 0.05 to 5 m or missing "
       "(warning)",
       "450 for 0.45 m; what is missing counts as 0",
       {&checkSizes}},
      {"gain",
       {Severity::kError, Severity::kWarning},
       "the gyroscope's gain not above 0 (error), outside 0.9 to 1.1 or missing (warning)",
       "a gyroscope errs by a few percent; what is missing counts as 0",
       {&checkGain}},
      {"time",
       {Severity::kWarning},
       "calibration_time before 2000 or after now",
       "seconds or milliseconds for nanoseconds",
       {&checkTimes}},
  };
  return table;
}

}  // namespace norv::internal::review

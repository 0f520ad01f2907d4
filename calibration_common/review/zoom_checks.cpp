/// The zoom samples of a pan-tilt-zoom camera.

#include <cmath>

#include "calibration_common/review/check.h"
#include "calibration_common/review/sentence.h"
#include "calibration_common/review/subjects.h"

namespace norv::internal::review {
namespace {

using calibration::PTZIntrinsicsItem;
using calibration::PTZIntrinsicsTable;

/// Steps; zoom positions are whole ones.
constexpr double kMaxZoomError = 0.5;
constexpr double kMaxFocalStep = 2;

void checkCount(const PtzSubject& ptz, Report* report) {
  const int count = ptz.message.intrinsics().samples_size();
  if (count > 1) return;
  const bool none = count == 0;
  report->add(
      {none ? Severity::kError : Severity::kWarning, "intrinsics.samples", count, none ? 1.0 : 2.0},
      [&] {
        return none ? "there are no zoom samples, where at least 1 is needed"
                    : "there is 1 zoom sample, which gives a lens at no zoom position, where "
                      "2 are needed";
      });
}

/// Reports every sample whose `value` does not exceed that of the one before.
void checkRising(const PtzSubject& ptz, double (PTZIntrinsicsItem::*value)() const,
                 const char* name, Report* report) {
  const PTZIntrinsicsTable& table = ptz.message.intrinsics();
  for (int i = 1; i < table.samples_size(); ++i) {
    const double before = (table.samples(i - 1).*value)();
    const double here = (table.samples(i).*value)();
    if (here > before || !std::isfinite(here) || !std::isfinite(before)) continue;
    report->add({Severity::kError, samplePath(i) + "." + name, here, before}, [&] {
      return std::string(name) + " is " + number(here) + ", not above the " + number(before) +
             " of the sample before";
    });
  }
}

void checkZoomOrder(const PtzSubject& ptz, Report* report) {
  checkRising(ptz, &PTZIntrinsicsItem::zoom, "zoom", report);
}

void checkFocalOrder(const PtzSubject& ptz, Report* report) {
  checkRising(ptz, &PTZIntrinsicsItem::focal_length, "focal_length", report);
}

void checkInterval(const PTZIntrinsicsTable& table, Report* report) {
  const bool negative = table.zoom_interval() < 0;
  report->add(
      {negative ? Severity::kError : Severity::kWarning, "intrinsics.zoom_interval",
       table.zoom_interval(), 0.0},
      [&] {
        return negative ? "zoom_interval is " + std::to_string(table.zoom_interval()) + ", below 0"
                        : "zoom_interval is 0, so that every zoom position has the first sample's "
                          "lens";
      });
}

void checkSpacing(const PtzSubject& ptz, Report* report) {
  const PTZIntrinsicsTable& table = ptz.message.intrinsics();
  const int interval = table.zoom_interval();
  if (interval < 0 || (interval == 0 && table.samples_size() > 1)) {
    checkInterval(table, report);
    return;
  }
  for (int i = 0; i < table.samples_size(); ++i) {
    const double zoom = table.samples(i).zoom();
    // One that is not above the sample before is out of order, which has a check of its own.
    if (i > 0 && zoom <= table.samples(i - 1).zoom()) continue;
    const double stated = table.zoom_start() + static_cast<double>(i) * interval;
    if (std::abs(zoom - stated) <= kMaxZoomError || !std::isfinite(zoom)) continue;
    report->add({Severity::kError, samplePath(i) + ".zoom", zoom, stated}, [&] {
      return "the sample is at zoom position " + number(zoom) +
             ", where zoom_start and zoom_interval say " + number(stated) + " within " +
             number(kMaxZoomError);
    });
  }
}

void checkFocalStep(const PtzSubject& ptz, Report* report) {
  const PTZIntrinsicsTable& table = ptz.message.intrinsics();
  for (int i = 1; i < table.samples_size(); ++i) {
    const double before = table.samples(i - 1).focal_length();
    const double step = table.samples(i).focal_length() / before;
    if (!(before > 0) || !std::isfinite(step) || step <= kMaxFocalStep) continue;
    report->add({Severity::kWarning, samplePath(i) + ".focal_length", step, kMaxFocalStep}, [&] {
      return "focal_length is " + number(step) + " times that of the sample before, more than " +
             number(kMaxFocalStep) + " times";
    });
  }
}

void checkEnd(const PtzSubject& ptz, Report* report) {
  const int last = ptz.message.intrinsics().samples_size() - 1;
  if (last < 1) return;
  const double zoom = ptz.message.intrinsics().samples(last).zoom();
  report->add({Severity::kInfo, samplePath(last) + ".zoom", zoom}, [&] {
    return "there is no lens at and beyond zoom position " + number(zoom) +
           ": the last sample belongs beyond the motor's end";
  });
}

/// Where a limit of the zoom motor lies by the samples.
enum class ZoomPlace { kServed, kBelow, kNoLens };

ZoomPlace placeOf(const PTZIntrinsicsTable& table, double zoom) {
  const double first = table.samples(0).zoom();
  if (zoom >= table.samples(table.samples_size() - 1).zoom()) return ZoomPlace::kNoLens;
  if (zoom <= first - table.zoom_interval()) return ZoomPlace::kNoLens;
  return zoom < first ? ZoomPlace::kBelow : ZoomPlace::kServed;
}

void checkRangeEnd(const PTZIntrinsicsTable& table, const char* name, int limit, Report* report) {
  const ZoomPlace place = placeOf(table, limit);
  if (place == ZoomPlace::kServed) return;
  const double first = table.samples(0).zoom();
  const double last = table.samples(table.samples_size() - 1).zoom();
  const bool is_below = limit < first;
  report->add(
      {Severity::kWarning, std::string("intrinsics.") + name, limit, is_below ? first : last}, [&] {
        const std::string what = std::string(name) + " is " + std::to_string(limit);
        const std::string then = place == ZoomPlace::kNoLens ? ": there is no lens there"
                                                             : ": the lens there is extrapolated";
        return what +
               (is_below ? ", below the first sample, " + number(first)
                         : ", not below the last sample, " + number(last)) +
               then;
      });
}

void checkZoomRange(const PtzSubject& ptz, Report* report) {
  const PTZIntrinsicsTable& table = ptz.message.intrinsics();
  // Of samples out of order and of intervals that are none there are other findings.
  if (table.samples_size() < 2 || table.zoom_interval() <= 0) return;
  if (table.has_min_zoom()) checkRangeEnd(table, "min_zoom", table.min_zoom(), report);
  if (table.has_max_zoom()) checkRangeEnd(table, "max_zoom", table.max_zoom(), report);
}

}  // namespace

const CheckTable& zoomChecks() {
  static const CheckTable table = {
      {"ptz-samples",
       {Severity::kError, Severity::kWarning},
       "no zoom sample (error), or one (warning)",
       "the calibration is not valid; one sample gives a lens at no zoom position",
       {&checkCount}},
      {"zoom-order",
       {Severity::kError},
       "the samples' zoom positions do not strictly increase",
       "the lens between two samples is found by their order",
       {&checkZoomOrder}},
      {"focal-order",
       {Severity::kError},
       "the samples' focal lengths do not strictly increase",
       "the zoom position for a focal length is found by their order",
       {&checkFocalOrder}},
      {"zoom-spacing",
       {Severity::kError, Severity::kWarning},
       "a sample's zoom position differs from zoom_start + i zoom_interval by more than 0.5, or "
       "zoom_interval is negative (error); zoom_interval is 0 with more than one sample (warning)",
       "samples are looked up by these two numbers",
       {&checkSpacing}},
      {"zoom-step",
       {Severity::kWarning},
       "a sample has more than twice the focal length of the one before",
       "what lies between is interpolated; the example calibration has steps of at most 1.48",
       {&checkFocalStep}},
      {"zoom-end",
       {Severity::kInfo},
       "always, for two samples and more",
       "there is no lens at and beyond the last sample, which belongs beyond the motor's end",
       {&checkEnd}},
      {"zoom-range",
       {Severity::kWarning},
       "min_zoom or max_zoom is below the first sample's zoom position, or not below the last "
       "one's",
       "below the first sample the lens is extrapolated; at and beyond the last one, and a whole "
       "interval below the first one, there is none",
       {&checkZoomRange}},
  };
  return table;
}

}  // namespace norv::internal::review

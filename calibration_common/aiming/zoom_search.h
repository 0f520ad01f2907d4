#pragma once

/// The search for the longest zoom that still serves.

#include <cstdint>

#include "calibration_common/ptz_aiming.h"

namespace norv::internal {

/// The positions of a zoom range, counted from the wide end: the one at the end of the range with
/// the shorter focal length.
class ZoomScale {
 public:
  ZoomScale(const calibration::PTZCameraModel& model, const calibration::ZoomRange& range);

  std::int64_t last() const { return std::int64_t{range_.highest} - range_.lowest; }
  int zoomAt(std::int64_t index) const;
  std::int64_t indexOf(int zoom) const;
  /// The end of the motor's range that the wide end, or the long one, is.
  calibration::MotorBound wideEnd() const;
  calibration::MotorBound longEnd() const;

  /// The index nearest to `from` at which the samples' curve has the focal length, pixels, rounded
  /// down; beyond the curve an end of the scale.
  std::int64_t indexOfFocalLength(double focal_length, std::int64_t from) const;

 private:
  const calibration::PTZIntrinsicsTable& table_;
  calibration::ZoomRange range_;
  bool falls_;  ///< whether the focal length does, with the zoom
};

/// Finds a position that holds, while the next one towards the long end does not.
///
///     for (ZoomSearch search(scale, start); !search.isDone();) search.tell(ratio(search.zoom()));
///
/// The ratio, that of what is needed to what there is, is about proportional to the focal length,
/// which leads there in a few steps; a bisection follows for those that are not.
class ZoomSearch {
 public:
  ZoomSearch(const ZoomScale& scale, int start);

  bool isDone() const { return lost_ - held_ <= 1; }
  int zoom() const { return scale_.zoomAt(index_); }

  /// The answer for `zoom()`: it holds where the ratio is at most 1. With NaN it does not.
  void tell(double ratio, double focal_length);

  /// The position that holds, -1 where not even the wide end does.
  std::int64_t held() const { return held_; }

 private:
  std::int64_t guess(double ratio, double focal_length) const;

  const ZoomScale& scale_;
  std::int64_t held_ = -1;
  std::int64_t lost_;
  std::int64_t index_;
  int count_ = 0;
};

}  // namespace norv::internal

#include "calibration_common/aiming/zoom_search.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "calibration_common/aiming/frozen_lens.h"

namespace norv::internal {

using calibration::MotorBound;
using calibration::PTZIntrinsicsItem;

ZoomScale::ZoomScale(const calibration::PTZCameraModel& model, const calibration::ZoomRange& range)
    : table_(model.getParams().intrinsics()),
      range_(range),
      falls_(FrozenLens(model, range.highest).focalLength() <
             FrozenLens(model, range.lowest).focalLength()) {}

int ZoomScale::zoomAt(std::int64_t index) const {
  return static_cast<int>(falls_ ? range_.highest - index : range_.lowest + index);
}

std::int64_t ZoomScale::indexOf(int zoom) const {
  return falls_ ? std::int64_t{range_.highest} - zoom : std::int64_t{zoom} - range_.lowest;
}

MotorBound ZoomScale::wideEnd() const {
  return falls_ ? MotorBound::kHighest : MotorBound::kLowest;
}

MotorBound ZoomScale::longEnd() const {
  return falls_ ? MotorBound::kLowest : MotorBound::kHighest;
}

std::int64_t ZoomScale::indexOfFocalLength(double focal_length, std::int64_t from) const {
  const auto end = static_cast<double>(last());
  double best = std::numeric_limits<double>::infinity();
  double longest = 0;
  for (int i = 1; i < table_.samples_size(); ++i) {
    const PTZIntrinsicsItem& a = table_.samples(i - 1);
    const PTZIntrinsicsItem& b = table_.samples(i);
    longest = std::max({longest, a.focal_length(), b.focal_length()});
    const double share = (focal_length - a.focal_length()) / (b.focal_length() - a.focal_length());
    if (!(share >= 0 && share <= 1)) continue;
    const double zoom = a.zoom() + share * (b.zoom() - a.zoom());
    const double index = falls_ ? range_.highest - zoom : zoom - range_.lowest;
    if (std::abs(index - static_cast<double>(from)) < std::abs(best - static_cast<double>(from))) {
      best = index;
    }
  }
  if (std::isinf(best)) best = focal_length > longest ? end : 0;
  return static_cast<std::int64_t>(std::clamp(std::floor(best), 0.0, end));
}

ZoomSearch::ZoomSearch(const ZoomScale& scale, int start)
    : scale_(scale),
      lost_(scale.last() + 1),
      index_(std::clamp<std::int64_t>(scale.indexOf(start), 0, scale.last())) {}

void ZoomSearch::tell(double ratio, double focal_length) {
  (ratio <= 1 ? held_ : lost_) = index_;
  if (isDone()) return;
  index_ = std::clamp(guess(ratio, focal_length), held_ + 1, lost_ - 1);
  ++count_;
}

std::int64_t ZoomSearch::guess(double ratio, double focal_length) const {
  constexpr int kMaxGuesses = 10;
  if (count_ >= kMaxGuesses) return held_ + (lost_ - held_) / 2;
  if (!(ratio < std::numeric_limits<double>::infinity())) {
    return held_ < 0 ? 0 : held_ + (lost_ - held_) / 2;
  }
  return scale_.indexOfFocalLength(focal_length / ratio, index_);
}

}  // namespace norv::internal

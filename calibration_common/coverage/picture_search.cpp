#include "calibration_common/coverage/picture_search.h"

#include <algorithm>
#include <cmath>

#include "support/numeric/angles.h"

namespace norv::internal {
namespace {

using Eigen::Vector3d;

constexpr double kStep = radians(10);

/// The smallest value of `f` that golden sections of the range come upon, its ends included, down
/// to 3e-8 of its width; or the first one that is not above 0.
template <class F>
double findLowest(const AngleRange& range, const F& f) {
  constexpr double kGolden = 0.6180339887498949;
  constexpr int kSections = 36;
  double low = range.low;
  double high = range.high;
  double best = std::min(f(low), f(high));
  double a = high - kGolden * (high - low);
  double b = low + kGolden * (high - low);
  double at_a = f(a);
  double at_b = f(b);
  for (int i = 0; i < kSections && best > 0; ++i) {
    best = std::min({best, at_a, at_b});
    if (at_a < at_b) {
      high = b;
      b = a;
      at_b = at_a;
      a = high - kGolden * (high - low);
      at_a = f(a);
    } else {
      low = a;
      a = b;
      at_a = at_b;
      b = low + kGolden * (high - low);
      at_b = f(b);
    }
  }
  return best;
}

}  // namespace

PictureSearch::Nodes::Nodes(const AngleRange& range) : low(range.low), is_full(range.isFull()) {
  const double width = is_full ? 2 * kPi : range.high - range.low;
  const int steps = std::min(static_cast<int>(std::ceil(width / kStep)), kMaxNodes - 1);
  step = steps == 0 ? 0 : width / steps;
  count = steps + 1;
}

AngleRange PictureSearch::Nodes::around(int i) const {
  const double first = angle(is_full ? i - 1 : std::max(i - 1, 0));
  const double last = angle(is_full ? i + 1 : std::min(i + 1, count - 1));
  return {first, last};
}

PictureSearch::PictureSearch(const JointFrames& frames, const HeadRange& range,
                             WidestPicture* picture)
    : frames_(frames), pans_(range.pan), tilts_(range.tilt), picture_(picture) {}

bool PictureSearch::finds(const Vector3d& point) {
  in_pan_ = frames_.inPan(point);
  fillGrid();
  if (gaps_.minCoeff() <= 0) return true;
  for (int i = 0; i < pans_.count; ++i) {
    for (int j = 0; j < tilts_.count; ++j) {
      if (isLowest(i, j) && canReachFrom(i, j) && descendsFrom(i, j)) return true;
    }
  }
  return false;
}

void PictureSearch::fillGrid() {
  gaps_.resize(pans_.count, tilts_.count);
  for (int i = 0; i < pans_.count; ++i) {
    const Vector3d in_tilt = frames_.inTilt(in_pan_, pans_.angle(i));
    for (int j = 0; j < tilts_.count; ++j) {
      gaps_(i, j) = picture_->gapTo(frames_.inCamera(in_tilt, tilts_.angle(j)));
    }
  }
}

/// Whether no neighbour of a node has a smaller gap.
bool PictureSearch::isLowest(int i, int j) const {
  for (int k = std::max(i - 1, 0); k <= std::min(i + 1, pans_.count - 1); ++k) {
    for (int l = std::max(j - 1, 0); l <= std::min(j + 1, tilts_.count - 1); ++l) {
      if (gaps_(k, l) < gaps_(i, j)) return false;
    }
  }
  return true;
}

/// Whether a step of both motors may bring the point from where it is into the picture. The point
/// turns about an axis at most as far away as itself and the arms between, and is seen from no
/// nearer than itself without them.
bool PictureSearch::canReachFrom(int i, int j) const {
  const double arms = frames_.tilt_shift.norm() + frames_.camera_shift.norm();
  const double distance = in_pan_.norm();
  if (!(distance > arms)) return true;
  const double turn = (pans_.step + tilts_.step) * (distance + arms) / (distance - arms);
  const Vector3d in_tilt = frames_.inTilt(in_pan_, pans_.angle(i));
  const double angle = angleFromAxis(frames_.inCamera(in_tilt, tilts_.angle(j)));
  return angle <= picture_->halfAngle() + turn;
}

bool PictureSearch::descendsFrom(int i, int j) {
  const AngleRange tilts = tilts_.around(j);
  return findLowest(pans_.around(i), [&](double pan) { return bestTilt(pan, tilts); }) <= 0;
}

/// The smallest gap at a pan angle.
double PictureSearch::bestTilt(double pan, const AngleRange& tilts) {
  const Vector3d in_tilt = frames_.inTilt(in_pan_, pan);
  return findLowest(tilts,
                    [&](double tilt) { return picture_->gapTo(frames_.inCamera(in_tilt, tilt)); });
}

}  // namespace norv::internal

#include "calibration_common/coverage/picture_search.h"

#include <algorithm>
#include <cmath>

#include "support/numeric/angles.h"

namespace norv::internal {
namespace {

using Eigen::Vector3d;

constexpr double kStep = radians(10);
/// What is halved no more, radians.
constexpr double kFinestTurn = 0.005;
/// For a point that is nearer to the arms halving would go on for long.
constexpr double kMaxRate = 4;

/// How far the camera is at most from the pan frame's origin, metres.
double armsOf(const JointFrames& frames) {
  return frames.tilt_shift.norm() + frames.camera_shift.norm();
}

/// The smallest value of `f` that golden sections of the range come upon, its ends included, down
/// to 2e-7 of its width; or the first one that is not above 0.
template <class F>
double findLowest(const AngleRange& range, const F& f) {
  constexpr double kGolden = 0.6180339887498949;
  constexpr int kSections = 32;
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
    : frames_(frames),
      pans_(range.pan),
      tilts_(range.tilt),
      picture_(picture),
      last_pan_(range.pan.middle()),
      last_tilt_(range.tilt.middle()) {}

bool PictureSearch::finds(const Vector3d& point) {
  prepare(point);
  if (showsAt(last_pan_, last_tilt_)) return true;
  if (pan_rate_ + tilt_rate_ < kMaxRate) {
    outside_ = kPi;
    const Verdict verdict = judge(pans_.all(), tilts_.all());
    if (verdict == Verdict::kHidden) {
      const double from_camera = in_pan_.norm() - armsOf(frames_);
      clearance_ = outside_ / (1 + outside_) * from_camera;
    }
    if (verdict != Verdict::kUnknown) return verdict == Verdict::kSeen;
  }
  return findsByGaps();
}

/// The point turns about the pan axis at its distance from there, about the tilt axis at most as
/// far away as itself and the arms, and is seen from no nearer than itself without them.
void PictureSearch::prepare(const Vector3d& point) {
  in_pan_ = frames_.inPan(point);
  clearance_ = 0;
  const double arms = armsOf(frames_);
  const double distance = in_pan_.norm();
  const double from_camera = std::max(distance - arms, 0.0);
  pan_rate_ = in_pan_.head<2>().norm() / from_camera;
  tilt_rate_ = (distance + arms) / from_camera;
}

bool PictureSearch::showsAt(double pan, double tilt) {
  const Vector3d in_tilt = frames_.inTilt(in_pan_, pan);
  if (!(picture_->gapTo(frames_.inCamera(in_tilt, tilt)) <= 0)) return false;
  last_pan_ = pan;
  last_tilt_ = tilt;
  return true;
}

/// What the middle of a part of the range tells about all of it, and otherwise its halves.
PictureSearch::Verdict PictureSearch::judge(const AngleRange& pans, const AngleRange& tilts) {
  const double pan = pans.middle();
  const double tilt = tilts.middle();
  const double pan_turn = 0.5 * (pans.high - pans.low) * pan_rate_;
  const double tilt_turn = 0.5 * (tilts.high - tilts.low) * tilt_rate_;
  const double outside =
      picture_->angleOutside(frames_.inCamera(frames_.inTilt(in_pan_, pan), tilt));
  const double left = outside - pan_turn - tilt_turn;
  if (left > 0) {
    outside_ = std::min(outside_, left);
    return Verdict::kHidden;
  }
  if (outside == 0 && showsAt(pan, tilt)) return Verdict::kSeen;
  if (pan_turn + tilt_turn < kFinestTurn) return Verdict::kUnknown;
  const bool is_pan = pan_turn > tilt_turn;
  const AngleRange halves[2] = {{is_pan ? pans.low : tilts.low, is_pan ? pan : tilt},
                                {is_pan ? pan : tilt, is_pan ? pans.high : tilts.high}};
  for (const AngleRange& half : halves) {
    const Verdict verdict = is_pan ? judge(half, tilts) : judge(pans, half);
    if (verdict != Verdict::kHidden) return verdict;
  }
  return Verdict::kHidden;
}

bool PictureSearch::findsByGaps() {
  fillGrid();
  for (int i = 0; i < pans_.count; ++i) {
    for (int j = 0; j < tilts_.count; ++j) {
      if (isLowest(i, j) && canReachFrom(i, j) && descendsFrom(i, j)) return true;
    }
  }
  return false;
}

void PictureSearch::fillGrid() {
  gaps_.resize(pans_.count, tilts_.count);
  const double turn = pans_.step * pan_rate_ + tilts_.step * tilt_rate_;
  for (int i = 0; i < pans_.count; ++i) {
    const Vector3d in_tilt = frames_.inTilt(in_pan_, pans_.angle(i));
    for (int j = 0; j < tilts_.count; ++j) {
      const Vector3d in_camera = frames_.inCamera(in_tilt, tilts_.angle(j));
      // What is not near need not be known well.
      gaps_(i, j) = picture_->angleOutside(in_camera) > turn ? 2 - in_camera.z() / in_camera.norm()
                                                             : picture_->gapTo(in_camera);
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

/// Whether a step of both motors may bring the point from where it is into the picture.
bool PictureSearch::canReachFrom(int i, int j) const {
  const double turn = pans_.step * pan_rate_ + tilts_.step * tilt_rate_;
  const Vector3d in_tilt = frames_.inTilt(in_pan_, pans_.angle(i));
  return !(picture_->angleOutside(frames_.inCamera(in_tilt, tilts_.angle(j))) > turn);
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

#include "calibration_common/aiming/position_order.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace norv::internal {
namespace {

using calibration::Aim;
using calibration::AimChoice;
using calibration::AimPosition;
using calibration::MotorBound;
using calibration::MotorPositions;

bool isKeptOff(const AimPosition& position) {
  return position.pan_bound != MotorBound::kNone || position.tilt_bound != MotorBound::kNone;
}

bool isSame(const MotorPositions& a, const MotorPositions& b) {
  return a.pan == b.pan && a.tilt == b.tilt && a.zoom == b.zoom;
}

/// A position by what it is chosen for.
struct Merit {
  double upright;  ///< the larger one first, where they differ
  double effort;   ///< then the smaller one
};

/// Differences of uprightness that whole steps make.
constexpr double kSameUprightness = 0.01;

Merit meritOf(const AimTask& task, const AimPosition& position, bool is_upright_now) {
  if (isKeptOff(position)) return {0, position.miss};
  const double pan = static_cast<double>(std::abs(position.pan_travel));
  const double tilt = static_cast<double>(std::abs(position.tilt_travel));
  const double effort =
      std::max(pan * task.pan.radiansPerStep(), tilt * task.tilt.radiansPerStep());
  switch (task.request.choice) {
    case AimChoice::kUpright:
      return {uprightness(task.poseAt(position.motors.pan, position.motors.tilt)), effort};
    case AimChoice::kNoFlip:
      return {position.is_upright == is_upright_now ? 1.0 : 0.0, effort};
    case AimChoice::kNearest:
      break;
  }
  return {0, effort};
}

/// The index of the best of `count` merits from `first` on.
std::size_t bestOf(const std::array<Merit, Aim::kMaxCount>& merits, std::size_t first,
                   std::size_t count) {
  double most_upright = merits[first].upright;
  for (std::size_t i = first; i < count; ++i) {
    most_upright = std::max(most_upright, merits[i].upright);
  }
  std::size_t best = count;
  for (std::size_t i = first; i < count; ++i) {
    if (merits[i].upright < most_upright - kSameUprightness) continue;
    if (best == count || merits[i].effort < merits[best].effort) best = i;
  }
  return best == count ? first : best;
}

}  // namespace

double uprightness(const HeadPose& camera_from_base) {
  const Eigen::Vector3d down = camera_from_base.rotation.row(1);
  return -down.z() / down.norm();
}

void addPosition(const AimPosition& position, Aim* aim) {
  const bool had_better = aim->count > 0 && !isKeptOff(aim->positions[0]);
  if (isKeptOff(position) && had_better) return;
  if (!isKeptOff(position) && !had_better) aim->count = 0;
  const bool is_known = std::any_of(aim->begin(), aim->end(), [&](const AimPosition& known) {
    return isSame(known.motors, position.motors);
  });
  if (is_known || aim->count == Aim::kMaxCount) return;
  aim->positions[aim->count++] = position;
}

void sortPositions(const AimTask& task, Aim* aim) {
  const MotorPositions& now = task.request.now;
  const bool is_upright_now = uprightness(task.poseAt(now.pan, now.tilt)) > 0;
  std::array<Merit, Aim::kMaxCount> merits;
  for (std::size_t i = 0; i < aim->count; ++i) {
    merits[i] = meritOf(task, aim->positions[i], is_upright_now);
  }
  for (std::size_t i = 0; i + 1 < aim->count; ++i) {
    const std::size_t best = bestOf(merits, i, aim->count);
    std::swap(merits[i], merits[best]);
    std::swap(aim->positions[i], aim->positions[best]);
  }
}

}  // namespace norv::internal

#include "calibration_common/aiming/position_order.h"

#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "support/numeric/angles.h"

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
  double off;      ///< by how much a limit keeps it off: the smaller one first if by half or more
  double upright;  ///< then the larger one, where they differ
  double effort;   ///< then the smaller one
};

/// The angle, radians, between where the target's anchor is wanted and where it is.
double angleOff(const AimTask& task, const AimPosition& position) {
  FrozenLens lens(task.model, position.motors.zoom);
  const Eigen::Vector3d ray = lens.rectify(position.wanted).homogeneous();
  const Eigen::Vector3d point =
      task.chain
          .pointAt({task.pan.angleAt(position.motors.pan), task.tilt.angleAt(position.motors.tilt)})
          .at;
  const double angle = std::atan2(point.cross(ray).norm(), point.dot(ray));
  return std::isnan(angle) ? kPi : angle;
}

/// Differences of uprightness that whole steps make.
constexpr double kSameUprightness = 0.01;

Merit meritOf(const AimTask& task, const AimPosition& position, bool is_upright_now) {
  const double off = isKeptOff(position) ? angleOff(task, position) : 0;
  const double pan = static_cast<double>(std::abs(position.pan_travel));
  const double tilt = static_cast<double>(std::abs(position.tilt_travel));
  const double effort =
      std::max(pan * task.pan.radiansPerStep(), tilt * task.tilt.radiansPerStep());
  switch (task.request.choice) {
    case AimChoice::kUpright:
      return {off, uprightness(task.poseAt(position.motors.pan, position.motors.tilt)), effort};
    case AimChoice::kNoFlip:
      return {off, position.is_upright == is_upright_now ? 1.0 : 0.0, effort};
    case AimChoice::kNearest:
      break;
  }
  return {off, 0, effort};
}

/// The index of the best of `count` merits from `first` on.
std::size_t bestOf(const std::array<Merit, Aim::kMaxCount>& merits, std::size_t first,
                   std::size_t count) {
  double least_off = merits[first].off;
  for (std::size_t i = first; i < count; ++i) least_off = std::min(least_off, merits[i].off);
  const auto isOut = [&](const Merit& merit) { return 0.5 * merit.off > least_off; };
  double most_upright = -1;
  for (std::size_t i = first; i < count; ++i) {
    if (!isOut(merits[i])) most_upright = std::max(most_upright, merits[i].upright);
  }
  std::size_t best = count;
  for (std::size_t i = first; i < count; ++i) {
    if (isOut(merits[i]) || merits[i].upright < most_upright - kSameUprightness) continue;
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

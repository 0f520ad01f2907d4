#pragma once

/// A motor that turns a joint: angles and steps.

#include "calibration_common/ptz_aiming.h"

namespace norv::internal {

/// A position of a motor for an angle, steps, not rounded.
struct MotorFit {
  double steps;
  calibration::MotorBound bound;  ///< the end of the range that keeps the motor from the angle
  double beyond = 0;              ///< by how many steps the angle lies beyond that end
};

/// One of the head's two motors. Steps stand for the angle (steps - offset) * scale.
class MotorJoint {
 public:
  MotorJoint(double scale, double offset, int lowest, int highest, int now);

  /// Whether scale and offset are finite, the scale is not zero, and single precision tells the
  /// steps of the range, at half a turn to either side of the offset at least, from each other.
  bool turns() const;

  double angleAt(double steps) const { return (steps - offset_) * scale_; }
  double radiansPerStep() const { return scale_ < 0 ? -scale_ : scale_; }
  int lowest() const { return lowest_; }
  int highest() const { return highest_; }
  /// Where the motor is, or the end of its range that is nearest, radians.
  double presentAngle() const { return angleAt(limited(now_)); }

  /// The position for `angle` plus any number of full turns: within the range, to half a step, the
  /// one nearest to `now`; where none is, the end of the range that is nearest to one.
  MotorFit fit(double angle) const;

  /// The two whole steps around a position; at an end that binds it, this and the two before it.
  /// Those beyond the range are left out.
  struct WholeSteps {
    int count;
    int values[3];
  };
  WholeSteps around(const MotorFit& fit) const;

  /// The whole step that is nearest to a position.
  int nearest(const MotorFit& fit) const;

  /// The position `difference` steps from another one, as far as the range allows.
  int stepsFrom(int steps, int difference) const {
    return limited(static_cast<double>(steps) + difference);
  }

 private:
  int limited(double steps) const;

  /// By how many steps from the offset single precision still tells one from the next.
  double reach() const;

  double scale_;
  double offset_;
  int lowest_;
  int highest_;
  int now_;
};

MotorJoint panJoint(const calibration::PTZCameraModel& model, int now);
MotorJoint tiltJoint(const calibration::PTZCameraModel& model, int now);

}  // namespace norv::internal

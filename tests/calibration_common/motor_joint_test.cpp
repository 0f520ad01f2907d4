#include "calibration_common/aiming/motor_joint.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/numeric/angles.h"

namespace norv::internal {
namespace {

using calibration::MotorBound;

std::vector<int> around(const MotorJoint& joint, const MotorFit& fit) {
  const MotorJoint::WholeSteps steps = joint.around(fit);
  return {steps.values, steps.values + steps.count};
}

// Steps of a hundredth of a radian from -40 to 40.
const MotorJoint kJoint(0.01, 0, -40, 40, 0);

TEST(MotorJoint, TriesTheTwoStepsAroundAPosition) {
  EXPECT_EQ(around(kJoint, kJoint.fit(0.123)), (std::vector<int>{12, 13}));
  EXPECT_EQ(around(kJoint, kJoint.fit(-0.123)), (std::vector<int>{-13, -12}));
}

TEST(MotorJoint, TriesTheStepsBeforeAnEndThatBindsIt) {
  const MotorFit above = kJoint.fit(0.5);
  EXPECT_EQ(above.bound, MotorBound::kHighest);
  EXPECT_EQ(around(kJoint, above), (std::vector<int>{38, 39, 40}));
  const MotorFit below = kJoint.fit(-0.5);
  EXPECT_EQ(below.bound, MotorBound::kLowest);
  EXPECT_EQ(around(kJoint, below), (std::vector<int>{-40, -39, -38}));
  // As far as there are any.
  const MotorJoint narrow(0.01, 0, 0, 1, 0);
  EXPECT_EQ(around(narrow, narrow.fit(0.5)), (std::vector<int>{0, 1}));
}

TEST(MotorJoint, TakesTheTurnThatIsNearestToThePresentPosition) {
  const double turn = 2 * kPi / 0.01;
  const MotorJoint wide(0.01, 0, -2000, 2000, 700);
  EXPECT_NEAR(wide.fit(0.1).steps, 10 + turn, 1e-9);
  const MotorJoint back(0.01, 0, -2000, 2000, -900);
  EXPECT_NEAR(back.fit(0.1).steps, 10 - turn, 1e-9);
}

}  // namespace
}  // namespace norv::internal

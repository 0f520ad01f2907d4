#pragma once

#include <vector>

#include "calibration_common/review/subjects.h"
#include "proto/norv_robot_calibration.pb.h"

namespace norv::internal::review {

/// What every entry of a robot calibration has in common with entries before it.
struct Repetition {
  int same_name = -1;
  int same_pose = -1;
};

/// The repetitions of each entry.
std::vector<Repetition> findRepetitions(const calibration::RobotCalibration& robot);

/// The entry `index` of `robot`, measured. Fits the intrinsics of a warped image.
CameraSubject makeCameraSubject(const calibration::RobotCalibration& robot, int index,
                                const Repetition& repetition);

}  // namespace norv::internal::review

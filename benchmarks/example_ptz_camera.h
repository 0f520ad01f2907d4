#pragma once

/// The head and the zoom lens that the library and its peers are measured on.

#include <cmath>
#include <stdexcept>
#include <vector>

#include "calibration_common/ptz_camera_model.h"
#include "testing/example_ptz.h"

namespace norv::benchmarks {

/// A target of the head, and where the inverse solver's Gauss-Newton steps start.
struct PointingTask {
  Vector3_f world;
  double pan;  ///< radians, this and the following
  double tilt;
};

/// Targets all around a head, 1 to 5 metres away.
inline std::vector<Vector3_f> exampleTargets() {
  std::vector<Vector3_f> targets;
  for (int i = 0; i < 64; ++i) {
    const float azimuth = 0.09F * static_cast<float>(i) - 2.8F;
    const float distance = 1.0F + 0.0625F * static_cast<float>(i * 7 % 64);
    targets.emplace_back(distance * std::cos(azimuth), distance * std::sin(azimuth),
                         0.9F + 0.03F * static_cast<float>(i % 32));
  }
  return targets;
}

inline std::vector<PointingTask> examplePointingTasks(const calibration::PanTiltModel& head) {
  std::vector<PointingTask> tasks;
  for (const Vector3_f& target : exampleTargets()) {
    const calibration::PanTiltSolution solution = head.solve(target, Vector2_f(0, 0));
    if (!solution.solved()) {
      throw std::logic_error("a target of the benchmark cannot be reached");
    }
    tasks.push_back({target, static_cast<double>(solution.start_pan),
                     static_cast<double>(solution.start_tilt)});
  }
  return tasks;
}

}  // namespace norv::benchmarks

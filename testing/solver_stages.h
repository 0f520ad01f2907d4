#pragma once

/// The stages of the pan-tilt solver as values, and the lines that trace them. For tests that see
/// the library's private parts.

#include <gtest/gtest.h>

#include <cstdio>
#include <vector>

#include "calibration_common/pan_tilt_model.h"
#include "calibration_common/pan_tilt_solver.h"
#include "testing/example_ptz.h"
#include "testing/log_capture.h"

namespace norv::testing {

struct SolverStages {
  internal::PanTiltStart start;
  internal::GaussNewtonTrace steps;
};

/// For problems with a start.
inline SolverStages solverStages(const calibration::PanTiltSystemParameters& head,
                                 const Vector3_f& world, const Vector2_f& dev) {
  const calibration::PanTiltModel model = headModel(head);
  SolverStages stages = {};
  stages.start =
      internal::findPanTilt({model.getBaseToPan(), model.getPanToTilt(), model.getTiltToCamera()},
                            world, dev, &stages.steps)
          .start;
  EXPECT_TRUE(stages.start.angles.has_value());
  return stages;
}

/// The debug lines that tell of the steps.
inline std::vector<LogLine> stepLines(const SolverStages& stages) {
  std::vector<LogLine> lines;
  for (const internal::GaussNewtonStep& step : stages.steps) {
    char text[200];
    std::snprintf(text, sizeof(text), "%zu Error=%f  dx=%f,dy=%f residuals=%f,%f,%f", lines.size(),
                  step.error, step.pan_change, step.tilt_change, step.residual[0], step.residual[1],
                  step.residual[2]);
    lines.push_back({kLogDebug, "pan_tilt_model", text});
  }
  return lines;
}

}  // namespace norv::testing

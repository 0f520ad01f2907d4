#pragma once

/// Calls of the pan-tilt solver, with what they returned, wrote and logged.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "calibration_common/pan_tilt_model.h"
#include "support/logging.h"
#include "testing/example_ptz.h"
#include "testing/log_capture.h"

namespace norv::testing {

inline constexpr float kNothingWritten = -12345;

inline const Vector2_f kAxis(0, 0);  ///< direction of the optical axis

/// What a call returned, wrote and logged.
struct SolverOutcome {
  bool solved;
  float pan = kNothingWritten;
  float tilt = kNothingWritten;
  std::vector<CapturedLog> logs;

  std::vector<LogLine> linesUpTo(int level) const {
    std::vector<LogLine> result = lines(logs);
    result.erase(std::remove_if(result.begin(), result.end(),
                                [&](const LogLine& line) { return line.level > level; }),
                 result.end());
    return result;
  }

  /// What follows `prefix` in the info line that begins with it.
  std::string info(const std::string& prefix) const {
    for (const CapturedLog& log : logs) {
      if (log.level == kLogInfo && log.text.rfind(prefix, 0) == 0) {
        return log.text.substr(prefix.size());
      }
    }
    return "(no such line)";
  }
};

inline SolverOutcome solve(const calibration::PanTiltSystemParameters& head, const Vector3_f& world,
                           const Vector2_f& dev) {
  const calibration::PanTiltModel model = headModel(head);
  ScopedLogCapture capture;
  SolverOutcome outcome;
  outcome.solved = model.computePanTilt(world, dev, &outcome.pan, &outcome.tilt);
  outcome.logs = capture.take();
  return outcome;
}

template <class T>
std::string streamed(const T& value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

inline LogLine solverInfo(const std::string& text) { return {5, "pan_tilt_model", text}; }
inline LogLine solverWarning(const std::string& text) { return {3, "pan_tilt_model", text}; }
inline LogLine solverError(const std::string& text) { return {2, "pan_tilt_model", text}; }

/// A number of the line, with `0` for `-0`.
inline double number(const std::string& text) { return std::stod(text) + 0.0; }

/// A line of the trace.
struct Step {
  int k;
  double error, dx, dy, r0, r1, r2;
};

inline std::vector<Step> trace(const SolverOutcome& outcome) {
  std::vector<Step> steps;
  for (const CapturedLog& log : outcome.logs) {
    if (log.level != kLogDebug) continue;
    const char* format = "%d Error=%lf  dx=%lf,dy=%lf residuals=%lf,%lf,%lf";
    Step s{};
    EXPECT_EQ(
        std::sscanf(log.text.c_str(), format, &s.k, &s.error, &s.dx, &s.dy, &s.r0, &s.r1, &s.r2),
        7);
    char again[200];
    EXPECT_GT(std::snprintf(again, sizeof(again), "%d Error=%f  dx=%f,dy=%f residuals=%f,%f,%f",
                            s.k, s.error, s.dx, s.dy, s.r0, s.r1, s.r2),
              0);
    EXPECT_EQ(log.text, again);
    steps.push_back(s);
  }
  return steps;
}

/// The head without lever arms but with the optical axis `gap` metres beside the pan axis.
inline calibration::PanTiltSystemParameters headWithGap(double gap) {
  calibration::PanTiltSystemParameters head = headWithoutLeverArms();
  head.mutable_tilt_to_camera()->set_a(3, 1000 * gap);
  return head;
}

}  // namespace norv::testing

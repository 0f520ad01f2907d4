#pragma once

/// Calls of the pan-tilt solver, with what they returned, wrote and logged.

#include <algorithm>
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

/// What `computePanTilt` returned, wrote and logged, and what `solve` answers.
struct SolverOutcome {
  calibration::PanTiltSolution answer;
  bool solved = false;
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

  std::vector<std::string> infoTexts() const {
    std::vector<std::string> texts;
    for (const CapturedLog& log : logs) {
      if (log.level == kLogInfo) texts.push_back(log.text);
    }
    return texts;
  }
};

inline SolverOutcome solve(const calibration::PanTiltSystemParameters& head, const Vector3_f& world,
                           const Vector2_f& dev) {
  const calibration::PanTiltModel model = headModel(head);
  SolverOutcome outcome;
  outcome.answer = model.solve(world, dev);
  ScopedLogCapture capture;
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

/// The head without lever arms but with the optical axis `gap` metres beside the pan axis.
inline calibration::PanTiltSystemParameters headWithGap(double gap) {
  calibration::PanTiltSystemParameters head = headWithoutLeverArms();
  head.mutable_tilt_to_camera()->set_a(3, 1000 * gap);
  return head;
}

}  // namespace norv::testing

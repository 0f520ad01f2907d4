#pragma once

/// Pan-tilt-zoom cameras whose pointing can be worked out by hand, and calls of it with what they
/// returned, wrote and logged.

#include <Eigen/Core>
#include <ostream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "calibration_common/ptz_camera_model.h"
#include "support/logging.h"
#include "testing/example_ptz.h"
#include "testing/log_capture.h"
#include "testing/random_head.h"

namespace norv::testing {

inline constexpr int kNotWritten = -12345;

inline float narrow(double value) { return static_cast<float>(value); }

/// A lens without distortion at 2000 x 1000, its axis through the middle, of (zoom, focal length).
inline calibration::PTZIntrinsicsTable lensOf(const std::vector<std::pair<double, double>>& samples,
                                              int interval) {
  calibration::PTZIntrinsicsTable lens;
  lens.set_image_width(2000);
  lens.set_image_height(1000);
  lens.set_zoom_start(static_cast<int>(samples.front().first));
  lens.set_zoom_interval(interval);
  for (const auto& [zoom, focal_length] : samples) {
    calibration::PTZIntrinsicsItem* sample = lens.add_samples();
    sample->set_zoom(zoom);
    sample->set_focal_length(focal_length);
    sample->set_cx(1000);
    sample->set_cy(500);
  }
  return lens;
}

/// Focal lengths 1000, 2000 and 4000 at the zooms 70, 170 and 270.
inline calibration::PTZIntrinsicsTable threeSamples() {
  return lensOf({{70, 1000}, {170, 2000}, {270, 4000}}, 100);
}

/// A camera at `zoom` whose pan and tilt are not limited and whose rays start at the origin, so
/// that angles can be worked out by hand.
inline calibration::PTZCameraParameters plainPtz(const calibration::PTZIntrinsicsTable& lens) {
  calibration::PTZCameraParameters params;
  *params.mutable_intrinsics() = lens;
  *params.mutable_pan_tilt() = headWithoutLeverArms();
  params.mutable_pan_tilt()->clear_min_pan();
  params.mutable_pan_tilt()->clear_max_pan();
  params.mutable_pan_tilt()->clear_min_tilt();
  params.mutable_pan_tilt()->clear_max_tilt();
  return params;
}

struct Position {
  int pan = kNotWritten;
  int tilt = kNotWritten;
  int zoom = kNotWritten;

  friend bool operator==(const Position& a, const Position& b) {
    return a.pan == b.pan && a.tilt == b.tilt && a.zoom == b.zoom;
  }
  friend std::ostream& operator<<(std::ostream& out, const Position& p) {
    return out << p.pan << " " << p.tilt << " " << p.zoom;
  }
};

/// What a call returned, wrote and logged, the solver's info and debug lines left out.
struct PointingOutcome {
  bool solved;
  Position position;
  std::vector<LogLine> logs;
};

inline std::vector<LogLine> withoutSolverTrace(const std::vector<LogLine>& logs) {
  std::vector<LogLine> result;
  for (const LogLine& line : logs) {
    if (line.channel != "pan_tilt_model" || line.level < kLogInfo) result.push_back(line);
  }
  return result;
}

inline PointingOutcome centrePixel(const calibration::PTZCameraParameters& params,
                                   const Position& now, const Vector2_f& pixel) {
  const calibration::PTZCameraModelConfiguration configuration(ptzModel(params), now.pan, now.tilt,
                                                               now.zoom);
  ScopedLogCapture capture;
  PointingOutcome outcome;
  outcome.solved = configuration.getPanTilt(pixel, &outcome.position.pan, &outcome.position.tilt);
  outcome.logs = withoutSolverTrace(lines(capture.take()));
  return outcome;
}

inline PointingOutcome frame(const calibration::PTZCameraParameters& params, const Position& now,
                             const Vector2_f& corner, const Vector2_f& opposite) {
  const calibration::PTZCameraModelConfiguration configuration(ptzModel(params), now.pan, now.tilt,
                                                               now.zoom);
  ScopedLogCapture capture;
  PointingOutcome outcome;
  outcome.solved = configuration.getPanTiltZoom(corner, opposite, &outcome.position.pan,
                                                &outcome.position.tilt, &outcome.position.zoom);
  outcome.logs = withoutSolverTrace(lines(capture.take()));
  return outcome;
}

inline LogLine modelInfo(const std::string& text) { return {5, "ptz_camera_model", text}; }
inline LogLine pointingError(const std::string& text) { return {2, "pan_tilt_model", text}; }

/// A camera of the example at a random position, and after it has moved.
struct Move {
  calibration::PTZCameraModelPtr model;
  Position before;
  Position after;

  calibration::PTZCameraModelConfiguration configuration() const {
    return {model, before.pan, before.tilt, before.zoom};
  }
  Eigen::Matrix4d cameraFromWorld(const Position& position) const {
    return cameraFromBaseAtSteps(
        model->getParams().pan_tilt(),
        {static_cast<double>(position.pan), static_cast<double>(position.tilt)});
  }
};

/// Far enough from the limits for the target to be within them.
inline Position randomPosition(std::mt19937_64* random) {
  return {static_cast<int>(uniform(random, -4500, 4500)),
          static_cast<int>(uniform(random, -400, 1700)),
          static_cast<int>(uniform(random, 0, 10000))};
}

inline const Position kAhead = {0, 0, 70};

}  // namespace norv::testing

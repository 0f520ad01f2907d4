#pragma once

/// Results of the library on fixed inputs, for comparison with those that were recorded once.

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "calibration_common/camera_parameters.h"
#include "calibration_common/ptz_camera_model.h"
#include "testing/calibration_messages.h"
#include "testing/example_ptz.h"

namespace norv::testing {

/// The same numbers everywhere: the distributions of the standard library are not specified. (Nor
/// is the order in which arguments are computed, so each number is drawn in a statement of its
/// own.)
class FixedNumbers {
 public:
  double between(double low, double high) {
    state_ = state_ * 6364136223846793005U + 1442695040888963407U;
    return low + (high - low) * (static_cast<double>(state_ >> 40U) / (1 << 24));
  }
  float narrowBetween(double low, double high) { return static_cast<float>(between(low, high)); }
  int whole(int low, int high) { return static_cast<int>(between(low, high)); }

 private:
  std::uint64_t state_ = 1;
};

/// Lines of a name and numbers that are written exactly, in hexadecimal.
class ResultLines {
 public:
  void add(const std::string& name, const std::vector<float>& values) {
    std::string line = name;
    for (const float value : values) {
      char text[40];
      std::snprintf(text, sizeof(text), " %a", static_cast<double>(value));
      line += text;
    }
    lines_.push_back(line);
  }

  template <class Matrix>
  void addMatrix(const std::string& name, const Matrix& m) {
    add(name, std::vector<float>(m.data(), m.data() + m.size()));
  }

  const std::vector<std::string>& lines() const { return lines_; }

 private:
  std::vector<std::string> lines_;
};

inline void addCameras(FixedNumbers* numbers, ResultLines* results) {
  for (int i = 0; i < 10; ++i) {
    calibration::CameraCalibration stored = exampleCamera("camera", i % 2 == 0 ? "mk513n" : "b910");
    calibration::CameraIntrinsics* intrinsics = stored.mutable_intrinsics();
    intrinsics->set_width(1280);
    intrinsics->set_height(960);
    intrinsics->set_fx(numbers->between(500, 900));
    intrinsics->set_fy(numbers->between(500, 900));
    intrinsics->set_skew(numbers->between(-2, 2));
    intrinsics->set_cx(numbers->between(600, 680));
    intrinsics->set_cy(numbers->between(440, 520));
    for (double& a : *stored.mutable_extrinsics()->mutable_a()) a = numbers->between(-1500, 1500);
    calibration::CameraParameters camera;
    camera.readProto(stored);
    for (const auto& entry : camera.getIntrinsicsTable()) {
      results->add("table", {entry.fx, entry.fy, entry.skew, entry.cx, entry.cy});
    }
    results->addMatrix("scaled", camera.getIntrinsics(numbers->whole(100, 2000), 333));
    results->addMatrix("pose", camera.getTransform().transform);
  }
}

inline void addHeads(FixedNumbers* numbers, ResultLines* results) {
  for (int i = 0; i < 40; ++i) {
    calibration::PanTiltSystemParameters params = exampleHead();
    for (auto* pose : {params.mutable_base_to_pan(), params.mutable_pan_to_tilt(),
                       params.mutable_tilt_to_camera()}) {
      // Not quite rigid, so that all elements count.
      for (double& a : *pose->mutable_a()) a += numbers->between(-1e-3, 1e-3);
    }
    params.set_pan_offset(static_cast<float>(numbers->between(-50, 50)));
    const calibration::PanTiltModel head = headModel(params);
    const auto pan = static_cast<float>(numbers->whole(-5000, 5000));
    const auto tilt = static_cast<float>(numbers->whole(-900, 2000));
    results->addMatrix("head", head.getFullTransform(pan, tilt).transform);
    float found_pan = 0;
    float found_tilt = 0;
    const float z = numbers->narrowBetween(0.5, 3);
    const float y = numbers->narrowBetween(-4, 4);
    const float x = numbers->narrowBetween(-4, 4);
    const float dev_y = numbers->narrowBetween(-0.2, 0.2);
    const float dev_x = numbers->narrowBetween(-0.2, 0.2);
    const bool found = head.computePanTilt({x, y, z}, {dev_x, dev_y}, &found_pan, &found_tilt);
    results->add("pointing", {found ? 1.0F : 0.0F, found_pan, found_tilt});
  }
}

inline void addZoomLenses(FixedNumbers* numbers, ResultLines* results) {
  const calibration::PTZCameraModelPtr model = ptzModel(examplePtz());
  for (int i = 0; i < 40; ++i) {
    const int at_zoom = numbers->whole(0, 10999);
    const int at_tilt = numbers->whole(-900, 2000);
    const int at_pan = numbers->whole(-5000, 5000);
    const calibration::PTZCameraModelConfiguration configuration(model, at_pan, at_tilt, at_zoom);
    results->addMatrix("zoomed", configuration.getIntrinsics());
    results->add("distortion", configuration.getDistortion());
    results->add("factor", {model->stepsToZoomXFactor(configuration.getZoom())});
    const float y = numbers->narrowBetween(100, 900);
    const float x = numbers->narrowBetween(100, 1800);
    int pan = 0;
    int tilt = 0;
    int zoom = 0;
    configuration.getPanTiltZoom({x, y}, {900, 500}, &pan, &tilt, &zoom);
    results->add("framing",
                 {static_cast<float>(pan), static_cast<float>(tilt), static_cast<float>(zoom)});
  }
}

inline std::vector<std::string> computeResults() {
  FixedNumbers numbers;
  ResultLines results;
  addCameras(&numbers, &results);
  addHeads(&numbers, &results);
  addZoomLenses(&numbers, &results);
  return results.lines();
}

}  // namespace norv::testing

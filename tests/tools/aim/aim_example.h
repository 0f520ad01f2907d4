#pragma once

/// Cameras to aim in tests, the command lines that do it, and their answers.

#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <string>

#include "testing/example_ptz.h"
#include "testing/random_head.h"
#include "testing/temporary_folder.h"
#include "testing/tree_calibrations.h"
#include "tests/tools/run_tool.h"

namespace norv::testing {

inline constexpr double kFocalLength = 1500;  ///< of the lens at zoom 0, pixels
inline constexpr double kStep = 0.0005;       ///< radians

/// A camera whose numbers can be told by hand: no distortion, the picture's centre on the optical
/// axis, and no lever arms. Positive pan turns it to the right and positive tilt upwards.
inline calibration::PTZCameraParameters plainPtz() {
  calibration::PTZCameraParameters ptz;
  *ptz.mutable_intrinsics() = pinholeLens();
  *ptz.mutable_pan_tilt() = headWithoutLeverArms();
  return ptz;
}

/// The same with a lens whose radial factor, 1 - 0.2 r^2, has its largest radius at r =
/// sqrt(1 / 0.6) = 1.29: no ray is seen farther out than 1.29 (1 - 0.2 * 1.67) = 0.86 focal
/// lengths, 1290 px. The factor is zero at 2.24.
inline calibration::PTZCameraParameters foldingPtz() {
  calibration::PTZCameraParameters ptz = plainPtz();
  for (auto& sample : *ptz.mutable_intrinsics()->mutable_samples()) sample.set_k1(-0.2);
  return ptz;
}

/// The plain camera with its head turned in its own description: every pose is as it was, the
/// optical axis at this azimuth.
inline calibration::PTZCameraParameters turnedPtz(double azimuth) {
  calibration::PTZCameraParameters ptz = plainPtz();
  turnPanFrame(azimuth, ptz.mutable_pan_tilt());
  return ptz;
}

/// A calibration in a file, and the command line that aims with it.
class StoredPtz {
 public:
  explicit StoredPtz(const calibration::PTZCameraParameters& ptz)
      : path_(folder_.write("ptz", ptz.SerializeAsString())) {}

  const std::string& path() const { return path_; }
  std::string aim(const std::string& arguments) const { return "aim '" + path_ + "' " + arguments; }

 private:
  TemporaryFolder folder_;
  std::string path_;
};

/// The command line that aims with the tree's example.
inline std::string aimExample(const std::string& arguments) {
  return "aim '" + kCalibrations + "example_ptz_cal.txt' " + arguments;
}

/// "x,y,z" of a point 5 m away and level with a plain camera, so many radians to its right.
inline std::string pointToTheRight(double angle) {
  return std::to_string(5 * std::cos(angle)) + "," + std::to_string(-5 * std::sin(angle)) + ",0";
}

/// The answer where it does not matter whether it is within reach.
inline nlohmann::json anyJson(const std::string& arguments) {
  const ProgramResult result = runTool(arguments + " --json");
  EXPECT_TRUE(result.status == 0 || result.status == 3) << arguments;
  nlohmann::json answer = nlohmann::json::parse(result.output, nullptr, false);
  EXPECT_EQ(answer["reached"], result.status == 0) << arguments;
  return answer;
}

inline double number(const nlohmann::json& document, const char* key) {
  return document[key].get<double>();
}

/// Expects the answer to send the motors there, steps.
inline void expectPanTilt(const nlohmann::json& aim, int pan, int tilt) {
  EXPECT_EQ(aim["pan"], pan);
  EXPECT_EQ(aim["tilt"], tilt);
}

}  // namespace norv::testing

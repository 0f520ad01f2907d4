// What docs/pan_tilt_heads.md says of pixels and distances. That the camera sees what it was to
// see is checked by the forward chain.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "calibration_common/ptz_aiming.h"
#include "calibration_common/ptz_camera_model.h"
#include "testing/document.h"
#include "testing/tree_calibrations.h"

namespace norv::calibration {
namespace {

using testing::onlyMatch;
using testing::TableRow;

constexpr float kMetres[] = {1, 2, 5, 20};

struct Case {
  int zoom;
  Vector2_f pixel;
  std::vector<std::string> misses;  ///< as printed, one for each of kMetres
};

class PixelDistance : public ::testing::Test {
 public:
  PixelDistance()
      : page_(testing::readDocument(CAMERA_PARAMETERS_SOURCE_DIR "/docs/pan_tilt_heads.md")) {
    model_ = std::make_shared<const PTZCameraModel>(
        testing::treeCalibration<PTZCameraParameters>("example_ptz_cal.txt"));
  }

  std::vector<Case> cases() const {
    std::vector<Case> cases;
    const std::string header = "| zoom, pixel | 1 m away | 2 m | 5 m | 20 m |";
    for (const TableRow& row : testing::tableBelow(page_, header)) {
      const auto place = onlyMatch(row.at(0), "([0-9]+), \\(([0-9]+), ([0-9]+)\\)");
      cases.push_back({std::stoi(place.at(0)),
                       {std::stof(place.at(1)), std::stof(place.at(2))},
                       {row.begin() + 1, row.end()}});
    }
    return cases;
  }

  PTZCameraModelConfiguration before(const Case& c) const { return {model_, 500, 200, c.zoom}; }

  /// Pixels by which the optical axis misses a place after the move.
  double miss(const Vector3_f& place, int pan, int tilt, int zoom) const {
    const PTZCameraModelConfiguration moved(model_, pan, tilt, zoom);
    return static_cast<double>((moved.project3dToCamera(place) - axisOf(moved)).norm());
  }

  static Vector2_f axisOf(const PTZCameraModelConfiguration& now) {
    return {now.getIntrinsics()(0, 2), now.getIntrinsics()(1, 2)};
  }

  static Vector3_f placeAt(const PTZCameraModelConfiguration& now, const Vector2_f& pixel,
                           float distance) {
    return now.getCameraCenter() + distance * now.projectPixelToRay(pixel).normalized();
  }

  std::string page_;
  PTZCameraModelPtr model_;
};

TEST_F(PixelDistance, WhatIsSeenAtAPixelIsTakenToBeAMetreAway) {
  int checked = 0;
  for (const Case& c : cases()) {
    const PTZCameraModelConfiguration now = before(c);
    int pan = 0;
    int tilt = 0;
    ASSERT_TRUE(now.getPanTilt(c.pixel, &pan, &tilt));
    ASSERT_EQ(c.misses.size(), std::size(kMetres));
    for (std::size_t i = 0; i < std::size(kMetres); ++i) {
      const double pixels = miss(placeAt(now, c.pixel, kMetres[i]), pan, tilt, c.zoom);
      EXPECT_NEAR(pixels, std::stod(c.misses[i]), 0.0501) << c.zoom << " at " << kMetres[i];
      ++checked;
    }
  }
  EXPECT_EQ(checked, 16);
}

TEST_F(PixelDistance, AimingAtADistanceCentresWhatIsThere) {
  const double stated =
      std::stod(onlyMatch(page_, "then misses by at most ([0-9.]+) pixels").at(0));
  double worst = 0;
  for (const Case& c : cases()) {
    for (const float distance : kMetres) {
      AimRequest request;
      request.target = PixelTarget{c.pixel.cast<double>(), static_cast<double>(distance)};
      request.now = {500, 200, c.zoom};
      request.place = AimPlace::kPrincipalPoint;
      const Aim there = aim(*model_, request);
      ASSERT_FALSE(there.empty());
      const MotorPositions& motors = there.best().motors;
      EXPECT_EQ(motors.zoom, c.zoom);
      const Vector3_f place = placeAt(before(c), c.pixel, distance);
      worst = std::max(worst, miss(place, motors.pan, motors.tilt, c.zoom));
    }
  }
  EXPECT_NEAR(worst, stated, 0.0501);
}

}  // namespace
}  // namespace norv::calibration

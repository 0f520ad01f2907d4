// What docs/pan_tilt_heads.md says of pixels and distances. That the camera sees what it was to
// see is checked by the forward chain.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
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

  /// Pixels by which a place misses the middle of the picture, or the optical axis, after `aim`.
  double missOfAim(const Case& c, float distance, AimPlace place) const {
    AimRequest request;
    request.target = PixelTarget{c.pixel.cast<double>(), static_cast<double>(distance)};
    request.now = {500, 200, c.zoom};
    request.place = place;
    const Aim there = aim(*model_, request);
    if (there.empty()) return std::numeric_limits<double>::infinity();
    const MotorPositions& motors = there.best().motors;
    EXPECT_EQ(motors.zoom, c.zoom);
    const PTZCameraModelConfiguration moved(model_, motors.pan, motors.tilt, motors.zoom);
    const Vector2_f wanted = place == AimPlace::kImageMiddle ? Vector2_f(960, 540) : axisOf(moved);
    const Vector2_f seen = moved.project3dToCamera(placeAt(before(c), c.pixel, distance));
    return static_cast<double>((seen - wanted).norm());
  }

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
  const auto stated =
      onlyMatch(page_,
                "then misses the middle of the picture by at most ([0-9.]+) pixels or, with "
                "`AimPlace::kPrincipalPoint`, the optical axis by at most ([0-9.]+) pixels");
  double middle = 0;
  double axis = 0;
  for (const Case& c : cases()) {
    for (const float distance : kMetres) {
      middle = std::max(middle, missOfAim(c, distance, AimPlace::kImageMiddle));
      axis = std::max(axis, missOfAim(c, distance, AimPlace::kPrincipalPoint));
    }
  }
  EXPECT_NEAR(middle, std::stod(stated.at(0)), 0.0501);
  EXPECT_NEAR(axis, std::stod(stated.at(1)), 0.0501);
}

}  // namespace
}  // namespace norv::calibration

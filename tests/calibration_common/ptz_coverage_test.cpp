// The boundary of what a pan-tilt-zoom camera can see, against the angles of its motors' limits and
// of the blind cones of skew heads.

#include "calibration_common/ptz_coverage.h"

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "support/logging.h"
#include "testing/example_ptz.h"
#include "testing/random_head.h"
#include "testing/random_message.h"
#include "testing/seen_directions.h"

namespace norv::calibration {
namespace {

using Eigen::Vector3d;
using testing::angleOf;
using testing::armlessPtz;
using testing::direction;
using testing::examplePtz;
using testing::kPi;
using testing::kRadians;
using testing::ptzModel;

/// No log lines, for the length of a scope.
struct ScopedQuiet {
  ScopedQuiet() { setLogLevel(nullptr, 0); }
  ScopedQuiet(const ScopedQuiet&) = delete;
  ScopedQuiet& operator=(const ScopedQuiet&) = delete;
  ~ScopedQuiet() { setLogLevel(nullptr, kLogWarning); }
};

/// Elevation of the optical axis, seen from the centre of the example head's turning, `distance`
/// metres away and with this tilt angle: the axis passes the pan axis at 2 mm and the tilt axis,
/// which is 25 mm ahead of the pan axis, 12 mm below it.
double elevationOf(double tilt, double distance) {
  double low = -kPi / 2;
  double high = kPi / 2;
  for (int i = 0; i < 60; ++i) {
    const double e = 0.5 * (low + high);
    const double level = distance * std::cos(e);
    const double ahead = std::sqrt(std::max(0.0, level * level - 0.002 * 0.002)) - 0.025;
    const double side = distance * std::sin(e) * std::cos(tilt) - ahead * std::sin(tilt);
    (side < 0.012 ? low : high) = e;
  }
  return low;
}

TEST(Coverage, OfTheExampleHead) {
  const PTZCameraModelPtr model = ptzModel(examplePtz());
  for (const double distance : {0.5, 5.0, 50.0}) {
    const PtzCoverage found = coverage(*model, distance);
    EXPECT_LT((found.centre - Vector3d(0.1, 0, 1.26)).norm(), 1e-6);
    // Pan goes to 169.997 degrees either way. By the 2 mm the azimuth differs from it by up to 9
    // degrees at the upper edge, which at half a metre is 13 mm from the pan axis.
    int ahead = 0;
    for (const ElevationSpan& span : found.spans) {
      if (std::abs(span.azimuth) > 179 * kRadians) ADD_FAILURE() << span.azimuth;
      if (std::abs(span.azimuth) > 160.5 * kRadians) continue;
      ++ahead;
      EXPECT_NEAR(span.lowest, elevationOf(-angleOf(1047), distance), 1e-6);
      EXPECT_NEAR(span.highest, elevationOf(angleOf(3141), distance), 1e-6);
    }
    EXPECT_EQ(ahead, 321);
  }
}

TEST(Coverage, CountsAzimuthsFromMinusPiInEvenSteps) {
  const PTZCameraModelPtr model = ptzModel(armlessPtz());
  const PtzCoverage found = coverage(*model, 5, PtzSight::kCentred, 4);
  ASSERT_EQ(found.spans.size(), 3U);  // nothing behind
  EXPECT_NEAR(found.spans[0].azimuth, -kPi / 2, 1e-15);
  EXPECT_NEAR(found.spans[1].azimuth, 0, 1e-15);
  EXPECT_NEAR(found.spans[2].azimuth, kPi / 2, 1e-15);
  EXPECT_TRUE(coverage(*model, 5, PtzSight::kCentred, 0).spans.empty());
  for (const double distance : {0.0, -1.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
    EXPECT_TRUE(coverage(*model, distance).spans.empty());
  }
}

TEST(Coverage, OfThePictureReachesBeyondByHalfOfIt) {
  const PTZCameraModelPtr model = ptzModel(armlessPtz());
  const PtzCoverage found = coverage(*model, 5, PtzSight::kInPicture, 6);
  ASSERT_EQ(found.spans.size(), 6U);
  for (std::size_t i = 1; i < 6; ++i) {  // behind, the end of pan leaves less
    EXPECT_NEAR(found.spans[i].lowest, -angleOf(1047) - std::atan(540.0 / 1500), 1e-6);
    EXPECT_EQ(found.spans[i].highest, kPi / 2);
  }
}

/// A head whose motors are not limited, with the tilt axis at this angle from the pan axis and
/// square to the optical axis, which then is no nearer to the pan axis than the rest to 90 degrees.
PTZCameraParameters skewPtz(double angle) {
  PTZCameraParameters ptz = armlessPtz();
  PanTiltSystemParameters* head = ptz.mutable_pan_tilt();
  head->clear_min_pan();
  head->clear_max_pan();
  head->clear_min_tilt();
  head->clear_max_tilt();
  Eigen::Matrix4d skew = Eigen::Matrix4d::Identity();
  skew.topLeftCorner<3, 3>() =
      Eigen::AngleAxisd(kPi / 2 - angle, Vector3d::UnitX()).toRotationMatrix();
  testing::storePose(skew * testing::readPose(head->pan_to_tilt()), head->mutable_pan_to_tilt());
  return ptz;
}

TEST(Coverage, OfAHeadThatIsBlindAroundItsPanAxis) {
  const PtzCoverage found = coverage(*ptzModel(skewPtz(60 * kRadians)), 5, PtzSight::kCentred, 8);
  ASSERT_EQ(found.spans.size(), 8U);
  // Measured 9.4e-7: what misses the optical axis by no more than 1e-6 is seen.
  for (const ElevationSpan& span : found.spans) {
    EXPECT_NEAR(span.highest, 60 * kRadians, 1.2e-6);
    EXPECT_NEAR(span.lowest, -60 * kRadians, 1.2e-6);
  }
}

TEST(Coverage, OfThePictureIntoTheBlindCone) {
  // The picture's rows run along the tilt axis. Where the optical axis is nearest to the pan axis
  // that lies on the middle row's extension, so that half a row is seen of the cone. With x = 0.64
  // and y in focal lengths a ray comes to the angle from the pan axis whose cosine is
  // (x cos 30 + sqrt(1 + y^2) sin 30) / sqrt(1 + x^2 + y^2), which is largest at y = 0.
  const PtzCoverage found = coverage(*ptzModel(skewPtz(30 * kRadians)), 5, PtzSight::kInPicture, 8);
  ASSERT_EQ(found.spans.size(), 8U);
  for (const ElevationSpan& span : found.spans) {
    EXPECT_NEAR(span.highest, 30 * kRadians + std::atan(960.0 / 1500), 1e-6);
    EXPECT_NEAR(span.lowest, -30 * kRadians - std::atan(960.0 / 1500), 1e-6);
  }
}

TEST(Coverage, OfAnyMessageEnds) {
  const ScopedQuiet quiet;
  std::mt19937 random(29);
  int with_spans = 0;
  int shown = 0;
  for (int i = 0; i < 200; ++i) {
    const PTZCameraModelPtr model = ptzModel(testing::mutated(examplePtz(), &random));
    const PtzCoverage found = coverage(*model, 5, PtzSight::kCentred, 1);
    with_spans += found.spans.empty() ? 0 : 1;
    for (const ElevationSpan& span : found.spans) EXPECT_LE(span.lowest, span.highest);
    for (int j = 0; j < 4; ++j) shown += canSee(*model, 5 * direction(j, 0.5 * j)) ? 1 : 0;
  }
  EXPECT_GT(with_spans, 10);
  EXPECT_GT(shown, 100);
}

TEST(Coverage, IsEmptyForParallelAxes) {
  PTZCameraParameters ptz = armlessPtz();
  testing::storePose({1, 0, 0, -25, 0, 1, 0, 0, 0, 0, 1, 0},
                     ptz.mutable_pan_tilt()->mutable_pan_to_tilt());
  const PtzCoverage found = coverage(*ptzModel(ptz), 5);
  EXPECT_TRUE(found.spans.empty());
  EXPECT_TRUE(found.centre.array().isNaN().all());
}

}  // namespace
}  // namespace norv::calibration

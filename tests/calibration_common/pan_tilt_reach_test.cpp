// Which targets a pan-tilt head finds, by how it is built and written down: what
// docs/pan_tilt_heads.md states. The judge is the chain in double precision, multiplied out without
// the library.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <ostream>
#include <random>

#include "calibration_common/pan_tilt_model.h"
#include "testing/example_ptz.h"
#include "testing/random_head.h"

namespace norv {
namespace {

using calibration::PanTiltSolution;
using calibration::PanTiltSystemParameters;
using testing::kRadians;
using testing::makeHead;
using testing::uniform;
using testing::UprightHead;

/// What became of a target.
enum class Fate {
  kFound,   ///< in front of the camera, on its optical axis
  kBehind,  ///< on the optical axis, and the camera faces away from it, though the solver accepts
  kMissed,  ///< no solution, or one that the solver does not accept
};

std::ostream& operator<<(std::ostream& out, Fate fate) {
  const char* const names[] = {"found", "behind", "missed"};
  return out << names[static_cast<int>(fate)];
}

/// A target by its direction in the pan frame, as seen from the pan joint, in base coordinates.
Eigen::Vector4d targetAt(const PanTiltSystemParameters& head, double azimuth, double elevation,
                         double distance) {
  const double level = distance * std::cos(elevation);
  const Eigen::Vector4d in_pan(level * std::cos(azimuth), level * std::sin(azimuth),
                               distance * std::sin(elevation), 1);
  return testing::readPose(head.base_to_pan()).inverse() * in_pan;
}

Fate pointAt(const PanTiltSystemParameters& head, const Eigen::Vector4d& target) {
  const Vector3_f world = target.head<3>().cast<float>();
  const PanTiltSolution solution = testing::headModel(head).solve(world, {0, 0});
  if (!solution.solved()) return Fate::kMissed;
  const testing::Steps steps = {static_cast<double>(solution.pan),
                                static_cast<double>(solution.tilt)};
  const Eigen::Vector4d seen = testing::cameraFromBaseAtSteps(head, steps) * target;
  // Measured 1e-5: positions of motors in single precision.
  EXPECT_LT(seen.head<2>().norm(), 1e-3 * std::abs(seen.z()));
  return seen.z() > 0 ? Fate::kFound : Fate::kBehind;
}

/// A target anywhere around the head.
Fate pointAtElevation(const UprightHead& build, double elevation, std::mt19937_64* random) {
  const PanTiltSystemParameters head = makeHead(build, random);
  const double azimuth = uniform(random, -180, 180) * kRadians;
  const double distance = uniform(random, 5, 20);
  return pointAt(head, targetAt(head, azimuth, elevation, distance));
}

/// The elevation to which a head finds targets below the plane of pan when its optical axis stands
/// above that, and the other way round: where cos b tan e = -1 / (tan b / cos b), so that the
/// target and the axis are a quarter turn apart in the frame of the combined axes.
double limitBelow(double axis_elevation) {
  const double c = std::cos(axis_elevation);
  return std::atan2(c * c * c, std::abs(std::sin(axis_elevation)));
}

/// Whether targets within the limit of heads of either azimuth and either sense of tilt are found
/// and those beyond it are missed; `margin`, radians, is left out on both sides.
void expectLimit(double reach, double margin, std::mt19937_64* random) {
  const double axis = uniform(random, 1, 80) * kRadians * (uniform(random, -1, 1) < 0 ? -1 : 1);
  const double side = axis > 0 ? -1 : 1;
  const double azimuth = uniform(random, -1, 1) < 0 ? 0 : 180 * kRadians;
  const UprightHead build = {azimuth, axis, uniform(random, -1, 1) < 0 ? -1 : 1, reach};
  const double limit = limitBelow(axis);
  const double within = uniform(random, -89 * kRadians, limit - margin);
  EXPECT_EQ(pointAtElevation(build, side * within, random), Fate::kFound)
      << axis / kRadians << " " << within / kRadians;
  if (limit + margin > 89 * kRadians) return;
  const double beyond = uniform(random, limit + margin, 89 * kRadians);
  EXPECT_EQ(pointAtElevation(build, side * beyond, random), Fate::kMissed)
      << axis / kRadians << " " << beyond / kRadians;
}

TEST(PanTiltReach, LimitIsAQuarterTurnInTheFrameOfTheCombinedAxes) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 3000; ++i) expectLimit(0, 0.05 * kRadians, &random);
}

TEST(PanTiltReach, LeverArmsMoveTheLimitByTheirAngle) {
  // Two arms of up to 5 cm along each axis are 0.173 m, seen from 5 m under 1.98 degrees.
  std::mt19937_64 random(2);
  for (int i = 0; i < 3000; ++i) expectLimit(0.05, 2 * kRadians, &random);
}

TEST(PanTiltReach, LimitsThatTheDocumentStates) {
  const double stated[][2] = {{0, 90}, {5, 85}, {10, 80}, {20, 68}, {30, 52}, {45, 27}, {60, 8}};
  for (const auto& [axis, limit] : stated) {
    EXPECT_NEAR(limitBelow(axis * kRadians) / kRadians, limit, 0.5) << axis;
  }
}

TEST(PanTiltReach, LevelAxisFindsEveryTarget) {
  std::mt19937_64 random(3);
  for (int i = 0; i < 2000; ++i) {
    const double elevation = uniform(&random, -88, 88) * kRadians;
    EXPECT_EQ(pointAtElevation({0, 0, 1, 0.05}, elevation, &random), Fate::kFound);
  }
}

TEST(PanTiltReach, LevelAxisMissesAConeOfTwiceItsAzimuthAroundThePanAxis) {
  std::mt19937_64 random(4);
  // Within a degree of the cone the steps that follow can lead astray.
  const double margin = 1 * kRadians;
  for (int i = 0; i < 2000; ++i) {
    const double azimuth = uniform(&random, 0.5, 30) * kRadians;
    const double limit = 90 * kRadians - 2 * azimuth;
    const double within = uniform(&random, -1, 1) * (limit - margin);
    EXPECT_EQ(pointAtElevation({azimuth, 0, 1, 0}, within, &random), Fate::kFound)
        << azimuth / kRadians << " " << within / kRadians;
    const double beyond = uniform(&random, limit + 0.05 * kRadians, 89.9 * kRadians);
    EXPECT_EQ(pointAtElevation({azimuth, 0, 1, 0}, beyond, &random), Fate::kMissed)
        << azimuth / kRadians << " " << beyond / kRadians;
  }
}

TEST(PanTiltReach, AxisAtAnAzimuthOf45DegreesFindsNothing) {
  std::mt19937_64 random(4);
  for (int i = 0; i < 500; ++i) {
    const double elevation = uniform(&random, -85, 85) * kRadians;
    EXPECT_EQ(pointAtElevation({45 * kRadians, 0, 1, 0}, elevation, &random), Fate::kMissed);
  }
}

TEST(PanTiltReach, AxisAtAnAzimuthOf90DegreesFacesAwayFromSteepTargets) {
  std::mt19937_64 random(5);
  for (int i = 0; i < 500; ++i) {
    const double flat = uniform(&random, -30, 30) * kRadians;
    EXPECT_EQ(pointAtElevation({90 * kRadians, 0, 1, 0}, flat, &random), Fate::kFound);
    const double steep = uniform(&random, 60, 85) * kRadians;
    EXPECT_EQ(pointAtElevation({90 * kRadians, 0, 1, 0}, steep, &random), Fate::kBehind);
  }
}

}  // namespace
}  // namespace norv

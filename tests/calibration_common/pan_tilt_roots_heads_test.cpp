// PanTiltModel::solveAll over heads of all kinds, those among them that the closed form of
// computePanTilt does not serve: docs/pan_tilt_heads.md.

#include <gtest/gtest.h>

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <cctype>
#include <cmath>
#include <ostream>
#include <random>
#include <string>

#include "calibration_common/pan_tilt_model.h"
#include "testing/example_ptz.h"
#include "testing/pointing_chain.h"
#include "testing/random_head.h"
#include "testing/roots_by_grid.h"

namespace norv::calibration {
namespace {

using testing::Angles;
using testing::GridSearch;
using testing::kRadians;
using testing::PointingChain;
using testing::PointingQuestion;
using testing::uniform;
using testing::UprightHead;

constexpr int kTargets = 2000;

Eigen::Matrix4d turned(double degrees, const Eigen::Vector3d& axis) {
  Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
  m.topLeftCorner<3, 3>() = Eigen::AngleAxisd(degrees * kRadians, axis).matrix();
  return m;
}

/// A way to build or write down a head.
struct Kind {
  const char* name;
  UprightHead build;
  double tilt_axis_off_level = 0;  ///< degrees
  double camera_off_square = 0;    ///< degrees, of the optical axis to the tilt axis
  bool hangs = false;              ///< from a ceiling: targets are below it
  double off_axis = 0;             ///< half the width of the rays that are asked for

  /// Whether both axes are square to what they carry and all meet, so that nothing is out of reach.
  bool reachesAll() const {
    return tilt_axis_off_level == 0 && camera_off_square == 0 && build.reach == 0 && off_axis == 0;
  }
};

UprightHead build(double azimuth, double elevation, int direction, double reach) {
  return {azimuth * kRadians, elevation * kRadians, direction, reach};
}

const Kind kKinds[] = {
    {"as the closed form wants it", build(0, 0, 1, 0)},
    {"facing back, tilt downwards", build(180, 10, -1, 0)},
    {"azimuth 45", build(45, 0, 1, 0)},
    {"azimuth 90", build(90, 0, 1, 0)},
    {"azimuth -120, elevation 20", build(-120, 20, -1, 0)},
    {"elevation 60", build(0, 60, 1, 0)},
    {"elevation -80", build(0, -80, 1, 0)},
    {"ceiling", build(0, 0, 1, 0), 0, 0, true},
    {"ceiling, elevation 45", build(30, 45, 1, 0.05), 0, 0, true},
    {"azimuth 45 with arms", build(45, 0, 1, 0.05)},
    {"arms of half a metre", build(-75, 35, -1, 0.3)},
    {"tilt axis 20 degrees off level", build(0, 0, 1, 0.05), 20},
    {"tilt axis 60 degrees off level", build(90, 30, 1, 0.05), 60},
    {"camera 15 degrees off square", build(0, 0, 1, 0.05), 0, 15},
    {"off in every way", build(70, -50, -1, 0.2), 35, -25, true, 0.5},
};

std::ostream& operator<<(std::ostream& out, const Kind& kind) { return out << kind.name; }

PanTiltSystemParameters makeKind(const Kind& kind, std::mt19937_64* random) {
  PanTiltSystemParameters head = testing::makeHead(kind.build, random);
  const Eigen::Vector3d x = Eigen::Vector3d::UnitX();
  testing::storePose(turned(kind.tilt_axis_off_level, x) * testing::readPose(head.pan_to_tilt()),
                     head.mutable_pan_to_tilt());
  const Eigen::Vector3d tilt_axis = testing::readPose(head.tilt_to_camera()).block<3, 1>(0, 2);
  testing::storePose(turned(kind.camera_off_square, Eigen::Vector3d::UnitZ().cross(tilt_axis)) *
                         testing::readPose(head.tilt_to_camera()),
                     head.mutable_tilt_to_camera());
  return head;
}

/// A target by its direction from the pan joint, 0.5 to 20 m away, elevation -30 to 90 degrees or,
/// below a ceiling, the other way about.
PointingQuestion targetFor(const Kind& kind, std::mt19937_64* random) {
  PointingQuestion question;
  question.head = testing::headModel(makeKind(kind, random));
  const double distance = std::exp(uniform(random, std::log(0.5), std::log(20)));
  const double elevation = uniform(random, -30, 90) * kRadians * (kind.hangs ? -1 : 1);
  const double azimuth = uniform(random, -170, 170) * kRadians;
  const Eigen::Vector4d in_pan(distance * std::cos(elevation) * std::cos(azimuth),
                               distance * std::cos(elevation) * std::sin(azimuth),
                               distance * std::sin(elevation), 1);
  const Eigen::Matrix4d base_to_pan = question.head.getBaseToPan().transform.cast<double>();
  question.world = (base_to_pan.inverse() * in_pan).head<3>();
  for (double& element : question.dev) element = uniform(random, -1, 1) * kind.off_axis;
  return question;
}

class PanTiltRootsOfKinds : public ::testing::TestWithParam<Kind> {};

TEST_P(PanTiltRootsOfKinds, AreAllThatASearchFindsAndReachWhatTheHeadReaches) {
  std::mt19937_64 random(61);
  GridSearch grid(72);
  testing::RootTally tally;
  for (int i = 0; i < kTargets; ++i) {
    testing::compareWithGrid(targetFor(GetParam(), &random), &grid, &tally);
  }
  EXPECT_EQ(tally.missed, 0);
  EXPECT_EQ(tally.wrong, 0);
  // What lies towards the pan axis is out of reach of axes that are far from square.
  EXPECT_GT(tally.roots, kTargets);
  if (GetParam().reachesAll()) {
    EXPECT_EQ(tally.with_count[0], 0);
  }
}

TEST_P(PanTiltRootsOfKinds, HoldThePairFromWhichTheTargetWasMade) {
  std::mt19937_64 random(62);
  for (int i = 0; i < kTargets; ++i) {
    PointingQuestion question = targetFor(GetParam(), &random);
    const Angles at = {uniform(&random, -170, 170) * kRadians,
                       uniform(&random, -170, 170) * kRadians};
    const double range = std::exp(uniform(&random, std::log(0.5), std::log(20)));
    const Eigen::Vector3d ray = question.dev.homogeneous().normalized();
    question.world = PointingChain(question.head).inBase(at, range * ray);
    const PanTiltRoots roots = question.head.solveAll(question.world, question.dev);
    double nearest = 10;
    double sensitivity = 0;
    for (const PanTiltRoot& root : roots) {
      const double distance = testing::distanceBetween({root.pan, root.tilt}, at);
      if (distance >= nearest) continue;
      nearest = distance;
      sensitivity = root.sensitivity;
    }
    // Rounding of the target, times what it does to the angles; measured 3e-15.
    EXPECT_LT(nearest, 3e-14 * sensitivity) << i << " " << sensitivity;
  }
}

std::string nameOf(const ::testing::TestParamInfo<Kind>& info) {
  std::string name;
  for (const char c : std::string(info.param.name)) {
    if (c == '-') name += "Minus";
    if (std::isalnum(static_cast<unsigned char>(c)) != 0) name += c;
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Heads, PanTiltRootsOfKinds, ::testing::ValuesIn(kKinds), nameOf);

}  // namespace
}  // namespace norv::calibration

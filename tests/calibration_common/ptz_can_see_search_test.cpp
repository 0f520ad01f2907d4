// Which points a pan-tilt-zoom camera can see, against all positions of its motors tried one by
// one. The judge is the chain in double precision, multiplied out without the library.

#include <gtest/gtest.h>

#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "calibration_common/ptz_aiming.h"
#include "calibration_common/ptz_coverage.h"
#include "testing/example_ptz.h"
#include "testing/random_head.h"
#include "testing/seen_directions.h"

namespace norv::calibration {
namespace {

using Eigen::Vector3d;
using testing::direction;
using testing::examplePtz;
using testing::kPi;
using testing::kRadians;
using testing::ptzModel;
using testing::uniform;

/// The pixel of a point of the camera frame: the formula of docs/conventions.md.
Eigen::Vector2d pixelOf(const PTZIntrinsicsItem& lens, const Vector3d& p) {
  const double x = p.x() / p.z();
  const double y = p.y() / p.z();
  const double s = x * x + y * y;
  const double g = (1 + lens.k1() * s) / (1 + lens.k4() * s);
  const double xd = x * g + 2 * lens.p1() * x * y + lens.p2() * (s + 2 * x * x);
  const double yd = y * g + lens.p1() * (s + 2 * y * y) + 2 * lens.p2() * x * y;
  return {lens.focal_length() * xd + lens.cx(), lens.focal_length() * yd + lens.cy()};
}

/// How near the motors bring a point to the optical axis, radians, and to the picture, pixels
/// outside of it (negative inside), of a grid over their range.
struct Nearest {
  double angle = kPi;
  double pixels = 1e9;
};

constexpr double kGridStep = 1.5 * kRadians;

std::vector<double> gridOf(double scale, double offset, int lowest, int highest) {
  const double from = (lowest - offset) * scale;
  const double to = (highest - offset) * scale;
  const int count = static_cast<int>(std::ceil(std::abs(to - from) / kGridStep)) + 1;
  std::vector<double> angles;
  for (int i = 0; i <= count; ++i) angles.push_back(from + (to - from) * i / count);
  return angles;
}

Nearest searchAll(const PTZCameraParameters& ptz, const Vector3d& point) {
  const PanTiltSystemParameters& head = ptz.pan_tilt();
  Nearest nearest;
  for (const double pan :
       gridOf(static_cast<double>(head.pan_scale()), static_cast<double>(head.pan_offset()),
              head.min_pan(), head.max_pan())) {
    const Eigen::Vector4d in_tilt = testing::readPose(head.pan_to_tilt()) * testing::turnZ(pan) *
                                    testing::readPose(head.base_to_pan()) * point.homogeneous();
    const Eigen::Matrix4d camera_from_tilt = testing::readPose(head.tilt_to_camera());
    for (const double tilt :
         gridOf(static_cast<double>(head.tilt_scale()), static_cast<double>(head.tilt_offset()),
                head.min_tilt(), head.max_tilt())) {
      const Vector3d p = (camera_from_tilt * (testing::turnZ(tilt) * in_tilt)).head<3>();
      nearest.angle = std::min(nearest.angle, std::atan2(p.head<2>().norm(), p.z()));
      // The corners are 40 degrees from the axis, and the lens folds well beyond.
      if (p.z() < 0.7 * p.norm()) continue;
      const Eigen::Vector2d pixel = pixelOf(ptz.intrinsics().samples(0), p);
      nearest.pixels = std::min(
          nearest.pixels, std::max({-pixel.x(), pixel.x() - 1920, -pixel.y(), pixel.y() - 1080}));
    }
  }
  return nearest;
}

/// A head of any geometry with any range, lens and picture of the example.
PTZCameraParameters randomPtz(std::mt19937_64* random) {
  PTZCameraParameters ptz = examplePtz();
  *ptz.mutable_pan_tilt() = testing::randomHead(random);
  PanTiltSystemParameters* head = ptz.mutable_pan_tilt();
  const auto range = [&](double scale, double offset, auto set_min, auto set_max) {
    const double width = uniform(random, 0.3, 4);
    const double middle = uniform(random, -3, 3) / scale + offset;
    set_min(static_cast<int>(middle - 0.5 * width / std::abs(scale)));
    set_max(static_cast<int>(middle + 0.5 * width / std::abs(scale)));
  };
  range(
      static_cast<double>(head->pan_scale()), static_cast<double>(head->pan_offset()),
      [&](int v) { head->set_min_pan(v); }, [&](int v) { head->set_max_pan(v); });
  range(
      static_cast<double>(head->tilt_scale()), static_cast<double>(head->tilt_offset()),
      [&](int v) { head->set_min_tilt(v); }, [&](int v) { head->set_max_tilt(v); });
  return ptz;
}

/// In any direction, five metres from where the head turns.
Vector3d randomPoint(const PTZCameraModel& model, std::mt19937_64* random) {
  const double azimuth = uniform(random, -kPi, kPi);
  const double elevation = std::asin(uniform(random, -1, 1));
  return coverage(model, 5, PtzSight::kCentred, 0).centre + 5 * direction(azimuth, elevation);
}

// What lies between two positions of the grid, half a step of each motor away, is 1.5 degrees from
// the one or the other where the point is far beside the arms of up to 0.35 m, by 2000 pixels per
// radian and twice that in the corners.
TEST(CanSee, AgreesWithAllPositionsTriedOneByOne) {
  std::mt19937_64 random(27);
  int centred = 0;
  int shown = 0;
  int hidden = 0;
  for (int i = 0; i < 300; ++i) {
    const PTZCameraParameters ptz = randomPtz(&random);
    const PTZCameraModelPtr model = ptzModel(ptz);
    const Vector3d point = randomPoint(*model, &random);
    const Nearest nearest = searchAll(ptz, point);
    const bool is_centred = canSee(*model, point, PtzSight::kCentred);
    const bool is_shown = canSee(*model, point);
    EXPECT_TRUE(!is_centred || nearest.angle < 2 * kRadians) << i << " " << nearest.angle;
    EXPECT_TRUE(!is_shown || nearest.pixels < 100) << i << " " << nearest.pixels;
    EXPECT_TRUE(is_shown || nearest.pixels > 0) << i << " " << nearest.pixels;
    EXPECT_TRUE(is_shown || !is_centred) << i;
    centred += is_centred ? 1 : 0;
    shown += is_shown ? 1 : 0;
    hidden += is_shown ? 0 : 1;
  }
  EXPECT_GT(centred, 50);
  EXPECT_GT(shown, centred + 50);
  EXPECT_GT(hidden, 50);
}

/// Whether the camera aims at a point without that a limit keeps it from there, or that it passes
/// by near the pan axis.
bool aims(const PTZCameraModel& model, const Vector3d& point) {
  AimRequest request;
  request.target = PointTarget{point};
  request.place = AimPlace::kPrincipalPoint;
  const Aim found = aim(model, request);
  return !found.empty() && found.best().miss < 3 && found.best().pan_bound == MotorBound::kNone &&
         found.best().tilt_bound == MotorBound::kNone;
}

// Aiming goes half a step beyond the ends of the range, which none of these points needs.
TEST(CanSee, CentresWhatCanBeAimedAt) {
  std::mt19937_64 random(28);
  int centred = 0;
  int passed_by = 0;
  for (int i = 0; i < 3000; ++i) {
    const PTZCameraModelPtr model = ptzModel(randomPtz(&random));
    const Vector3d point = randomPoint(*model, &random);
    const bool is_centred = canSee(*model, point, PtzSight::kCentred);
    const bool is_aimed_at = aims(*model, point);
    EXPECT_TRUE(is_aimed_at || !is_centred) << i;
    centred += is_centred ? 1 : 0;
    passed_by += is_aimed_at && !is_centred ? 1 : 0;
  }
  // One of them is passed by near the pan axis at less than three pixels.
  EXPECT_LE(passed_by, 1);
  EXPECT_GT(centred, 300);
}

// The boundary leaps over what is far from the picture, and begins with the position before.
TEST(CanSee, AgreesWithTheBoundaryOfCoverage) {
  std::mt19937_64 random(30);
  int seen = 0;
  int hidden = 0;
  for (int i = 0; i < 12; ++i) {
    const PTZCameraModelPtr model = ptzModel(randomPtz(&random));
    const double distance = std::exp(uniform(&random, 0, 3));
    const PtzCoverage found = coverage(*model, distance, PtzSight::kInPicture, 3);
    for (int j = 0; j < 150; ++j) {
      const double azimuth = 2 * kPi * (j % 3) / 3.0 - kPi;
      const double elevation = uniform(&random, -kPi / 2, kPi / 2);
      const bool is_within =
          std::any_of(found.spans.begin(), found.spans.end(), [&](const ElevationSpan& span) {
            return std::abs(span.azimuth - azimuth) < 1e-9 && span.lowest <= elevation &&
                   elevation <= span.highest;
          });
      const Vector3d point = found.centre + distance * direction(azimuth, elevation);
      EXPECT_EQ(canSee(*model, point), is_within) << i << " " << azimuth << " " << elevation;
      (is_within ? seen : hidden) += 1;
    }
  }
  EXPECT_GT(seen, 200);
  EXPECT_GT(hidden, 200);
}

}  // namespace
}  // namespace norv::calibration

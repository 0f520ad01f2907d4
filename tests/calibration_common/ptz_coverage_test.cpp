// What a pan-tilt-zoom camera can see, against the angles of its motors' limits and against all
// positions of its motors tried one by one. The judge is the chain in double precision, multiplied
// out without the library.

#include "calibration_common/ptz_coverage.h"

#include <gtest/gtest.h>

#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "calibration_common/ptz_aiming.h"
#include "support/logging.h"
#include "testing/allocation_count.h"
#include "testing/example_ptz.h"
#include "testing/random_head.h"
#include "testing/random_message.h"

namespace norv::calibration {
namespace {

using Eigen::Vector3d;
using testing::examplePtz;
using testing::kRadians;
using testing::ptzModel;
using testing::uniform;

constexpr double kPi = 3.14159265358979323846;

/// No log lines, for the length of a scope.
struct ScopedQuiet {
  ScopedQuiet() { setLogLevel(nullptr, 0); }
  ScopedQuiet(const ScopedQuiet&) = delete;
  ScopedQuiet& operator=(const ScopedQuiet&) = delete;
  ~ScopedQuiet() { setLogLevel(nullptr, kLogWarning); }
};

PTZCameraParameters plainPtz() {
  PTZCameraParameters ptz = examplePtz();
  *ptz.mutable_intrinsics() = testing::pinholeLens();
  *ptz.mutable_pan_tilt() = testing::headWithoutLeverArms();
  return ptz;
}

Vector3d direction(double azimuth, double elevation) {
  return {std::cos(elevation) * std::cos(azimuth), std::cos(elevation) * std::sin(azimuth),
          std::sin(elevation)};
}

double angleOf(int steps) { return steps * static_cast<double>(0.0005F); }

// ------------------------------------------------------------------ a head without lever arms

TEST(CanSee, CentredUpToTheLimits) {
  const PTZCameraModelPtr model = ptzModel(plainPtz());
  const auto centred = [&](double azimuth, double elevation) {
    return canSee(*model, 5 * direction(azimuth, elevation), PtzSight::kCentred);
  };
  // Pan turns to the right, against the azimuth; tilt upwards.
  const double side = angleOf(5934);
  const double down = -angleOf(1047);
  const double up = angleOf(3141);
  EXPECT_TRUE(centred(0, 0));
  EXPECT_TRUE(centred(side - 1e-6, 0));
  EXPECT_FALSE(centred(side + 1e-6, 0));
  EXPECT_TRUE(centred(-side + 1e-6, 0));
  EXPECT_FALSE(centred(-side - 1e-6, 0));
  EXPECT_TRUE(centred(1, down + 1e-6));
  EXPECT_FALSE(centred(1, down - 1e-6));
  EXPECT_TRUE(centred(1, up - 1e-6));
  EXPECT_FALSE(centred(1, up + 1e-6));
  EXPECT_FALSE(centred(kPi, 0));
  EXPECT_FALSE(centred(0, kPi / 2));
}

TEST(CanSee, InThePictureUpToItsBorder) {
  const PTZCameraModelPtr model = ptzModel(plainPtz());
  const auto seen = [&](double azimuth, double elevation) {
    return canSee(*model, 5 * direction(azimuth, elevation));
  };
  // A pinhole with 1500 pixels of focal length and its axis through the middle of 1920 x 1080.
  const double down = -angleOf(1047) - std::atan(540.0 / 1500);
  EXPECT_TRUE(seen(1, down + 1e-6));
  EXPECT_FALSE(seen(1, down - 1e-6));
  EXPECT_TRUE(seen(0, kPi / 2));
  // Half the picture's width is 32.6 degrees, which with 170 is all around.
  EXPECT_TRUE(seen(kPi, 0));
  EXPECT_FALSE(seen(kPi, -kPi / 2));
}

TEST(CanSee, InThePictureBesideTheEndOfPan) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_pan_tilt()->set_min_pan(-1000);
  ptz.mutable_pan_tilt()->set_max_pan(2000);
  const PTZCameraModelPtr model = ptzModel(ptz);
  // At the end of pan the picture's side is 32.6 degrees on, at the level of the horizon by the
  // tilt that looks along it: tan of the angle is 960 / 1500.
  const double left = angleOf(1000) + std::atan(960.0 / 1500);
  const double right = -angleOf(2000) - std::atan(960.0 / 1500);
  EXPECT_TRUE(canSee(*model, 7 * direction(left - 1e-6, 0)));
  EXPECT_FALSE(canSee(*model, 7 * direction(left + 1e-6, 0)));
  EXPECT_TRUE(canSee(*model, 7 * direction(right + 1e-6, 0)));
  EXPECT_FALSE(canSee(*model, 7 * direction(right - 1e-6, 0)));
  // In the corner, with tilt at its end, too: of the ray that the corner's pixel has there.
  const double tilt = -angleOf(1047);
  const Vector3d ahead = direction(angleOf(1000), tilt);
  const Vector3d leftwards = direction(angleOf(1000) + kPi / 2, 0);
  const Vector3d corner = 1500 * ahead + 960 * leftwards - 540 * ahead.cross(leftwards);
  EXPECT_LT(corner.normalized().z(), std::sin(tilt));
  EXPECT_TRUE(canSee(*model, corner + 1e-3 * ahead.cross(leftwards)));
  EXPECT_FALSE(canSee(*model, corner - 1e-3 * ahead.cross(leftwards)));
}

TEST(CanSee, InTheDistortedPicture) {
  // Barrel: at the left border, on the row of the principal point, is the ray whose x/z is -0.8.
  PTZCameraParameters ptz = plainPtz();
  for (PTZIntrinsicsItem& sample : *ptz.mutable_intrinsics()->mutable_samples()) {
    sample.set_k1(-0.08);
    sample.set_k4(0.1);
    sample.set_cx(1500 * 0.8 * (1 - 0.08 * 0.64) / (1 + 0.1 * 0.64));
  }
  ptz.mutable_pan_tilt()->set_min_pan(-1000);
  const PTZCameraModelPtr model = ptzModel(ptz);
  const double left = angleOf(1000) + std::atan(0.8);
  EXPECT_TRUE(canSee(*model, 7 * direction(left - 1e-6, 0)));
  EXPECT_FALSE(canSee(*model, 7 * direction(left + 1e-6, 0)));
}

TEST(CanSee, InThePictureOfTheShortestZoomOfTheRange) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_intrinsics()->set_min_zoom(2000);
  const PTZCameraModelPtr model = ptzModel(ptz);
  const double focal_length = ptz.intrinsics().samples(2).focal_length();
  const double down = -angleOf(1047) - std::atan(540 / focal_length);
  EXPECT_TRUE(canSee(*model, 5 * direction(1, down + 1e-6)));
  EXPECT_FALSE(canSee(*model, 5 * direction(1, down - 1e-6)));
  ptz.mutable_intrinsics()->set_max_zoom(1999);
  EXPECT_FALSE(canSee(*ptzModel(ptz), {5, 0, 0}));
}

TEST(CanSee, MotorsWithoutLimitsAndThoseThatStandStill) {
  PTZCameraParameters ptz = plainPtz();
  PanTiltSystemParameters* head = ptz.mutable_pan_tilt();
  head->clear_min_pan();
  head->clear_max_pan();
  EXPECT_TRUE(canSee(*ptzModel(ptz), {-5, 0, 0}, PtzSight::kCentred));
  head->set_pan_scale(0);
  EXPECT_TRUE(canSee(*ptzModel(ptz), {5, 0, 2}, PtzSight::kCentred));
  EXPECT_FALSE(canSee(*ptzModel(ptz), {5, 0.1, 2}, PtzSight::kCentred));
  // Of limits that contradict each other the upper one holds.
  head->set_pan_scale(0.0005F);
  head->set_min_pan(1000);
  head->set_max_pan(-1000);
  EXPECT_TRUE(canSee(*ptzModel(ptz), direction(angleOf(1000), 0), PtzSight::kCentred));
  EXPECT_FALSE(canSee(*ptzModel(ptz), direction(-angleOf(1000), 0), PtzSight::kCentred));
  head->set_tilt_scale(std::numeric_limits<float>::infinity());
  EXPECT_FALSE(canSee(*ptzModel(ptz), {5, 0, 0}, PtzSight::kCentred));
}

TEST(CanSee, NeverWithoutACameraAPointOrAPicture) {
  const ScopedQuiet quiet;
  const PTZCameraModelPtr model = ptzModel(plainPtz());
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(canSee(*model, {5, nan, 0}));
  EXPECT_FALSE(canSee(*model, {std::numeric_limits<double>::infinity(), 0, 0}));
  EXPECT_FALSE(canSee(*ptzModel(PTZCameraParameters()), {5, 0, 0}, PtzSight::kCentred));
  EXPECT_TRUE(coverage(*ptzModel(PTZCameraParameters()), 5).spans.empty());
  PTZCameraParameters blind = plainPtz();
  blind.mutable_intrinsics()->clear_image_width();
  EXPECT_FALSE(canSee(*ptzModel(blind), {5, 0, 0}));
  EXPECT_TRUE(canSee(*ptzModel(blind), {5, 0, 0}, PtzSight::kCentred));
  PTZCameraParameters one_sample = plainPtz();
  one_sample.mutable_intrinsics()->mutable_samples()->DeleteSubrange(1, 11);
  EXPECT_FALSE(canSee(*ptzModel(one_sample), {5, 0, 0}));
}

TEST(CanSee, AllocatesNothing) {
  const PTZCameraModelPtr model = ptzModel(examplePtz());
  int seen = 0;
  const int before = testing::allocationCount();
  for (const PtzSight sight : {PtzSight::kCentred, PtzSight::kInPicture}) {
    seen += canSee(*model, {5, 1, 2}, sight) ? 1 : 0;
    seen += canSee(*model, {-5, 0, 2}, sight) ? 1 : 0;
    seen += canSee(*model, {0, 0, -5}, sight) ? 1 : 0;
  }
  EXPECT_EQ(testing::allocationCount(), before);
  EXPECT_EQ(seen, 3);  // the second one is beyond the end of pan, and only in the picture
}

// ------------------------------------------------------------------------------ all positions

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

/// Whether the camera aims at a point without that a limit keeps it from there.
bool aims(const PTZCameraModel& model, const Vector3d& point) {
  AimRequest request;
  request.target = PointTarget{point};
  request.place = AimPlace::kPrincipalPoint;
  const Aim found = aim(model, request);
  return !found.empty() && found.best().pan_bound == MotorBound::kNone &&
         found.best().tilt_bound == MotorBound::kNone;
}

// Aiming goes half a step beyond the ends of the range, which none of these points needs.
TEST(CanSee, CentresWhatCanBeAimedAt) {
  std::mt19937_64 random(28);
  int centred = 0;
  for (int i = 0; i < 3000; ++i) {
    const PTZCameraModelPtr model = ptzModel(randomPtz(&random));
    const Vector3d point = randomPoint(*model, &random);
    const bool is_centred = canSee(*model, point, PtzSight::kCentred);
    EXPECT_EQ(is_centred, aims(*model, point)) << i;
    centred += is_centred ? 1 : 0;
  }
  EXPECT_GT(centred, 300);
}

// ---------------------------------------------------------------------------------- coverage

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
  const PTZCameraModelPtr model = ptzModel(plainPtz());
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
  const PTZCameraModelPtr model = ptzModel(plainPtz());
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
  PTZCameraParameters ptz = plainPtz();
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
  PTZCameraParameters ptz = plainPtz();
  testing::storePose({1, 0, 0, -25, 0, 1, 0, 0, 0, 0, 1, 0},
                     ptz.mutable_pan_tilt()->mutable_pan_to_tilt());
  const PtzCoverage found = coverage(*ptzModel(ptz), 5);
  EXPECT_TRUE(found.spans.empty());
  EXPECT_TRUE(found.centre.array().isNaN().all());
}

}  // namespace
}  // namespace norv::calibration

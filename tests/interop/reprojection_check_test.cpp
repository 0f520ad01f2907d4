#include "interop/reprojection_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace norv::interop {
namespace {

using Convention = OtherConvention;
using ::testing::ElementsAre;

/// A pinhole camera 2 m behind the robot's origin, with a focal length of 1000 px.
WrittenCamera plainCamera() {
  WrittenCamera camera;
  camera.name = "plain";
  camera.model = {1280, 960, 1000, 1000, 0, 640, 480, {}};
  camera.camera_from_parent = RigidPose{};
  camera.camera_from_parent->translation = {0, 0, 2};
  return camera;
}

/// A camera whose pose is neither its own inverse nor without translation.
WrittenCamera turnedCamera() {
  WrittenCamera camera = plainCamera();
  camera.camera_from_parent->rotation = rotationFromVector({0.1, -0.2, 0.3});
  camera.camera_from_parent->translation = {0.3, -0.2, 0.5};
  return camera;
}

/// Points in front of a camera, and where a pinhole camera with that pose sees them.
std::vector<ObservedPoint> seenBy(const WrittenCamera& camera, double offset = 0) {
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> side(-1, 1);
  std::vector<ObservedPoint> points;
  const RigidPose pose = camera.camera_from_parent.value_or(RigidPose{});
  for (int i = 0; i < 40; ++i) {
    const double depth = 4 + side(random);
    const Eigen::Vector3d in_camera(side(random), side(random), depth);
    const auto& k = camera.model;
    points.push_back({pose.rotation.transpose() * (in_camera - pose.translation),
                      {k.fx * in_camera.x() / in_camera.z() + k.cx + offset,
                       k.fy * in_camera.y() / in_camera.z() + k.cy + offset}});
  }
  return points;
}

std::vector<Convention> conventionsOf(const ReprojectionCheck& check) {
  std::vector<Convention> conventions;
  for (const BetterConvention& better : check.better) conventions.push_back(better.convention);
  return conventions;
}

TEST(ReprojectionCheck, ErrorIsWhatWasSeenMinusWhatIsProjected) {
  // (0.1, 0.2, 4) in the camera's frame is projected to (665, 530), (0, 0, 10) to (640, 480).
  const ReprojectionError error =
      checkReprojection(plainCamera(), {{{0.1, 0.2, 2}, {668, 534}}, {{0, 0, 8}, {640, 480}}})
          .error;
  EXPECT_EQ(error.imaged, 2);
  EXPECT_EQ(error.behind, 0);
  EXPECT_EQ(error.beyond_lens, 0);
  EXPECT_NEAR(error.rms, std::sqrt(12.5), 1e-12);
  EXPECT_NEAR(error.max, 5, 1e-12);
  EXPECT_NEAR(error.mean.x(), 1.5, 1e-12);
  EXPECT_NEAR(error.mean.y(), 2, 1e-12);
}

TEST(ReprojectionCheck, LensAndSkewCount) {
  WrittenCamera camera = plainCamera();
  camera.camera_from_parent.reset();
  camera.model.skew = 10;
  camera.model.lens.k1 = 0.25;
  // x = 0.5 and y = 1 have s = 1.25 and are multiplied by 1.3125.
  const ReprojectionError error =
      checkReprojection(camera, {{{1, 2, 2}, {656.25 + 13.125 + 640, 1312.5 + 480}}}).error;
  EXPECT_EQ(error.imaged, 1);
  EXPECT_NEAR(error.max, 0, 1e-12);
}

TEST(ReprojectionCheck, PointsWithoutAPixelAreCounted) {
  WrittenCamera camera = plainCamera();
  camera.model.lens.k1 = -0.3;  // folds at r = 1.054
  const ReprojectionError error = checkReprojection(camera, {{{0, 0, -2}, {640, 480}},
                                                             {{0, 0, -7}, {640, 480}},
                                                             {{8, 0, 2}, {640, 480}},
                                                             {{0, 0, 2}, {640, 480}}})
                                      .error;
  EXPECT_EQ(error.imaged, 1);
  EXPECT_EQ(error.behind, 2);
  EXPECT_EQ(error.beyond_lens, 1);
  EXPECT_EQ(error.rms, 0);
}

TEST(ReprojectionCheck, NothingToCompare) {
  const ReprojectionCheck check = checkReprojection(plainCamera(), {});
  EXPECT_EQ(check.error.imaged, 0);
  EXPECT_EQ(check.error.rms, 0);
  EXPECT_EQ(check.error.mean, Eigen::Vector2d(0, 0));
  EXPECT_TRUE(check.better.empty());
}

TEST(ReprojectionCheck, RightCameraHasNoHint) {
  for (const WrittenCamera& camera : {plainCamera(), turnedCamera()}) {
    const ReprojectionCheck check = checkReprojection(camera, seenBy(camera));
    EXPECT_EQ(check.error.imaged, 40);
    EXPECT_LT(check.error.max, 1e-9);  // measured 1.2e-13
    EXPECT_TRUE(check.better.empty());
  }
}

/// What explains points of the turned camera better than a camera with another pose.
ReprojectionCheck checkPose(const RigidPose& pose) {
  WrittenCamera camera = turnedCamera();
  camera.camera_from_parent = pose;
  return checkReprojection(camera, seenBy(turnedCamera()));
}

TEST(ReprojectionCheck, OtherConventionsAreFound) {
  const WrittenCamera camera = turnedCamera();
  const RigidPose pose = *camera.camera_from_parent;
  RigidPose larger = pose;
  larger.translation *= 1000;
  RigidPose smaller = pose;
  smaller.translation /= 1000;
  const RigidPose transposed = {pose.rotation.transpose(), pose.translation};
  const RigidPose centre = {pose.rotation, -(pose.rotation.transpose() * pose.translation)};
  // The rows of a pose whose camera frame has x ahead, y left, z up are z, -x and -y of this one;
  // with x right, y up, z back they are x, -y and -z.
  const Eigen::Matrix3d& r = pose.rotation;
  const Eigen::Vector3d& t = pose.translation;
  RigidPose body;
  body.rotation << r.row(2), -r.row(0), -r.row(1);
  body.translation << t.z(), -t.x(), -t.y();
  RigidPose graphics;
  graphics.rotation << r.row(0), -r.row(1), -r.row(2);
  graphics.translation << t.x(), -t.y(), -t.z();
  const std::vector<std::pair<ReprojectionCheck, Convention>> cases = {
      {checkPose(transposed), Convention::kTransposedRotation},
      {checkPose(centre), Convention::kCentreAsTranslation},
      {checkPose(body), Convention::kAxesOfBody},
      {checkPose(graphics), Convention::kAxesOfGraphics},
      {checkReprojection(camera, seenBy(camera, -0.5)), Convention::kPixelsHalfMore},
      {checkReprojection(camera, seenBy(camera, 0.5)), Convention::kPixelsHalfLess},
      {checkPose(inverse(pose)), Convention::kInversePose},
      {checkPose(smaller), Convention::kTranslationThousand},
      {checkPose(larger), Convention::kTranslationThousandth},
  };
  for (const auto& [check, convention] : cases) {
    ASSERT_THAT(conventionsOf(check), ElementsAre(convention)) << describe(convention);
    EXPECT_EQ(check.better[0].error.imaged, 40);
    EXPECT_LT(check.better[0].error.max, 1e-9);  // measured 1.7e-13
  }
}

TEST(ReprojectionCheck, TenTimesBetterIsTheLimit) {
  // Of 0.5 + e pixels in x and y, e remain.
  const WrittenCamera camera = plainCamera();
  EXPECT_THAT(conventionsOf(checkReprojection(camera, seenBy(camera, 0.55))),
              ElementsAre(Convention::kPixelsHalfLess));
  EXPECT_TRUE(checkReprojection(camera, seenBy(camera, 0.56)).better.empty());
}

TEST(ReprojectionCheck, ErrorsThatNothingExplains) {
  const WrittenCamera camera = turnedCamera();
  EXPECT_TRUE(checkReprojection(camera, seenBy(camera, 20)).better.empty());
}

TEST(ReprojectionCheck, MissesBeyondThePictureExplainNothing) {
  // At that depth the pixel is more than 1e12 px off. With x ahead it would be 100 px off, or 4000.
  WrittenCamera camera = plainCamera();
  camera.camera_from_parent = RigidPose{};
  const auto seenAt = [&camera](double side) {
    return checkReprojection(camera, {{{1, side, 1e-9}, {640, 480}}});
  };
  EXPECT_GT(seenAt(-4).error.max, 1e12);
  EXPECT_TRUE(seenAt(-4).better.empty());
  EXPECT_THAT(conventionsOf(seenAt(-0.1)), ElementsAre(Convention::kAxesOfBody));
}

/// What explains points better of a camera whose translation is a 1000th of the right one, which
/// is `length` metres along x.
std::vector<Convention> hintsForTranslation(double length) {
  WrittenCamera camera = plainCamera();
  camera.camera_from_parent->translation = {length, 0, 0};
  const std::vector<ObservedPoint> points = seenBy(camera);
  camera.camera_from_parent->translation /= 1000;
  return conventionsOf(checkReprojection(camera, points));
}

TEST(ReprojectionCheck, ErrorsTooSmallToMatter) {
  // A metre is 1000 / 4 px here, more or less.
  EXPECT_TRUE(hintsForTranslation(2e-5).empty());
  EXPECT_THAT(hintsForTranslation(8e-5), ElementsAre(Convention::kTranslationThousand));
}

TEST(ReprojectionCheck, NumbersBeyondAllMeasure) {
  const ReprojectionCheck check = checkReprojection(
      plainCamera(), {{{1e308, 1e308, 1e308}, {1e308, -1e308}}, {{0, 0, 1}, {1e300, 0}}});
  EXPECT_EQ(check.error.imaged + check.error.behind + check.error.beyond_lens, 2);
}

}  // namespace
}  // namespace norv::interop

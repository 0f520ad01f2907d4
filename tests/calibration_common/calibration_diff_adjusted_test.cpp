/// A calibration compared with itself, moved by a base.

#include <gtest/gtest.h>

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <cmath>
#include <vector>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/calibration_diff.h"
#include "support/camera_projection.h"
#include "testing/calibration_edits.h"

namespace norv::calibration {
namespace {

using testing::defaultRobot;

constexpr double kRadians = 3.14159265358979323846 / 180;

/// Poses are moved in single precision: 1e-7 of a metre is 1e-4 mm.
constexpr double kMetres = 5e-7;
constexpr double kAngle = 1e-6;

RobotCalibration adjusted(const RobotCalibration& robot, const Eigen::Isometry3d& transform) {
  BaseCalibrationData base;
  base.setGlobalTransform(transform.linear().cast<float>(), transform.translation().cast<float>(),
                          {});
  CameraParametersSet cameras;
  cameras.loadFromProto(robot);
  cameras.adjustUsingBaseCalibration(base);
  return cameras.getRobotCalibration();
}

Eigen::Isometry3d cameraFromRobot(const CameraCalibration& camera) {
  Eigen::Isometry3d pose = Eigen::Isometry3d::Identity();
  for (int i = 0; i < 12; ++i) {
    pose.matrix()(i / 4, i % 4) = camera.extrinsics().a(i) * (i % 4 == 3 ? 0.001 : 1);
  }
  return pose;
}

/// The turn by an angle about the line through a point, and then a movement along that line.
Eigen::Isometry3d screw(const Eigen::Vector3d& point, const Eigen::Vector3d& direction,
                        double angle, double way) {
  const Eigen::Vector3d axis = direction.normalized();
  Eigen::Isometry3d transform = Eigen::Isometry3d::Identity();
  transform.linear() = Eigen::AngleAxisd(angle, axis).toRotationMatrix();
  transform.translation() = point - transform.linear() * point + way * axis;
  return transform;
}

/// A pose P becomes P B, so that a camera's centre c moves to B^-1 c. About the line through the
/// centres of both cameras each turns by 1 degree and moves by 10 mm, whatever its place.
TEST(DiffOfAdjustedCameras, TenMillimetresAndOneDegree) {
  const RobotCalibration robot = defaultRobot();
  const Eigen::Vector3d head = cameraFromRobot(robot.camera_calibration(0)).inverse().translation();
  const Eigen::Vector3d front =
      cameraFromRobot(robot.camera_calibration(1)).inverse().translation();
  const auto moved = adjusted(robot, screw(head, front - head, 1 * kRadians, 0.010));
  const auto difference = diffCalibrations(robot, moved);
  ASSERT_TRUE(difference);
  ASSERT_EQ(difference->cameras.size(), 2U);
  for (const CameraDifference& camera : difference->cameras) {
    EXPECT_NEAR(camera.pose.angle, 1 * kRadians, kAngle);
    EXPECT_NEAR(camera.pose.distance, 0.010, kMetres);
    const Eigen::Vector3d way = -0.010 * (front - head).normalized();
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_NEAR(camera.pose.movement[i], way[static_cast<Eigen::Index>(i)], kMetres);
    }
    ASSERT_EQ(camera.images.size(), 3U);
    for (const ImageDifference& image : camera.images) {
      EXPECT_EQ(image.as_is.max, 0);
      EXPECT_EQ(image.rotated.max, 0);
    }
  }
}

TEST(DiffOfAdjustedCameras, ATurnAboutTheBaseMovesCamerasByTheirLeverArms) {
  const RobotCalibration robot = defaultRobot();
  Eigen::Isometry3d transform = screw({0, 0, 0}, {1, 2, 3}, 1 * kRadians, 0);
  transform.translation() = Eigen::Vector3d(0.010, 0, 0);
  const auto difference = diffCalibrations(robot, adjusted(robot, transform));
  ASSERT_TRUE(difference);
  ASSERT_EQ(difference->cameras.size(), 2U);
  for (int i = 0; i < 2; ++i) {
    const Eigen::Vector3d centre =
        cameraFromRobot(robot.camera_calibration(i)).inverse().translation();
    const PoseDifference& pose = difference->cameras[static_cast<std::size_t>(i)].pose;
    EXPECT_NEAR(pose.angle, 1 * kRadians, kAngle);
    EXPECT_NEAR(pose.distance, (transform.inverse() * centre - centre).norm(), kMetres);
  }
}

TEST(DiffOfAdjustedCameras, AtThreeMetresOnTheAxisAsProjectionHasIt) {
  // A picture of 2 x 2 pixels about the principal point: its rays are the axis, all but.
  CameraCalibration before = testing::pinholeCamera("a", 2, 2);
  const double rows[] = {0, -1, 0, 30, 0, 0, -1, 350, 1, 0, 0, -250};
  for (int i = 0; i < 12; ++i) before.mutable_extrinsics()->set_a(i, rows[i]);
  RobotCalibration robot;
  *robot.add_camera_calibration() = before;
  const Eigen::Isometry3d transform = screw({0.1, -0.2, 0.3}, {1, 2, 3}, 1 * kRadians, 0.010);
  const RobotCalibration moved = adjusted(robot, transform);
  const auto difference = diffCalibrations(robot, moved);
  ASSERT_TRUE(difference);
  const PixelDifference& pixels = difference->cameras.at(0).images.at(0).on_robot.at(1).pixels;

  const Eigen::Vector3d target = cameraFromRobot(before).inverse() * Eigen::Vector3d(0, 0, 3);
  CameraParameters after;
  ASSERT_TRUE(after.readProto(moved.camera_calibration(0)));
  const Vector2_f pixel = project3dToCamera(after.getTransform(), after.getDistortion(2, 2),
                                            after.getIntrinsics(2, 2), target.cast<float>());
  const auto expected = static_cast<double>((pixel - Vector2_f(1, 1)).norm());
  EXPECT_GT(expected, 5);
  // The rays of the corners are 1.4 mrad from the axis, which changes a shift by as much.
  EXPECT_NEAR(pixels.median, expected, 2e-3 * expected);
  EXPECT_EQ(pixels.compared, 61 * 61);
}

}  // namespace
}  // namespace norv::calibration

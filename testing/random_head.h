#pragma once

/// Pan-tilt heads drawn at random, and the kinematic chain worked out in double precision without
/// the library.

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <Eigen/LU>
#include <cmath>
#include <random>

#include "calibration_common/pan_tilt_model.h"
#include "proto/norv_camera_extrinsics.pb.h"
#include "proto/norv_pan_tilt_system.pb.h"

namespace norv::testing {

inline constexpr double kRadians = 3.14159265358979323846 / 180;  ///< per degree

inline double uniform(std::mt19937_64* random, double low, double high) {
  return std::uniform_real_distribution<double>(low, high)(*random);
}

inline Eigen::Matrix4d turnZ(double angle) {
  Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
  m.topLeftCorner<3, 3>() = Eigen::AngleAxisd(angle, Eigen::Vector3d::UnitZ()).matrix();
  return m;
}

/// Metres in the matrix, millimetres in the message.
inline void storePose(const Eigen::Matrix4d& m, calibration::CameraExtrinsics* pose) {
  pose->Clear();
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) pose->add_a(m(row, column));
    pose->add_a(1000 * m(row, 3));
  }
}

inline Eigen::Matrix4d readPose(const calibration::CameraExtrinsics& pose) {
  Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
  for (int i = 0; i < 12; ++i) m(i / 4, i % 4) = pose.a(i) / (i % 4 == 3 ? 1000 : 1);
  return m;
}

/// Any rotation, and a translation of up to `reach` metres along each axis.
inline Eigen::Matrix4d randomPose(double reach, std::mt19937_64* random) {
  Eigen::Vector4d q;
  do {
    for (double& element : q) element = uniform(random, -1, 1);
  } while (q.norm() > 1 || q.norm() < 0.1);
  Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
  m.topLeftCorner<3, 3>() = Eigen::Quaterniond(q.normalized()).matrix();
  for (int row = 0; row < 3; ++row) m(row, 3) = uniform(random, -reach, reach);
  return m;
}

/// Turns a head in its own description: every pose of the camera is as it was, the azimuth of its
/// optical axis in the pan frame greater by this angle, radians.
inline void turnPanFrame(double azimuth, calibration::PanTiltSystemParameters* head) {
  storePose(turnZ(azimuth) * readPose(head->base_to_pan()), head->mutable_base_to_pan());
  storePose(readPose(head->pan_to_tilt()) * turnZ(-azimuth), head->mutable_pan_to_tilt());
}

/// Motor scales and offsets of either sign.
inline void setRandomMotors(std::mt19937_64* random, calibration::PanTiltSystemParameters* head) {
  const auto scale = [&] {
    const double magnitude = uniform(random, 2e-4, 2e-3);
    return static_cast<float>(uniform(random, -1, 1) < 0 ? -magnitude : magnitude);
  };
  head->set_pan_scale(scale());
  head->set_tilt_scale(scale());
  head->set_pan_offset(static_cast<float>(uniform(random, -500, 500)));
  head->set_tilt_offset(static_cast<float>(uniform(random, -500, 500)));
}

/// A head of any geometry, useful or not.
inline calibration::PanTiltSystemParameters randomHead(std::mt19937_64* random) {
  calibration::PanTiltSystemParameters head;
  storePose(randomPose(1, random), head.mutable_base_to_pan());
  storePose(randomPose(0.1, random), head.mutable_pan_to_tilt());
  storePose(randomPose(0.1, random), head.mutable_tilt_to_camera());
  setRandomMotors(random, &head);
  return head;
}

/// How an upright head is built: its tilt joint is level and square to the optical axis.
struct UprightHead {
  double azimuth;    ///< of the optical axis in the pan frame, radians
  double elevation;  ///< of the optical axis at zero tilt, radians
  int direction;     ///< 1: positive tilt raises the optical axis; -1: it lowers it
  double reach;      ///< of the lever arms between the joints and the camera, metres

  /// Tilt angle, radians, that gives the optical axis an elevation.
  double tiltOf(double wanted) const { return direction * (wanted - elevation); }
};

/// Poses of such a head, somewhere in space, the camera turned about its axis by any angle.
inline calibration::PanTiltSystemParameters makeHead(const UprightHead& build,
                                                     std::mt19937_64* random) {
  const auto arm = [&](Eigen::Matrix4d pose) {
    for (int row = 0; row < 3; ++row) pose(row, 3) = uniform(random, -build.reach, build.reach);
    return pose;
  };
  // The tilt joint's axis is the pan frame's y axis, up to sign.
  Eigen::Matrix4d tilt_from_pan;
  tilt_from_pan << 1, 0, 0, 0,          //
      0, 0, -1.0 * build.direction, 0,  //
      0, build.direction, 0, 0,         //
      0, 0, 0, 1;
  Eigen::Matrix4d camera_from_tilt;
  camera_from_tilt << 0, 0, -1.0 * build.direction, 0,  //
      0, build.direction, 0, 0,                         //
      1, 0, 0, 0,                                       //
      0, 0, 0, 1;
  calibration::PanTiltSystemParameters head;
  storePose(randomPose(1, random), head.mutable_base_to_pan());
  storePose(arm(tilt_from_pan * turnZ(-build.azimuth)), head.mutable_pan_to_tilt());
  storePose(arm(turnZ(uniform(random, -3, 3)) * camera_from_tilt *
                turnZ(build.direction * build.elevation)),
            head.mutable_tilt_to_camera());
  setRandomMotors(random, &head);
  return head;
}

/// A head that the inverse serves: azimuth 0 or 180 degrees, elevation 0 to 30 degrees, arms to 50
/// mm.
inline UprightHead randomServedBuild(std::mt19937_64* random) {
  return {uniform(random, -1, 1) < 0 ? 0 : 180 * kRadians, uniform(random, 0, 30 * kRadians),
          uniform(random, -1, 1) < 0 ? 1 : -1, 0.05};
}

/// camera_from_base at two angles in radians, from the poses as they are stored.
inline Eigen::Matrix4d cameraFromBase(const calibration::PanTiltSystemParameters& head, double pan,
                                      double tilt) {
  return readPose(head.tilt_to_camera()) * turnZ(tilt) * readPose(head.pan_to_tilt()) * turnZ(pan) *
         readPose(head.base_to_pan());
}

/// Two positions of the motors, steps.
struct Steps {
  double pan;
  double tilt;
};

inline Steps stepsOf(const calibration::PanTiltSystemParameters& head, double pan, double tilt) {
  return {pan / static_cast<double>(head.pan_scale()) + static_cast<double>(head.pan_offset()),
          tilt / static_cast<double>(head.tilt_scale()) + static_cast<double>(head.tilt_offset())};
}

inline Eigen::Matrix4d cameraFromBaseAtSteps(const calibration::PanTiltSystemParameters& head,
                                             const Steps& steps) {
  return cameraFromBase(
      head,
      (steps.pan - static_cast<double>(head.pan_offset())) * static_cast<double>(head.pan_scale()),
      (steps.tilt - static_cast<double>(head.tilt_offset())) *
          static_cast<double>(head.tilt_scale()));
}

/// A pixel of the example lens' picture. Its coordinates are drawn one by one, since compilers
/// differ in the order of arguments.
inline Vector2_f randomPixel(std::mt19937_64* random) {
  const float y = static_cast<float>(uniform(random, 0, 1080));
  const float x = static_cast<float>(uniform(random, 0, 1920));
  return {x, y};
}

}  // namespace norv::testing

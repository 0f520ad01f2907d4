#include "calibration_common/head_geometry.h"

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <Eigen/LU>
#include <cmath>
#include <limits>

#include "calibration_common/head_limits.h"
#include "calibration_common/review/pose_subject.h"
#include "support/numeric/angles.h"
#include "support/trigonometric_equation.h"

namespace norv::calibration {
namespace {

namespace limits = internal::head_limits;
using internal::kPi;
using internal::radians;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kMillimetres = 1000;  ///< per metre
/// Tolerance of the levelling equation's degenerate cases, whose coefficients are sines.
constexpr double kLevelTolerance = 1e-12;
/// Values are stored to this many units, so that what should be 0 or 1 is written as such.
constexpr double kStoredUnits = 1e12;

/// Without the translation's change of unit: millimetres stay what they are.
Eigen::Matrix4d readPose(const CameraExtrinsics& pose) {
  Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
  for (int i = 0; i < 12; ++i) m(i / 4, i % 4) = i < pose.a_size() ? pose.a(i) : kNaN;
  return m;
}

double rounded(double value) {
  if (!(std::abs(value) < 1e3)) return value;
  return std::round(value * kStoredUnits) / kStoredUnits + 0.0;  // turns -0 into 0
}

void storePose(const Eigen::Matrix4d& m, CameraExtrinsics* pose) {
  pose->Clear();
  for (int i = 0; i < 12; ++i) pose->add_a(rounded(m(i / 4, i % 4)));
}

Eigen::Matrix4d turnZ(double angle) {
  Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
  m.topLeftCorner<3, 3>() = Eigen::AngleAxisd(angle, Eigen::Vector3d::UnitZ()).matrix();
  return m;
}

/// Angle of a frame's z axis, as the pose's parent frame has it, to that frame's own z axis.
double angleOfAxis(const CameraExtrinsics& pose) {
  const Eigen::Vector3d axis = readPose(pose).inverse().col(2).head<3>();
  return std::atan2(axis.head<2>().norm(), axis.z());
}

double angleBetweenLines(const Eigen::Vector3d& a, const Eigen::Vector3d& b) {
  return std::atan2(a.cross(b).norm(), std::abs(a.dot(b)));
}

/// Whether the pose is a rotation and a translation, apart from rounding.
bool isProper(const CameraExtrinsics& stored) {
  const auto pose = internal::review::makePoseSubject(stored, "");
  return internal::review::isRotation(pose);
}

}  // namespace

HeadGeometry describeHead(const PanTiltSystemParameters& head) {
  const Eigen::Matrix4d pan_from_tilt = readPose(head.pan_to_tilt()).inverse();
  const Eigen::Matrix4d pan_from_camera = pan_from_tilt * readPose(head.tilt_to_camera()).inverse();
  const Eigen::Vector3d axis = pan_from_camera.col(2).head<3>().normalized();
  const Eigen::Vector3d center = pan_from_camera.col(3).head<3>() / kMillimetres;
  const Eigen::Vector3d normal = Eigen::Vector3d::UnitZ().cross(axis);
  HeadGeometry geometry;
  geometry.azimuth = std::atan2(axis.y(), axis.x());
  geometry.elevation = std::atan2(axis.z(), axis.head<2>().norm());
  // The gap between two lines is the offset between points of theirs, measured along their common
  // normal; between parallel ones it is the offset itself.
  const bool parallel = !(normal.norm() > 1e-9);
  geometry.axis_gap =
      parallel ? center.head<2>().norm() : std::abs(center.dot(normal.normalized()));
  geometry.tilt_axis_error =
      parallel ? std::nan("") : angleBetweenLines(normal, pan_from_tilt.col(2).head<3>());
  return geometry;
}

// The comparisons are such that NaN is not supported.

bool azimuthIsSupported(const HeadGeometry& geometry) {
  return std::abs(std::remainder(geometry.azimuth, kPi)) <= radians(limits::kMaxAzimuthError);
}

bool elevationIsSupported(const HeadGeometry& geometry) {
  return geometry.elevation >= -radians(limits::kElevationTolerance) &&
         geometry.elevation <=
             radians(limits::kMaxElevation) + radians(limits::kElevationTolerance);
}

bool tiltAxisIsSupported(const HeadGeometry& geometry) {
  return geometry.tilt_axis_error <= radians(limits::kMaxTiltAxisError);
}

bool reachesThePanAxis(const HeadGeometry& geometry) {
  return geometry.axis_gap <= limits::kMaxAxisGap;
}

ElevationRange findableElevations(const HeadGeometry& geometry) {
  const double c = std::cos(geometry.elevation);
  const double limit = std::atan2(c * c * c, std::abs(std::sin(geometry.elevation)));
  return geometry.elevation > 0 ? ElevationRange{-limit, kPi / 2} : ElevationRange{-kPi / 2, limit};
}

BlindCones blindCones(const PanTiltSystemParameters& head) {
  const double a = angleOfAxis(head.pan_to_tilt());
  const double b = angleOfAxis(head.tilt_to_camera());
  return {std::abs(a - b), std::abs(kPi - a - b)};
}

bool motorsTurn(const PanTiltSystemParameters& head) {
  const auto turns = [](float scale) { return std::isfinite(scale) && scale != 0; };
  return turns(head.pan_scale()) && turns(head.tilt_scale());
}

double levellingTurn(const PanTiltSystemParameters& head) {
  const Eigen::Matrix4d pan_from_tilt = readPose(head.pan_to_tilt()).inverse();
  const Eigen::Matrix4d tilt_from_camera = readPose(head.tilt_to_camera()).inverse();
  const Eigen::Vector3d axis = tilt_from_camera.col(2).head<3>().normalized();
  const Eigen::Vector3d up = pan_from_tilt.block<1, 3>(2, 0).transpose();
  // The height of the axis turned by -tau: up . Rz(-tau) axis = a sin tau + b cos tau + c.
  const double a = up.x() * axis.y() - up.y() * axis.x();
  const double b = up.x() * axis.x() + up.y() * axis.y();
  const double c = up.z() * axis.z();
  double turns[2];
  const int count = solveAsinBcosCeqn(a, b, c, turns, kLevelTolerance);
  if (count == 0) return std::nan("");
  return count == 1 || std::abs(turns[0]) <= std::abs(turns[1]) ? turns[0] : turns[1];
}

PanTiltSystemParameters reframeHead(const PanTiltSystemParameters& head, double tau) {
  PanTiltSystemParameters reframed = head;
  if (tau != 0) {
    storePose(readPose(head.tilt_to_camera()) * turnZ(tau), reframed.mutable_tilt_to_camera());
    reframed.set_tilt_offset(static_cast<float>(static_cast<double>(head.tilt_offset()) +
                                                tau / static_cast<double>(head.tilt_scale())));
  }
  const double alpha = describeHead(reframed).azimuth;
  storePose(turnZ(-alpha) * readPose(head.base_to_pan()), reframed.mutable_base_to_pan());
  storePose(readPose(head.pan_to_tilt()) * turnZ(alpha), reframed.mutable_pan_to_tilt());
  return reframed;
}

std::optional<ReframedHead> findBetterFrame(const PanTiltSystemParameters& head) {
  if (!isProper(head.base_to_pan()) || !isProper(head.pan_to_tilt()) ||
      !isProper(head.tilt_to_camera())) {
    return std::nullopt;
  }
  const HeadGeometry geometry = describeHead(head);
  double turn = 0;
  if (!elevationIsSupported(geometry) && motorsTurn(head)) turn = levellingTurn(head);
  if (!std::isfinite(turn)) turn = 0;
  if (azimuthIsSupported(geometry) && turn == 0) return std::nullopt;
  ReframedHead better = {reframeHead(head, turn), turn};
  if (!azimuthIsSupported(describeHead(better.head))) return std::nullopt;
  return better;
}

}  // namespace norv::calibration

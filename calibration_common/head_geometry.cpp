#include "calibration_common/head_geometry.h"

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <Eigen/LU>
#include <cmath>

namespace norv::calibration {
namespace {

constexpr double kMillimetres = 1000;  ///< per metre

/// Without the translation's change of unit: millimetres stay what they are.
Eigen::Matrix4d readPose(const CameraExtrinsics& pose) {
  Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
  for (int i = 0; i < 12; ++i) m(i / 4, i % 4) = pose.a(i);
  return m;
}

double angleBetweenLines(const Eigen::Vector3d& a, const Eigen::Vector3d& b) {
  return std::atan2(a.cross(b).norm(), std::abs(a.dot(b)));
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

}  // namespace norv::calibration

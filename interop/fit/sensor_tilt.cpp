#include "interop/fit/sensor_tilt.h"

#include <cmath>

namespace norv::interop {

Eigen::Matrix3d sensorTilt(double tau_x, double tau_y) {
  const double cx = std::cos(tau_x);
  const double sx = std::sin(tau_x);
  const double cy = std::cos(tau_y);
  const double sy = std::sin(tau_y);
  Eigen::Matrix3d about_x;
  about_x << 1, 0, 0, 0, cx, sx, 0, -sx, cx;
  Eigen::Matrix3d about_y;
  about_y << cy, 0, -sy, 0, 1, 0, sy, 0, cy;
  const Eigen::Matrix3d r = about_y * about_x;
  Eigen::Matrix3d onto_sensor;
  onto_sensor << r(2, 2), 0, -r(0, 2), 0, r(2, 2), -r(1, 2), 0, 0, 1;
  return onto_sensor * r;
}

calibration::NormalizedPoint<double> applied(const Eigen::Matrix3d& homography,
                                             const calibration::NormalizedPoint<double>& p) {
  const Eigen::Vector3d q = homography * Eigen::Vector3d(p.x, p.y, 1);
  return {q.x() / q.z(), q.y() / q.z()};
}

}  // namespace norv::interop

#include "calibration_common/pointing_residual.h"

#include <cmath>
#include <cstddef>

namespace norv::internal {
namespace {

using DualMatrix = Eigen::Matrix<PanTiltDual, 4, 4, Eigen::RowMajor>;
using DualVector = Eigen::Matrix<PanTiltDual, 4, 1>;

}  // namespace

Eigen::Matrix3d makePanTiltRotation(double pan, double tilt) {
  const double cp = std::cos(pan);
  const double sp = std::sin(pan);
  const double ct = std::cos(tilt);
  const double st = std::sin(tilt);
  Eigen::Matrix3d rotation;
  rotation << cp * ct, -sp * ct, st,  //
      sp, cp, 0,                      //
      -cp * st, sp * st, ct;
  return rotation;
}

DualMatrix rotationZTransfAD(const PanTiltDual& angle) {
  const auto [s, c] = sinCos(angle);
  DualMatrix rotation;
  rotation(0, 0) = c;
  rotation(0, 1) = -s;
  rotation(1, 0) = s;
  rotation(1, 1) = c;
  rotation(2, 2) = 1;
  rotation(3, 3) = 1;
  return rotation;
}

std::array<PanTiltDual, 3> pointingResidual(const PointingProblem& problem, const PanTiltDual& pan,
                                            const PanTiltDual& tilt) {
  DualMatrix chain = problem.tilt_to_camera.cast<PanTiltDual>() * rotationZTransfAD(tilt);
  chain = (chain * problem.pan_to_tilt.cast<PanTiltDual>()).eval();
  chain = (chain * rotationZTransfAD(pan)).eval();
  const DualVector q = chain * problem.point_in_pan.cast<PanTiltDual>();
  const auto dev_x = static_cast<double>(problem.dev.x());
  const auto dev_y = static_cast<double>(problem.dev.y());
  return {dev_y * q(2) - q(1), q(0) - dev_x * q(2), dev_x * q(1) - dev_y * q(0)};
}

PointingEvaluator::PointingEvaluator(const PointingProblem& problem)
    : dev_x_(static_cast<double>(problem.dev.x())), dev_y_(static_cast<double>(problem.dev.y())) {
  for (std::size_t row = 0; row < 4; ++row) {
    const auto r = static_cast<Eigen::Index>(row);
    for (std::size_t column = 0; column < 4; ++column) {
      const auto c = static_cast<Eigen::Index>(column);
      if (row < 3) tilt_to_camera_[row][column] = static_cast<double>(problem.tilt_to_camera(r, c));
      pan_to_tilt_[row][column] = static_cast<double>(problem.pan_to_tilt(r, c));
    }
    point_in_pan_[row] = static_cast<double>(problem.point_in_pan(r));
  }
}

PointingState PointingEvaluator::evaluate(double pan, double tilt) const {
  double sp;
  double cp;
  ::sincos(pan, &sp, &cp);
  double st;
  double ct;
  ::sincos(tilt, &st, &ct);
  // First elements are values, second ones derivatives by the tilt angle.
  const DoublePair sine = {st, ct};
  const DoublePair cosine = {ct, -st};
  const auto& p = pan_to_tilt_;
  DoublePair q[3];
  double q_by_pan[3];
  for (std::size_t row = 0; row < 3; ++row) {
    const auto& t = tilt_to_camera_[row];
    const DoublePair v0 = t[0] * cosine + t[1] * sine;
    const DoublePair v1 = t[1] * cosine - t[0] * sine;
    const DoublePair v2 = {t[2], 0};
    const DoublePair v3 = {t[3], 0};
    const auto a = [&](std::size_t j) {
      return (v0 * p[0][j] + v1 * p[1][j]) + (v2 * p[2][j] + v3 * p[3][j]);
    };
    const DoublePair a0 = a(0);
    const DoublePair a1 = a(1);
    // The pan turns the first two columns, and its derivative exchanges them.
    const DoublePair m0 = a0 * cp + a1 * sp;
    const DoublePair m1 = a1 * cp - a0 * sp;
    q[row] = (m0 * point_in_pan_[0] + m1 * point_in_pan_[1]) +
             (a(2) * point_in_pan_[2] + a(3) * point_in_pan_[3]);
    q_by_pan[row] = m1[0] * point_in_pan_[0] - m0[0] * point_in_pan_[1];
  }
  // e x q, of all three alike.
  const auto cross = [this](double x, double y, double z) {
    return std::array<double, 3>{dev_y_ * z - y, x - dev_x_ * z, dev_x_ * y - dev_y_ * x};
  };
  return {cross(q[0][0], q[1][0], q[2][0]), cross(q_by_pan[0], q_by_pan[1], q_by_pan[2]),
          cross(q[0][1], q[1][1], q[2][1])};
}

}  // namespace norv::internal

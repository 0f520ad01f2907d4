#include "calibration_common/pointing_residual.h"

#include <cmath>

namespace norv::calibration {
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
  PanTiltDual s;
  PanTiltDual c;
  sinCos(angle, &s, &c);
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

}  // namespace norv::calibration

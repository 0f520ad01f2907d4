#include "calibration_common/pan_tilt_solver.h"

#include <Eigen/Cholesky>
#include <Eigen/Geometry>
#include <cmath>
#include <cstddef>

#include "calibration_common/pointing_residual.h"
#include "support/numeric/angles.h"
#include "support/numeric/homogeneous.h"
#include "support/trigonometric_equation.h"

namespace norv::internal {
namespace {

/// Tolerance of the trigonometric equations' degenerate cases.
constexpr double kEquationTolerance = 1e-05;
/// How far a candidate may turn the target away from the ray, as the sine of the angle.
constexpr double kMaxMisalignment = 1e-4;

/// A symmetric 2 x 2 system. Of dynamic size, and bounded so that its factorisation needs no heap.
using NormalMatrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor, 2, 2>;
using NormalVector = Eigen::Matrix<double, Eigen::Dynamic, 1, Eigen::ColMajor, 2, 1>;

HeadAxes findAxes(const Matrix4x4_f& pan_from_tilt, const Matrix4x4_f& pan_from_camera) {
  const Vector4_f z(0, 0, 1, 0);
  const Vector3_f joint_axis = xyz(pan_from_tilt * z);
  const Vector3_f optical_axis = xyz(pan_from_camera * z);
  HeadAxes axes;
  axes.pan = Vector3_f(0, 0, 1);
  axes.tilt = axes.pan.cross(optical_axis);
  axes.roll = axes.tilt.cross(axes.pan);
  axes.tilt_sign = axes.tilt.dot(joint_axis) > 0 ? 1.0F : -1.0F;
  return axes;
}

/// The combination of the axes by a vector's components, as a direction.
Vector3_f combine(const HeadAxes& axes, const Vector3_f& v) {
  return (v.x() * axes.roll + v.y() * axes.tilt + v.z() * axes.pan).normalized();
}

/// Tilt for one pan angle: the first within a quarter turn that Ry(tilt) Rz(pan) u = v holds for.
std::optional<PanTiltAngles> findTilt(const Eigen::Vector3d& u, const Eigen::Vector3d& v,
                                      double pan) {
  double tilts[2];
  const double b = u.x() * std::cos(pan) - u.y() * std::sin(pan);
  const int count = solveAsinBcosCeqn(u.z(), b, -v.x(), tilts, kEquationTolerance);
  for (int i = 0; i < count; ++i) {
    if (!(std::abs(tilts[i]) <= kHalfPi)) continue;
    const Eigen::Vector3d turned = makePanTiltRotation(pan, tilts[i]) * u;
    if (v.cross(turned).norm() <= kMaxMisalignment) {
      return PanTiltAngles{static_cast<float>(pan), static_cast<float>(tilts[i])};
    }
  }
  return std::nullopt;
}

/// The first pair of angles that turns the direction `target` onto the direction `ray`. The y
/// component of Ry(tilt) Rz(pan) u does not depend on the tilt, which gives the pan; the x
/// component then gives the tilt.
std::optional<PanTiltAngles> findAngles(const Vector3_f& target, const Vector3_f& ray) {
  const Eigen::Vector3d u = target.cast<double>().normalized();
  const Eigen::Vector3d v = ray.cast<double>().normalized();
  double pans[2];
  const int count = solveAsinBcosCeqn(u.x(), u.y(), -v.y(), pans, kEquationTolerance);
  for (int i = 0; i < count; ++i) {
    if (const std::optional<PanTiltAngles> angles = findTilt(u, v, pans[i])) return angles;
  }
  return std::nullopt;
}

/// The system of a Gauss-Newton step, and the error that the step starts from.
struct StepEquations {
  explicit StepEquations(const PointingState& at) {
    double pan_pan = 0;
    double pan_tilt = 0;
    double tilt_tilt = 0;
    double right_pan = 0;
    double right_tilt = 0;
    for (std::size_t i = 0; i < at.residual.size(); ++i) {
      pan_pan += at.by_pan[i] * at.by_pan[i];
      pan_tilt += at.by_pan[i] * at.by_tilt[i];
      tilt_tilt += at.by_tilt[i] * at.by_tilt[i];
      right_pan -= at.by_pan[i] * at.residual[i];
      right_tilt -= at.by_tilt[i] * at.residual[i];
      error += at.residual[i] * at.residual[i];
    }
    matrix << pan_pan, pan_tilt, pan_tilt, tilt_tilt;
    right << right_pan, right_tilt;
  }

  NormalMatrix matrix{2, 2};
  NormalVector right{2};
  double error = 0;
};

PanTiltStart findStart(const PanTiltPoses& head, const Vector3_f& world, const Vector2_f& dev) {
  const Matrix4x4_f& pan_from_tilt = head.pan_to_tilt.inverse;
  const Matrix4x4_f pan_from_camera = pan_from_tilt * head.tilt_to_camera.inverse;
  const Vector4_f ray(dev.x(), dev.y(), 1, 0);
  PanTiltStart start;
  start.point_in_pan = head.base_to_pan.transform * world.homogeneous();
  start.axes = findAxes(pan_from_tilt, pan_from_camera);
  start.target = combine(start.axes, xyz(start.point_in_pan));
  start.ray = combine(start.axes, xyz(pan_from_camera * ray));
  start.angles = findAngles(start.target, start.ray);
  if (start.angles) start.angles->tilt *= start.axes.tilt_sign;
  return start;
}

PanTiltRefinement refine(const PointingProblem& problem, const PanTiltAngles& start,
                         GaussNewtonTrace* trace) {
  const PointingEvaluator evaluator(problem);
  PanTiltRefinement refined = {static_cast<double>(start.pan), static_cast<double>(start.tilt), 0};
  for (std::size_t k = 0; k < kGaussNewtonSteps; ++k) {
    const PointingState at = evaluator.evaluate(refined.pan, refined.tilt);
    const StepEquations equations(at);
    const NormalVector change = Eigen::LDLT<NormalMatrix>(equations.matrix).solve(equations.right);
    if (trace != nullptr) (*trace)[k] = {equations.error, change(0), change(1), at.residual};
    refined = {refined.pan + change(0), refined.tilt + change(1), equations.error};
  }
  return refined;
}

}  // namespace

PanTiltInverse findPanTilt(const PanTiltPoses& head, const Vector3_f& world, const Vector2_f& dev,
                           GaussNewtonTrace* trace) {
  PanTiltInverse inverse = {findStart(head, world, dev), {}};
  if (inverse.start.angles) {
    const PointingProblem problem = {head.tilt_to_camera.transform,
                                     head.pan_to_tilt.transform,
                                     head.base_to_pan.transform,
                                     world,
                                     dev,
                                     inverse.start.point_in_pan};
    inverse.refined = refine(problem, *inverse.start.angles, trace);
  }
  return inverse;
}

}  // namespace norv::internal

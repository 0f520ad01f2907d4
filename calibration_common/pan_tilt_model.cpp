#include "calibration_common/pan_tilt_model.h"

#include <Eigen/Cholesky>
#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>

#include "calibration_common/pointing_residual.h"
#include "calibration_common/stored_pose.h"
#include "support/logging.h"
#include "support/numeric/matrix_rows.h"
#include "support/trigonometric_equation.h"

namespace norv::calibration {
namespace {

constexpr const char* kChannel = "pan_tilt_model";

/// Tolerance of the trigonometric equations' degenerate cases.
constexpr double kEquationTolerance = 1e-05;
constexpr double kHalfPi = 1.5707963267948966;
/// How far a candidate may turn the target away from the ray, as the sine of the angle.
constexpr double kLargestMisalignment = 1e-4;
constexpr int kGaussNewtonSteps = 5;
/// Squared residuals, in square metres for a ray near the axis.
constexpr double kLargestGoodError = 1e-05;
constexpr double kLargestHighError = 0.01;

/// A symmetric 2 x 2 system. Of dynamic size, and bounded so that its factorisation needs no heap.
using NormalMatrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor, 2, 2>;
using NormalVector = Eigen::Matrix<double, Eigen::Dynamic, 1, Eigen::ColMajor, 2, 1>;
using Vector4_f = Eigen::Matrix<float, 4, 1>;

CameraTransform readTransform(const CameraExtrinsics& stored) {
  CameraTransform pose;
  pose.setTransform(internal::readPose(stored), CameraTransform::kForward);
  return pose;
}

Vector3_f head3(const Vector4_f& v) { return v.head<3>(); }

/// Axes of the head in the pan frame, both angles zero. Not normalised.
struct HeadAxes {
  Vector3_f pan;
  Vector3_f tilt;  ///< perpendicular to the pan axis and the optical axis
  Vector3_f roll;
  float tilt_sign;  ///< of the tilt joint's own axis, relative to `tilt`
};

HeadAxes findAxes(const Matrix4x4_f& pan_from_tilt, const Matrix4x4_f& pan_from_camera) {
  const Vector4_f z(0, 0, 1, 0);
  const Vector3_f joint_axis = head3(pan_from_tilt * z);
  const Vector3_f optical_axis = head3(pan_from_camera * z);
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

/// Pan and tilt angle, radians.
struct Angles {
  float pan;
  float tilt;
};

/// Tilt for one pan angle: the first within a quarter turn that Ry(tilt) Rz(pan) u = v holds for.
std::optional<Angles> findTilt(const Eigen::Vector3d& u, const Eigen::Vector3d& v, double pan) {
  double tilts[2];
  const double b = u.x() * std::cos(pan) - u.y() * std::sin(pan);
  const int count = solveAsinBcosCeqn(u.z(), b, -v.x(), tilts, kEquationTolerance);
  for (int i = 0; i < count; ++i) {
    if (!(std::abs(tilts[i]) <= kHalfPi)) continue;
    const Eigen::Vector3d turned = makePanTiltRotation(pan, tilts[i]) * u;
    if (v.cross(turned).norm() <= kLargestMisalignment) {
      return Angles{static_cast<float>(pan), static_cast<float>(tilts[i])};
    }
  }
  return std::nullopt;
}

/// The first pair of angles that turns the direction `target` onto the direction `ray`, were all
/// poses pure rotations. The y component of Ry(tilt) Rz(pan) u does not depend on the tilt, which
/// gives the pan; the x component then gives the tilt.
std::optional<Angles> findStart(const Vector3_f& target, const Vector3_f& ray) {
  const Eigen::Vector3d u = target.cast<double>().normalized();
  const Eigen::Vector3d v = ray.cast<double>().normalized();
  double pans[2];
  const int count = solveAsinBcosCeqn(u.x(), u.y(), -v.y(), pans, kEquationTolerance);
  for (int i = 0; i < count; ++i) {
    if (const std::optional<Angles> start = findTilt(u, v, pans[i])) return start;
  }
  return std::nullopt;
}

/// Angles in radians, with the squared residual that the last step started from.
struct Solution {
  double pan;
  double tilt;
  double last_error;
};

/// The system of a Gauss-Newton step, and the error that the step starts from.
struct NormalEquations {
  explicit NormalEquations(const PointingState& at) {
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

/// Gauss-Newton on the whole chain: always the same number of steps, without damping.
Solution refine(const PointingProblem& problem, const Angles& start) {
  const PointingEvaluator evaluator(problem);
  Solution solution = {static_cast<double>(start.pan), static_cast<double>(start.tilt), 0};
  for (int step = 0; step < kGaussNewtonSteps; ++step) {
    const PointingState at = evaluator.evaluate(solution.pan, solution.tilt);
    const NormalEquations normal(at);
    const NormalVector change = Eigen::LDLT<NormalMatrix>(normal.matrix).solve(normal.right);
    NORV_LOG_FORMAT(kLogDebug, kChannel, "%d Error=%f  dx=%f,dy=%f residuals=%f,%f,%f", step,
                    normal.error, change(0), change(1), at.residual[0], at.residual[1],
                    at.residual[2]);
    solution = {solution.pan + change(0), solution.tilt + change(1), normal.error};
  }
  return solution;
}

/// The verdict on an error, with a line unless it is good. Written so that NaN counts as good.
bool acceptError(double error, const Vector3_f& world, const Vector2_f& dev) {
  if (error > kLargestHighError) {
    NORV_LOG(kLogError, kChannel) << "Large residual error for pan tilt: world=" << world
                                  << " dev=" << dev << " error=" << error;
    return false;
  }
  if (error > kLargestGoodError) {
    NORV_LOG(kLogWarning, kChannel) << "High residual error for pan tilt: world=" << world
                                    << " dev=" << dev << " error=" << error;
    return false;
  }
  return true;
}

}  // namespace

PanTiltModel::PanTiltModel() = default;

bool PanTiltModel::readFromPB(const PanTiltSystemParameters& params) {
  using internal::hasPose;
  if (!hasPose(params.base_to_pan()) || !hasPose(params.pan_to_tilt()) ||
      !hasPose(params.tilt_to_camera())) {
    NORV_LOG(kLogError, kChannel) << "Not enough matrix elements in PanTiltSystemParameters";
    return false;
  }
  pan_scale_ = params.pan_scale();
  tilt_scale_ = params.tilt_scale();
  pan_offset_ = params.pan_offset();
  tilt_offset_ = params.tilt_offset();
  base_to_pan_ = readTransform(params.base_to_pan());
  pan_to_tilt_ = readTransform(params.pan_to_tilt());
  tilt_to_camera_ = readTransform(params.tilt_to_camera());
  aux_value_1_ = params.aux_value_1();
  aux_value_2_ = params.aux_value_2();
  return true;
}

void PanTiltModel::writeToPB(PanTiltSystemParameters* params) const {
  internal::storePose(base_to_pan_.transform, params->mutable_base_to_pan());
  internal::storePose(pan_to_tilt_.transform, params->mutable_pan_to_tilt());
  internal::storePose(tilt_to_camera_.transform, params->mutable_tilt_to_camera());
  params->set_pan_scale(pan_scale_);
  params->set_tilt_scale(tilt_scale_);
  params->set_pan_offset(pan_offset_);
  params->set_tilt_offset(tilt_offset_);
  params->set_aux_value_1(aux_value_1_);
  params->set_aux_value_2(aux_value_2_);
}

CameraTransform PanTiltModel::getFullTransform(float pan, float tilt) const {
  using internal::toRows;
  const auto pan_rotation = internal::rotationZRows((pan - pan_offset_) * pan_scale_);
  const auto tilt_rotation = internal::rotationZRows((tilt - tilt_offset_) * tilt_scale_);
  const auto camera_from_base = toRows(tilt_to_camera_.transform) * tilt_rotation *
                                toRows(pan_to_tilt_.transform) * pan_rotation *
                                toRows(base_to_pan_.transform);
  CameraTransform pose;
  pose.setTransform(internal::toMatrix(camera_from_base), CameraTransform::kForward);
  return pose;
}

bool PanTiltModel::computePanTilt(const Vector3_f& world, const Vector2_f& dev, float* pan,
                                  float* tilt) const {
  NORV_LOG(kLogInfo, kChannel) << "world=" << world << " dev=" << dev;
  const Matrix4x4_f& pan_from_tilt = pan_to_tilt_.inverse;
  const Matrix4x4_f pan_from_camera = pan_from_tilt * tilt_to_camera_.inverse;
  const Vector4_f point_in_pan = base_to_pan_.transform * world.homogeneous();
  const Vector3_f w3 = head3(point_in_pan);
  NORV_LOG(kLogInfo, kChannel) << "w3=" << w3;
  const HeadAxes axes = findAxes(pan_from_tilt, pan_from_camera);
  NORV_LOG(kLogInfo, kChannel) << "pan_axis=" << axes.pan;
  NORV_LOG(kLogInfo, kChannel) << "tilt_axis=" << axes.tilt;
  NORV_LOG(kLogInfo, kChannel) << "roll_axis=" << axes.roll;

  const Vector3_f u = combine(axes, w3);
  const Vector4_f ray(dev.x(), dev.y(), 1, 0);
  const Vector3_f v = combine(axes, head3(pan_from_camera * ray));
  NORV_LOG(kLogInfo, kChannel) << "u=" << u;
  NORV_LOG(kLogInfo, kChannel) << "v=" << v;
  std::optional<Angles> start = findStart(u, v);
  if (!start) {
    NORV_LOG(kLogError, kChannel) << "Could not find solutions for pan tilt: world=" << world
                                  << " dev=" << dev;
    return false;
  }
  start->tilt *= axes.tilt_sign;
  NORV_LOG(kLogInfo, kChannel) << "Pan/tilt estimates:" << start->pan << " " << start->tilt;

  const PointingProblem problem = {tilt_to_camera_.transform,
                                   pan_to_tilt_.transform,
                                   base_to_pan_.transform,
                                   world,
                                   dev,
                                   point_in_pan};
  const Solution solution = refine(problem, *start);
  const double pan_steps = solution.pan / static_cast<double>(pan_scale_);
  const double tilt_steps = solution.tilt / static_cast<double>(tilt_scale_);
  NORV_LOG(kLogInfo, kChannel) << "last_error=" << solution.last_error;
  NORV_LOG(kLogInfo, kChannel) << "Pan/tilt (rads): " << solution.pan << " " << solution.tilt;
  NORV_LOG(kLogInfo, kChannel) << "Pan/tilt (steps):" << pan_steps << " " << tilt_steps;
  *pan = static_cast<float>(pan_steps + static_cast<double>(pan_offset_));
  *tilt = static_cast<float>(tilt_steps + static_cast<double>(tilt_offset_));
  return acceptError(solution.last_error, world, dev);
}

void limitToMotorRange(const PanTiltSystemParameters& params, int* pan, int* tilt) {
  if (params.has_min_pan()) *pan = std::max(*pan, params.min_pan());
  if (params.has_max_pan()) *pan = std::min(*pan, params.max_pan());
  if (params.has_min_tilt()) *tilt = std::max(*tilt, params.min_tilt());
  if (params.has_max_tilt()) *tilt = std::min(*tilt, params.max_tilt());
}

}  // namespace norv::calibration

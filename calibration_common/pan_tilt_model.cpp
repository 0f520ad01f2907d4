#include "calibration_common/pan_tilt_model.h"

#include <algorithm>

#include "calibration_common/pan_tilt_solver.h"
#include "calibration_common/pointing/head_pose.h"
#include "calibration_common/pointing/root_search.h"
#include "calibration_common/stored_pose.h"
#include "support/logging.h"

namespace norv::calibration {
namespace {

constexpr const char* kChannel = "pan_tilt_model";

/// Squared residuals, in square metres for a ray near the axis.
constexpr double kMaxGoodError = 1e-05;
constexpr double kMaxHighError = 0.01;

CameraTransform readTransform(const CameraExtrinsics& stored) {
  CameraTransform pose;
  pose.setTransform(internal::readPose(stored), CameraTransform::kForward);
  return pose;
}

internal::PanTiltPoses posesOf(const PanTiltModel& model) {
  return {model.getBaseToPan(), model.getPanToTilt(), model.getTiltToCamera()};
}

/// Written so that NaN counts as good.
PanTiltVerdict judge(double error) {
  if (error > kMaxHighError) return PanTiltVerdict::kLargeResidual;
  if (error > kMaxGoodError) return PanTiltVerdict::kHighResidual;
  return PanTiltVerdict::kSolved;
}

/// An angle in steps of the motor, from where it is zero.
double toSteps(double angle, float scale) { return angle / static_cast<double>(scale); }

PanTiltSolution toSolution(const PanTiltModel& model, const internal::PanTiltInverse& inverse) {
  PanTiltSolution solution;
  if (!inverse.start.angles) return solution;
  const internal::PanTiltRefinement& refined = inverse.refined;
  const double pan_steps = toSteps(refined.pan, model.getPanScale());
  const double tilt_steps = toSteps(refined.tilt, model.getTiltScale());
  solution.verdict = judge(refined.last_error);
  solution.pan = static_cast<float>(pan_steps + static_cast<double>(model.getPanOffset()));
  solution.tilt = static_cast<float>(tilt_steps + static_cast<double>(model.getTiltOffset()));
  solution.start_pan = inverse.start.angles->pan;
  solution.start_tilt = inverse.start.angles->tilt;
  solution.error = refined.last_error;
  return solution;
}

void logSteps(const internal::GaussNewtonTrace& trace) {
  int k = 0;
  for (const internal::GaussNewtonStep& step : trace) {
    NORV_LOG_FORMAT(kLogDebug, kChannel, "%d Error=%f  dx=%f,dy=%f residuals=%f,%f,%f", k++,
                    step.error, step.pan_change, step.tilt_change, step.residual[0],
                    step.residual[1], step.residual[2]);
  }
}

/// A line unless the residual is good.
void logVerdict(const PanTiltSolution& solution, const Vector3_f& world, const Vector2_f& dev) {
  if (solution.verdict == PanTiltVerdict::kLargeResidual) {
    NORV_LOG(kLogError, kChannel) << "Large residual error for pan tilt: world=" << world
                                  << " dev=" << dev << " error=" << solution.error;
  } else if (solution.verdict == PanTiltVerdict::kHighResidual) {
    NORV_LOG(kLogWarning, kChannel) << "High residual error for pan tilt: world=" << world
                                    << " dev=" << dev << " error=" << solution.error;
  }
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
  CameraTransform pose;
  pose.setTransform(internal::forwardPose(posesOf(*this), (pan - pan_offset_) * pan_scale_,
                                          (tilt - tilt_offset_) * tilt_scale_),
                    CameraTransform::kForward);
  return pose;
}

PanTiltSolution PanTiltModel::solve(const Vector3_f& world, const Vector2_f& dev) const {
  return toSolution(*this, internal::findPanTilt(posesOf(*this), world, dev, nullptr));
}

PanTiltRoots PanTiltModel::solveAll(const Eigen::Vector3d& world, const Eigen::Vector2d& dev,
                                    const PanTiltSearch& search) const {
  return internal::searchRoots(posesOf(*this), world, dev, search);
}

bool PanTiltModel::computePanTilt(const Vector3_f& world, const Vector2_f& dev, float* pan,
                                  float* tilt) const {
  const bool traced = isLoggerEnabled(kLogDebug, kChannel);
  internal::GaussNewtonTrace trace;
  const internal::PanTiltInverse inverse =
      internal::findPanTilt(posesOf(*this), world, dev, traced ? &trace : nullptr);
  const auto& [start, refined] = inverse;
  NORV_LOG(kLogInfo, kChannel) << "world=" << world << " dev=" << dev;
  NORV_LOG(kLogInfo, kChannel) << "w3=" << Vector3_f(start.point_in_pan.head<3>());
  NORV_LOG(kLogInfo, kChannel) << "pan_axis=" << start.axes.pan;
  NORV_LOG(kLogInfo, kChannel) << "tilt_axis=" << start.axes.tilt;
  NORV_LOG(kLogInfo, kChannel) << "roll_axis=" << start.axes.roll;
  NORV_LOG(kLogInfo, kChannel) << "u=" << start.target;
  NORV_LOG(kLogInfo, kChannel) << "v=" << start.ray;
  if (!start.angles) {
    NORV_LOG(kLogError, kChannel) << "Could not find solutions for pan tilt: world=" << world
                                  << " dev=" << dev;
    return false;
  }
  NORV_LOG(kLogInfo, kChannel) << "Pan/tilt estimates:" << start.angles->pan << " "
                               << start.angles->tilt;
  if (traced) logSteps(trace);
  NORV_LOG(kLogInfo, kChannel) << "last_error=" << refined.last_error;
  NORV_LOG(kLogInfo, kChannel) << "Pan/tilt (rads): " << refined.pan << " " << refined.tilt;
  NORV_LOG(kLogInfo, kChannel) << "Pan/tilt (steps):" << toSteps(refined.pan, pan_scale_) << " "
                               << toSteps(refined.tilt, tilt_scale_);
  const PanTiltSolution solution = toSolution(*this, inverse);
  *pan = solution.pan;
  *tilt = solution.tilt;
  logVerdict(solution, world, dev);
  return solution.solved();
}

void limitToMotorRange(const PanTiltSystemParameters& params, int* pan, int* tilt) {
  if (params.has_min_pan()) *pan = std::max(*pan, params.min_pan());
  if (params.has_max_pan()) *pan = std::min(*pan, params.max_pan());
  if (params.has_min_tilt()) *tilt = std::max(*tilt, params.min_tilt());
  if (params.has_max_tilt()) *tilt = std::min(*tilt, params.max_tilt());
}

}  // namespace norv::calibration

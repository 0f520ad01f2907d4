#include "python/bindings/aim_verdict.h"

#include <fmt/format.h>

#include <algorithm>
#include <variant>

#include "python/bindings/aim_words.h"

namespace norv::python {
namespace {

using calibration::Aim;
using calibration::AimFailure;
using calibration::AimPosition;
using calibration::AimRequest;
using calibration::AimZoom;
using calibration::MotorBound;
using calibration::MotorPositions;
using calibration::PTZCameraModelConfiguration;
using calibration::PTZCameraModelPtr;

PTZCameraModelConfiguration cameraAt(const PTZCameraModelPtr& model, const MotorPositions& m) {
  return {model, m.pan, m.tilt, m.zoom};
}

/// Where a far point that is seen at a pixel from one position is seen from another, beside that.
double shift(const PTZCameraModelConfiguration& from, const PTZCameraModelConfiguration& to,
             const Vector2_f& pixel) {
  constexpr float kFar = 1000;  // metres, beside which the camera's own way is nothing
  const Vector3_f ray = from.projectPixelToRay(pixel).normalized();
  const Vector3_f point = from.getCameraCenter() + kFar * ray;
  return static_cast<double>((to.project3dToCamera(point) - pixel).norm());
}

/// By how many pixels a step of pan and one of tilt together move what is seen at the place.
double stepsAt(const PTZCameraModelPtr& model, const AimPosition& at) {
  const Vector2_f pixel = at.wanted.cast<float>();
  const PTZCameraModelConfiguration here = cameraAt(model, at.motors);
  const auto stepped = [](int position) { return position > 0 ? position - 1 : position + 1; };
  MotorPositions pan = at.motors;
  MotorPositions tilt = at.motors;
  pan.pan = stepped(pan.pan);
  tilt.tilt = stepped(tilt.tilt);
  return shift(here, cameraAt(model, pan), pixel) + shift(here, cameraAt(model, tilt), pixel);
}

double toleranceOf(const PTZCameraModelPtr& model, const Standard& standard, const Aim& aim) {
  if (standard.tolerance) return *standard.tolerance;
  const double steps = aim.empty() ? 1 : stepsAt(model, aim.best());
  return steps > 1 ? steps : 1;  // 1 where no ray is imaged there
}

std::string explainInvalid(const PTZCameraModelPtr& model, const AimRequest& request) {
  const calibration::PTZIntrinsicsTable& table = model->getParams().intrinsics();
  const Eigen::Vector2d size(table.image_width(), table.image_height());
  const bool is_at_border =
      (request.pixel.array() <= 0).any() || (request.pixel.array() >= size.array()).any();
  if (request.zoom == AimZoom::kFill && request.place == calibration::AimPlace::kPixel &&
      is_at_border) {
    return "a picture cannot be filled around a place on its border or outside of it";
  }
  return explainFailure(AimFailure::kInvalidRequest, request.zoom);
}

Obstacle explainNoPosition(const PTZCameraModelPtr& model, const AimRequest& request,
                           AimFailure failure) {
  if (failure == AimFailure::kInvalidRequest) {
    return {failureWord(failure), explainInvalid(model, request)};
  }
  return {failureWord(failure), explainFailure(failure, request.zoom)};
}

const char* nameOf(const calibration::AimTarget& target) {
  if (std::holds_alternative<calibration::BoxTarget>(target)) return "the box is";
  return std::holds_alternative<calibration::PointsTarget>(target) ? "the points are"
                                                                   : "the sphere is";
}

Obstacle explainParts(const AimRequest& request, const Aim& aim) {
  const bool is_seen_elsewhere =
      std::any_of(aim.begin(), aim.end(), [](const AimPosition& p) { return p.is_whole; });
  return {"not-whole", fmt::format("not all of {} seen{}", nameOf(request.target),
                                   is_seen_elsewhere ? ", but from another position" : "")};
}

/// What keeps the target from its place, where it misses that or is bound.
std::optional<Obstacle> findDeviation(const AimPosition& best, bool is_strict, double tolerance) {
  const bool misses = !(best.miss <= tolerance);
  const bool head_is_bound =
      best.pan_bound != MotorBound::kNone || best.tilt_bound != MotorBound::kNone;
  if (misses && head_is_bound) {
    return Obstacle{"limited", fmt::format("the limits of the motors keep the target {:.2f} px "
                                           "from where it was to be",
                                           best.miss)};
  }
  if (misses && is_strict) {
    return Obstacle{"missed", fmt::format("the target lands {:.2f} px from where it was to be, "
                                          "more than {:.2f} px",
                                          best.miss, tolerance)};
  }
  if (is_strict && best.isLimited()) {
    return Obstacle{"limited", "the range of a motor limits the answer"};
  }
  return std::nullopt;
}

std::optional<Obstacle> findObstacle(const PTZCameraModelPtr& model, const AimRequest& request,
                                     const Aim& aim, bool is_strict, double tolerance) {
  if (aim.empty()) return explainNoPosition(model, request, aim.failure);
  const AimPosition& best = aim.best();
  if (!best.is_whole) return explainParts(request, aim);
  if (const auto deviation = findDeviation(best, is_strict, tolerance)) return deviation;
  if (request.zoom == AimZoom::kFill && !best.is_inside) {
    return Obstacle{"not-inside", "not all of it is in the picture"};
  }
  return std::nullopt;
}

}  // namespace

Verdict judge(const PTZCameraModelPtr& model, const AimRequest& request, const Standard& standard,
              const Aim& aim) {
  const double tolerance = toleranceOf(model, standard, aim);
  return {tolerance, findObstacle(model, request, aim, standard.is_strict, tolerance)};
}

}  // namespace norv::python

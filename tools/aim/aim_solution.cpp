#include "tools/aim/aim_solution.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "calibration_common/head_geometry.h"
#include "support/camera_projection.h"
#include "tools/aim/aim_outcome.h"
#include "tools/aim/sight.h"
#include "tools/input/motor_positions.h"
#include "tools/input/zoom_position.h"
#include "tools/output/number_text.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

using calibration::limitToMotorRange;
using calibration::PanTiltModel;
using calibration::PanTiltSolution;
using calibration::PanTiltSystemParameters;
using calibration::PanTiltVerdict;
using calibration::PTZCameraModelPtr;

const PanTiltSystemParameters& headOf(const PTZCameraModelConfiguration& configuration) {
  return configuration.getModel()->getParams().pan_tilt();
}

Vector3_f requireRay(const PTZCameraModelConfiguration& now, const Vector2_f& pixel) {
  const auto ray = findRay(now, pixel);
  if (!ray) throw ToolError(fmt::format("no ray reaches pixel {},{}", pixel.x(), pixel.y()));
  return *ray;
}

void requireMotors(const PanTiltSystemParameters& head) {
  if (motorsTurn(head)) return;
  const bool pan_turns = std::isfinite(head.pan_scale()) && head.pan_scale() != 0;
  throw ToolError(fmt::format("the head cannot point there: a motor's step is {} rad",
                              shortestText(pan_turns ? head.tilt_scale() : head.pan_scale())));
}

/// The point that is to be brought to the optical axis, or to a pixel, as the library chooses it.
Vector3_f findTarget(const PTZCameraModelConfiguration& now, const AimRequest& request) {
  if (request.point) {
    const auto& p = *request.point;
    return {p[0], p[1], p[2]};
  }
  if (request.box) {
    const auto& b = *request.box;
    return now.getCameraCenter() + requireRay(now, {b[0], b[1]}) + requireRay(now, {b[2], b[3]});
  }
  const auto& p = *request.pixel;
  return now.getCameraCenter() + requireRay(now, {p[0], p[1]});
}

/// Where in the camera frame, (x/z, y/z), the target is wanted: on the optical axis, or where a
/// pixel's ray goes.
Vector2_f findDirection(const PTZCameraModelConfiguration& now, const AimRequest& request) {
  if (!request.point || !request.pixel) return {0, 0};
  const Vector2_f pixel((*request.pixel)[0], (*request.pixel)[1]);
  requireRay(now, pixel);
  const Matrix3x3_f& k = now.getIntrinsics();
  const float principal_point[] = {k(0, 2), k(1, 2)};
  const float focal_lengths[] = {k(0, 0), k(1, 1)};
  return calibration::rectifyPoint(now.getDistortion().data(), principal_point, focal_lengths,
                                   pixel);
}

/// The library's answer, with its reason; its trace is logged on the way.
PanTiltSolution solve(const PanTiltModel& head, const Vector3_f& target,
                      const Vector2_f& direction) {
  float pan = 0;
  float tilt = 0;
  head.computePanTilt(target, direction, &pan, &tilt);
  return head.solve(target, direction);
}

/// Why a solution does not count. The error is the square of the distance at which the ray passes
/// the target, times that of the ray's length at depth 1.
std::string explainFailure(const PanTiltSolution& solution, const Vector2_f& direction) {
  if (solution.verdict == PanTiltVerdict::kNoCandidate) {
    return "the head cannot point there: no solution with a tilt within 90 deg either way";
  }
  const double ray = std::sqrt(1 + static_cast<double>(direction.squaredNorm()));
  return fmt::format("the head cannot point there: the best solution passes the target by {:.3g} m",
                     std::sqrt(solution.error) / ray);
}

int toSteps(float position) {
  constexpr auto kLowest = static_cast<double>(std::numeric_limits<int>::min());
  constexpr auto kHighest = static_cast<double>(std::numeric_limits<int>::max());
  const auto rounded = static_cast<double>(std::round(position));
  return static_cast<int>(std::clamp(rounded, kLowest, kHighest));
}

/// Where the head would go if its motors had no limits. The library saturates as well.
Motors findUnlimited(const PanTiltSolution& solution, int zoom) {
  if (!std::isfinite(solution.pan) || !std::isfinite(solution.tilt)) {
    throw ToolError("the head cannot point there: the motors' positions are not finite");
  }
  return {toSteps(solution.pan), toSteps(solution.tilt), zoom};
}

Motors limitMotors(const PTZCameraModelConfiguration& now, const AimRequest& request,
                   const Motors& unlimited) {
  Motors motors = unlimited;
  limitToMotorRange(headOf(now), &motors.pan, &motors.tilt);
  if (request.box) {
    // Cannot fail, since its target is the one that has just been solved for.
    const auto& b = *request.box;
    now.getPanTiltZoom({b[0], b[1]}, {b[2], b[3]}, &motors.pan, &motors.tilt, &motors.zoom);
  }
  return motors;
}

/// What of the question lies outside of the picture, which mistaken numbers mostly do. The answer
/// is none the worse for it.
void remarkOutside(const PTZCameraModelConfiguration& now, const AimRequest& request, Aim* aim) {
  const calibration::PTZIntrinsicsTable& table = now.getModel()->getParams().intrinsics();
  const auto remark = [&](const char* what, float x, float y) {
    if (isInPicture({x, y}, table)) return;
    aim->remarks.push_back(fmt::format("{} {},{} lies outside of the {}x{} picture", what,
                                       shortestText(x), shortestText(y), table.image_width(),
                                       table.image_height()));
  };
  if (request.pixel) remark("pixel", (*request.pixel)[0], (*request.pixel)[1]);
  if (!request.box) return;
  remark("the box's corner", (*request.box)[0], (*request.box)[1]);
  remark("the box's corner", (*request.box)[2], (*request.box)[3]);
}

}  // namespace

Aim findAim(const PTZCameraModelPtr& model, const AimRequest& request) {
  const PTZCameraModelConfiguration now(model, request.at[0], request.at[1], request.at[2]);
  if (!hasLens(now)) throw ToolError("--at: " + explainMissingLens(now));
  const PanTiltSystemParameters& head = headOf(now);
  requireMotors(head);
  Aim aim = {};
  aim.remarks = explainPositions(now);
  remarkOutside(now, request, &aim);
  aim.target = findTarget(now, request);
  aim.distance = (aim.target - now.getCameraCenter()).norm();
  const Vector2_f direction = findDirection(now, request);
  const PanTiltSolution solution = solve(model->getPanTiltModel(), aim.target, direction);
  if (!solution.solved()) {
    aim.obstacles.push_back(explainFailure(solution, direction));
  } else {
    aim.unlimited = findUnlimited(solution, now.getZoom());
    aim.motors = limitMotors(now, request, aim.unlimited);
    lookFromThere(now, request, &aim);
  }
  if (!aim.isReached()) remarkFrame(head, &aim);
  return aim;
}

}  // namespace norv::tools

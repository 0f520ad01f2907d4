#include "tools/aim/aim_search.h"

#include <fmt/format.h>

#include <variant>

#include "calibration_common/head_geometry.h"
#include "tools/aim/search_verdict.h"
#include "tools/aim/sight.h"
#include "tools/input/motor_positions.h"
#include "tools/output/number_text.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

using calibration::Aim;
using calibration::AimChoice;
using calibration::AimFailure;
using calibration::AimPosition;
using calibration::MotorPositions;
using calibration::PTZCameraModelPtr;

PTZCameraModelConfiguration cameraAt(const PTZCameraModelPtr& model, const MotorPositions& m) {
  return {model, m.pan, m.tilt, m.zoom};
}

/// Where a far point that is seen at a pixel from one position is seen from another.
double shift(const PTZCameraModelConfiguration& from, const PTZCameraModelConfiguration& to,
             const Vector2_f& pixel) {
  constexpr float kFar = 1000;  // metres, beside which the camera's own way is nothing
  const Vector3_f ray = from.projectPixelToRay(pixel).normalized();
  const Vector3_f point = from.getCameraCenter() + kFar * ray;
  return static_cast<double>((to.project3dToCamera(point) - pixel).norm());
}

/// By how many pixels a step of pan and one of tilt together move what is seen where the target is
/// wanted.
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

double toleranceOf(const PTZCameraModelPtr& model, const SearchOptions& options, const Aim& aim) {
  if (options.tolerance) return *options.tolerance;
  const double steps = aim.empty() ? 1 : stepsAt(model, aim.best());
  return steps > 1 ? steps : 1;  // 1 where no ray is imaged there
}

void requireModel(const PTZCameraModelPtr& model, const Aim& aim) {
  if (aim.failure != AimFailure::kInvalidModel) return;
  if (!motorsTurn(model->getParams().pan_tilt())) {
    throw ToolError("nothing can be aimed with this head: a motor does not turn");
  }
  throw ToolError(
      "nothing can be aimed with this camera: its picture has no size, or its head no poses");
}

/// Where the target is said to be seen outside of the picture, which mistaken numbers mostly do.
void remarkOutside(const PTZCameraModelPtr& model, const SearchOptions& options,
                   SearchAnswer* answer) {
  const calibration::PTZIntrinsicsTable& table = model->getParams().intrinsics();
  const auto remark = [&](const char* what, double x, double y) {
    const Vector2_f pixel(static_cast<float>(x), static_cast<float>(y));
    if (isInPicture(pixel, table)) return;
    answer->remarks.push_back(fmt::format("{} {},{} lies outside of the {}x{} picture", what,
                                          shortestText(pixel.x()), shortestText(pixel.y()),
                                          table.image_width(), table.image_height()));
  };
  if (options.pixel) remark("pixel", (*options.pixel)[0], (*options.pixel)[1]);
  if (!options.box) return;
  remark("the box's corner", (*options.box)[0], (*options.box)[1]);
  remark("the box's corner", (*options.box)[2], (*options.box)[3]);
}

/// Where the choice among positions could not be kept.
void remarkChoice(const PTZCameraModelConfiguration& now, const SearchOptions& options,
                  SearchAnswer* answer) {
  if (answer->aim.empty()) return;
  const bool is_upright = answer->aim.best().is_upright;
  const bool was_upright = now.getCameraTransform().transform(1, 2) < 0;
  if (options.choice == AimChoice::kUpright && !is_upright) {
    answer->remarks.emplace_back("no position was found whose picture is upright");
  }
  if (options.choice == AimChoice::kNoFlip && is_upright != was_upright) {
    answer->remarks.push_back(
        fmt::format("the picture turns {}: no position was found whose picture stays as it is",
                    is_upright ? "upright" : "upside down"));
  }
}

/// The one point that the target is, or that it has in its middle.
std::optional<Eigen::Vector3d> pointOf(const PTZCameraModelConfiguration& now,
                                       const calibration::AimTarget& target) {
  if (const auto* point = std::get_if<calibration::PointTarget>(&target)) return point->point;
  if (const auto* sphere = std::get_if<calibration::SphereTarget>(&target)) return sphere->centre;
  const auto* pixel = std::get_if<calibration::PixelTarget>(&target);
  if (pixel == nullptr) return std::nullopt;
  const auto ray = findRay(now, pixel->pixel.cast<float>());
  if (!ray) return std::nullopt;
  return now.getCameraCenter().cast<double>() + pixel->distance * ray->cast<double>();
}

}  // namespace

SearchAnswer searchAim(const PTZCameraModelPtr& model, const SearchOptions& options,
                       const calibration::AimRequest& request) {
  SearchAnswer answer = {};
  answer.aim = calibration::aim(*model, request);
  requireModel(model, answer.aim);
  const PTZCameraModelConfiguration now = cameraAt(model, request.now);
  answer.target = pointOf(now, request.target);
  answer.tolerance = toleranceOf(model, options, answer.aim);
  answer.remarks = explainPositions(now);
  remarkOutside(model, options, &answer);
  remarkChoice(now, options, &answer);
  answer.obstacles = findObstacles(model, options, request, answer.aim, answer.tolerance);
  return answer;
}

}  // namespace norv::tools

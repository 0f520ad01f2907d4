#include "tools/aim/aim_solution.h"

#include <fmt/format.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>

#include "support/logging.h"
#include "support/numeric/saturate.h"
#include "tools/review/head_geometry.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

using calibration::limitToMotorRange;
using calibration::PTZCameraModelConfiguration;
using calibration::PTZCameraModelPtr;

/// A pixel is where a target is seen only if the pixel's ray goes to the target, to this many
/// radians: far outside of the picture the distortion folds back into it.
constexpr float kLargestRayError = 1e-3F;

bool hasLens(const PTZCameraModelConfiguration& configuration) {
  const auto& distortion = configuration.getDistortion();
  return configuration.getIntrinsics().allFinite() &&
         std::all_of(distortion.begin(), distortion.end(),
                     [](float k) { return std::isfinite(k); });
}

std::string noLens(int zoom) {
  return fmt::format(
      "zoom position {} is at or beyond the last lens sample, where the lens is not known", zoom);
}

Vector2_f principalPoint(const PTZCameraModelConfiguration& configuration) {
  return {configuration.getIntrinsics()(0, 2), configuration.getIntrinsics()(1, 2)};
}

/// Keeps the library's lines from the user and the first words of the last one for the message.
class ScopedReason {
 public:
  ScopedReason() {
    setLogSink([this](const LogRecord& record) {
      if (record.level <= kLogWarning) reason_ = record.text.substr(0, record.text.find(':'));
    });
  }
  ScopedReason(const ScopedReason&) = delete;
  ScopedReason& operator=(const ScopedReason&) = delete;
  ~ScopedReason() { setLogSink({}); }

  const std::string& reason() const { return reason_; }

 private:
  std::string reason_ = "no solution";
};

/// Runs a pointing operation; the reason that the library logs becomes the error when it fails.
template <class Operation>
void point(const PTZCameraModelConfiguration& now, const Operation& operation) {
  const ScopedReason scope;
  if (operation()) return;
  const bool suited = azimuthIsSupported(describeHead(now.getModel()->getParams().pan_tilt()));
  throw ToolError(fmt::format("the head cannot point there: {}{}", scope.reason(),
                              suited ? ""
                                     : "; it should be written in another frame, which "
                                       "camera-parameters show prints"));
}

Vector3_f unitRay(const PTZCameraModelConfiguration& now, float x, float y) {
  const Vector3_f ray = now.projectPixelToRay({x, y});
  // Beyond what single precision can hold, the length is infinite and the unit vector zero.
  Vector3_f unit = ray.normalized();
  if (!(unit.norm() > 0.5F)) throw ToolError(fmt::format("no ray reaches pixel {},{}", x, y));
  return unit;
}

/// The point that is to be brought to the optical axis, or to a pixel, as the library chooses it.
Vector3_f findTarget(const PTZCameraModelConfiguration& now, const AimRequest& request) {
  if (request.point) {
    const auto& p = *request.point;
    return {p[0], p[1], p[2]};
  }
  if (request.box) {
    const auto& b = *request.box;
    return now.getCameraCenter() + unitRay(now, b[0], b[1]) + unitRay(now, b[2], b[3]);
  }
  const auto& p = *request.pixel;
  return now.getCameraCenter() + unitRay(now, p[0], p[1]);
}

/// Where the head would go if its motors had no limits.
Motors findUnlimited(const PTZCameraModelConfiguration& now, const AimRequest& request,
                     const Vector3_f& target) {
  float pan = 0;
  float tilt = 0;
  point(now, [&] {
    if (!request.point || !request.pixel) {
      return now.getModel()->getPanTiltModel().computePanTilt(target, {0, 0}, &pan, &tilt);
    }
    const auto& p = *request.pixel;
    unitRay(now, p[0], p[1]);
    return now.getPanTilt(target, {p[0], p[1]}, &pan, &tilt);
  });
  if (!std::isfinite(pan) || !std::isfinite(tilt)) {
    throw ToolError("the head cannot point there: a motor's step is 0 rad");
  }
  return {internal::truncateToInt(static_cast<double>(std::round(pan))),
          internal::truncateToInt(static_cast<double>(std::round(tilt))), now.getZoom()};
}

Motors limitMotors(const PTZCameraModelConfiguration& now, const AimRequest& request,
                   const Motors& unlimited) {
  Motors motors = unlimited;
  if (request.box && !request.point) {
    const auto& b = *request.box;
    point(now, [&] {
      return now.getPanTiltZoom({b[0], b[1]}, {b[2], b[3]}, &motors.pan, &motors.tilt,
                                &motors.zoom);
    });
  } else {
    limitToMotorRange(now.getModel()->getParams().pan_tilt(), &motors.pan, &motors.tilt);
  }
  return motors;
}

/// Where a camera sees a point. When it does not, `*why` says so.
std::optional<Vector2_f> see(const PTZCameraModelConfiguration& then, const Vector3_f& target,
                             std::string* why) {
  const Matrix4x4_f& camera_from_world = then.getCameraTransform().transform;
  const float depth =
      camera_from_world.block<1, 3>(2, 0).dot(target.transpose()) + camera_from_world(2, 3);
  if (!(depth > 0)) {
    *why = "the target is behind the camera";
    return std::nullopt;
  }
  const Vector2_f pixel = then.project3dToCamera(target);
  const Vector3_f ray = then.projectPixelToRay(pixel).normalized();
  const Vector3_f wanted = (target - then.getCameraCenter()).normalized();
  if (!((ray - wanted).norm() <= kLargestRayError)) {
    *why = "the target is far outside of the picture";
    return std::nullopt;
  }
  return pixel;
}

/// What the box covers, its corners being directions: how far away they are is not known.
std::optional<std::array<float, 4>> seeBox(const PTZCameraModelConfiguration& now,
                                           const PTZCameraModelConfiguration& then,
                                           const std::array<float, 4>& box) {
  std::array<float, 4> covers = {INFINITY, INFINITY, -INFINITY, -INFINITY};
  for (const float x : {box[0], box[2]}) {
    for (const float y : {box[1], box[3]}) {
      const Vector3_f ray = now.projectPixelToRay({x, y});
      std::string ignored;
      const auto pixel = see(then, then.getCameraCenter() + ray.normalized(), &ignored);
      if (!pixel) return std::nullopt;
      covers = {std::min(covers[0], pixel->x()), std::min(covers[1], pixel->y()),
                std::max(covers[2], pixel->x()), std::max(covers[3], pixel->y())};
    }
  }
  return covers;
}

}  // namespace

Aim findAim(const PTZCameraModelPtr& model, const AimRequest& request) {
  const PTZCameraModelConfiguration now(model, request.at[0], request.at[1], request.at[2]);
  if (!hasLens(now)) throw ToolError(noLens(now.getZoom()));
  Aim aim = {};
  aim.target = findTarget(now, request);
  aim.distance = (aim.target - now.getCameraCenter()).norm();
  aim.unlimited = findUnlimited(now, request, aim.target);
  aim.motors = limitMotors(now, request, aim.unlimited);

  const PTZCameraModelConfiguration then(model, aim.motors.pan, aim.motors.tilt, aim.motors.zoom);
  if (!hasLens(then)) {
    aim.why_unseen = noLens(then.getZoom());
    return aim;
  }
  const bool to_pixel = request.point && request.pixel;
  aim.wanted =
      to_pixel ? Vector2_f((*request.pixel)[0], (*request.pixel)[1]) : principalPoint(then);
  aim.lands = see(then, aim.target, &aim.why_unseen);
  if (request.box) aim.box_lands = seeBox(now, then, *request.box);
  return aim;
}

}  // namespace norv::tools

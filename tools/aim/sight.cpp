#include "tools/aim/sight.h"

#include <fmt/format.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>

namespace norv::tools {
namespace {

using calibration::PTZIntrinsicsTable;

/// A pixel is where a target is seen only if the pixel's ray goes to the target, to this many
/// radians: far outside of the picture the distortion folds back into it.
constexpr float kMaxRayError = 1e-3F;

}  // namespace

Vector2_f principalPoint(const PTZCameraModelConfiguration& configuration) {
  return {configuration.getIntrinsics()(0, 2), configuration.getIntrinsics()(1, 2)};
}

bool isInPicture(const Vector2_f& pixel, const PTZIntrinsicsTable& table) {
  return pixel.minCoeff() >= 0 && pixel.x() <= static_cast<float>(table.image_width()) &&
         pixel.y() <= static_cast<float>(table.image_height());
}

std::optional<Vector3_f> findRay(const PTZCameraModelConfiguration& configuration,
                                 const Vector2_f& pixel) {
  // Beyond what single precision can hold, the length is infinite and the unit vector zero.
  const Vector3_f unit = configuration.projectPixelToRay(pixel).normalized();
  if (!(unit.norm() > 0.5F)) return std::nullopt;
  return unit;
}

std::array<Vector2_f, 4> cornersOf(const std::array<float, 4>& box) {
  return {Vector2_f(box[0], box[1]), Vector2_f(box[2], box[3]), Vector2_f(box[0], box[3]),
          Vector2_f(box[2], box[1])};
}

std::optional<Vector2_f> see(const PTZCameraModelConfiguration& configuration,
                             const Vector3_f& target, std::string* why) {
  const Matrix4x4_f& camera_from_world = configuration.getCameraTransform().transform;
  const float depth =
      camera_from_world.block<1, 3>(2, 0).dot(target.transpose()) + camera_from_world(2, 3);
  if (!(depth > 0)) {
    *why = "the target is behind the camera";
    return std::nullopt;
  }
  const Vector2_f pixel = configuration.project3dToCamera(target);
  const Vector3_f ray = configuration.projectPixelToRay(pixel).normalized();
  const Vector3_f wanted = (target - configuration.getCameraCenter()).normalized();
  if (!((ray - wanted).norm() <= kMaxRayError)) {
    *why = "the target is far outside of the picture";
    return std::nullopt;
  }
  return pixel;
}

}  // namespace norv::tools

#include "interop/reprojection_check.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "support/point_projection.h"

namespace norv::interop {
namespace {

using calibration::PointStatus;

/// How many times better a convention has to be to be named.
constexpr double kMinGain = 10;
/// Pixels below which no other convention is looked for.
constexpr double kMinError = 0.01;

constexpr std::array<OtherConvention, 9> kConventions = {
    OtherConvention::kPixelsHalfMore,       OtherConvention::kPixelsHalfLess,
    OtherConvention::kInversePose,          OtherConvention::kTransposedRotation,
    OtherConvention::kCentreAsTranslation,  OtherConvention::kAxesOfBody,
    OtherConvention::kAxesOfGraphics,       OtherConvention::kTranslationThousand,
    OtherConvention::kTranslationThousandth};

/// The error of the camera with that pose, `offset` being added to the pixels that were seen.
ReprojectionError measure(const WrittenCamera& camera, const RigidPose& camera_from_robot,
                          const std::vector<ObservedPoint>& points, double offset) {
  ReprojectionError error;
  double sum_of_squares = 0;
  for (const ObservedPoint& point : points) {
    const Eigen::Vector3d in_camera =
        camera_from_robot.rotation * point.position + camera_from_robot.translation;
    Eigen::Vector2d pixel;
    const PointStatus status = calibration::projectPoint(camera.model, in_camera, &pixel);
    if (!hasAnswer(status)) {
      ++(status == PointStatus::kBehindCamera ? error.behind : error.beyond_lens);
      continue;
    }
    const Eigen::Vector2d miss = point.pixel + Eigen::Vector2d::Constant(offset) - pixel;
    ++error.imaged;
    error.mean += miss;
    error.max = std::max(error.max, miss.norm());
    sum_of_squares += miss.squaredNorm();
  }
  if (error.imaged > 0) {
    error.mean /= error.imaged;
    error.rms = std::sqrt(sum_of_squares / error.imaged);
  }
  return error;
}

/// The mean square over all points, one that is not imaged counting as the picture's diagonal.
double meanSquare(const ReprojectionError& error, const calibration::CameraModel& model) {
  const double diagonal = std::hypot(model.width, model.height);
  const double missing = error.behind + error.beyond_lens;
  return (error.imaged * error.rms * error.rms + missing * diagonal * diagonal) /
         std::max(1.0, error.imaged + missing);
}

/// A camera's axes in those of another convention.
Eigen::Matrix3d axes(const Eigen::Vector3d& right, const Eigen::Vector3d& down,
                     const Eigen::Vector3d& ahead) {
  Eigen::Matrix3d rows;
  rows << right.transpose(), down.transpose(), ahead.transpose();
  return rows;
}

/// What the pose is by the convention.
RigidPose otherPose(const RigidPose& pose, OtherConvention convention) {
  constexpr double kThousand = 1000;
  const Eigen::Matrix3d& rotation = pose.rotation;
  switch (convention) {
    case OtherConvention::kInversePose:
      return inverse(pose);
    case OtherConvention::kTransposedRotation:
      return {rotation.transpose(), pose.translation};
    case OtherConvention::kCentreAsTranslation:
      return {rotation, -(rotation * pose.translation)};
    case OtherConvention::kAxesOfBody:
      return compose({axes({0, -1, 0}, {0, 0, -1}, {1, 0, 0}), {0, 0, 0}}, pose);
    case OtherConvention::kAxesOfGraphics:
      return compose({axes({1, 0, 0}, {0, -1, 0}, {0, 0, -1}), {0, 0, 0}}, pose);
    case OtherConvention::kTranslationThousand:
      return {rotation, pose.translation * kThousand};
    case OtherConvention::kTranslationThousandth:
      return {rotation, pose.translation / kThousand};
    default:
      return pose;
  }
}

/// What is added to the pixels that were seen.
double otherOffset(OtherConvention convention) {
  constexpr double kHalf = 0.5;
  if (convention == OtherConvention::kPixelsHalfMore) return kHalf;
  return convention == OtherConvention::kPixelsHalfLess ? -kHalf : 0;
}

}  // namespace

const char* describe(OtherConvention convention) {
  switch (convention) {
    case OtherConvention::kPixelsHalfMore:
      return "the points' pixels are counted from the centre of the first pixel, or the file's "
             "from the image's corner";
    case OtherConvention::kPixelsHalfLess:
      return "the points' pixels are counted from the image's corner, or the file's from the "
             "centre of the first pixel";
    case OtherConvention::kInversePose:
      return "the pose is the other way round";
    case OtherConvention::kTransposedRotation:
      return "the rotation is transposed";
    case OtherConvention::kCentreAsTranslation:
      return "the translation is the place of the camera on the robot";
    case OtherConvention::kAxesOfBody:
      return "the camera's axes in the pose are ahead, left and up";
    case OtherConvention::kAxesOfGraphics:
      return "the camera's axes in the pose are right, up and back";
    case OtherConvention::kTranslationThousand:
      return "the translation is in a unit a thousand times as large";
    case OtherConvention::kTranslationThousandth:
      break;
  }
  return "the translation is in a unit a thousand times as small";
}

ReprojectionCheck checkReprojection(const WrittenCamera& camera,
                                    const std::vector<ObservedPoint>& points) {
  const RigidPose pose = camera.camera_from_parent.value_or(RigidPose{});
  ReprojectionCheck check;
  check.error = measure(camera, pose, points, 0);
  const double error = meanSquare(check.error, camera.model);
  if (!(error > kMinError * kMinError)) return check;
  // Misses beyond the picture explain nothing, however much larger others are.
  const double diagonal = std::hypot(camera.model.width, camera.model.height);
  const double most = std::min(error, diagonal * diagonal);
  for (const OtherConvention convention : kConventions) {
    const ReprojectionError other =
        measure(camera, otherPose(pose, convention), points, otherOffset(convention));
    const double gain = kMinGain * kMinGain;
    if (gain * meanSquare(other, camera.model) <= most) {
      check.better.push_back({convention, other});
    }
  }
  return check;
}

}  // namespace norv::interop

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

constexpr std::array<OtherConvention, 5> kConventions = {
    OtherConvention::kPixelsHalfMore, OtherConvention::kPixelsHalfLess,
    OtherConvention::kInversePose, OtherConvention::kTranslationThousand,
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

ReprojectionError measureOther(const WrittenCamera& camera, RigidPose pose,
                               const std::vector<ObservedPoint>& points,
                               OtherConvention convention) {
  constexpr double kHalf = 0.5;
  constexpr double kThousand = 1000;
  switch (convention) {
    case OtherConvention::kPixelsHalfMore:
      return measure(camera, pose, points, kHalf);
    case OtherConvention::kPixelsHalfLess:
      return measure(camera, pose, points, -kHalf);
    case OtherConvention::kInversePose:
      pose = inverse(pose);
      break;
    case OtherConvention::kTranslationThousand:
      pose.translation *= kThousand;
      break;
    case OtherConvention::kTranslationThousandth:
      pose.translation /= kThousand;
      break;
  }
  return measure(camera, pose, points, 0);
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
  for (const OtherConvention convention : kConventions) {
    const ReprojectionError other = measureOther(camera, pose, points, convention);
    const double gain = kMinGain * kMinGain;
    if (gain * meanSquare(other, camera.model) <= error)
      check.better.push_back({convention, other});
  }
  return check;
}

}  // namespace norv::interop

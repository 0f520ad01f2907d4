/// Poses: of cameras, of the joints of a head and of the base.

#include <Eigen/LU>
#include <algorithm>
#include <cmath>

#include "calibration_common/review/check.h"
#include "calibration_common/review/sentence.h"
#include "calibration_common/review/subjects.h"

namespace norv::internal::review {
namespace {

/// A rotation that is rounded to 4 decimals, which moves points by 0.1 pixels at f = 1000.
constexpr double kMaxResidual = 1e-4;
/// Millimetres. Cameras are farther than this from the origin of a robot, and nearer than that.
constexpr double kMinDistance = 20;
constexpr double kMaxDistance = 20000;
/// Millimetres by which a global transform moves cameras at most.
constexpr double kMaxBaseShift = 2000;

constexpr const char* kUnitQuestion = ": are the translations in millimetres?";

void checkRotation(const PoseSubject& pose, Report* report) {
  if (!pose.readable || pose.residual <= kMaxResidual) return;
  const double threshold = isRigid(pose) ? kMaxResidual : kMaxRotationResidual;
  report->add(
      {isRigid(pose) ? Severity::kWarning : Severity::kError, pose.path, pose.residual, threshold},
      [&] {
        return "the rotation R misses R R^T = 1 by " + number(pose.residual) + ", more than " +
               number(threshold);
      });
}

void checkMirror(const PoseSubject& pose, Report* report) {
  const double determinant = pose.rotation.determinant();
  if (!(determinant < 0)) return;
  report->add({Severity::kError, pose.path, determinant, 0.0}, [&] {
    return "the rotation has the determinant " + number(determinant) +
           ", below 0, and so mirrors what is seen";
  });
}

void checkCameraUnit(const CameraSubject& camera, Report* report) {
  if (!isRigid(camera.pose)) return;
  const Eigen::Vector3d centre = -camera.pose.rotation.inverse() * camera.pose.translation;
  const double distance = centre.norm();
  if (distance == 0 || (distance >= kMinDistance && distance <= kMaxDistance)) return;
  const bool near = distance < kMinDistance;
  const double threshold = near ? kMinDistance : kMaxDistance;
  report->add({Severity::kWarning, camera.pose.path, distance, threshold}, [&] {
    return "the camera centre is " + number(distance) + " mm from the robot's origin, " +
           (near ? "nearer than " : "farther than ") + number(threshold) + " mm" + kUnitQuestion;
  });
}

void checkHeadUnit(const PtzSubject& ptz, Report* report) {
  double sum = 0;
  for (const PoseSubject& pose : ptz.poses) {
    if (!pose.readable) return;
    sum += pose.translation.norm();
  }
  if (sum == 0 || sum >= kMinDistance) return;
  report->add({Severity::kWarning, "pan_tilt", sum, kMinDistance}, [&] {
    return "the three translations together are " + number(sum) + " mm long, less than " +
           number(kMinDistance) + " mm" + kUnitQuestion;
  });
}

void checkBaseUnit(const BaseSubject& base, Report* report) {
  const double shift = base.pose.translation.norm();
  if (shift <= kMaxBaseShift) return;
  report->add({Severity::kWarning, base.pose.path, shift, kMaxBaseShift}, [&] {
    return "the global transform moves cameras by " + number(shift) + " mm, more than " +
           number(kMaxBaseShift) + " mm" + kUnitQuestion;
  });
}

void checkIdentity(const CameraSubject& camera, Report* report) {
  if (!camera.pose.readable || !camera.pose.translation.isZero(0)) return;
  report->add({Severity::kInfo, camera.pose.path, 0.0}, [] {
    return "the camera centre is exactly the robot's origin: was the calibration imported without "
           "a pose?";
  });
}

void checkSamePose(const CameraSubject& camera, Report* report) {
  if (camera.same_pose < 0) return;
  report->add({Severity::kWarning, camera.pose.path}, [&] {
    return "the pose is that of camera_calibration[" + std::to_string(camera.same_pose) + "]";
  });
}

}  // namespace

const CheckTable& poseChecks() {
  static const CheckTable table = {
      {"pose-rotation",
       {Severity::kError, Severity::kWarning},
       "the largest element of R R^T - 1 is above 1e-2 (error) or 1e-4 (warning)",
       "a rotation rounded to 4 decimals has 1.6e-4 and errs by 0.1 px at f = 1000; 3 decimals "
       "1.6e-3 and 1 px; single precision 9e-8",
       {&checkRotation}},
      {"pose-mirror",
       {Severity::kError},
       "the determinant of the rotation is negative",
       "no camera is mirrored: an axis has the wrong sign",
       {&checkMirror}},
      {"pose-unit",
       {Severity::kWarning},
       "a camera centre more than 0 and less than 20 mm, or more than 20 m, from the robot's "
       "origin; all translations of a head together above 0 and below 20 mm; a global transform "
       "that moves by more than 2 m",
       "metres where millimetres belong: the compiled-in cameras, 1.26 and 0.43 m out, would be at "
       "1.3 and 0.4 mm",
       {&checkCameraUnit, &checkHeadUnit, &checkBaseUnit}},
      {"pose-identity",
       {Severity::kInfo},
       "the camera centre is exactly the robot's origin",
       "a calibration that was imported without a pose looks like this",
       {&checkIdentity}},
      {"pose-same",
       {Severity::kWarning},
       "two cameras have the same pose",
       "one was copied from the other and not measured",
       {&checkSamePose}},
  };
  return table;
}

}  // namespace norv::internal::review

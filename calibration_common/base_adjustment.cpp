// Cameras moved by the base's calibration: the only place that knows both.

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/camera_parameters.h"
#include "calibration_common/message_copy.h"

namespace norv::calibration {

void CameraParameters::adjustUsingBaseCalibration(const BaseCalibrationData& base,
                                                  CameraCalibration* calibration) {
  const Vector3_f translation = rotation_ * base.getWorldTranslation() + translation_;
  const Matrix3x3_f rotation = rotation_ * base.getWorldRotation();
  rotation_ = rotation;
  translation_ = translation;
  Matrix4x4_f pose;
  convert(rotation_, translation_, &pose);
  convert(pose, calibration->mutable_extrinsics());
  transform_.setTransform(pose, CameraTransform::kForward);
}

/// Gives each camera that shares the stored message a copy of its entry.
void CameraParametersSet::separateCameras() {
  for (const auto& [name, camera] : cameras_) {
    std::shared_ptr<const CameraCalibration>& entry = camera->calibration_;
    const bool shared = !entry.owner_before(robotcal_) && !robotcal_.owner_before(entry);
    if (shared) entry = internal::copyOf(*entry);
  }
}

void CameraParametersSet::adjustUsingBaseCalibration(const BaseCalibrationData& base) {
  separateCameras();  // they keep the poses that they were loaded with
  for (CameraCalibration& calibration : *robotcal_->mutable_camera_calibration()) {
    // A failed load may have left the message with names that no camera was built for.
    const std::shared_ptr<CameraParameters> camera = getCamera(calibration.name());
    if (camera != nullptr) camera->adjustUsingBaseCalibration(base, &calibration);
  }
}

}  // namespace norv::calibration

#include "python/bindings/camera_message.h"

namespace norv::python {
namespace {

calibration::CameraCalibration messageOf(const calibration::CameraParameters& camera) {
  using calibration::CameraParameters;
  calibration::CameraCalibration message = camera.getCalibration();
  Matrix4x4_f stored = Matrix4x4_f::Zero();
  if (message.extrinsics().a_size() >= 12) {
    CameraParameters::convert(message.extrinsics(), &stored);
  }
  const Matrix4x4_f& present = camera.getTransform().transform;
  if (stored != present) CameraParameters::convert(present, message.mutable_extrinsics());
  return message;
}

}  // namespace

calibration::CameraCalibration presentMessage(const Camera& camera) {
  return camera.lock->read([&] { return messageOf(*camera.parameters); });
}

}  // namespace norv::python

#include <calibration_common/camera_parameters.h>

#include <iostream>

using norv::calibration::CameraParameters;

/// The entry of the pictures that the camera delivers at this size, or null where there are none.
const CameraParameters::Intrinsics* findDelivered(const CameraParameters& camera, int width,
                                                  int height) {
  for (const CameraParameters::Intrinsics& entry : camera.getIntrinsicsTable()) {
    if (entry.width == width && entry.height == height) return &entry;
  }
  return nullptr;
}

int main() {
  const norv::calibration::CameraParametersSet cameras;
  const auto camera = cameras.getCamera("head_camera");
  const CameraParameters::Intrinsics* delivered = findDelivered(*camera, 640, 480);
  if (delivered == nullptr) return 1;

  // All of the delivered picture, halved: camera matrix and distortion.
  CameraParameters::Intrinsics halved;
  camera->affineIntrinsics(*delivered, 0, 0, 640, 480, 320, 240, &halved);

  // Its lower right quarter at full size.
  CameraParameters::Intrinsics quarter;
  camera->affineIntrinsics(*delivered, 320, 240, 320, 240, 320, 240, &quarter);

  std::cout << "halved: fx " << halved.fx << ", cx " << halved.cx << "\n"
            << "quarter: fx " << quarter.fx << ", cx " << quarter.cx << "\n";
}

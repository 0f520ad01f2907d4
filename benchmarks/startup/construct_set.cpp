// A program that constructs the set of compiled-in cameras and does nothing else: its processor
// time and peak memory are what the library costs at the start of a program.

#include "calibration_common/camera_parameters.h"

int main() {
  const norv::calibration::CameraParametersSet cameras;
  return cameras.getCamera("head_camera") == nullptr;
}

// A program with code of its own for one of our message files: built together with what protoc
// generates, its symbols hidden, as a plugin's may be. It ends before main.

#include <cstdio>

#include "calibration_common/camera_parameters.h"

int main() {
  const norv::calibration::CameraParametersSet set;
  std::printf("%zu cameras\n", set.getCameraNames().size());
}

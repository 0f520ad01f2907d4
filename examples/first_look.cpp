#include <calibration_common/camera_parameters.h>

#include <iostream>

int main(int argc, char** argv) {
  norv::calibration::CameraParametersSet cameras;  // holds the compiled-in default
  if (argc > 1 && !cameras.loadFromFile(argv[1])) std::cerr << "using the default\n";
  for (const std::string& name : cameras.getCameraNames()) {
    const auto camera = cameras.getCamera(name);
    std::cout << name << " at 640 x 480:\n"
              << camera->getIntrinsics(640, 480) << "\noptical centre on the robot, metres: "
              << camera->getTransform().getCameraCenter().transpose() << "\n";
  }
}

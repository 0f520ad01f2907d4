#include <calibration_common/camera_parameters.h>

#include <iostream>
#include <memory>

int main(int argc, char** argv) {
  using norv::calibration::CameraParametersSet;
  const auto cameras = argc > 1 ? CameraParametersSet::fromFile(argv[1])          // these alone
                                : std::make_unique<const CameraParametersSet>();  // compiled in
  if (cameras == nullptr) return 1;  // the log says in which line, and why
  for (const std::string& name : cameras->getCameraNames()) {
    const auto camera = cameras->getCamera(name);
    std::cout << name << " at 640 x 480:\n"
              << camera->getIntrinsics(640, 480) << "\noptical centre on the robot, metres: "
              << camera->getTransform().getCameraCenter().transpose() << "\n";
  }
}

#include <calibration_common/ptz_aiming.h>

#include <iostream>

int main(int argc, char** argv) {
  using namespace norv::calibration;
  const auto model = argc == 2 ? PTZCameraModel::fromFile(argv[1]) : nullptr;
  if (model == nullptr) {
    std::cerr << "needs the file of a pan-tilt-zoom camera\n";  // the log says what is wrong
    return 2;
  }
  AimRequest request;
  request.target = PixelTarget{{400, 300}, 12};  // what is seen at this pixel, 12 m away
  request.now = {500, 200, 2500};                // pan, tilt, zoom: motor steps
  const Aim there = aim(*model, request);
  if (there.empty()) return 1;  // there.failure says why
  const AimPosition& best = there.best();
  std::cout << "pan " << best.motors.pan << ", tilt " << best.motors.tilt << " and zoom "
            << best.motors.zoom << " centre it to " << best.miss << " px\n";
}

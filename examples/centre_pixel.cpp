#include <calibration_common/ptz_camera_model.h>

#include <iostream>

int main(int argc, char** argv) {
  using namespace norv::calibration;
  const auto model = argc == 2 ? PTZCameraModel::fromFile(argv[1]) : nullptr;
  if (model == nullptr) {
    std::cerr << "needs the file of a pan-tilt-zoom camera\n";  // the log says what is wrong
    return 2;
  }
  const PTZCameraModelConfiguration now(model, 500, 200, 2500);  // pan, tilt, zoom: motor steps
  int pan = 0;
  int tilt = 0;
  if (!now.getPanTilt(norv::Vector2_f(400, 300), &pan, &tilt)) return 1;
  std::cout << "pan " << pan << " and tilt " << tilt << " centre the pixel\n";
}

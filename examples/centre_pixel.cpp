#include <calibration_common/ptz_camera_model.h>
#include <support/file.h>
#include <support/message_parsing.h>

#include <iostream>
#include <memory>
#include <string>

int main(int argc, char** argv) {
  using namespace norv::calibration;
  std::string data;
  PTZCameraParameters parameters;
  if (argc != 2 || !norv::File::readFileToString(argv[1], &data) ||
      !norv::parseBinaryOrText(data, &parameters)) {
    std::cerr << "needs the file of a pan-tilt-zoom camera\n";
    return 2;
  }
  const auto model = std::make_shared<const PTZCameraModel>(parameters);
  if (!model->isValid()) return 1;                               // the log says why
  const PTZCameraModelConfiguration now(model, 500, 200, 2500);  // pan, tilt, zoom: motor steps
  int pan = 0;
  int tilt = 0;
  if (!now.getPanTilt(norv::Vector2_f(400, 300), &pan, &tilt)) return 1;
  std::cout << "pan " << pan << " and tilt " << tilt << " centre the pixel\n";
}

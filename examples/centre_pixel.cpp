#include <calibration_common/ptz_camera_model.h>
#include <google/protobuf/text_format.h>

#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

int main(int /*argc*/, char** argv) {
  using namespace norv::calibration;
  std::stringstream text;
  text << std::ifstream(argv[1]).rdbuf();
  PTZCameraParameters parameters;
  google::protobuf::TextFormat::ParseFromString(text.str(), &parameters);
  const auto model = std::make_shared<const PTZCameraModel>(parameters);
  if (!model->isValid()) return 1;
  const PTZCameraModelConfiguration now(model, 500, 200, 2500);  // pan, tilt, zoom: motor steps
  int pan = 0;
  int tilt = 0;
  if (now.getPanTilt(norv::Vector2_f(400, 300), &pan, &tilt)) {
    std::cout << "pan " << pan << " and tilt " << tilt << " centre the pixel\n";
  }
}

#include <calibration_common/camera_parameters.h>
#include <calibration_common/camera_view.h>

#include <iostream>

int main() {
  const norv::calibration::CameraParametersSet cameras;
  const auto delivered = cameras.getCamera("head_camera")->view(640, 480);
  if (!delivered) return 1;  // the camera has no pictures of this size

  // All of the delivered picture, halved.
  const auto halved = delivered->resized(320, 240);

  // Its lower right quarter at full size.
  const auto quarter = delivered->cropped(320, 240, 320, 240);
  if (!halved || !quarter) return 1;

  std::cout << "halved: fx " << halved->model().fx << ", cx " << halved->model().cx << "\n"
            << "quarter: fx " << quarter->model().fx << ", cx " << quarter->model().cx << "\n";
}

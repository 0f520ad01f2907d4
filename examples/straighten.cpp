#include <calibration_common/camera_parameters.h>
#include <calibration_common/camera_view.h>

#include <cstdint>
#include <iostream>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

/// straighten CALIBRATION CAMERA PICTURE OUTPUT: takes the lens out of a picture of the camera.
int main(int argc, char** argv) {
  using namespace norv::calibration;
  const auto fail = [](const char* why) {
    std::cerr << "straighten: " << why << "\n";
    return 1;
  };
  if (argc != 5) return fail("needs CALIBRATION CAMERA PICTURE OUTPUT");
  const auto cameras = CameraParametersSet::fromFile(argv[1]);  // the log says what is wrong
  const auto camera = cameras == nullptr ? nullptr : cameras->getCamera(argv[2]);
  if (camera == nullptr) return fail("no such camera");
  const cv::Mat picture = cv::imread(argv[3], cv::IMREAD_UNCHANGED);
  if (picture.empty()) return fail("no such picture");
  const auto view = camera->view(picture.cols, picture.rows);
  if (!view) return fail("the camera does not deliver pictures of this size");

  // The largest picture of the same size of which every pixel shows something; interpolation looks
  // half a pixel farther. Maps for as many pictures as there are.
  ViewOptions options;
  options.margin = 0.5;
  const auto straight = view->fitView(picture.cols, picture.rows, ViewFit::kValidOnly, options);
  if (!straight) return fail("the camera has no straightened picture");
  cv::Mat xy(straight->height, straight->width, CV_16SC2);
  cv::Mat fraction(straight->height, straight->width, CV_16UC1);
  view->makeFixedPointRectifyMap(*straight, xy.ptr<std::int16_t>(), fraction.ptr<std::uint16_t>());

  cv::Mat straightened;
  cv::remap(picture, straightened, xy, fraction, cv::INTER_LINEAR);
  if (!cv::haveImageWriter(argv[4]) || !cv::imwrite(argv[4], straightened)) {
    return fail("cannot write the output");
  }
  // The camera matrix of the new picture, with pixels as OpenCV counts them.
  std::cout << cameraMatrix(cameraOf(*straight), PixelOrigin::kPixelCentre) << "\n";
}

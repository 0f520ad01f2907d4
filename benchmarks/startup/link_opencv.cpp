// A program that links OpenCV's calibration module and does not call it.

#include <opencv2/calib3d.hpp>

int main(int argc, char** /*argv*/) {
  // Never true; keeps the linker from dropping the library.
  if (argc < 0) cv::Rodrigues(cv::noArray(), cv::noArray());
  return 0;
}

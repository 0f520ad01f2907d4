// The lines of docs/conventions.md between this library's pixels and OpenCV's, against OpenCV.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <vector>

#include "calibration_common/camera_parameters.h"
#include "support/camera_projection.h"
#include "testing/document.h"

namespace norv::calibration {
namespace {

using ::testing::HasSubstr;

/// The camera matrix as the page converts it.
cv::Mat1d forOpenCV(Matrix3x3_f opencv) {
  opencv(0, 2) -= 0.5F;  // cx
  opencv(1, 2) -= 0.5F;  // cy
  cv::Mat1d k(3, 3);
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) k(r, c) = static_cast<double>(opencv(r, c));
  }
  return k;
}

CameraTransform atOrigin() {
  CameraTransform pose;
  pose.setTransform(Matrix4x4_f::Identity(), CameraTransform::kForward);
  return pose;
}

TEST(OpenCVPixels, LinesAreThoseOfThePage) {
  const std::string page =
      testing::readDocument(CAMERA_PARAMETERS_SOURCE_DIR "/docs/conventions.md");
  EXPECT_THAT(page, HasSubstr("\nopencv(0, 2) -= 0.5F;  // cx\nopencv(1, 2) -= 0.5F;  // cy\n"));
}

/// OpenCV's map holds, for each element of a new picture, where in the old one its value is taken
/// from. Elements are counted from 0 there, and here lie at the centres of pixels. A pixel of the
/// new picture is five of the old one: without the conversion the maps differ by two pixels.
TEST(OpenCVPixels, UndistortionMapOfThatCameraMatrixIsThisLibrarys) {
  const CameraParametersSet set;
  const auto camera = set.getCamera("navigation_camera");
  const Matrix3x3_f k = camera->getIntrinsics(1280, 960);
  const std::vector<float>& distortion = camera->getDistortion(1280, 960);
  Matrix3x3_f new_k = camera->getIntrinsics(320, 240);
  new_k(0, 0) *= 0.8F;
  new_k(1, 1) *= 0.8F;
  cv::Mat1f map_x;
  cv::Mat1f map_y;
  cv::initUndistortRectifyMap(forOpenCV(k), distortion, cv::noArray(), forOpenCV(new_k),
                              cv::Size(320, 240), CV_32FC1, map_x, map_y);
  double worst = 0;
  for (int row = 0; row < 240; ++row) {
    for (int column = 0; column < 320; ++column) {
      const Vector2_f pixel(static_cast<float>(column) + 0.5F, static_cast<float>(row) + 0.5F);
      const Vector3_f ray((pixel.x() - new_k(0, 2)) / new_k(0, 0),
                          (pixel.y() - new_k(1, 2)) / new_k(1, 1), 1);
      const Vector2_f source = project3dToCamera(atOrigin(), distortion, k, ray);
      const Vector2_f expected(map_x(row, column) + 0.5F, map_y(row, column) + 0.5F);
      worst = std::max(worst, static_cast<double>((source - expected).norm()));
    }
  }
  EXPECT_LT(worst, 5e-4);  // measured: 1.4e-4
}

}  // namespace
}  // namespace norv::calibration

#include "support/camera_matrix.h"

#include <gtest/gtest.h>

#include <array>

#include "support/rectified_view.h"

namespace norv::calibration {
namespace {

TEST(CameraMatrix, InBothPixelOrigins) {
  const CameraModel camera{640, 480, 300, 310, 2, 320.25, 240.75, {-0.3}};
  Eigen::Matrix3d expected;
  expected << 300, 2, 320.25, 0, 310, 240.75, 0, 0, 1;
  EXPECT_EQ(cameraMatrix(camera, PixelOrigin::kImageCorner), expected);
  expected(0, 2) = 319.75;
  expected(1, 2) = 240.25;
  EXPECT_EQ(cameraMatrix(camera, PixelOrigin::kPixelCentre), expected);
}

TEST(CameraOfAView, HasNoSkewAndNoLens) {
  const CameraModel camera = cameraOf({100, 70, 60, -61, 48, 37, Eigen::Matrix3d::Identity()});
  EXPECT_EQ(camera.width, 100);
  EXPECT_EQ(camera.height, 70);
  Eigen::Matrix3d expected;
  expected << 60, 0, 48, 0, -61, 37, 0, 0, 1;
  EXPECT_EQ(cameraMatrix(camera, PixelOrigin::kImageCorner), expected);
  EXPECT_EQ(camera.lens.toCoefficients(), (std::array<double, 8>{}));
}

}  // namespace
}  // namespace norv::calibration

/// Maps of straightened pictures against OpenCV's, and pictures through both of them.

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <random>
#include <string>
#include <vector>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/camera_parameters.h"
#include "calibration_common/camera_view.h"
#include "support/camera/kernels.h"
#include "support/lens/lens_domain.h"
#include "support/rectification.h"
#include "testing/lenses.h"
#include "testing/published_lenses.h"
#include "testing/random_camera.h"

namespace norv::calibration {
namespace {

/// A camera matrix whose pixels begin at the first pixel's centre.
cv::Matx33d centredMatrix(double fx, double fy, double cx, double cy) {
  return {fx, 0, cx - 0.5, 0, fy, cy - 0.5, 0, 0, 1};
}

cv::Matx33d rotationOf(const RectifiedView& view) {
  cv::Matx33d rotation;
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      rotation(row, column) = view.view_from_camera(row, column);
    }
  }
  return rotation;
}

struct Maps {
  cv::Mat x;
  cv::Mat y;
};

Maps ourMaps(const CameraModel& camera, const RectifiedView& view) {
  Maps maps{cv::Mat(view.height, view.width, CV_32FC1), cv::Mat(view.height, view.width, CV_32FC1)};
  makeRectifyMap(camera, view, maps.x.ptr<float>(), maps.y.ptr<float>(), 2);
  return maps;
}

Maps openCVMaps(const CameraModel& camera, const RectifiedView& view) {
  const std::array<double, 8> lens = camera.lens.toCoefficients();
  Maps maps;
  cv::initUndistortRectifyMap(centredMatrix(camera.fx, camera.fy, camera.cx, camera.cy),
                              std::vector<double>(lens.begin(), lens.end()), rotationOf(view),
                              centredMatrix(view.fx, view.fy, view.cx, view.cy),
                              {view.width, view.height}, CV_32FC1, maps.x, maps.y);
  return maps;
}

/// Squared radius of the ray of a view's pixel; negative behind the camera.
double squaredRadius(const RectifiedView& view, int i, int j) {
  const Eigen::Vector3d ray =
      view.view_from_camera.transpose() *
      Eigen::Vector3d((i + 0.5 - view.cx) / view.fx, (j + 0.5 - view.cy) / view.fy, 1);
  return ray.z() > 0 ? (ray.head<2>() / ray.z()).squaredNorm() : -1;
}

/// Places farther than this from the picture are not compared: next to the plane of the optical
/// centre and to poles rounding moves them as far as one likes.
constexpr float kFarthest = 2048;
/// A rounding of single precision beyond 1024 is 1.2e-4.
constexpr double kTolerance = 1.3e-4;

struct Compared {
  int both = 0;     ///< pixels that both maps have
  int without = 0;  ///< pixels without a ray
  double worst = 0;
};

/// Compares maps and checks where ours has none.
void compare(const CameraModel& camera, const RectifiedView& view, Compared* sum) {
  const Maps ours = ourMaps(camera, view);
  const Maps expected = openCVMaps(camera, view);
  const internal::LensDomain domain(camera.lens);
  for (int j = 0; j < view.height; ++j) {
    for (int i = 0; i < view.width; ++i) {
      const float x = ours.x.at<float>(j, i);
      const float y = ours.y.at<float>(j, i);
      ASSERT_EQ(std::isnan(x), std::isnan(y));
      const double s = squaredRadius(view, i, j);
      const bool is_beyond = s < 0 || s > domain.end * (1 + 1e-12);
      const bool is_certain = s >= 0 && s < domain.certain * (1 - 1e-12);
      ASSERT_FALSE(std::isnan(x) ? is_certain : is_beyond) << i << " " << j;
      sum->without += std::isnan(x) ? 1 : 0;
      if (!(std::abs(x) < kFarthest && std::abs(y) < kFarthest)) continue;
      const auto apart = static_cast<double>(std::fmax(std::abs(x - expected.x.at<float>(j, i)),
                                                       std::abs(y - expected.y.at<float>(j, i))));
      ASSERT_LE(apart, kTolerance) << i << " " << j;
      ++sum->both;
      sum->worst = std::fmax(sum->worst, apart);
    }
  }
}

/// A view that shows more than the camera does, and the same turned, at `scale` times its size.
std::vector<RectifiedView> viewsOf(const CameraModel& camera, double scale) {
  const double w = scale * camera.width;
  const double h = scale * camera.height;
  RectifiedView view{static_cast<int>(w),
                     static_cast<int>(h),
                     0.6 * scale * camera.fx,
                     0.6 * scale * camera.fy,
                     0.52 * w,
                     0.47 * h};
  RectifiedView turned = view;
  turned.view_from_camera =
      Eigen::AngleAxisd(0.5, Eigen::Vector3d(0.3, -0.8, 0.2).normalized()).toRotationMatrix();
  RectifiedView far = view;
  far.view_from_camera = Eigen::AngleAxisd(1.4, Eigen::Vector3d::UnitY()).toRotationMatrix();
  return {view, turned, far};
}

void compareAll(const std::string& name, CameraModel camera, double scale, Compared* sum) {
  SCOPED_TRACE(name);
  camera.skew = 0;  // which OpenCV ignores
  for (const RectifiedView& view : viewsOf(camera, scale)) {
    compare(camera, view, sum);
    ASSERT_FALSE(::testing::Test::HasFatalFailure());
  }
}

TEST(RectifyMapReference, OfTheDefaultCameras) {
  const CameraParametersSet set;
  Compared sum;
  for (const char* name : {"head_camera", "navigation_camera"}) {
    const auto camera = set.getCamera(name);
    ASSERT_TRUE(camera);
    for (const CameraParameters::Intrinsics& entry : camera->getIntrinsicsTable()) {
      compareAll(name, camera->view(entry.width, entry.height)->model(), 1, &sum);
    }
  }
  EXPECT_GT(sum.both, 1000000);
  // Measured: 9.6e-7, and 1.2e-4 for those below.
  EXPECT_LT(sum.worst, 2e-6);
}

TEST(RectifyMapReference, OfPublishedCameras) {
  Compared sum;
  for (const testing::PublishedCamera& one : testing::publishedCameras()) {
    compareAll(one.name, one.camera, 0.5, &sum);
  }
  EXPECT_GT(sum.both, 1000000);
  EXPECT_GT(sum.without, 100000);
}

TEST(RectifyMapReference, OfEveryKindOfLens) {
  std::mt19937 random(81);
  Compared sum;
  for (const testing::NamedLens& lens : testing::kLenses) {
    compareAll(lens.name, testing::randomCamera(lens, &random), 0.4, &sum);
  }
  EXPECT_GT(sum.without, 100000);
}

/// Holds a fixed-point map against what OpenCV makes of a float map, to the bit.
void expectConverted(const Maps& maps, const std::vector<std::int16_t>& xy,
                     const std::vector<std::uint16_t>& fraction, const std::string& what) {
  cv::Mat expected_xy;
  cv::Mat expected_fraction;
  cv::convertMaps(maps.x, maps.y, expected_xy, expected_fraction, CV_16SC2);
  for (int j = 0, k = 0; j < maps.x.rows; ++j) {
    for (int i = 0; i < maps.x.cols; ++i, ++k) {
      const auto at = static_cast<std::size_t>(k);
      const cv::Vec2s place = expected_xy.at<cv::Vec2s>(j, i);
      ASSERT_EQ(xy[2 * at], place[0]) << what << maps.x.at<float>(j, i);
      ASSERT_EQ(xy[2 * at + 1], place[1]) << what << maps.y.at<float>(j, i);
      ASSERT_EQ(fraction[at], expected_fraction.at<std::uint16_t>(j, i))
          << what << maps.x.at<float>(j, i) << " " << maps.y.at<float>(j, i);
    }
  }
}

TEST(RectifyMapReference, InFixedPoint) {
  for (const testing::PublishedCamera& one : testing::publishedCameras()) {
    for (const RectifiedView& view : viewsOf(one.camera, 0.25)) {
      const auto pixels = static_cast<std::size_t>(view.width * view.height);
      std::vector<std::int16_t> xy(2 * pixels);
      std::vector<std::uint16_t> fraction(pixels);
      makeFixedPointRectifyMap(one.camera, view, xy.data(), fraction.data());
      const Maps maps = ourMaps(one.camera, view);
      expectConverted(maps, xy, fraction, one.name);
      ASSERT_FALSE(::testing::Test::HasFatalFailure());
      for (std::size_t i = 0; i < pixels; ++i) {
        if (!std::isnan(maps.x.ptr<float>()[i])) continue;
        ASSERT_EQ(xy[2 * i], -32768);
        ASSERT_EQ(xy[2 * i + 1], -32768);
        ASSERT_EQ(fraction[i], 0);
      }
    }
  }
}

/// Places about the ends of 16 and 32 bits, halves of thirty-seconds, and what is no place.
std::vector<float> oddPlaces() {
  std::vector<float> places = {NAN, INFINITY, -INFINITY, -0.0F, 1e-40F};
  for (const float power :
       {1.0F, 1023.0F, 32767.0F, 32768.0F, 65536.0F, 67108864.0F, 1e9F, 3e9F, 1e20F, 3.4e38F}) {
    float below = power;
    float above = power;
    for (int i = 0; i < 4; ++i) {
      below = std::nextafter(below, -INFINITY);
      above = std::nextafter(above, INFINITY);
      places.insert(places.end(), {below, -below, above, -above});
    }
    places.insert(places.end(), {power, -power});
  }
  for (int i = -200; i <= 200; ++i) places.push_back(static_cast<float>(i) / 64);
  return places;
}

TEST(RectifyMapReference, OddPlacesInFixedPoint) {
  const std::vector<float> odd = oddPlaces();
  std::mt19937 random(82);
  Maps maps{cv::Mat(1, 4001, CV_32FC1), cv::Mat(1, 4001, CV_32FC1)};
  for (int i = 0; i < 4001; ++i) {
    maps.x.at<float>(0, i) = odd[random() % odd.size()];
    maps.y.at<float>(0, i) = odd[random() % odd.size()];
  }
  for (const internal::Kernels* kernels : internal::runnableKernels()) {
    if (kernels == nullptr) continue;
    std::vector<std::int16_t> xy(8002);
    std::vector<std::uint16_t> fraction(4001);
    kernels->toFixedPoint(maps.x.ptr<float>(), maps.y.ptr<float>(), 4001, xy.data(),
                          fraction.data());
    expectConverted(maps, xy, fraction, std::string(kernels->name) + " ");
  }
}

/// A smooth picture with something of every size in it: noise through a Gaussian of 1.3 pixels.
cv::Mat smoothPicture(int width, int height) {
  cv::RNG random(83);
  cv::Mat picture(height, width, CV_32FC1);
  random.fill(picture, cv::RNG::NORMAL, 128, 200);
  cv::GaussianBlur(picture, picture, {0, 0}, 1.3);
  return picture;
}

/// How far the middle of a picture has moved, pixels.
cv::Point2d movement(const cv::Mat& before, const cv::Mat& after) {
  const cv::Rect middle(before.cols / 6, before.rows / 6, before.cols * 2 / 3, before.rows * 2 / 3);
  cv::Mat window;
  cv::createHanningWindow(window, middle.size(), CV_32FC1);
  return cv::phaseCorrelate(before(middle).clone(), after(middle).clone(), window);
}

TEST(RectifyMapReference, PicturesComeBackThroughBothMaps) {
  const CameraModel camera{640, 480, 520, 520, 0, 322, 238, {-0.28, 0.08, 2e-4, -3e-4}};
  const RectifiedView view{1000, 800, 520, 520, 505, 396, Eigen::Matrix3d::Identity()};
  const Maps there = ourMaps(camera, view);
  Maps back{cv::Mat(480, 640, CV_32FC1), cv::Mat(480, 640, CV_32FC1)};
  makeUndistortMap(camera, view, back.x.ptr<float>(), back.y.ptr<float>());
  const cv::Mat picture = smoothPicture(640, 480);
  const auto through = [&](double half_there, double half_back) {
    cv::Mat straight;
    cv::Mat again;
    cv::remap(picture, straight, there.x + half_there, there.y + half_there, cv::INTER_CUBIC);
    cv::remap(straight, again, back.x + half_back, back.y + half_back, cv::INTER_CUBIC);
    return movement(picture, again);
  };
  const cv::Point2d moved = through(0, 0);
  // Measured: 0.007.
  EXPECT_LT(std::hypot(moved.x, moved.y), 0.02);
  // Half a pixel that is forgotten in either map is seen. Between pixels the correlation's peak is
  // broad: measured 0.42 to 0.58.
  for (const cv::Point2d& wrong : {through(0.5, 0), through(0, 0.5)}) {
    EXPECT_NEAR(std::abs(wrong.x), 0.5, 0.12);
    EXPECT_NEAR(std::abs(wrong.y), 0.5, 0.12);
  }
}

}  // namespace
}  // namespace norv::calibration

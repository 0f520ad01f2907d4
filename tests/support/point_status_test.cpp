/// What becomes of a point: each status where its definition says so, and no answer where there is
/// none.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "support/point_projection.h"

namespace norv::calibration {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kDenormal = std::numeric_limits<double>::denorm_min();
constexpr double kMaxFloat = static_cast<double>(std::numeric_limits<float>::max());
constexpr PointStatus kOk = PointStatus::kOk;
constexpr PointStatus kBehindCamera = PointStatus::kBehindCamera;
constexpr PointStatus kBeyondLens = PointStatus::kBeyondLens;
constexpr PointStatus kOutsideImage = PointStatus::kOutsideImage;
constexpr PointStatus kNotFinite = PointStatus::kNotFinite;

/// Its numbers are powers of two, so that places below are exact: 1024 x 512, f = 512.
CameraModel pinhole() { return {1024, 512, 512, 512, 0, 512, 256, {}}; }

/// Folds at r = sqrt(2 / 3) = 0.8165, where it images at 2 / 3 of that, 278.7 pixels from the
/// centre.
CameraModel folding() {
  CameraModel camera = pinhole();
  camera.lens.k1 = -0.5;
  return camera;
}

/// With a pole at r = 1.
CameraModel withPole() {
  CameraModel camera = pinhole();
  camera.lens.k4 = -1;
  return camera;
}

/// x + 0.3 x^2 on the x axis, which folds at -5/3, where it images at -5/6.
CameraModel decentred() {
  CameraModel camera = pinhole();
  camera.lens.p2 = 0.1;
  return camera;
}

double after(double x) { return std::nextafter(x, kInfinity); }
double before(double x) { return std::nextafter(x, -kInfinity); }

struct PointCase {
  const char* what;
  CameraModel camera;
  Eigen::Vector3d point;
  PointStatus status;
};

const std::vector<PointCase>& pointCases() {
  static const double fold = std::sqrt(2.0 / 3);
  static const std::vector<PointCase> cases = {
      {"centre", pinhole(), {0, 0, 1}, kOk},
      {"corner", pinhole(), {-1, -0.5, 1}, kOk},
      {"far corner", pinhole(), {1, 0.5, 1}, kOk},
      {"left of the image by a bit", pinhole(), {-1 - 0x1p-52, 0, 1}, kOutsideImage},
      {"right of the image by a bit", pinhole(), {1 + 0x1p-51, 0, 1}, kOutsideImage},
      {"below the image by a bit", pinhole(), {0, 0.5 + 0x1p-52, 1}, kOutsideImage},
      {"behind", pinhole(), {0.1, 0.1, -1}, kBehindCamera},
      {"behind the fold's cone", folding(), {3, 3, -1}, kBehindCamera},
      {"on the camera's plane", pinhole(), {1, 1, 0}, kBehindCamera},
      {"on the camera's plane, minus zero", pinhole(), {1, 1, -0.0}, kBehindCamera},
      {"optical centre", pinhole(), {0, 0, 0}, kBehindCamera},
      {"behind by nothing", pinhole(), {0, 0, -kDenormal}, kBehindCamera},
      {"before by nothing", pinhole(), {0, 0, kDenormal}, kOk},
      {"beside by nothing", pinhole(), {kDenormal, 0, kDenormal}, kOk},
      {"nothing deep", pinhole(), {1, 0, kDenormal}, kNotFinite},
      {"nothing deep, and the lens ends", folding(), {1, 0, kDenormal}, kBeyondLens},
      {"before the fold", folding(), {fold * (1 - 1e-12), 0, 1}, kOk},
      {"beyond the fold", folding(), {fold * (1 + 1e-12), 0, 1}, kBeyondLens},
      {"beyond the fold, imaged at the centre", folding(), {std::sqrt(2.0), 0, 1}, kBeyondLens},
      {"far beyond the fold", folding(), {1e20, 0, 1}, kBeyondLens},
      {"before the pole", withPole(), {1 - 1e-12, 0, 1}, kOutsideImage},
      {"beyond the pole", withPole(), {1 + 1e-12, 0, 1}, kBeyondLens},
      {"before the tangential fold", decentred(), {-5.0 / 3 + 1e-9, 0, 1}, kOk},
      {"beyond the tangential fold", decentred(), {-5.0 / 3 - 1e-9, 0, 1}, kBeyondLens},
      {"on the side without one", decentred(), {5, 0, 1}, kOutsideImage},
      {"a pixel of 3e38", pinhole(), {3e38 / 512, 0, 1}, kOutsideImage},
      {"a pixel beyond float", pinhole(), {kMaxFloat / 256, 0, 1}, kNotFinite},
      {"1e38", pinhole(), {1e38, 0, 1}, kNotFinite},
      {"1e38 and as deep", pinhole(), {1e38, 5e37, 1e38}, kOk},
      {"1e300", pinhole(), {1e300, 0, 1}, kNotFinite},
      {"1e300, and the lens ends", folding(), {1e300, 0, 1}, kBeyondLens},
      {"1e300 and as deep", pinhole(), {1e300, 1e299, 1e300}, kOk},
      {"NaN x", pinhole(), {kNaN, 0, 1}, kNotFinite},
      {"NaN y", folding(), {0, kNaN, 1}, kNotFinite},
      {"NaN z", pinhole(), {0, 0, kNaN}, kNotFinite},
      {"NaN behind", pinhole(), {kNaN, 0, -1}, kNotFinite},
      {"NaN on the plane", pinhole(), {0, kNaN, 0}, kNotFinite},
      {"infinite x", pinhole(), {kInfinity, 0, 1}, kNotFinite},
      {"infinite x, and the lens ends", folding(), {kInfinity, 0, 1}, kNotFinite},
      {"infinite depth", pinhole(), {0, 0, kInfinity}, kNotFinite},
      {"infinite behind", pinhole(), {0, 0, -kInfinity}, kNotFinite},
      {"all infinite", pinhole(), {kInfinity, kInfinity, kInfinity}, kNotFinite},
  };
  return cases;
}

struct PixelCase {
  const char* what;
  CameraModel camera;
  Eigen::Vector2d pixel;
  PointStatus status;
};

const std::vector<PixelCase>& pixelCases() {
  static const double reach = 512 * std::sqrt(2.0 / 3) * 2 / 3;
  static const std::vector<PixelCase> cases = {
      {"centre", pinhole(), {512, 256}, kOk},
      {"corner", pinhole(), {0, 0}, kOk},
      {"far corner", pinhole(), {1024, 512}, kOk},
      {"left of the image by a bit", pinhole(), {before(0), 256}, kOutsideImage},
      {"above the image by a bit", pinhole(), {0, before(0)}, kOutsideImage},
      {"right of the image by a bit", pinhole(), {after(1024), 0}, kOutsideImage},
      {"below the image by a bit", pinhole(), {1024, after(512)}, kOutsideImage},
      {"within reach", folding(), {512 + reach * (1 - 1e-11), 256}, kOk},
      {"out of reach", folding(), {512 + reach * (1 + 1e-11), 256}, kBeyondLens},
      {"far out of reach", folding(), {1e30, 256}, kBeyondLens},
      {"farther out of reach", folding(), {1e300, 256}, kBeyondLens},
      {"half way to the pole", withPole(), {512 + 512 * 0.5 / 0.75, 256}, kOk},
      {"1e38", pinhole(), {1e38, 0}, kOutsideImage},
      {"a ray of 3e38", pinhole(), {3e38 * 512, 256}, kOutsideImage},
      {"a ray beyond float", pinhole(), {kMaxFloat * 1024, 256}, kNotFinite},
      {"a ray of 1e297", pinhole(), {1e300, 256}, kNotFinite},
      {"NaN u", pinhole(), {kNaN, 0}, kNotFinite},
      {"NaN v", folding(), {0, kNaN}, kNotFinite},
      {"infinite", pinhole(), {kInfinity, 0}, kNotFinite},
      {"infinite, and the lens ends", folding(), {0, -kInfinity}, kNotFinite},
  };
  return cases;
}

template <class Point>
void expectAnswer(const char* what, PointStatus status, const Point& at) {
  EXPECT_EQ(at.allFinite(), hasAnswer(status)) << what;
  EXPECT_EQ(std::isnan(at.x()) && std::isnan(at.y()), !hasAnswer(status)) << what;
}

TEST(PointStatus, OfProjectedPoints) {
  for (const PointCase& c : pointCases()) {
    Eigen::Vector2d pixel(7, 7);
    EXPECT_EQ(projectPoint(c.camera, c.point, &pixel), c.status) << c.what;
    expectAnswer(c.what, c.status, pixel);
  }
}

TEST(PointStatus, OfRectifiedPixels) {
  for (const PixelCase& c : pixelCases()) {
    Eigen::Vector2d ray(7, 7);
    EXPECT_EQ(rectifyPixel(c.camera, c.pixel, &ray), c.status) << c.what;
    expectAnswer(c.what, c.status, ray);
  }
}

/// In batches so small that nothing is prepared for them, and larger.
TEST(PointStatus, InBatches) {
  for (const std::size_t count : {std::size_t{3}, std::size_t{50}}) {
    for (const PointCase& c : pointCases()) {
      std::vector<Eigen::Vector2d> pixels(count);
      std::vector<PointStatus> statuses(count);
      EXPECT_EQ(projectPoints(c.camera, {c.point.data(), 0}, count, {pixels.data()->data(), 2},
                              {statuses.data(), nullptr}),
                c.status == kOk ? 0 : count);
      EXPECT_EQ(statuses, std::vector<PointStatus>(count, c.status)) << c.what;
      for (const auto& pixel : pixels) expectAnswer(c.what, c.status, pixel);
    }
    for (const PixelCase& c : pixelCases()) {
      std::vector<Eigen::Vector2d> rays(count);
      std::vector<PointStatus> statuses(count);
      EXPECT_EQ(rectifyPoints(c.camera, {c.pixel.data(), 0}, count, {rays.data()->data(), 2},
                              {statuses.data(), nullptr}),
                c.status == kOk ? 0 : count);
      EXPECT_EQ(statuses, std::vector<PointStatus>(count, c.status)) << c.what;
      for (const auto& ray : rays) expectAnswer(c.what, c.status, ray);
    }
  }
}

/// One camera for each number of a camera and each value that is none, or too large.
std::vector<CameraModel> camerasThatAreNone() {
  std::vector<CameraModel> cameras;
  for (const double bad : {kNaN, kInfinity, -kInfinity, 1e39, -1e39}) {
    for (double CameraModel::*field : {&CameraModel::fx, &CameraModel::fy, &CameraModel::skew,
                                       &CameraModel::cx, &CameraModel::cy}) {
      CameraModel camera = folding();
      camera.*field = bad;
      cameras.push_back(camera);
    }
    using Lens = LensDistortion<double>;
    for (double Lens::*field :
         {&Lens::k1, &Lens::k2, &Lens::p1, &Lens::p2, &Lens::k3, &Lens::k4, &Lens::k5, &Lens::k6}) {
      CameraModel camera = pinhole();
      camera.lens.*field = bad;
      cameras.push_back(camera);
    }
  }
  for (double CameraModel::*field : {&CameraModel::fx, &CameraModel::fy}) {
    for (const double zero : {0.0, -0.0}) {
      CameraModel camera = folding();
      camera.*field = zero;
      cameras.push_back(camera);
    }
  }
  cameras.emplace_back();
  return cameras;
}

TEST(PointStatus, OfCamerasThatAreNone) {
  for (const CameraModel& camera : camerasThatAreNone()) {
    for (const std::size_t count : {std::size_t{1}, std::size_t{50}}) {
      const Eigen::Vector3d point(0, 0, 1);
      std::vector<Eigen::Vector2d> at(count);
      std::vector<PointStatus> statuses(count);
      const std::vector<PointStatus> expected(count, kNotFinite);
      EXPECT_EQ(projectPoints(camera, {point.data(), 0}, count, {at.data()->data(), 2},
                              {statuses.data(), nullptr}),
                count);
      EXPECT_EQ(statuses, expected);
      for (const auto& pixel : at) expectAnswer("", kNotFinite, pixel);
      const Eigen::Vector2d pixel(512, 256);
      EXPECT_EQ(rectifyPoints(camera, {pixel.data(), 0}, count, {at.data()->data(), 2},
                              {statuses.data(), nullptr}),
                count);
      EXPECT_EQ(statuses, expected);
      for (const auto& ray : at) expectAnswer("", kNotFinite, ray);
    }
    Eigen::Vector2d at;
    EXPECT_EQ(projectPoint(camera, {0, 0, 1}, &at), kNotFinite);
    expectAnswer("", kNotFinite, at);
    EXPECT_EQ(rectifyPixel(camera, {512, 256}, &at), kNotFinite);
    expectAnswer("", kNotFinite, at);
  }
}

TEST(PointStatus, OfImagesOfAnySize) {
  CameraModel camera = pinhole();
  camera.width = camera.height = std::numeric_limits<int>::max();
  Eigen::Vector2d at;
  EXPECT_EQ(projectPoint(camera, {1e6, 1e6, 1}, &at), kOk);
  EXPECT_EQ(rectifyPixel(camera, {2147483647, 2147483647}, &at), kOk);
  EXPECT_EQ(rectifyPixel(camera, {2147483648, 0}, &at), kOutsideImage);
  camera.width = camera.height = 0;
  EXPECT_EQ(projectPoint(camera, {0, 0, 1}, &at), kOutsideImage);
  EXPECT_EQ(at, Eigen::Vector2d(512, 256));
  EXPECT_EQ(rectifyPixel(camera, {1, 0}, &at), kOutsideImage);
  camera.width = camera.height = -3;
  EXPECT_EQ(rectifyPixel(camera, {0, 0}, &at), kOutsideImage);
  EXPECT_EQ(rectifyPixel(camera, {-1, -1}, &at), kOutsideImage);
}

}  // namespace
}  // namespace norv::calibration

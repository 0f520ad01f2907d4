#include "interop/fit/picture_rays.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "interop/fit/radial_samples.h"
#include "tests/interop/fitted_lens.h"

namespace norv::interop {
namespace {

PictureRays raysOf(const PeerCamera& camera,
                   const std::vector<calibration::NormalizedPoint<double>>& points) {
  const auto rays = raysOfPicture(camera, points);
  if (const auto* reason = std::get_if<std::string>(&rays)) {
    ADD_FAILURE() << *reason;
    return {};
  }
  return std::get<PictureRays>(rays);
}

TEST(PictureRays, AreThoseOfAPinholeCameraWithSkew) {
  PeerCamera camera;
  camera.size = {640, 480};
  camera.fx = 500;
  camera.fy = 400;
  camera.skew = 10;
  camera.cx = 320;
  camera.cy = 240;
  camera.lens = calibration::LensDistortion<double>{};
  const PictureRays rays = raysOf(camera, {{320, 240}, {640, 480}});
  ASSERT_EQ(rays.samples.size(), 2U);
  EXPECT_EQ(rays.share, 1);
  EXPECT_NEAR(rays.samples[0].ray.x, 0, 1e-15);
  EXPECT_NEAR(rays.samples[1].ray.y, 0.6, 1e-15);
  EXPECT_NEAR(rays.samples[1].ray.x, (320 - 10 * 0.6) / 500, 1e-15);
}

TEST(PictureRays, LeaveOutWhatLiesBeyondTheLens) {
  // theta - 0.1 theta^3 folds at a radius of 1.217.
  PeerCamera camera = testing::radialCamera({RadialKind::kKannalaBrandt, {-0.1, 0, 0, 0}, {}});
  camera.fx = camera.fy = 600;
  const PictureRays rays = raysOf(camera, {{640, 480}, {1240, 480}, {1280, 960}, {0, 0}});
  EXPECT_EQ(rays.samples.size(), 2U);
  EXPECT_EQ(rays.share, 0.5);
  const double theta = std::atan(rays.samples[1].ray.x);
  EXPECT_NEAR(theta - 0.1 * theta * theta * theta, 1, 1e-13);
  EXPECT_EQ(rays.samples[1].ray.y, 0);
}

TEST(RadialSamples, GoDenselyUpToTheFarthestRay) {
  RadialMap map;
  PeerCamera camera = testing::radialCamera(map);
  camera.fx = 500;
  camera.fy = 600;
  const PictureRays rays = raysOf(camera, {{0, 480}, {640, 2}, {1280, 480}});
  Eigen::Matrix2d to_pixels;
  to_pixels << 500, 0, 0, 600;
  const auto samples = radialSamples(map, rays.samples, to_pixels);
  // In steps of a 400th of 1.28 radians, from the ring of 478 / 600 radians, the 249th, on: that
  // one along y, the others along x.
  ASSERT_EQ(samples.size(), 152U);
  EXPECT_DOUBLE_EQ(std::abs(samples.front().ray.x), std::tan(1.28));
  double before = 1.28 * 401 / 400;
  for (const RaySample& sample : samples) {
    const double theta = std::atan(std::hypot(sample.ray.x, sample.ray.y));
    EXPECT_NEAR(before - theta, 1.28 / 400, 1e-12);
    EXPECT_NEAR(std::hypot(sample.imaged.x, sample.imaged.y), theta, 1e-12);
    EXPECT_EQ(sample.ray.x == 0, theta < 0.797) << theta;
    before = theta;
  }
}

}  // namespace
}  // namespace norv::interop

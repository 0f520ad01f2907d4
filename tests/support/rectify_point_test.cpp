#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "support/camera_projection.h"
#include "testing/lenses.h"

namespace norv::calibration {
namespace {

using testing::kLenses;
using testing::NamedLens;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

/// Everything that `rectifyPoint` takes.
struct Camera {
  std::array<float, 8> distortion{};
  std::array<float, 2> principal_point{320, 240};
  std::array<float, 2> focal_lengths{600, 610};

  Vector2_f rectify(float x, float y) const {
    return rectifyPoint(distortion.data(), principal_point.data(), focal_lengths.data(),
                        Vector2_f(x, y));
  }
  Vector2_f rectify(const Vector2_f& pixel) const { return rectify(pixel.x(), pixel.y()); }

  Vector2_f project(const Vector2_f& ray) const {
    CameraTransform pose;
    pose.setTransform(Matrix4x4_f::Identity(), CameraTransform::kForward);
    Matrix3x3_f k;
    k << focal_lengths[0], 0, principal_point[0],  //
        0, focal_lengths[1], principal_point[1],   //
        0, 0, 1;
    return project3dToCamera(pose, std::vector<float>(distortion.begin(), distortion.end()), k,
                             {ray.x(), ray.y(), 1});
  }
  Vector2_f project(double x, double y) const {
    return project(Vector2_f(static_cast<float>(x), static_cast<float>(y)));
  }
};

bool isQuietNan(float f) {
  // The highest bit of the fraction tells a quiet NaN from a signalling one.
  std::uint32_t bits;
  std::memcpy(&bits, &f, sizeof bits);
  return std::isnan(f) && (bits & 0x00400000U) != 0;
}

bool isNothing(const Vector2_f& p) { return isQuietNan(p.x()) && isQuietNan(p.y()); }

TEST(RectifyPoint, PinholeByHand) {
  const Camera camera;
  EXPECT_EQ(camera.rectify(320 + 150, 240 - 305), Vector2_f(0.25F, -0.5F));
}

TEST(RectifyPoint, LensByHand) {
  // r (1 - s / 2) is 0.4375 at 1/2; with the tangential p1 = 0.25 along y it is r + 0.75 r^2.
  Camera camera;
  camera.focal_lengths = {1024, 512};
  camera.distortion = {-0.5F};
  EXPECT_EQ(camera.rectify(320 + 448, 240), Vector2_f(0.5F, 0));
  EXPECT_EQ(camera.rectify(320, 240 - 224), Vector2_f(0, -0.5F));
  camera.distortion = {0, 0, 0.25F};
  const Vector2_f p = camera.rectify(320, 240 + 512 * 0.6875F);
  EXPECT_EQ(p.y(), 0.5F);
  EXPECT_NEAR(p.x(), 0, 1e-12);
}

TEST(RectifyPoint, CoefficientsAreReadInStorageOrder) {
  // Each alone, checked by projecting back with the formula.
  for (std::size_t i = 0; i < 8; ++i) {
    Camera camera;
    camera.distortion[i] = 0.07F;
    const Vector2_f pixel = camera.project(0.5, 0.25);
    EXPECT_TRUE(camera.rectify(pixel).isApprox(Vector2_f(0.5F, 0.25F), 1e-6F)) << i;
  }
}

TEST(RectifyPoint, PrincipalPointIsTheCentreExactly) {
  for (const NamedLens& lens : kLenses) {
    Camera camera;
    camera.distortion = lens.coefficients;
    camera.principal_point = {317.3F, 243.9F};
    EXPECT_EQ(camera.rectify(317.3F, 243.9F), Vector2_f(0, 0)) << lens;
  }
}

TEST(RectifyPoint, RoundTripOverAGridOfRays) {
  for (const NamedLens& lens : kLenses) {
    Camera camera;
    camera.distortion = lens.coefficients;
    double worst_pixels = 0;
    for (int i = 0; i <= 60; ++i) {
      for (int j = 0; j < 12; ++j) {
        // Short of the fold, where rounding the pixel can put it out of reach.
        const double r = 0.99 * lens.radius * i / 60;
        const Vector2_f pixel = camera.project(r * std::cos(0.55 * j), r * std::sin(0.55 * j));
        const Vector2_f ray = camera.rectify(pixel);
        ASSERT_FALSE(isNothing(ray)) << lens << " " << pixel.transpose();
        const Vector2_f again = camera.project(ray);
        // In units of the float's spacing, since next to the pole pixels lie far out.
        const double unit = std::fmax(1, (pixel - Vector2_f(320, 240)).cast<double>().norm() / 600);
        worst_pixels = std::fmax(worst_pixels, (again - pixel).cast<double>().norm() / unit);
      }
    }
    // The ray rounded to float, magnified by the lens. Measured: 2e-4 pixels, next to the pole.
    EXPECT_LT(worst_pixels, 1e-3) << lens;
  }
}

TEST(RectifyPoint, NegativeFocalLengthMirrors) {
  Camera camera;
  camera.distortion = {-0.2F, 0.05F, 0.01F, -0.02F};
  Camera mirrored = camera;
  mirrored.focal_lengths = {-600, 610};
  EXPECT_EQ(mirrored.rectify(320 - 100, 240 + 80), camera.rectify(320 + 100, 240 + 80));
  mirrored.focal_lengths = {-600, -610};
  EXPECT_EQ(mirrored.rectify(320 - 100, 240 - 80), camera.rectify(320 + 100, 240 + 80));
  const Vector2_f pixel = mirrored.project(0.3, -0.2);
  EXPECT_TRUE(mirrored.rectify(pixel).isApprox(Vector2_f(0.3F, -0.2F), 1e-6F));
}

TEST(RectifyPoint, ZeroFocalLengthHasNoAnswer) {
  for (const std::array<float, 2>& zero :
       {std::array<float, 2>{0, 610}, {600, 0}, {0, 0}, {-0.0F, 610}}) {
    Camera camera;
    camera.focal_lengths = zero;
    EXPECT_TRUE(isNothing(camera.rectify(400, 300)));
    // Neither where 0 / 0 could stand for anything.
    EXPECT_TRUE(isNothing(camera.rectify(320, 240)));
  }
}

TEST(RectifyPoint, EveryInputMustBeFinite) {
  for (const NamedLens& lens : kLenses) {
    for (const Vector2_f& pixel :
         {Vector2_f(320, 240), Vector2_f(400, 240), Vector2_f(320, 200), Vector2_f(350, 260)}) {
      Camera good;
      good.distortion = lens.coefficients;
      ASSERT_FALSE(isNothing(good.rectify(pixel)));
      for (const float bad : {kNaN, kInfinity, -kInfinity}) {
        for (std::size_t i = 0; i < 8; ++i) {
          Camera camera = good;
          camera.distortion[i] = bad;
          EXPECT_TRUE(isNothing(camera.rectify(pixel))) << lens << " coefficient " << i;
        }
        for (std::size_t i = 0; i < 2; ++i) {
          Camera camera = good;
          camera.principal_point[i] = bad;
          EXPECT_TRUE(isNothing(camera.rectify(pixel))) << lens;
          camera = good;
          camera.focal_lengths[i] = bad;
          EXPECT_TRUE(isNothing(camera.rectify(pixel))) << lens;
        }
        EXPECT_TRUE(isNothing(good.rectify(bad, pixel.y()))) << lens;
        EXPECT_TRUE(isNothing(good.rectify(pixel.x(), bad))) << lens;
      }
    }
  }
}

TEST(RectifyPoint, AllInputNotFinite) {
  // What a lens table gives at the end of its range.
  Camera camera;
  camera.distortion = {kNaN, kNaN, kNaN, kNaN, 0, 0.1F, 0.01F, 0};
  camera.principal_point = {kNaN, -kInfinity};
  camera.focal_lengths = {kInfinity, kInfinity};
  EXPECT_TRUE(isNothing(camera.rectify(400, 300)));
}

TEST(RectifyPoint, PixelsBeyondTheReachOfTheLens) {
  // r (1 - s / 2) reaches 2 / 3 of the radius sqrt(2 / 3) at which it folds.
  Camera camera;
  camera.distortion = {-0.5F};
  camera.focal_lengths = {600, 600};
  const double reach = 600 * std::sqrt(2.0 / 3) * 2 / 3;
  int found = 0;
  int nothing = 0;
  for (float y = 0.5F; y < 480; y += 7) {
    for (float x = 0.5F; x < 800; x += 7) {
      const Vector2_f ray = camera.rectify(x, y);
      const auto from_centre = static_cast<double>(std::hypot(x - 320, y - 240));
      if (from_centre < reach) {
        ++found;
        ASSERT_FALSE(isNothing(ray)) << x << " " << y;
        EXPECT_LT(ray.cast<double>().norm(), std::sqrt(2.0 / 3));
      } else {
        ++nothing;
        EXPECT_TRUE(isNothing(ray)) << x << " " << y;
      }
    }
  }
  EXPECT_GT(found, 3000);
  EXPECT_GT(nothing, 1000);
}

TEST(RectifyPoint, ExtremeValues) {
  constexpr float kMaxFloat = std::numeric_limits<float>::max();
  constexpr float kMinFloat = std::numeric_limits<float>::denorm_min();
  Camera camera;
  camera.principal_point = {0, 0};
  camera.focal_lengths = {1, 1};
  EXPECT_EQ(camera.rectify(kMaxFloat, 0), Vector2_f(kMaxFloat, 0));
  EXPECT_EQ(camera.rectify(0, kMinFloat), Vector2_f(0, kMinFloat));
  // The answer is finite, but no float holds it.
  camera.focal_lengths = {0.5F, 0.5F};
  EXPECT_TRUE(isNothing(camera.rectify(kMaxFloat, 0)));
  camera.focal_lengths = {kMinFloat, kMaxFloat};
  EXPECT_TRUE(isNothing(camera.rectify(1, 1)));
  // Coefficients at the ends of the range neither hang nor crash.
  for (const float k : {kMaxFloat, -kMaxFloat, kMinFloat, -kMinFloat}) {
    for (std::size_t i = 0; i < 8; ++i) {
      camera.focal_lengths = {600, 600};
      camera.distortion = {};
      camera.distortion[i] = k;
      const Vector2_f ray = camera.rectify(100, 50);
      if (!isNothing(ray)) {
        EXPECT_TRUE(ray.allFinite());
        EXPECT_LE(ray.norm(), 0.2F);
      }
    }
  }
}

TEST(RectifyPoint, ConvergesWhereFixedPointStepsDoNot) {
  // The wide fisheye lens at 80 degrees off axis: tan 80 = 5.671.
  Camera camera;
  camera.distortion = testing::lensNamed("equidistant").coefficients;
  const Vector2_f pixel = camera.project(5.671 * 0.6, 5.671 * 0.8);
  const Vector2_f ray = camera.rectify(pixel);
  // Rounding the pixel by 3e-5 moves the ray by 2e-6. Measured: 9e-8.
  EXPECT_NEAR(ray.x(), 5.671 * 0.6, 2e-6);
  EXPECT_NEAR(ray.y(), 5.671 * 0.8, 2e-6);
}

TEST(RectifyPoint, KnowsNoSkew) {
  const Camera pinhole;
  Camera barrel;
  barrel.distortion = {-0.28F, 0.07F, 0.0003F, -0.0002F, 0, 0, 0, 0};
  constexpr float kSkew = 5;
  const Vector3_f ray(0.25F, -0.5F, 1);
  for (const Camera& camera : {pinhole, barrel}) {
    Matrix3x3_f k;
    k << camera.focal_lengths[0], kSkew, camera.principal_point[0],  //
        0, camera.focal_lengths[1], camera.principal_point[1],       //
        0, 0, 1;
    CameraTransform pose;
    pose.setTransform(Matrix4x4_f::Identity(), CameraTransform::kForward);
    const Vector2_f pixel = project3dToCamera(
        pose, std::vector<float>(camera.distortion.begin(), camera.distortion.end()), k, ray);
    const float distorted_y = (pixel.y() - camera.principal_point[1]) / camera.focal_lengths[1];
    // The skew taken out by hand. Measured: 3e-8.
    const Vector2_f unskewed = pixel - Vector2_f(kSkew * distorted_y, 0);
    EXPECT_LT((camera.rectify(unskewed) - ray.head<2>()).norm(), 3e-7F);
    EXPECT_GT((camera.rectify(pixel) - ray.head<2>()).norm(), 1e-3F);
  }
  // Without a lens the error is the skew's own: 5 * -0.5 / 600 in x and nothing in y. Measured:
  // 3e-8.
  const Vector2_f rectified = pinhole.rectify(320 + 600 * 0.25F + kSkew * -0.5F, 240 + 610 * -0.5F);
  EXPECT_NEAR(static_cast<double>(rectified.x()), 0.25 - 2.5 / 600, 3e-7);
  EXPECT_NEAR(static_cast<double>(rectified.y()), -0.5, 3e-7);
}

}  // namespace
}  // namespace norv::calibration

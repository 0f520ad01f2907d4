#include "support/camera_projection.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "support/lens_distortion.h"
#include "testing/lenses.h"

namespace norv {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

CameraTransform forward(const Matrix4x4_f& m) {
  CameraTransform pose;
  pose.setTransform(m, CameraTransform::kForward);
  return pose;
}

CameraTransform identity() { return forward(Matrix4x4_f::Identity()); }

Matrix3x3_f cameraMatrix(float fx, float skew, float cx, float fy, float cy) {
  Matrix3x3_f k;
  k << fx, skew, cx,  //
      0, fy, cy,      //
      0, 0, 1;
  return k;
}

const Matrix3x3_f kPlain = cameraMatrix(100, 0, 50, 200, 40);

TEST(Project3dToCamera, PinholeByHand) {
  const Vector2_f pixel = project3dToCamera(identity(), {}, kPlain, {1, 2, 4});
  EXPECT_EQ(pixel, Vector2_f(100 * 0.25F + 50, 200 * 0.5F + 40));
}

TEST(Project3dToCamera, SkewOfTheCameraMatrix) {
  // Column 1 of row 0 multiplies y.
  const Vector2_f pixel =
      project3dToCamera(identity(), {}, cameraMatrix(100, 8, 50, 200, 40), {1, 2, 4});
  EXPECT_EQ(pixel, Vector2_f(100 * 0.25F + 8 * 0.5F + 50, 200 * 0.5F + 40));
}

TEST(Project3dToCamera, BothOffDiagonalElementsCount) {
  Matrix3x3_f k = kPlain;
  k(1, 0) = 16;
  EXPECT_EQ(project3dToCamera(identity(), {}, k, {1, 2, 4}),
            Vector2_f(100 * 0.25F + 50, 16 * 0.25F + 200 * 0.5F + 40));
}

TEST(Project3dToCamera, UsesTheForwardMatrixOfThePose) {
  // A quarter turn about z, then a shift: p' = (1 - y, x + 2, z + 3).
  Matrix4x4_f m;
  m << 0, -1, 0, 1,  //
      1, 0, 0, 2,    //
      0, 0, 1, 3,    //
      0, 0, 0, 1;
  // (5, -7, 1) goes to (8, 7, 4).
  EXPECT_EQ(project3dToCamera(forward(m), {}, kPlain, {5, -7, 1}),
            Vector2_f(100 * 2 + 50, 200 * 1.75F + 40));
}

TEST(Project3dToCamera, DistortionByHand) {
  // At (1, 2), s = 5: N = 1 + 0.625 and D = 1 + 1.25 + 0.5 x 25 / 10 with these coefficients.
  const std::vector<float> distortion = {0.125F, 0, 0.25F, 0.5F, 0, 0.25F, 0, 0};
  const double g = 1.625 / 2.25;
  const double x = g + 2 * 0.25 * 2 + 0.5 * (5 + 2);
  const double y = 2 * g + 0.25 * (5 + 8) + 2 * 0.5 * 2;
  const Vector2_f pixel = project3dToCamera(identity(), distortion, kPlain, {2, 4, 2});
  EXPECT_FLOAT_EQ(pixel.x(), static_cast<float>(100 * x + 50));
  EXPECT_FLOAT_EQ(pixel.y(), static_cast<float>(200 * y + 40));
}

TEST(Project3dToCamera, FewerAndMoreThanEightCoefficients) {
  const std::vector<float> twelve = {0.1F,  0.02F, 0.01F, 0.02F, 0.03F, 0.04F,
                                     0.05F, 0.06F, 7,     7,     7,     7};
  const Vector3_f point(1, 2, 3);
  for (std::size_t count = 0; count <= twelve.size(); ++count) {
    std::vector<float> padded(twelve.begin(), twelve.begin() + static_cast<long>(count));
    const Vector2_f pixel = project3dToCamera(identity(), padded, kPlain, point);
    padded.resize(8);
    EXPECT_EQ(pixel, project3dToCamera(identity(), padded, kPlain, point)) << count;
  }
  // Each of the eight matters.
  for (std::size_t count = 1; count <= 8; ++count) {
    const std::vector<float> with(twelve.begin(), twelve.begin() + static_cast<long>(count));
    const std::vector<float> without(with.begin(), with.end() - 1);
    EXPECT_NE(project3dToCamera(identity(), with, kPlain, point),
              project3dToCamera(identity(), without, kPlain, point))
        << count;
  }
}

TEST(Project3dToCamera, BehindTheCameraIsTheMirrorImage) {
  const std::vector<float> distortion = {-0.2F, 0.1F, 0.01F, 0.02F};
  EXPECT_EQ(project3dToCamera(identity(), distortion, kPlain, {-1, -2, -4}),
            project3dToCamera(identity(), distortion, kPlain, {1, 2, 4}));
}

TEST(Project3dToCamera, DepthZeroIsNotFinite) {
  const Vector2_f side = project3dToCamera(identity(), {}, kPlain, {1, 2, 0});
  EXPECT_FALSE(std::isfinite(side.x()));
  EXPECT_FALSE(std::isfinite(side.y()));
  const Vector2_f centre = project3dToCamera(identity(), {}, kPlain, {0, 0, 0});
  EXPECT_TRUE(std::isnan(centre.x()));
  EXPECT_TRUE(std::isnan(centre.y()));
}

TEST(Project3dToCamera, BadInputShowsInThePixel) {
  for (const float bad : {std::nanf(""), kInfinity}) {
    EXPECT_FALSE(project3dToCamera(identity(), {bad}, kPlain, {1, 2, 4}).allFinite());
    EXPECT_FALSE(project3dToCamera(identity(), {}, kPlain, {bad, 2, 4}).allFinite());
    EXPECT_FALSE(
        project3dToCamera(identity(), {}, cameraMatrix(bad, 0, 0, 1, 0), {1, 2, 4}).allFinite());
  }
}

TEST(Project3dToCamera, ComputedInDoubleAndRoundedOnce) {
  using Wide = Eigen::Matrix<long double, 4, 4>;
  std::mt19937_64 random(30);
  std::uniform_real_distribution<float> coordinate(-1, 1);
  std::uniform_real_distribution<float> depth(1, 5);
  for (const testing::NamedLens& named : testing::kLenses) {
    const std::vector<float> distortion(named.coefficients.begin(), named.coefficients.end());
    const auto lens = calibration::lensFromCoefficients<long double>(distortion.data(), 8);
    for (int i = 0; i < 200; ++i) {
      Matrix4x4_f m = Matrix4x4_f::Identity();
      for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 4; ++column) m(row, column) += 0.1F * coordinate(random);
      }
      const float z = depth(random);
      const Vector3_f point(0.4F * z * coordinate(random), 0.4F * z * coordinate(random), z);
      const Matrix3x3_f k = cameraMatrix(612.3F, 0.7F, 320.1F, 613.9F, 239.7F);
      const Wide wide = m.cast<long double>();
      const Eigen::Matrix<long double, 3, 1> p =
          wide.topLeftCorner<3, 3>() * point.cast<long double>() + wide.topRightCorner<3, 1>();
      const auto d =
          lens.distort(calibration::NormalizedPoint<long double>{p.x() / p.z(), p.y() / p.z()});
      const Vector2_f expected =
          (k.topRows<2>().cast<long double>() * Eigen::Matrix<long double, 3, 1>(d.x, d.y, 1))
              .cast<float>();
      EXPECT_EQ(project3dToCamera(forward(m), distortion, k, point), expected) << named;
    }
  }
}

}  // namespace
}  // namespace norv

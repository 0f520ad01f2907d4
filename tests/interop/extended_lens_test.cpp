#include "interop/extended_lens.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "tests/interop/expected_pixels.h"

namespace norv::interop {
namespace {

using Point = calibration::NormalizedPoint<double>;

const calibration::LensDistortion<double> kLens = {0.3,  -0.1, 0.001, -0.0005,
                                                   0.02, 0.6,  0.05,  0.01};

TEST(ExtendedLens, WithoutExtraTermsIsTheRationalLensToTheBit) {
  const ExtendedLens lens{kLens};
  EXPECT_TRUE(isRational(lens));
  for (const Point p : {Point{0.3, -0.2}, {-0.7, 0.5}, {0, 0}}) {
    EXPECT_EQ(distort(lens, p).x, kLens.distort(p).x);
    EXPECT_EQ(distort(lens, p).y, kLens.distort(p).y);
  }
}

TEST(ExtendedLens, IsNoRationalOneWithAnyExtraTerm) {
  for (double ExtendedLens::*term :
       {&ExtendedLens::s1, &ExtendedLens::s2, &ExtendedLens::s3, &ExtendedLens::s4,
        &ExtendedLens::tau_x, &ExtendedLens::tau_y}) {
    ExtendedLens lens{kLens};
    lens.*term = 1e-6;
    EXPECT_FALSE(isRational(lens));
  }
}

TEST(ExtendedLens, AddsThinPrisms) {
  ExtendedLens lens;
  lens.s1 = 0.5;
  lens.s2 = 0.25;
  lens.s3 = -0.125;
  lens.s4 = 2;
  // s = 0.25.
  const Point q = distort(lens, {0.3, 0.4});
  EXPECT_NEAR(q.x, 0.3 + 0.125 + 0.015625, 1e-16);
  EXPECT_NEAR(q.y, 0.4 - 0.03125 + 0.125, 1e-16);
}

TEST(ExtendedLens, TiltsTheSensorAboutOneAxis) {
  // About x by t: R33 = cos t, R23 = sin t, and (x, y, 1) becomes (x cos t, y (cos^2 t + sin^2 t),
  // cos t - y sin t).
  ExtendedLens lens;
  lens.tau_x = 0.2;
  Point q = distort(lens, {0.3, 0.4});
  double depth = std::cos(0.2) - 0.4 * std::sin(0.2);
  EXPECT_NEAR(q.x, 0.3 * std::cos(0.2) / depth, 1e-15);
  EXPECT_NEAR(q.y, 0.4 / depth, 1e-15);
  // About y by t: R13 = -sin t, and (x, y, 1) becomes (x, y cos t, cos t + x sin t).
  lens.tau_x = 0;
  lens.tau_y = 0.2;
  q = distort(lens, {0.3, 0.4});
  depth = std::cos(0.2) + 0.3 * std::sin(0.2);
  EXPECT_NEAR(q.x, 0.3 / depth, 1e-15);
  EXPECT_NEAR(q.y, 0.4 * std::cos(0.2) / depth, 1e-15);
  EXPECT_NEAR(distort(lens, {0, 0}).x, 0, 1e-17);
}

void expectPixels(const ExtendedLens& lens, const std::string& sample) {
  const testing::ExpectedPixels expected = testing::expectedPixels(sample);
  ASSERT_EQ(expected.points.size(), 12U);
  for (std::size_t i = 0; i < expected.points.size(); ++i) {
    const Eigen::Vector3d& p = expected.points[i];
    const Point q = distort(lens, {p.x() / p.z(), p.y() / p.z()});
    EXPECT_NEAR(1000.25 * q.x + 641, expected.pixels[i].x(), 1e-9) << sample;
    EXPECT_NEAR(1001.5 * q.y + 480.75, expected.pixels[i].y(), 1e-9) << sample;
  }
}

TEST(ExtendedLens, GivesThePixelsOfThePeers) {
  ExtendedLens lens{kLens, 0.0001, 0.0002, 0.0003, 0.0004, 0, 0};
  expectPixels(lens, "opencv12.yml");
  expectPixels(lens, "mrcal_OPENCV12.cameramodel");
  lens.tau_x = 0.01;
  lens.tau_y = 0.02;
  expectPixels(lens, "opencv14.yml");
}

}  // namespace
}  // namespace norv::interop

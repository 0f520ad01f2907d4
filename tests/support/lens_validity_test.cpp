#include "support/lens_validity.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <vector>

#include "calibration_common/camera_parameters.h"
#include "support/point_projection.h"
#include "support/rectification.h"
#include "testing/lenses.h"

namespace norv::calibration {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kFoldOfHalf = std::sqrt(2.0 / 3);  // 1 - 3 s / 2 = 0

const CameraModel kFoldingCamera = {1280, 960, 600, 600, 0, 640, 480, {-0.5}};

LensDistortion<double> defaultLens(const char* camera, int width, int height) {
  const std::vector<float> d =
      CameraParametersSet().getCamera(camera)->getDistortion(width, height);
  return lensFromCoefficients<double>(d.data(), d.size());
}

LensDistortion<double> randomLens(double largest, double tangential, std::mt19937_64* random) {
  std::uniform_real_distribution<double> coefficient(-1, 1);
  std::bernoulli_distribution present(0.7);
  LensDistortion<double> lens;
  for (double* k : {&lens.k1, &lens.k2, &lens.k3, &lens.k4, &lens.k5, &lens.k6}) {
    *k = present(*random) ? largest * coefficient(*random) : 0;
  }
  lens.p1 = tangential * coefficient(*random);
  lens.p2 = tangential * coefficient(*random);
  return lens;
}

/// Denominator and both eigenvalues of the radial map's Jacobian, less 6 hypot(p1, p2) r, each with
/// the sign that decides and in more precision.
struct Signs {
  long double denominator;
  long double across;
  long double along;

  bool allPositive() const { return denominator > 0 && across > 0 && along > 0; }
};

Signs signsAt(const LensDistortion<double>& lens, long double r) {
  const LensDistortion<long double> l{lens.k1, lens.k2, lens.p1, lens.p2,
                                      lens.k3, lens.k4, lens.k5, lens.k6};
  const long double s = r * r;
  const RadialTerms<long double> t = l.radial(s);
  const long double d = t.denominator;
  const long double tangential = 6 * std::hypot(l.p1, l.p2) * r;
  const long double slope =
      d * t.numerator + 2 * s * (t.numerator_slope * d - t.numerator * t.denominator_slope);
  return {d, t.numerator - tangential * d, slope - tangential * d * d};
}

TEST(ValidRadius, ByHand) {
  // Measured: 5.7e-15 below.
  EXPECT_NEAR(validRadius({-0.5}), kFoldOfHalf, 1e-13);
  EXPECT_LE(validRadius({-0.5}), kFoldOfHalf);
  EXPECT_EQ(validRadius({}), kInfinity);
  EXPECT_EQ(validRadius({0.1, 0.2, 0, 0, 0.3, 0, 0, 0}), kInfinity);
  // A pole, before any fold, at r = 0.8088: with a rising numerator and 1 - s / 0.8088^2 below.
  const double pole = 0.8088;
  EXPECT_NEAR(validRadius({0.3, 0.1, 0, 0, 0, -1 / (pole * pole), 0, 0}), pole, 1e-13);
  // 1 - 6 |p1| r: the Jacobian of p1 (2 x y, r^2 + 2 y^2) along -y.
  EXPECT_NEAR(validRadius({0, 0, 0.01, 0, 0, 0, 0, 0}), 1 / 0.06, 1e-11);
  // The same with hypot(0.03, 0.04) and 1 - 1.5 s in the middle: 1 - 1.5 s = 0.3 r.
  EXPECT_NEAR(validRadius({-0.5, 0, 0.03, -0.04, 0, 0, 0, 0}), (std::sqrt(0.09 + 6) - 0.3) / 3,
              1e-13);
}

TEST(ValidRadius, HalfAngleIsItsArcTangent) {
  EXPECT_NEAR(validHalfAngle({-0.5}), std::atan(kFoldOfHalf), 1e-13);
  EXPECT_DOUBLE_EQ(validHalfAngle({}), std::acos(0.0));
  EXPECT_TRUE(std::isnan(validHalfAngle({kNaN})));
}

TEST(ValidRadius, WithoutNumbersNone) {
  EXPECT_TRUE(std::isnan(validRadius({kNaN})));
  EXPECT_TRUE(std::isnan(validRadius({kInfinity})));
  EXPECT_TRUE(std::isnan(validRadius({0, 0, 0, 0, 0, 0, 0, 1e39})));
  // The largest that are numbers.
  const double most = static_cast<double>(std::numeric_limits<float>::max());
  EXPECT_NEAR(validRadius({-most}) / std::sqrt(1 / (3 * most)), 1, 1e-12);
  EXPECT_NEAR(validRadius({0, 0, most, 0, 0, 0, 0, 0}) * 6 * most, 1, 1e-12);
}

TEST(ValidRadius, DefaultCameras) {
  EXPECT_EQ(validRadius(defaultLens("head_camera", 1280, 960)), kInfinity);
  EXPECT_EQ(validRadius(defaultLens("navigation_camera", 1280, 960)), kInfinity);
  // Fitted again behind the sensor's warp, far beyond the image. An independent prototype found
  // 4.538; measured: 4.519.
  EXPECT_NEAR(validRadius(defaultLens("head_camera", 640, 480)), 4.538, 0.01 * 4.538);
}

TEST(ValidRadius, AgainstAFineScan) {
  std::mt19937_64 random(1101);
  int ending = 0;
  for (int trial = 0; trial < 10000; ++trial) {
    const double largest = std::array<double, 3>{0.3, 2, 20}[static_cast<std::size_t>(trial % 3)];
    const double tangential = trial % 2 == 0 ? 0 : 0.01 * largest;
    const LensDistortion<double> lens = randomLens(largest, tangential, &random);
    const double radius = validRadius(lens);
    const double end = std::min(radius, 20.0);
    for (int i = 0; i <= 400; ++i) {
      ASSERT_TRUE(signsAt(lens, static_cast<long double>(end) * i / 400).allPositive())
          << "trial " << trial << ", " << end * i / 400 << " of " << radius;
    }
    if (std::isinf(radius)) continue;
    ++ending;
    // Measured: 9e-13 too small.
    EXPECT_FALSE(signsAt(lens, radius + 1e-9L * std::max(1.0, radius)).allPositive())
        << "trial " << trial << ", " << radius;
  }
  EXPECT_GT(ending, 6000);
}

TEST(ValidRadius, RaysWithinLieOnTheBranch) {
  std::mt19937_64 random(1102);
  std::uniform_real_distribution<double> any_angle(0, 6.3);
  int ending = 0;
  for (int trial = 0; trial < 2000; ++trial) {
    CameraModel camera = kFoldingCamera;
    camera.lens = randomLens(1, trial % 2 == 0 ? 0 : 0.01, &random);
    const double radius = validRadius(camera.lens);
    if (std::isinf(radius)) continue;
    ++ending;
    const double angle = any_angle(random);
    const auto statusAt = [&](double r) {
      Eigen::Vector2d pixel;
      return projectPoint(camera, {r * std::cos(angle), r * std::sin(angle), 1}, &pixel);
    };
    EXPECT_NE(statusAt(radius * (1 - 1e-12)), PointStatus::kBeyondLens) << trial;
    if (trial % 2 == 0) {
      EXPECT_EQ(statusAt(radius * (1 + 1e-9)), PointStatus::kBeyondLens) << trial;
    }
  }
  EXPECT_GT(ending, 1000);
}

/// Each pixel asked by itself.
ImageCoverage countedCoverage(const CameraModel& camera) {
  ImageCoverage result{0, kInfinity};
  for (int j = 0; j < camera.height; ++j) {
    for (int i = 0; i < camera.width; ++i) {
      const Eigen::Vector2d pixel(i + 0.5, j + 0.5);
      Eigen::Vector2d ray;
      if (hasAnswer(rectifyPixel(camera, pixel, &ray))) {
        result.share += 1;
      } else {
        const double distance = std::hypot(pixel.x() - camera.cx, pixel.y() - camera.cy);
        result.nearest_without_ray = std::min(result.nearest_without_ray, distance);
      }
    }
  }
  result.share /= static_cast<double>(camera.width) * camera.height;
  return result;
}

TEST(Coverage, OfAFoldingLens) {
  // A disc of the radius f sqrt(2/3) 2/3 = 326.599 pixels: 0.27271 of the image.
  const ImageCoverage found = coverage(kFoldingCamera);
  const double radius = 600 * kFoldOfHalf * 2 / 3;
  EXPECT_NEAR(found.share, std::acos(-1.0) * radius * radius / (1280 * 960), 1e-4);
  EXPECT_NEAR(found.share, 0.2727, 0.001);
  EXPECT_NEAR(found.nearest_without_ray, 326.6, 0.05);
  EXPECT_GE(found.nearest_without_ray, radius);
}

TEST(Coverage, AllOfTheImageWhereTheBranchHoldsIt) {
  CameraModel camera = kFoldingCamera;
  for (const char* name : {"none", "mild", "stereographic"}) {
    camera.lens = testing::lensNamed(name).lens();
    const ImageCoverage found = coverage(camera);
    EXPECT_EQ(found.share, 1) << name;
    EXPECT_EQ(found.nearest_without_ray, kInfinity) << name;
  }
}

TEST(Coverage, AsPixelByPixel) {
  std::mt19937_64 random(1103);
  std::uniform_real_distribution<double> unit(-1, 1);
  int partial = 0;
  for (int trial = 0; trial < 300; ++trial) {
    CameraModel camera{40,
                       31,
                       25 + 10 * unit(random),
                       -25 + 10 * unit(random),
                       5 * unit(random),
                       20 + 40 * unit(random),
                       15 + 30 * unit(random),
                       randomLens(1, trial % 2 == 0 ? 0 : 0.02, &random)};
    const ImageCoverage found = coverage(camera);
    const ImageCoverage counted = countedCoverage(camera);
    EXPECT_EQ(found.share, counted.share) << trial;
    EXPECT_EQ(found.nearest_without_ray, counted.nearest_without_ray) << trial;
    partial += found.share > 0 && found.share < 1 ? 1 : 0;
  }
  EXPECT_GT(partial, 100);
}

TEST(Coverage, OfNoCamera) {
  const auto isNone = [](const CameraModel& camera) {
    const ImageCoverage found = coverage(camera);
    return std::isnan(found.share) && std::isnan(found.nearest_without_ray);
  };
  const auto with = [](double CameraModel::*number, double value) {
    CameraModel camera = kFoldingCamera;
    camera.*number = value;
    return camera;
  };
  EXPECT_TRUE(isNone({}));
  EXPECT_TRUE(isNone(with(&CameraModel::fx, 0)));
  EXPECT_TRUE(isNone(with(&CameraModel::fy, kNaN)));
  EXPECT_TRUE(isNone(with(&CameraModel::skew, kInfinity)));
  EXPECT_TRUE(isNone(with(&CameraModel::cx, 1e39)));
  CameraModel flat = kFoldingCamera;
  flat.height = -1;
  EXPECT_TRUE(isNone(flat));
  CameraModel blurred = kFoldingCamera;
  blurred.lens.k6 = kNaN;
  EXPECT_TRUE(isNone(blurred));
}

/// A row is asked about in pieces.
TEST(Coverage, OfAVeryWideRow) {
  constexpr int kWidth = 50'000'000;
  const ImageCoverage found = coverage({kWidth, 1, 100, 100, 0, 0.5, 0.5, {-0.5}});
  // The fold is at 100 sqrt(2/3) 2/3 = 54.4 pixels: the centres 0 to 54 of the row have rays.
  EXPECT_EQ(found.share, 55.0 / kWidth);
  EXPECT_EQ(found.nearest_without_ray, 55);
}

TEST(Coverage, OfTheOddestCamerasEnds) {
  constexpr double kMost = 3.4e38;
  for (const double fx : {1e-300, 1e-38, 1.0, kMost}) {
    for (const double k : {-kMost, -1.0, 0.0, kMost}) {
      const ImageCoverage found =
          coverage({7, 5, fx, -fx, kMost, -kMost, kMost, {k, -k, k, -k, k, -k, k, k}});
      EXPECT_GE(found.share, 0);
      EXPECT_LE(found.share, 1);
    }
  }
}

TEST(Maps, NothingIsFilledBeyondTheFold) {
  const RectifiedView view{1280, 960, 300, 300, 640, 480};
  std::vector<float> x(1280 * 960);
  std::vector<float> y(x.size());
  makeRectifyMap(kFoldingCamera, view, x.data(), y.data());
  std::size_t beyond = 0;
  for (std::size_t i = 0; i < x.size(); ++i) {
    const double r = std::hypot((static_cast<double>(i % 1280) + 0.5 - 640) / 300,
                                (static_cast<double>(i / 1280) + 0.5 - 480) / 300);
    const bool is_beyond = r > kFoldOfHalf;
    beyond += is_beyond ? 1 : 0;
    ASSERT_EQ(std::isnan(x[i]), is_beyond) << r;
    ASSERT_EQ(std::isnan(y[i]), is_beyond) << r;
  }
  // A disc of the radius 300 sqrt(2/3) is within.
  EXPECT_NEAR(static_cast<double>(beyond) / static_cast<double>(x.size()),
              1 - std::acos(-1.0) * 60000 / (1280 * 960), 1e-3);
}

}  // namespace
}  // namespace norv::calibration

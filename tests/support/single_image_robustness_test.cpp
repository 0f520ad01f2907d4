// What the fit does with few points, with views that have no fit, and with hostile numbers.

#include <gtest/gtest.h>

#include <Eigen/LU>
#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "support/fit/lens_families.h"
#include "support/single_image_calibration.h"
#include "testing/random_view.h"
#include "testing/single_image_view.h"

namespace norv::calibration {
namespace {

using testing::fit;
using testing::fittedValues;
using testing::goodView;
using testing::gridPoints;
using testing::ImageSize;
using testing::makePinhole;
using testing::parametersOf;
using testing::seeTilted;
using testing::SyntheticCamera;
using testing::valuesOf;

using Dual20 = autodiff::AutoDiff1<double, 20>;
using Fit = testing::SingleImageFit;
using Projection = testing::DualProjection;
using View = testing::SingleImageView;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

std::string bytesOf(const Projection& projection) {
  return {reinterpret_cast<const char*>(&projection), sizeof(projection)};
}

/// Runs the fit on a projection full of marks and expects it back bit by bit.
void expectNoFit(const View& view) {
  Projection projection;
  double mark = 1;
  const auto setMarks = [&](Dual20& parameter) {
    parameter.value = mark++;
    parameter.derivatives.fill(-mark);
  };
  for (Dual20* p : {&projection.fx, &projection.fy, &projection.cx, &projection.cy, &projection.k1,
                    &projection.k2, &projection.k3, &projection.k4, &projection.k5, &projection.k6,
                    &projection.p1, &projection.p2}) {
    setMarks(*p);
  }
  for (Dual20& element : projection.rotation) setMarks(element);
  for (Dual20& element : projection.translation) setMarks(element);
  const Projection before = projection;
  EXPECT_EQ(calibrateFromSingleImage(view.observed, view.reference, view.size, view.scale, {7, 5},
                                     &projection),
            kInfinity);
  EXPECT_EQ(bytesOf(projection), bytesOf(before));
}

// The number of points decides what is fitted.

// clang-format off
/// Points any first four of which spread; the first and the last are corners of their outline.
const std::vector<Vector2_f> kScattered = {{0, 0}, {9, 0}, {9, 6}, {0, 6}, {4, 3}, {2, 5}, {7, 1},
                                           {2, 1}, {7, 5}, {0, 3}, {9, 3}, {4, 0}, {9, 6}};
// clang-format on

/// A view of the first `count` of them by a camera with some distortion, with noise of 0.1 pixels.
View viewOf(std::size_t count) {
  SyntheticCamera camera = makePinhole(900, 900, 650, 470);
  camera.k1 = -0.2;
  View view = seeTilted(kScattered, 30, ImageSize(), &camera);
  std::mt19937_64 random(5);
  std::normal_distribution<float> noise(0, 0.1F);
  for (Vector2_f& pixel : view.observed) pixel += Vector2_f(noise(random), noise(random));
  view.observed.resize(count);
  view.reference.resize(count);
  return view;
}

/// Whether the radial coefficients are those of a lens family, from k3 on or from k1 on.
bool isOfALensFamily(const Projection& p, std::size_t first) {
  const std::array<double, 24> values = parametersOf(valuesOf(p));
  const auto skip = static_cast<std::ptrdiff_t>(first);
  return std::any_of(internal::fit::kLensFamilies.begin(), internal::fit::kLensFamilies.end(),
                     [&](const internal::fit::LensFamily& family) {
                       return std::equal(family.k.begin() + skip, family.k.end(),
                                         values.begin() + 4 + skip);
                     });
}

TEST(SingleImageRobustness, FourAndFivePointsGiveFocalLengthAndPose) {
  for (const std::size_t count : {std::size_t{4}, std::size_t{5}}) {
    const Fit result = fit(viewOf(count));
    const Projection& p = result.projection;
    EXPECT_LT(result.error_per_point, 2) << count;  // measured 0.64
    EXPECT_EQ(p.fx, p.fy);
    EXPECT_EQ(p.cx, 640);
    EXPECT_EQ(p.cy, 480);
    EXPECT_TRUE(isOfALensFamily(p, 0));
    EXPECT_EQ(p.p1, 0);
  }
}

TEST(SingleImageRobustness, SixToElevenPointsGiveThePrincipalPointAndAMildLensToo) {
  for (const std::size_t count : {std::size_t{6}, std::size_t{11}}) {
    const Fit result = fit(viewOf(count));
    const Projection& p = result.projection;
    EXPECT_LT(result.error_per_point, 0.3) << count;  // measured 0.09
    EXPECT_DOUBLE_EQ(p.fx.value, p.fy.value);
    EXPECT_NE(p.cx, 640);
    EXPECT_NE(p.cy, 480);
    EXPECT_FALSE(isOfALensFamily(p, 0));
    EXPECT_TRUE(isOfALensFamily(p, 2));
    EXPECT_EQ(p.p1, 0);
  }
}

TEST(SingleImageRobustness, TwelvePointsGiveTheWholeCamera) {
  const Projection p = fit(viewOf(12)).projection;
  EXPECT_NE(p.fx.value, p.fy.value);
  EXPECT_FALSE(isOfALensFamily(p, 2));
  EXPECT_NE(p.p1, 0);
  EXPECT_NE(p.p2, 0);
}

TEST(SingleImageRobustness, PointsThatCoincideOnTheTargetCountOnce) {
  View view = viewOf(11);
  for (int i = 0; i < 20; ++i) {
    view.observed.push_back(view.observed[3] + Vector2_f(0.1F, 0));
    view.reference.push_back(view.reference[3]);
  }
  const Projection p = fit(view).projection;
  EXPECT_DOUBLE_EQ(p.fx.value, p.fy.value);
  EXPECT_EQ(p.p1, 0);
}

// Views without a fit.

TEST(SingleImageRobustness, NoPointsNoFit) {
  View view;
  expectNoFit(view);
  view = goodView();
  view.observed.clear();
  expectNoFit(view);
  view = goodView();
  view.reference.clear();
  expectNoFit(view);
}

TEST(SingleImageRobustness, FewerThanFourPointsNoFit) {
  for (const std::size_t count : {std::size_t{1}, std::size_t{2}, std::size_t{3}}) {
    expectNoFit(viewOf(count));
  }
  View view = viewOf(3);
  for (int i = 0; i < 50; ++i) {
    view.observed.emplace_back(100.0F + static_cast<float>(i * i), static_cast<float>(i));
    view.reference.push_back(view.reference[static_cast<std::size_t>(i) % 3]);
  }
  expectNoFit(view);
}

TEST(SingleImageRobustness, FewerThanFourUsablePointsNoFit) {
  View view = viewOf(4);
  view.observed[2].y() = kNaN;
  expectNoFit(view);
  view = viewOf(4);
  view.reference[1].x() = -kInfinity;
  expectNoFit(view);
  view = viewOf(4);
  view.observed[0].x() = -1e6F;
  expectNoFit(view);
}

TEST(SingleImageRobustness, CoincidentPointsNoFit) {
  View view = goodView();
  std::fill(view.observed.begin(), view.observed.end(), Vector2_f(300, 400));
  expectNoFit(view);
  view.size = {0, 0};
  expectNoFit(view);
  view = goodView();
  std::fill(view.reference.begin(), view.reference.end(), Vector2_f(3, 4));
  expectNoFit(view);
}

TEST(SingleImageRobustness, CollinearPointsNoFit) {
  View view = goodView();
  for (Vector2_f& pixel : view.observed) pixel.y() = 0.5F * pixel.x() + 100;
  expectNoFit(view);
  view = goodView();
  for (Vector2_f& point : view.reference) point.y() = -point.x();
  expectNoFit(view);
}

TEST(SingleImageRobustness, NearlyCollinearPointsNoFit) {
  // Deviations of 6 x 4 squares across and along are in the ratio of sqrt(2).
  const double ratio = std::sqrt(2.0);
  View view = goodView();
  const auto squeeze = [&](double spread) {
    View squeezed = view;
    for (Vector2_f& point : squeezed.reference) {
      point.y() *= static_cast<float>(spread * ratio);
    }
    return squeezed;
  };
  expectNoFit(squeeze(0.99e-3));
  EXPECT_FALSE(std::isnan(fit(squeeze(1.01e-3)).error_per_point));
}

TEST(SingleImageRobustness, ViewThatNoCameraHasNoFit) {
  // A square seen as a bow tie: any homography takes part of it behind the camera.
  View view;
  view.reference = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
  view.observed = {{300, 300}, {700, 600}, {700, 300}, {300, 600}};
  expectNoFit(view);
}

// Hostile numbers.

TEST(SingleImageRobustness, ScaleThatCarriesThePoseBeyondDoubleGivesNoFit) {
  View view = goodView();
  view.scale = 1e308;
  expectNoFit(view);
}

TEST(SingleImageRobustness, HugeAndTinyReferenceCoordinates) {
  const std::array<double, 24> expected = fittedValues(goodView());
  for (const float unit : {1e30F, 5e37F, 1e-30F, 1e-44F}) {
    View view = goodView();
    for (Vector2_f& point : view.reference) point *= unit;
    const Fit result = fit(view);
    EXPECT_TRUE(std::isfinite(result.error_per_point)) << unit;
    const std::array<double, 24> values = parametersOf(valuesOf(result.projection));
    if (unit == 1e-44F) continue;  // denormal: the grid is no longer one
    for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(values[i], expected[i], 1e-2) << unit;
    for (std::size_t i = 21; i < 24; ++i) {
      EXPECT_NEAR(values[i] / static_cast<double>(unit), expected[i], 1e-4) << unit;
    }
  }
}

TEST(SingleImageRobustness, OnePointFarOffTheOthersLeavesThemCoincident) {
  View view = goodView();
  view.reference[4] = {1e30F, -1e30F};
  expectNoFit(view);
}

TEST(SingleImageRobustness, ImageOfLessThanAPixel) {
  for (const float unit : {1e-3F, 1e-30F, 1e-44F}) {
    View view = goodView();
    for (Vector2_f& pixel : view.observed) pixel *= unit;
    for (const Eigen::Vector2i& size : {Eigen::Vector2i(1280, 960), Eigen::Vector2i(0, 0)}) {
      view.size = size;
      EXPECT_FALSE(std::isnan(fit(view).error_per_point)) << unit;
    }
  }
}

TEST(SingleImageRobustness, MillionPoints) {
  View view;
  view.observed.assign(1000000, Vector2_f(5, 6));
  for (int i = 0; i < 1000000; ++i) {
    view.reference.emplace_back(static_cast<float>(i % 1000), static_cast<float>(i / 1000));
  }
  expectNoFit(view);
  for (int i = 0; i < 1000000; ++i) {
    view.observed[static_cast<std::size_t>(i)].x() = static_cast<float>(i % 1000);
  }
  expectNoFit(view);
}

TEST(SingleImageRobustness, ThousandsOfPoints) {
  SyntheticCamera camera = makePinhole(900, 904, 650, 470);
  camera.k1 = -0.25;
  camera.k2 = 0.08;
  const Fit result = fit(seeTilted(gridPoints(80, 60), 30, ImageSize(), &camera));
  EXPECT_LT(result.error_per_point, 5e-5);            // measured 2.3e-5
  EXPECT_NEAR(result.projection.fx.value, 900, 0.1);  // measured 4e-4
}

/// Random lists of points, with special values among them: with and without a common homography,
/// over many orders of magnitude, on and off a grid.
class HostileViews {
 public:
  explicit HostileViews(std::uint64_t seed) : random_(seed) {}

  View next() {
    View view;
    const int count = random_.index(40);
    const bool related = random_.index(2) == 0;
    const bool on_grid = random_.index(2) == 0;
    const bool special = random_.index(2) == 0;
    const double pixels = std::pow(10, random_.uniform(-3, 5));
    const double unit = std::pow(10, random_.uniform(-40, 37));
    const double a = random_.uniform(-1, 1);
    const double b = random_.uniform(-1, 1);
    for (int i = 0; i < count; ++i) {
      Eigen::Array2d point(random_.uniform(-1, 1), random_.uniform(-1, 1));
      if (on_grid) point = (3 * point).round() / 3;
      Eigen::Array2d pixel(random_.uniform(-1, 1), random_.uniform(-1, 1));
      if (related)
        pixel = (point + a * point.reverse()) / (1 + 0.5 * (a * point.x() + b * point.y()));
      view.reference.push_back((unit * point).matrix().cast<float>());
      view.observed.push_back((pixels * pixel + 300).matrix().cast<float>());
      if (special && random_.index(6) == 0) {
        (random_.index(2) == 0 ? view.reference : view.observed).back()[random_.index(2)] =
            kSpecial[static_cast<std::size_t>(random_.index(static_cast<int>(kSpecial.size())))];
      }
    }
    if (random_.index(3) == 0) view.size = {random_.index(3) - 1, INT_MAX};
    return view;
  }

 private:
  static constexpr std::array<float, 12> kSpecial = {
      0, -0.0F, 1e-45F, -1e-45F, 1e-38F, 1e30F, 3e38F, -3e38F, kInfinity, -kInfinity, kNaN, 999999};

  testing::Random random_;
};

TEST(SingleImageRobustness, AnyInputGivesAFitOrNone) {
  HostileViews views(17);
  int fits = 0;
  for (int i = 0; i < 600; ++i) {
    const View view = views.next();
    const Fit result = fit(view);
    if (std::isinf(result.error_per_point)) {
      EXPECT_EQ(parametersOf(valuesOf(result.projection)), parametersOf(valuesOf(Projection())));
      continue;
    }
    ++fits;
    ASSERT_GE(result.error_per_point, 0);
    const std::array<double, 24> values = parametersOf(valuesOf(result.projection));
    for (const double value : values) ASSERT_TRUE(std::isfinite(value));
    const Eigen::Map<const Eigen::Matrix<double, 3, 3, Eigen::RowMajor>> rotation(&values[12]);
    EXPECT_LT((rotation * rotation.transpose() - Eigen::Matrix3d::Identity()).norm(), 1e-13);
    EXPECT_GT(rotation.determinant(), 0);
    EXPECT_GT(result.projection.fx.value, 0);
    EXPECT_GT(result.projection.fy.value, 0);
  }
  EXPECT_GT(fits, 50);
}

}  // namespace
}  // namespace norv::calibration

#include "support/single_image_calibration.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include "testing/lens_comparison.h"
#include "testing/random_view.h"
#include "testing/single_image_view.h"

namespace norv::calibration {
namespace {

using testing::fit;
using testing::fittedValues;
using testing::goodView;
using testing::gridPoints;
using testing::ImageSize;
using testing::kDegree;
using testing::makePinhole;
using testing::parametersOf;
using testing::see;
using testing::seeTilted;
using testing::setRadial;
using testing::SyntheticCamera;
using testing::valuesOf;

using Dual20 = autodiff::AutoDiff1<double, 20>;
using Fit = testing::SingleImageFit;
using Projection = testing::DualProjection;
using View = testing::SingleImageView;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

constexpr std::array<double, 6> kStereographic = {0.800174, 0.117548, 0.001619,
                                                  1.050108, 0.255504, 0.011237};

/// The error per point by the projection itself, with points in units of `scale` metres.
double errorOf(const Projection& projection, const View& view) {
  const SyntheticCamera camera = valuesOf(projection);
  double sum = 0;
  for (std::size_t i = 0; i < view.observed.size(); ++i) {
    const Eigen::Vector2d point = view.scale * view.reference[i].cast<double>();
    const std::array<double, 2> pixel = camera.project({point.x(), point.y(), 0});
    sum += (Eigen::Vector2d(pixel[0], pixel[1]) - view.observed[i].cast<double>()).squaredNorm();
  }
  return std::sqrt(sum / static_cast<double>(view.observed.size()));
}

// Exact views. Single precision leaves their points some 2e-5 pixels off, and so their fits.

/// The intrinsics but for the radial coefficients, fx, fy, cx, cy, p1 and p2.
void expectCamera(const Projection& p, const std::array<double, 6>& expected, double pixels,
                  double tangential) {
  EXPECT_NEAR(p.fx.value, expected[0], pixels);
  EXPECT_NEAR(p.fy.value, expected[1], pixels);
  EXPECT_NEAR(p.cx.value, expected[2], pixels);
  EXPECT_NEAR(p.cy.value, expected[3], pixels);
  EXPECT_NEAR(p.p1.value, expected[4], tangential);
  EXPECT_NEAR(p.p2.value, expected[5], tangential);
}

void expectRadial(const Projection& p, const std::array<double, 6>& expected, double tolerance) {
  const std::array<double, 24> values = parametersOf(valuesOf(p));
  for (std::size_t i = 0; i < 6; ++i) {
    EXPECT_NEAR(values[4 + i], expected[i], tolerance) << "k" << i + 1;
  }
}

void expectPose(const Projection& p, const SyntheticCamera& camera, double scale,
                double tolerance) {
  for (std::size_t i = 0; i < 9; ++i) {
    EXPECT_NEAR(p.rotation[i].value, camera.rotation[i], tolerance);
  }
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(p.translation[i].value, scale * camera.translation[i],
                scale * camera.translation[2] * tolerance);
  }
}

TEST(SingleImageCalibration, CentredPinhole) {
  SyntheticCamera camera = makePinhole(1000, 1000, 640, 480);
  const Fit result = fit(seeTilted(gridPoints(7, 5), 20, ImageSize(), &camera));
  EXPECT_LT(result.error_per_point, 4e-5);                                    // measured 1.9e-5
  expectCamera(result.projection, {1000, 1000, 640, 480, 0, 0}, 2e-3, 1e-6);  // 8e-5, 8e-9
  expectRadial(result.projection, {0, 0, 0, 0, 0, 0}, 1e-4);                  // 5e-7
  expectPose(result.projection, camera, 1, 1e-6);                             // 1e-7
}

TEST(SingleImageCalibration, CentredPinholeFromNinePoints) {
  SyntheticCamera camera = makePinhole(1000, 1000, 640, 480);
  const Fit result = fit(seeTilted(gridPoints(3, 3), 40, ImageSize(), &camera));
  EXPECT_LT(result.error_per_point, 3e-5);                                 // measured 1.0e-5
  expectCamera(result.projection, {1000, 1000, 640, 480, 0, 0}, 2e-3, 0);  // 6e-5
  expectRadial(result.projection, {0, 0, 0, 0, 0, 0}, 1e-4);               // 4e-7
}

TEST(SingleImageCalibration, OffCentrePinholeIsTheMostProbableOfThoseThatFit) {
  // Without distortion a whole family of cameras explains the view exactly, and the prior on the
  // principal point takes this one. A principal point 14 pixels off costs 2 per cent of the focal
  // length.
  SyntheticCamera camera = makePinhole(1000, 1000, 650, 470);
  const Fit result = fit(seeTilted(gridPoints(10, 7), 30, ImageSize(), &camera));
  EXPECT_LT(result.error_per_point, 4e-5);  // measured 2.1e-5
  expectCamera(result.projection, {1023.523, 1023.720, 642.922, 481.686, 0, 0}, 5e-3,
               1e-6);                                         // 3e-4, 2e-8
  expectRadial(result.projection, {0, 0, 0, 0, 0, 0}, 1e-4);  // 1e-5
}

TEST(SingleImageCalibration, WeakDistortionHelpsLittle) {
  SyntheticCamera camera = makePinhole(900, 900, 650, 470);
  camera.k1 = -0.1;
  const Fit result = fit(seeTilted(gridPoints(10, 7), 30, ImageSize(), &camera));
  EXPECT_LT(result.error_per_point, 5e-5);  // measured 3.0e-5
  expectCamera(result.projection, {906.839, 906.837, 648.020, 473.434, -0.000384, 0.000222}, 0.05,
               1e-5);  // 0.022, 2e-6
  expectRadial(result.projection, {-0.10053, -0.00008, 0.00027, 0.001, 0, 0.00032}, 3e-4);  // 7e-5
}

TEST(SingleImageCalibration, DistortionDeterminesTheWholeCamera) {
  SyntheticCamera camera = makePinhole(900, 904, 650, 470);
  camera.k1 = -0.25;
  camera.k2 = 0.08;
  camera.p1 = 0.001;
  camera.p2 = -0.0005;
  const Fit result = fit(seeTilted(gridPoints(10, 7), 30, ImageSize(), &camera));
  EXPECT_LT(result.error_per_point, 6e-5);  // measured 3.6e-5
  expectCamera(result.projection, {900, 904, 650, 470, 0.001, -0.0005}, 0.01, 1e-6);  // 3e-3, 5e-7
  expectPose(result.projection, camera, 1, 1e-5);                                     // 4e-6
  // Numerator and denominator may share a factor, so the maps are compared and not the
  // coefficients.
  EXPECT_LT(mapDistance(camera, valuesOf(result.projection), ImageSize()),
            0.02);  // measured 4.1e-3
}

TEST(SingleImageCalibration, StereographicLens) {
  SyntheticCamera camera = makePinhole(720, 720, 648, 474);
  setRadial(kStereographic, &camera);
  const Fit result = fit(seeTilted(gridPoints(13, 10), 25, ImageSize(), &camera));
  EXPECT_LT(result.error_per_point, 4e-5);                                  // measured 2.1e-5
  expectCamera(result.projection, {720, 720, 648, 474, 0, 0}, 1e-3, 1e-6);  // 5e-5, 1e-8
  expectRadial(result.projection, kStereographic, 1e-3);                    // 2e-4
  expectPose(result.projection, camera, 1, 1e-6);                           // 7e-8
  EXPECT_LT(mapDistance(camera, valuesOf(result.projection), ImageSize()), 1e-2);  // 1.5e-5
}

TEST(SingleImageCalibration, SmallImage) {
  SyntheticCamera camera = makePinhole(500, 500, 322, 239);
  const Fit result = fit(seeTilted(gridPoints(8, 6), 25, {640, 480}, &camera));
  EXPECT_LT(result.error_per_point, 2e-5);  // measured 1.1e-5
  expectCamera(result.projection, {504.139, 504.217, 320.942, 240.543, 0, 0}, 5e-3, 1e-6);  // 1e-3
  expectRadial(result.projection, {0, 0, 0, 0, 0, 0}, 1e-4);                                // 1e-6
}

TEST(SingleImageCalibration, FrontalViewLeavesTheFocalLengthToThePrior) {
  // 1.25 times half the width, whatever the camera's is; the depth makes up for it.
  SyntheticCamera camera = makePinhole(1000, 1000, 640, 480);
  const Fit result = fit(seeTilted(gridPoints(7, 5), 0, ImageSize(), &camera));
  EXPECT_LT(result.error_per_point, 4e-5);                                  // measured 1.3e-11
  expectCamera(result.projection, {800, 800, 640, 480, 0, 0}, 1e-2, 1e-6);  // 1e-5
  EXPECT_NEAR(result.projection.translation[2].value, 0.8 * camera.translation[2], 1e-4);
}

TEST(SingleImageCalibration, NearlyFrontalViewsKeepToUsualFocalLengths) {
  // At two degrees of tilt the noise says more about the focal length than the view. Without the
  // prior only every second of these would be within 30 per cent of the usual 800 pixels.
  std::mt19937_64 random(12);
  std::normal_distribution<float> noise(0, 0.5F);
  int usual = 0;
  for (int i = 0; i < 20; ++i) {
    SyntheticCamera camera = makePinhole(1000, 1000, 640, 480);
    View view = seeTilted(gridPoints(7, 5), 2, ImageSize(), &camera);
    for (Vector2_f& pixel : view.observed) pixel += Vector2_f(noise(random), noise(random));
    if (std::abs(fit(view).projection.fx.value - 800) < 240) ++usual;
  }
  EXPECT_GE(usual, 18);  // measured 19
}

// The head camera: a stereographic lens before a sensor that warps its picture.

/// Its 13 x 10 board of 5 cm squares as a calibration file has it, pixels to three decimals.
View headCameraView(SyntheticCamera* camera) {
  *camera = makePinhole(720, 720, 640, 480);
  setRadial(kStereographic, camera);
  View view =
      see(gridPoints(13, 10), testing::boardRotation(30 * kDegree, 60 * kDegree, 4 * kDegree),
          {-0.1, 0, 1}, ImageSize(), 0.97, camera);
  for (Vector2_f& pixel : view.observed) {
    pixel = ((1000 * pixel.cast<double>()).array().round() / 1000).matrix().cast<float>();
  }
  view.scale = 0.05;
  return view;
}

TEST(SingleImageCalibration, HeadCameraWithoutItsWarp) {
  SyntheticCamera camera;
  const View view = headCameraView(&camera);
  EXPECT_EQ(view.observed.front(), Vector2_f(220.644F, 135.404F));
  EXPECT_EQ(view.observed.back(), Vector2_f(1049.682F, 931.740F));
  const Fit result = fit(view);
  // Rounding to three decimals alone leaves sqrt(2 / 12) / 1000 = 4.1e-4 pixels.
  EXPECT_LT(result.error_per_point, 4.5e-4);                                // measured 3.98e-4
  expectCamera(result.projection, {720, 720, 640, 480, 0, 0}, 0.02, 1e-5);  // 3e-3, 2e-7
  expectRadial(result.projection, kStereographic, 2e-3);                    // 3e-4
  expectPose(result.projection, camera, view.scale, 2e-5);                  // 2e-6
  EXPECT_LT(mapDistance(camera, valuesOf(result.projection), ImageSize()), 0.02);  // 1.1e-3
}

TEST(SingleImageCalibration, HeadCameraBehindItsWarp) {
  SyntheticCamera camera;
  View view = headCameraView(&camera);
  for (Vector2_f& pixel : view.observed) {
    pixel = testing::headCameraWarp().transformPoint(pixel);
  }
  const Fit result = fit(view);
  EXPECT_LT(result.error_per_point, 6e-4);  // measured 4.7e-4
  // A warped image of focal length 0.9 * 720 pixels at the full frame's scale.
  expectCamera(result.projection, {648, 648, 640, 480, 0, 0}, 0.05, 1e-5);  // 0.013, 1.3e-7
  expectRadial(result.projection, {0, 0, 0, 0, 0, 0}, 1e-3);                // 3e-4
  expectPose(result.projection, camera, view.scale, 5e-5);                  // 6e-6
}

// The result's form.

TEST(SingleImageCalibration, ErrorIsTheRootMeanSquareDistance) {
  View view = goodView();
  view.scale = 0.03;
  std::mt19937_64 random(3);
  std::normal_distribution<float> noise(0, 0.5F);
  for (Vector2_f& pixel : view.observed) pixel += Vector2_f(noise(random), noise(random));
  const Fit result = fit(view);
  EXPECT_GT(result.error_per_point, 0.3);
  EXPECT_LT(result.error_per_point, 1);
  EXPECT_NEAR(result.error_per_point, errorOf(result.projection, view), 1e-10);  // measured 2e-14
}

TEST(SingleImageCalibration, DerivativePartsAreZero) {
  const Projection projection = fit(goodView()).projection;
  for (const Dual20& parameter : parametersOf(projection)) {
    EXPECT_EQ(parameter.derivatives, Dual20::Derivatives{});
  }
}

TEST(SingleImageCalibration, FormerContentsOfTheProjectionAreNotUsed) {
  const View view = goodView();
  const Fit expected = fit(view);
  Projection projection;
  projection.fx = Dual20::variable(-7, 3);
  projection.k6 = kNaN;
  projection.rotation.fill(Dual20::variable(2, 5));
  projection.translation.fill(kInfinity);
  EXPECT_EQ(calibrateFromSingleImage(view.observed, view.reference, view.size, view.scale, {7, 5},
                                     &projection),
            expected.error_per_point);
  EXPECT_EQ(parametersOf(valuesOf(projection)), parametersOf(valuesOf(expected.projection)));
  for (const Dual20& parameter : parametersOf(projection)) {
    EXPECT_EQ(parameter.derivatives, Dual20::Derivatives{});
  }
}

TEST(SingleImageCalibration, RepeatedCallsGiveTheSameBits) {
  const View view = goodView();
  EXPECT_EQ(fittedValues(view), fittedValues(view));
}

// Arguments.

TEST(SingleImageCalibration, ScaleIsTheUnitOfTheTranslationAndOfNothingElse) {
  View view = goodView();
  const std::array<double, 24> in_squares = fittedValues(view);
  view.scale = 0.25;
  const Fit result = fit(view);
  const std::array<double, 24> in_metres = parametersOf(valuesOf(result.projection));
  for (std::size_t i = 0; i < 21; ++i) EXPECT_EQ(in_metres[i], in_squares[i]);
  for (std::size_t i = 21; i < 24; ++i) EXPECT_EQ(in_metres[i], 0.25 * in_squares[i]);
  EXPECT_NEAR(errorOf(result.projection, view), result.error_per_point, 1e-9);
}

TEST(SingleImageCalibration, ScaleThatIsNoLengthReadsAsOne) {
  View view = goodView();
  const std::array<double, 24> expected = fittedValues(view);
  for (const double scale : {0.0, -0.0, -2.0, std::nan(""), HUGE_VAL, -HUGE_VAL}) {
    view.scale = scale;
    EXPECT_EQ(fittedValues(view), expected) << scale;
  }
}

TEST(SingleImageCalibration, SizePairIsNotUsed) {
  const View view = goodView();
  const Fit expected = fit(view);
  for (const Eigen::Vector2i& pair :
       {Eigen::Vector2i(0, 0), Eigen::Vector2i(-3, 100), Eigen::Vector2i(INT_MIN, INT_MAX)}) {
    Projection projection;
    EXPECT_EQ(calibrateFromSingleImage(view.observed, view.reference, view.size, view.scale, pair,
                                       &projection),
              expected.error_per_point);
    EXPECT_EQ(parametersOf(valuesOf(projection)), parametersOf(valuesOf(expected.projection)));
  }
}

TEST(SingleImageCalibration, UnitAndOriginOfTheReferenceDoNotMatter) {
  View view = goodView();
  const std::array<double, 24> expected = fittedValues(view);
  for (Vector2_f& point : view.reference) point = 1000 * point + Vector2_f(-3000, 5000);
  view.scale = 1e-3;
  const Fit result = fit(view);
  const std::array<double, 24> values = parametersOf(valuesOf(result.projection));
  for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(values[i], expected[i], 1e-3);  // measured 5e-13
  for (std::size_t i = 12; i < 21; ++i) EXPECT_NEAR(values[i], expected[i], 1e-6);
  EXPECT_NEAR(errorOf(result.projection, view), result.error_per_point, 1e-8);
}

TEST(SingleImageCalibration, UnknownImageSizeIsThatOfThePointsBoundingBox) {
  // Of a frontal view, whose focal length and principal point are those believed in beforehand.
  SyntheticCamera camera = makePinhole(1000, 1000, 650, 490);
  View view = see(gridPoints(7, 5), Eigen::Matrix3d::Identity(), {-0.01, -0.01, 1}, ImageSize(),
                  0.9, &camera);
  view.size = {0, 0};
  const std::array<double, 24> expected = fittedValues(view);
  const Eigen::Vector2d diagonal = (view.observed.back() - view.observed.front()).cast<double>();
  EXPECT_NEAR(expected[0], 1.25 * diagonal.x() / 2, 1e-3);  // measured 1.2e-5
  EXPECT_NEAR(expected[2], 640, 1e-3);                      // measured 0
  EXPECT_NEAR(expected[3], 480, 1e-3);                      // measured 0
  for (const Eigen::Vector2i& size : {Eigen::Vector2i(-1, -1), Eigen::Vector2i(1280, 0),
                                      Eigen::Vector2i(0, 960), Eigen::Vector2i(INT_MIN, INT_MIN)}) {
    view.size = size;
    EXPECT_EQ(fittedValues(view), expected) << size;
  }
}

TEST(SingleImageCalibration, ExtremeImageSizesAreTakenAtTheirWord) {
  View view = goodView();
  for (const Eigen::Vector2i& size :
       {Eigen::Vector2i(INT_MAX, INT_MAX), Eigen::Vector2i(1, 1), Eigen::Vector2i(INT_MAX, 1)}) {
    view.size = size;
    const Fit result = fit(view);
    EXPECT_FALSE(std::isnan(result.error_per_point)) << size;
    for (const double value : parametersOf(valuesOf(result.projection)))
      EXPECT_TRUE(std::isfinite(value));
  }
}

TEST(SingleImageCalibration, ExcessOfTheLongerListIsIgnored) {
  View view = goodView();
  const std::array<double, 24> expected = fittedValues(view);
  View longer = view;
  longer.observed.emplace_back(1.0F, 2.0F);
  EXPECT_EQ(fittedValues(longer), expected);
  longer = view;
  longer.reference.emplace_back(1.0F, 2.0F);
  EXPECT_EQ(fittedValues(longer), expected);
}

TEST(SingleImageCalibration, UnusablePairsAreDropped) {
  const View view = goodView();
  const std::array<double, 24> expected = fittedValues(view);
  const Vector2_f good(3, 4);
  const auto expectDropped = [&](const Vector2_f& observed, const Vector2_f& reference) {
    View extended = view;
    extended.observed.insert(extended.observed.begin() + 5, observed);
    extended.reference.insert(extended.reference.begin() + 5, reference);
    EXPECT_EQ(fittedValues(extended), expected)
        << observed.transpose() << ", " << reference.transpose();
  };
  for (const float bad : {kNaN, kInfinity, -kInfinity}) {
    expectDropped({bad, 3}, good);
    expectDropped({3, bad}, good);
    expectDropped(good, {bad, 3});
    expectDropped(good, {3, bad});
  }
  for (const float bad : {1e6F, -1e6F, 1e30F}) {
    expectDropped({bad, 3}, good);
    expectDropped({3, bad}, good);
  }
}

TEST(SingleImageCalibration, OrderOfThePointsDoesNotMatter) {
  SyntheticCamera camera = makePinhole(800, 800, 645, 470);
  setRadial(kStereographic, &camera);
  View view = seeTilted(gridPoints(10, 7), 30, ImageSize(), &camera);
  std::mt19937_64 random(11);
  std::normal_distribution<float> noise(0, 0.3F);
  for (Vector2_f& pixel : view.observed) pixel += Vector2_f(noise(random), noise(random));
  const Fit expected = fit(view);

  std::vector<std::size_t> order(view.observed.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  for (int i = 0; i < 10; ++i) {
    std::shuffle(order.begin(), order.end(), random);
    View shuffled = view;
    for (std::size_t j = 0; j < order.size(); ++j) {
      shuffled.observed[j] = view.observed[order[j]];
      shuffled.reference[j] = view.reference[order[j]];
    }
    const Fit result = fit(shuffled);
    EXPECT_NEAR(result.error_per_point, expected.error_per_point, 1e-11);  // measured 2e-14
    const std::array<double, 24> values = parametersOf(valuesOf(result.projection));
    const std::array<double, 24> expected_values = parametersOf(valuesOf(expected.projection));
    for (std::size_t j = 0; j < 24; ++j) {
      EXPECT_NEAR(values[j], expected_values[j], 1e-9);  // measured 7e-12
    }
  }
}

}  // namespace
}  // namespace norv::calibration

// What a lens does up to the farthest corner, against the algebra of lenses that are known in full.

#include "calibration_common/review/lens_profile.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "calibration_common/review/camera_subject.h"
#include "testing/review_findings.h"

namespace norv::internal::review {
namespace {

using Lens = calibration::LensDistortion<double>;

constexpr double kPi = 3.14159265358979323846;

/// k1, k2 over k4, k5, k6.
Lens rational(double k1, double k2, double k4, double k5, double k6) {
  return {k1, k2, 0, 0, 0, k4, k5, k6};
}

LensSubject lensOf(const Lens& lens, const PinholeImage& image) {
  LensSubject subject = {lens, image, "radial", "tangential", "the lens", lens, image, {}};
  measureReach(&subject);
  return subject;
}

TEST(LensProfileTest, KnowsThePinholesSlope) {
  for (const double r : {0.0, 0.3, 1.0, 4.0}) {
    EXPECT_NEAR(slopeByAngle(Lens{}, r), 1 + r * r, 1e-12);
  }
  EXPECT_NEAR(slopesByAngle(Lens{}, 2).least.value, 1, 1e-12);
  EXPECT_NEAR(slopesByAngle(Lens{}, 2).largest.value, 5, 1e-12);
  EXPECT_NEAR(slopesByAngle(Lens{}, 2).largest.radius, 2, 1e-6);
}

TEST(LensProfileTest, KnowsTheSlopeAsTheDerivativeByAngle) {
  const Lens lens = rational(0.4, -0.03, 0.7, 0.1, 0.02);
  for (const double theta : {0.1, 0.5, 0.9}) {
    const auto distorted = [&](double angle) {
      const double r = std::tan(angle);
      return r * lens.numerator(r * r) / lens.denominator(r * r);
    };
    constexpr double kStep = 1e-5;
    const double difference = (distorted(theta + kStep) - distorted(theta - kStep)) / (2 * kStep);
    EXPECT_NEAR(slopeByAngle(lens, std::tan(theta)), difference, 1e-8);
  }
}

TEST(LensProfileTest, FindsAMinimumBetweenSamples) {
  // (1 + 3 k1 s) (1 + s) with k1 < 0 is largest at s = -(1 + 3 k1) / (6 k1).
  const double k1 = -0.02;
  const double s = -(1 + 3 * k1) / (6 * k1);
  const AtRadius largest = slopesByAngle({k1, 0, 0, 0, 0, 0, 0, 0}, 4).largest;
  EXPECT_NEAR(largest.value, (1 + 3 * k1 * s) * (1 + s), 1e-9);
  EXPECT_NEAR(largest.radius, std::sqrt(s), 1e-5);
}

TEST(LensProfileTest, FindsTheLeastDenominator) {
  // 1 - 2 a s + s^2 is least at s = a.
  const AtRadius inside = minDenominator(rational(0, 0, -1.6, 1, 0), 3);
  EXPECT_NEAR(inside.value, 1 - 0.64, 1e-15);
  EXPECT_NEAR(inside.radius, std::sqrt(0.8), 1e-15);
  const AtRadius before = minDenominator(rational(0, 0, -1.6, 1, 0), 0.5);
  EXPECT_NEAR(before.value, 1 - 1.6 * 0.25 + 0.0625, 1e-15);
  EXPECT_EQ(minDenominator(rational(0, 0, 2, 1, 3), 3).value, 1);
  EXPECT_EQ(minDenominator(Lens{}, 3).value, 1);
}

TEST(LensProfileTest, FindsTheLeastDenominatorAsASearchDoes) {
  std::mt19937 random(11);  // NOLINT(bugprone-random-generator-seed)
  std::uniform_real_distribution<double> coefficient(-3, 3);
  for (int i = 0; i < 500; ++i) {
    const double k4 = coefficient(random);
    const double k5 = coefficient(random);
    const Lens lens = rational(0, 0, k4, k5, coefficient(random));
    double least = 1;
    for (int step = 0; step <= 20000; ++step) {
      const double r = 1.5 * step / 20000;
      least = std::min(least, lens.denominator(r * r));
    }
    const AtRadius found = minDenominator(lens, 1.5);
    EXPECT_LE(found.value, least + 1e-12);
    EXPECT_NEAR(found.value, least, 1e-5);
    EXPECT_NEAR(found.value, lens.denominator(found.radius * found.radius), 1e-9);
  }
}

TEST(LensProfileTest, CountsThePixelsBeyondTheEndOfTheLens) {
  // The fold of k1 = -0.5 is imaged 2 / 3 sqrt(2 / 3) f from the principal point.
  const double reached = 2.0 / 3 * std::sqrt(2.0 / 3);
  const Lens lens = {-0.5, 0, 0, 0, 0, 0, 0, 0};
  const LensSubject circle = lensOf(lens, {{1280, 960}, 600, 600, 640, 480});
  EXPECT_NEAR(shareBeyondEnd(circle), 1 - kPi * reached * reached * 600 * 600 / (1280 * 960), 1e-4);
  // An ellipse of which the image has the lower right quarter.
  const LensSubject quarter = lensOf(lens, {{1280, 960}, 600, 700, 0, 0});
  EXPECT_NEAR(shareBeyondEnd(quarter), 1 - kPi * reached * reached * 600 * 700 / (4 * 1280.0 * 960),
              1e-4);
  EXPECT_EQ(shareBeyondEnd(lensOf(Lens{}, {{1280, 960}, 600, 600, 640, 480})), 0);
}

TEST(LensProfileTest, MeasuresWhatNarrowingOneNumberMoves) {
  PinholeImage image = {{1280, 960}, 600, 600, 640, 480};
  image.cx = 640 + 0.25 * std::ldexp(1.0, -14);  // a quarter of the unit in the last place
  LensSubject lens = lensOf(Lens{}, image);
  lens.image = narrowed(image);
  EXPECT_NEAR(maxNarrowingError(lens), 0.25 * std::ldexp(1.0, -14), 1e-12);
}

TEST(LensProfileTest, FindsTheLensesThatComeWithTheLibraryOrdinary) {
  const calibration::RobotCalibration robot = testing::defaultRobot();
  const std::vector<Repetition> repetitions = findRepetitions(robot);
  int lenses = 0;
  for (int i = 0; i < robot.camera_calibration_size(); ++i) {
    const CameraSubject camera =
        makeCameraSubject(robot, i, repetitions[static_cast<std::size_t>(i)]);
    for (const LensSubject& lens : camera.lenses) {
      ++lenses;
      EXPECT_EQ(judgeReach(lens.reach), LensVerdict::kServed);
      EXPECT_GT(slopesByAngle(lens.lens, lens.reach.corner).least.value, 0.99);
      EXPECT_LT(slopesByAngle(lens.lens, lens.reach.corner).largest.value, 2.6);
      EXPECT_LT(maxNarrowingError(lens), 1e-4);  // measured: 1.4e-5
    }
  }
  EXPECT_EQ(lenses, 3);  // one of them fitted again
}

}  // namespace
}  // namespace norv::internal::review

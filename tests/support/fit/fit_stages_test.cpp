#include "support/fit/fit_stages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>

#include "support/fit/fit_problem.h"
#include "support/fit/priors.h"
#include "support/fit/start_search.h"
#include "tests/support/fit/known_camera.h"

namespace norv::internal::fit {
namespace {

/// A view with normal noise of so many pixels.
KnownView noisyView(const testing::SyntheticCamera& camera, double noise, int seed = 4) {
  KnownView known(camera);
  std::mt19937_64 random(static_cast<std::uint64_t>(seed));
  std::normal_distribution<double> normal;
  for (PointPair& point : known.view.points) {
    point.u += noise / 640 * normal(random);
    point.v += noise / 640 * normal(random);
  }
  return known;
}

testing::SyntheticCamera equidistantCamera() {
  testing::SyntheticCamera camera = testing::makePinhole(700, 700, 640, 480);
  testing::setRadial(kLensFamilies[3].k, &camera);
  return camera;
}

TEST(FitStages, TwoFamiliesGoOnAndThePinholeWhileThereIsHope) {
  // Without noise the pinhole family is hopeless for a fisheye, with much of it it is not.
  const std::vector<Candidate> exact = fitCandidates(noisyView(equidistantCamera(), 0).view);
  ASSERT_EQ(exact.size(), 2U);
  EXPECT_EQ(exact[0].family, &kLensFamilies[3]);
  EXPECT_EQ(exact[1].family, &kLensFamilies[2]);
  const std::vector<Candidate> noisy = fitCandidates(noisyView(equidistantCamera(), 3).view);
  ASSERT_EQ(noisy.size(), 3U);
  EXPECT_TRUE(isPinhole(*noisy[2].family));
}

TEST(FitStages, NoiseIsEstimated) {
  // From 108 coordinates less 18 unknowns. The priors hold some of these, so that a little less
  // than 18 is taken out of the error and the estimate is high by some per cent.
  double mean = 0;
  constexpr int kViews = 60;
  for (int i = 0; i < kViews; ++i) {
    const double noise = i % 2 == 0 ? 0.3 : 1.0;
    const KnownView known = noisyView(distortedCamera(), noise, i);
    mean += fitCandidates(known.view).front().sigma / noise / kViews;
  }
  EXPECT_GT(mean, 0.99);  // measured 1.04, with a standard error of 0.01
  EXPECT_LT(mean, 1.07);
}

TEST(FitStages, NoiseIsCreditedWithinLimits) {
  for (const Candidate& candidate : fitCandidates(noisyView(distortedCamera(), 20).view)) {
    EXPECT_EQ(candidate.sigma, 2.0);
  }
  for (const Candidate& candidate : fitCandidates(noisyView(distortedCamera(), 0.06).view)) {
    EXPECT_EQ(candidate.sigma, kMinNoise);
  }
}

TEST(FitStages, ExactViewsAreTakenForExact) {
  const KnownView known = noisyView(equidistantCamera(), 0);
  const Candidate best = fitCandidates(known.view).front();
  EXPECT_EQ(best.sigma, 1e-3);
  EXPECT_LT(best.squared_error, 1e-9);  // measured 3e-20
}

TEST(FitStages, CandidatesCarryTheirCosts) {
  // Frontal, so that the prior on the focal length is in force to the end, and yet not counted.
  testing::SyntheticCamera camera = testing::makePinhole(1000, 1000, 640, 480);
  testing::SingleImageView seen =
      testing::seeTilted(testing::gridPoints(7, 5), 0, testing::ImageSize(), &camera);
  seen.observed[0].x() += 1;
  const PlanarView view = *makePlanarView(seen.observed, seen.reference, seen.size);
  const std::vector<Candidate> candidates = fitCandidates(view);
  ASSERT_FALSE(candidates.empty());
  for (const Candidate& candidate : candidates) {
    EXPECT_EQ(candidate.squared_error, squaredImageError(view, candidate.camera));
    const double focal_length = findStart(view, *candidate.family)->intrinsics[kFx];
    Priors priors(*candidate.family, focal_length, view.half_size);
    EXPECT_LT(candidate.prior_cost, priors.cost(candidate.camera));
    priors.dropFocalLength();
    EXPECT_EQ(candidate.prior_cost, priors.cost(candidate.camera));
  }
}

TEST(FitStages, NoiseIsThatOfTheFitItLeadsTo) {
  for (int seed = 0; seed < 20; ++seed) {
    const KnownView known = noisyView(distortedCamera(), 0.3, seed);
    for (const Candidate& candidate : fitCandidates(known.view)) {
      const double noise = std::sqrt(candidate.squared_error / (2 * 54 - 18));
      EXPECT_NEAR(std::log(noise / candidate.sigma), 0, 0.05);  // measured 0.025
    }
  }
}

TEST(FitStages, ViewWithoutAStartHasNoCandidates) {
  const std::optional<PlanarView> view =
      makePlanarView({{300, 300}, {700, 600}, {700, 300}, {300, 600}},
                     {{0, 0}, {1, 0}, {1, 1}, {0, 1}}, {1280, 960});
  ASSERT_TRUE(view);
  EXPECT_TRUE(fitCandidates(*view).empty());
}

}  // namespace
}  // namespace norv::internal::fit

#include "support/fit/candidate_choice.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "tests/support/fit/known_camera.h"

namespace norv::internal::fit {
namespace {

const LensFamily& kPinhole = kLensFamilies[0];
const LensFamily& kRational = kLensFamilies[1];
const LensFamily& kStereographic = kLensFamilies[2];

const PlanarView& view() {
  static const KnownView known(testing::makePinhole(800, 800, 640, 480));
  return known.view;
}

/// The cameras of these tests have the image corner at one focal length. `k1` of -0.6 folds there.
Candidate candidate(const LensFamily& family, double k1, double squared_error,
                    double prior_cost = 0, double sigma = 0.5) {
  FittedCamera camera = KnownView(testing::makePinhole(800, 800, 640, 480)).truth;
  camera.intrinsics[kK1] = k1;
  return {&family, camera, squared_error, prior_cost, sigma};
}

std::size_t choice(const std::vector<Candidate>& candidates) {
  return static_cast<std::size_t>(&chooseCandidate(view(), candidates) - candidates.data());
}

TEST(CandidateChoice, OnlyOne) {
  EXPECT_EQ(choice({candidate(kPinhole, 0, 5)}), 0U);
  EXPECT_EQ(choice({candidate(kRational, 0, 5)}), 0U);
  EXPECT_EQ(choice({candidate(kRational, -0.6, 5)}), 0U);
}

TEST(CandidateChoice, LeastCostWins) {
  EXPECT_EQ(choice({candidate(kRational, 0, 5), candidate(kStereographic, 0, 4)}), 1U);
  // The priors count with the square of the smallest noise found: 5 + 0.25 * 8 against 6.
  EXPECT_EQ(choice({candidate(kRational, 0, 5, 8), candidate(kStereographic, 0, 6)}), 1U);
  EXPECT_EQ(choice({candidate(kRational, 0, 5, 8, 0.1), candidate(kStereographic, 0, 6)}), 0U);
}

TEST(CandidateChoice, FirstOfEqualsWins) {
  EXPECT_EQ(choice({candidate(kRational, 0, 5), candidate(kStereographic, 0, 5)}), 0U);
}

TEST(CandidateChoice, RegularLensesArePreferred) {
  EXPECT_EQ(choice({candidate(kRational, -0.6, 5), candidate(kStereographic, 0, 10)}), 1U);
  EXPECT_EQ(choice({candidate(kPinhole, -0.6, 5), candidate(kStereographic, 0, 10)}), 1U);
}

TEST(CandidateChoice, RegularityHasItsPrice) {
  // 4 times the least squared error and 0.01 for each of 54 points.
  EXPECT_EQ(choice({candidate(kRational, -0.6, 5), candidate(kStereographic, 0, 20.53)}), 1U);
  EXPECT_EQ(choice({candidate(kRational, -0.6, 5), candidate(kStereographic, 0, 20.55)}), 0U);
}

TEST(CandidateChoice, PolynomialThatDoesAsWellAndAgreesIsPreferred) {
  // Up to 4 sigma^2 = 1 more.
  EXPECT_EQ(choice({candidate(kRational, 0, 5), candidate(kPinhole, 0, 5.99)}), 1U);
  EXPECT_EQ(choice({candidate(kRational, 0, 5), candidate(kPinhole, 0, 6.01)}), 0U);
}

TEST(CandidateChoice, PolynomialThatDisagreesAtTheCornerIsNot) {
  // k1 moves the ratio at radius 1 by as much: within 2 per cent, and beyond.
  EXPECT_EQ(choice({candidate(kRational, 0, 5), candidate(kPinhole, 0.015, 4.5)}), 1U);
  EXPECT_EQ(choice({candidate(kRational, 0, 5), candidate(kPinhole, 0.03, 4.5)}), 0U);
}

TEST(CandidateChoice, PolynomialWithAClearAdvantageWinsAnyway) {
  // More than 25 sigma^2 = 6.25 less.
  EXPECT_EQ(choice({candidate(kRational, 0, 10), candidate(kPinhole, 0.2, 3.76)}), 0U);
  EXPECT_EQ(choice({candidate(kRational, 0, 10), candidate(kPinhole, 0.2, 3.74)}), 1U);
}

TEST(CandidateChoice, NoiseIsTheSmallestFound) {
  // With 0.1 pixels instead of 0.5 the margins are a twenty-fifth.
  EXPECT_EQ(choice({candidate(kRational, 0, 5, 0, 0.1), candidate(kPinhole, 0, 5.03)}), 1U);
  EXPECT_EQ(choice({candidate(kRational, 0, 5, 0, 0.1), candidate(kPinhole, 0, 5.05)}), 0U);
}

}  // namespace
}  // namespace norv::internal::fit

#include "support/fit/start_search.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>

#include "tests/support/fit/known_camera.h"

namespace norv::internal::fit {
namespace {

/// A view of a camera whose lens belongs to a family and which has a focal length of the grid, the
/// 18 steps from 0.35 to 6.
KnownView viewOf(const LensFamily& family, int grid_index) {
  const double f = 640 * 0.35 * std::pow(6 / 0.35, grid_index / 17.0);
  testing::SyntheticCamera camera = testing::makePinhole(f, f, 640, 480);
  testing::setRadial(family.k, &camera);
  return KnownView(camera);
}

TEST(StartSearch, FindsTheFocalLengthOfItsFamily) {
  for (const LensFamily& family : kLensFamilies) {
    for (const int index : {7, 9, 12}) {  // 1.13, 1.58 and 2.6 half sides
      const KnownView known = viewOf(family, index);
      const std::optional<FittedCamera> start = findStart(known.view, family);
      ASSERT_TRUE(start);
      // The rational coefficients follow the family to 2e-5.
      EXPECT_LT((start->intrinsics - known.truth.intrinsics).norm(), 1e-12);
      EXPECT_LT((start->rotation - known.truth.rotation).norm(), 1e-4);        // measured 7e-6
      EXPECT_LT((start->translation - known.truth.translation).norm(), 1e-4);  // measured 1.2e-5
    }
  }
}

TEST(StartSearch, UnusualFocalLengthsNeedEvidence) {
  // A frontal view gives none, and the grid's focal length next to 1.25 half sides is taken.
  testing::SyntheticCamera camera = testing::makePinhole(3000, 3000, 640, 480);
  const testing::SingleImageView seen =
      testing::seeTilted(testing::gridPoints(7, 5), 0, testing::ImageSize(), &camera);
  const PlanarView view = *makePlanarView(seen.observed, seen.reference, seen.size);
  const std::optional<FittedCamera> start = findStart(view, kLensFamilies[0]);
  ASSERT_TRUE(start);
  EXPECT_NEAR(start->intrinsics[kFx], 0.35 * std::pow(6 / 0.35, 8 / 17.0), 1e-12);
}

TEST(StartSearch, CameraIsInFrontOfAllPoints) {
  const KnownView known = viewOf(kLensFamilies[0], 8);
  const std::optional<FittedCamera> start = findStart(known.view, kLensFamilies[3]);
  ASSERT_TRUE(start);
  for (const PointPair& point : known.view.points) {
    const Eigen::Vector3d p =
        start->rotation * Eigen::Vector3d(point.plane_x, point.plane_y, 0) + start->translation;
    EXPECT_GT(p.z(), 1e-3);
  }
}

TEST(StartSearch, SquareSeenAsABowTieHasNone) {
  const std::optional<PlanarView> view =
      makePlanarView({{300, 300}, {700, 600}, {700, 300}, {300, 600}},
                     {{0, 0}, {1, 0}, {1, 1}, {0, 1}}, {1280, 960});
  ASSERT_TRUE(view);
  for (const LensFamily& family : kLensFamilies) EXPECT_FALSE(findStart(*view, family));
}

TEST(StartSearch, LensesWithPointsBeyondEightyDegreesAreLeftOut) {
  // Of an equidistant lens with the 9th focal length of the grid, frontal: two points 83.7 degrees
  // off the axis, two 20 degrees off.
  const double f = 0.35 * std::pow(6 / 0.35, 8 / 17.0);
  const float far = static_cast<float>(640 * f * 83.7 * testing::kDegree);
  const float near = static_cast<float>(640 * f * 20 * testing::kDegree);
  const float far_on_plane = static_cast<float>(std::tan(83.7 * testing::kDegree));
  const float near_on_plane = static_cast<float>(std::tan(20 * testing::kDegree));
  const std::optional<PlanarView> view = makePlanarView(
      {{640 - far, 480}, {640 + far, 480}, {640, 480 - near}, {640, 480 + near}},
      {{-far_on_plane, 0}, {far_on_plane, 0}, {0, -near_on_plane}, {0, near_on_plane}},
      {1280, 960});
  ASSERT_TRUE(view);
  const std::optional<FittedCamera> start = findStart(*view, kLensFamilies[3]);
  ASSERT_TRUE(start);
  EXPECT_GT(start->intrinsics[kFx], 1.1 * f);
}

}  // namespace
}  // namespace norv::internal::fit

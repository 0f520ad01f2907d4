// Where a zoom has lenses, whatever its table holds.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <utility>

#include "calibration_common/camera_view.h"
#include "calibration_common/ptz_aiming.h"
#include "testing/log_capture.h"
#include "testing/ptz_pointing.h"
#include "testing/random_ptz.h"

namespace norv::testing {
namespace {

using namespace calibration;

constexpr int kLeast = std::numeric_limits<int>::min();
constexpr int kMost = std::numeric_limits<int>::max();

ZoomRange rangeOf(const PTZIntrinsicsTable& table) {
  const ScopedLogCapture quiet;
  return zoomRange(PTZCameraModel(plainPtz(table)));
}

std::pair<int, int> endsOf(const PTZIntrinsicsTable& table) {
  const ZoomRange range = rangeOf(table);
  return {range.lowest, range.highest};
}

using Ends = std::pair<int, int>;

TEST(ZoomRange, IsThatOfTheSamplesWhereNoneIsStated) {
  EXPECT_EQ(endsOf(threeSamples()), Ends(70, 269));
}

TEST(ZoomRange, IsWhatIsStatedAsFarAsThereIsALens) {
  PTZIntrinsicsTable table = threeSamples();
  table.set_min_zoom(100);
  table.set_max_zoom(200);
  EXPECT_EQ(endsOf(table), Ends(100, 200));
  table.set_max_zoom(kMost);
  EXPECT_EQ(endsOf(table), Ends(100, 269));
  // Below the first sample, at zoom z, its focal length is 1000 + 10 (z - 70).
  table.set_min_zoom(kLeast);
  EXPECT_EQ(endsOf(table), Ends(-29, 269));
  table.mutable_samples(0)->set_focal_length(500);  // 500 + 15 (z - 70), positive from 37 on
  EXPECT_EQ(endsOf(table), Ends(37, 269));
}

TEST(ZoomRange, IsEmptyWhereThereIsNoLens) {
  PTZIntrinsicsTable table = threeSamples();
  table.set_min_zoom(270);
  EXPECT_TRUE(rangeOf(table).empty());
  table.set_min_zoom(200);
  table.set_max_zoom(100);
  EXPECT_TRUE(rangeOf(table).empty());
  EXPECT_TRUE(rangeOf(lensOf({{70, 1000}}, 100)).empty());
  EXPECT_TRUE(rangeOf(lensOf({{70, 1000}, {70, 2000}}, 0)).empty());
  EXPECT_TRUE(rangeOf(lensOf({{70, -1000}, {170, -2000}}, 100)).empty());
  EXPECT_TRUE(rangeOf(lensOf({{70, NAN}, {170, 2000}}, 100)).empty());
  const ScopedLogCapture quiet;
  EXPECT_TRUE(zoomRange(PTZCameraModel(PTZCameraParameters())).empty());
}

TEST(ZoomRange, ServesTablesThatCountDown) {
  EXPECT_EQ(endsOf(lensOf({{1000, 900}, {800, 1800}, {600, 3600}}, -200)), Ends(601, 1000));
}

TEST(ZoomRange, ServesTheOnePairThatAnIntervalOfZeroLeaves) {
  EXPECT_EQ(endsOf(lensOf({{70, 1000}, {170, 2000}, {270, 4000}}, 0)), Ends(70, 169));
}

TEST(ZoomRange, KeepsTheLongestRunAroundAHole) {
  PTZIntrinsicsTable table =
      lensOf({{0, 1000}, {100, 1100}, {200, 1200}, {300, 1300}, {400, 1400}, {500, 1500}}, 100);
  table.mutable_samples(2)->set_k1(NAN);
  EXPECT_EQ(endsOf(table), Ends(300, 499));
}

TEST(ZoomRange, NeverHoldsAPositionWithoutALens) {
  std::mt19937_64 random(4);
  const double odd[] = {NAN, HUGE_VAL, -1, 0, 1e300, -1e300, 1e-300, 4e9, -4e9};
  const int steps[] = {kLeast, kLeast + 1, -100, -1, 0, 1, 100, kMost - 1, kMost};
  const auto pick = [&](int count) { return static_cast<int>(uniform(&random, 0, count)); };
  const ScopedLogCapture quiet;
  int not_empty = 0;
  for (int i = 0; i < 2000; ++i) {
    PTZIntrinsicsTable table = randomZoomTable(&random);
    if (pick(2) == 0) {
      auto* sample = table.mutable_samples(pick(table.samples_size()));
      const double value = odd[pick(9)];
      const int field = pick(4);
      if (field == 0) sample->set_zoom(value);
      if (field == 1) sample->set_focal_length(value);
      if (field == 2) sample->set_k1(value);
      if (field == 3) sample->set_cx(value);
    }
    if (pick(3) == 0) table.set_zoom_interval(steps[pick(9)]);
    if (pick(3) == 0) table.set_zoom_start(steps[pick(9)]);
    if (pick(3) == 0) table.set_min_zoom(steps[pick(9)]);
    if (pick(3) == 0) table.set_max_zoom(steps[pick(9)]);
    const PTZCameraModelPtr model = ptzModel(plainPtz(table));
    const ZoomRange range = zoomRange(*model);
    if (range.empty()) continue;
    ++not_empty;
    for (int k = 0; k <= 25; ++k) {
      const double at = range.lowest + k / 25.0 * (double{1} * range.highest - range.lowest);
      const PTZCameraModelConfiguration camera(model, 0, 0, static_cast<int>(std::floor(at)));
      ASSERT_TRUE(camera.view().has_value()) << i << " " << table.DebugString();
      ASSERT_GT(camera.getIntrinsics()(0, 0), 0) << i;
    }
  }
  EXPECT_GT(not_empty, 1000);
}

}  // namespace
}  // namespace norv::testing

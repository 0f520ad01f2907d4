#include "support/camera/parallel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <random>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include "support/point_projection.h"
#include "support/rectification.h"
#include "testing/difficult_points.h"
#include "testing/failing_allocations.h"
#include "testing/same_bits.h"

namespace norv::internal {
namespace {

using Failing = testing::ScopedFailingAllocations::Failing;

struct Ranges {
  std::vector<std::pair<std::size_t, std::size_t>> all;
  std::set<std::thread::id> threads;
};

/// The ranges that are not empty, in order.
Ranges rangesOf(std::size_t count, std::size_t grain, int threads) {
  Ranges ranges;
  std::mutex mutex;
  inParallel(count, grain, threads, [&](std::size_t begin, std::size_t end) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (begin < end) ranges.all.emplace_back(begin, end);
    ranges.threads.insert(std::this_thread::get_id());
  });
  std::sort(ranges.all.begin(), ranges.all.end());
  return ranges;
}

TEST(InParallel, RangesMakeUpTheWhole) {
  for (const std::size_t count : {0U, 1U, 7U, 8U, 9U, 63U, 64U, 65U, 1000U}) {
    for (const std::size_t grain : {1U, 3U, 8U, 5000U}) {
      for (const int threads : {-2, 0, 1, 2, 3, 7, 64}) {
        const Ranges ranges = rangesOf(count, grain, threads);
        std::size_t end = 0;
        for (const auto& range : ranges.all) {
          EXPECT_EQ(range.first, end);
          EXPECT_EQ(range.first % grain, 0U);
          end = range.second;
        }
        EXPECT_EQ(end, count);
        const auto most = static_cast<std::size_t>(threads == 0 ? 4096 : std::max(threads, 1));
        EXPECT_LE(ranges.all.size(), most);
      }
    }
  }
}

TEST(InParallel, SharesEvenly) {
  for (const auto& range : rangesOf(7 * 64, 8, 7).all) EXPECT_EQ(range.second - range.first, 64U);
  EXPECT_EQ(rangesOf(2, 1, 7).all.size(), 2U);
}

TEST(InParallel, OneThreadIsTheCallers) {
  for (const int threads : {1, -5}) {
    EXPECT_EQ(rangesOf(100, 1, threads).threads,
              std::set<std::thread::id>{std::this_thread::get_id()});
  }
}

TEST(InParallel, SeveralComputeAtOnce) {
  std::atomic<int> waiting{0};
  inParallel(3, 1, 3, [&](std::size_t, std::size_t) {
    // All three come here before one of them goes on; a minute is for systems that refuse threads.
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    for (++waiting; waiting < 3 && std::chrono::steady_clock::now() < end;) {
      std::this_thread::yield();
    }
    EXPECT_EQ(waiting, 3);
  });
}

TEST(InParallel, WithoutMemoryForThreadsTheCallerDoesAll) {
  for (int succeeding = 0; succeeding < 6; ++succeeding) {
    std::atomic<std::size_t> sum{0};
    {
      const testing::ScopedFailingAllocations failing(succeeding, Failing::kFromThenOn);
      inParallel(1000, 1, 7, [&](std::size_t begin, std::size_t end) {
        for (; begin < end; ++begin) sum += begin;
      });
    }
    EXPECT_TRUE(testing::hasAllocationFailed()) << succeeding;
    EXPECT_EQ(sum, 499500U);
  }
}

TEST(InParallel, WithoutMemoryPointsAndMapsAreTheSame) {
  std::mt19937 random(51);
  const calibration::CameraModel camera =
      testing::randomCamera(testing::lensNamed("barrel"), &random);
  const auto points = testing::difficultPoints(testing::lensNamed("barrel"), 30000, &random);
  calibration::RectifiedView view{100, 80, 70, 70, 50, 40, Eigen::Matrix3d::Identity()};
  const auto compute = [&](int threads, std::vector<Eigen::Vector2d>* pixels,
                           std::vector<float>* map) {
    projectPoints(camera, {points.data()->data(), 3}, points.size(), {pixels->data()->data(), 2},
                  {}, threads);
    rectifyPoints(camera, {pixels->data()->data(), 2}, points.size(), {pixels->data()->data(), 2},
                  {}, threads);
    makeRectifyMap(camera, view, map->data(), map->data() + 8000, threads);
  };
  std::vector<Eigen::Vector2d> expected(points.size());
  std::vector<float> expected_map(16000);
  compute(1, &expected, &expected_map);
  std::vector<Eigen::Vector2d> pixels(points.size());
  std::vector<float> map(16000);
  for (int succeeding = 0; succeeding < 4; ++succeeding) {
    {
      const testing::ScopedFailingAllocations failing(succeeding, Failing::kFromThenOn);
      compute(7, &pixels, &map);
    }
    EXPECT_TRUE(testing::hasAllocationFailed());
    for (std::size_t i = 0; i < points.size(); ++i) {
      ASSERT_TRUE(testing::sameBits(pixels[i], expected[i])) << i;
    }
    for (std::size_t i = 0; i < map.size(); ++i) {
      ASSERT_EQ(testing::bitsOf(map[i]), testing::bitsOf(expected_map[i])) << i;
    }
  }
}

}  // namespace
}  // namespace norv::internal

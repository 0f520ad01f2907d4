#include "support/numeric/saturate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace norv {
namespace {

constexpr int kLowest = std::numeric_limits<int>::min();
constexpr int kLargest = std::numeric_limits<int>::max();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(TruncateToInt, TowardZero) {
  EXPECT_EQ(internal::truncateToInt(2.999), 2);
  EXPECT_EQ(internal::truncateToInt(-2.999), -2);
  EXPECT_EQ(internal::truncateToInt(0.999), 0);
  EXPECT_EQ(internal::truncateToInt(-0.999), 0);
  EXPECT_EQ(internal::truncateToInt(7.0), 7);
  EXPECT_EQ(internal::truncateToInt(-0.0), 0);
}

TEST(TruncateToInt, EndsOfTheRange) {
  EXPECT_EQ(internal::truncateToInt(2147483646.0), kLargest - 1);
  EXPECT_EQ(internal::truncateToInt(2147483646.9999995), kLargest - 1);
  EXPECT_EQ(internal::truncateToInt(2147483647.0), kLargest);
  EXPECT_EQ(internal::truncateToInt(-2147483647.0), kLowest + 1);
  EXPECT_EQ(internal::truncateToInt(-2147483647.9999995), kLowest + 1);
  EXPECT_EQ(internal::truncateToInt(-2147483648.0), kLowest);
}

TEST(TruncateToInt, SaturatesBeyondThem) {
  for (const double beyond : {2147483647.5, 2147483648.0, 1e10, 1e300, kInfinity}) {
    EXPECT_EQ(internal::truncateToInt(beyond), kLargest) << beyond;
    EXPECT_EQ(internal::truncateToInt(-beyond - 1), kLowest) << beyond;
  }
}

TEST(TruncateToInt, NotANumberIsZero) {
  EXPECT_EQ(internal::truncateToInt(std::nan("")), 0);
  EXPECT_EQ(internal::truncateToInt(-std::nan("")), 0);
}

TEST(ClampToInt, KeepsWhatFitsAndSaturates) {
  for (const std::int64_t value : {std::int64_t{0}, std::int64_t{-5}, std::int64_t{kLargest},
                                   std::int64_t{kLowest}, std::int64_t{kLargest} - 1}) {
    EXPECT_EQ(internal::clampToInt(value), value);
  }
  EXPECT_EQ(internal::clampToInt(std::int64_t{kLargest} + 1), kLargest);
  EXPECT_EQ(internal::clampToInt(std::int64_t{kLowest} - 1), kLowest);
  EXPECT_EQ(internal::clampToInt(std::numeric_limits<std::int64_t>::max()), kLargest);
  EXPECT_EQ(internal::clampToInt(std::numeric_limits<std::int64_t>::min()), kLowest);
}

}  // namespace
}  // namespace norv

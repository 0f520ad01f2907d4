#include "support/numeric/saturate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace norv {
namespace {

constexpr int kMinInt = std::numeric_limits<int>::min();
constexpr int kMaxInt = std::numeric_limits<int>::max();
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
  EXPECT_EQ(internal::truncateToInt(2147483646.0), kMaxInt - 1);
  EXPECT_EQ(internal::truncateToInt(2147483646.9999995), kMaxInt - 1);
  EXPECT_EQ(internal::truncateToInt(2147483647.0), kMaxInt);
  EXPECT_EQ(internal::truncateToInt(-2147483647.0), kMinInt + 1);
  EXPECT_EQ(internal::truncateToInt(-2147483647.9999995), kMinInt + 1);
  EXPECT_EQ(internal::truncateToInt(-2147483648.0), kMinInt);
}

TEST(TruncateToInt, SaturatesBeyondThem) {
  for (const double beyond : {2147483647.5, 2147483648.0, 1e10, 1e300, kInfinity}) {
    EXPECT_EQ(internal::truncateToInt(beyond), kMaxInt) << beyond;
    EXPECT_EQ(internal::truncateToInt(-beyond - 1), kMinInt) << beyond;
  }
}

TEST(TruncateToInt, NotANumberIsZero) {
  EXPECT_EQ(internal::truncateToInt(std::nan("")), 0);
  EXPECT_EQ(internal::truncateToInt(-std::nan("")), 0);
}

TEST(ClampToInt, KeepsWhatFitsAndSaturates) {
  for (const std::int64_t value : {std::int64_t{0}, std::int64_t{-5}, std::int64_t{kMaxInt},
                                   std::int64_t{kMinInt}, std::int64_t{kMaxInt} - 1}) {
    EXPECT_EQ(internal::clampToInt(value), value);
  }
  EXPECT_EQ(internal::clampToInt(std::int64_t{kMaxInt} + 1), kMaxInt);
  EXPECT_EQ(internal::clampToInt(std::int64_t{kMinInt} - 1), kMinInt);
  EXPECT_EQ(internal::clampToInt(std::numeric_limits<std::int64_t>::max()), kMaxInt);
  EXPECT_EQ(internal::clampToInt(std::numeric_limits<std::int64_t>::min()), kMinInt);
}

}  // namespace
}  // namespace norv

#include "calibration_common/review/sentence.h"

#include <gtest/gtest.h>

#include <cmath>

namespace norv::internal::review {
namespace {

TEST(SentenceTest, WritesNumbersWithSixDigits) {
  EXPECT_EQ(number(0), "0");
  EXPECT_EQ(number(-0.0), "0");
  EXPECT_EQ(number(3001), "3001");
  EXPECT_EQ(number(1.0 / 3), "0.333333");
  EXPECT_EQ(number(-1e300), "-1e+300");
  EXPECT_EQ(number(std::nan("")), "nan");
  EXPECT_EQ(number(INFINITY), "inf");
  EXPECT_EQ(number(-INFINITY), "-inf");
}

TEST(SentenceTest, WritesUnits) {
  EXPECT_EQ(pixels(326.5986), "326.599 px");
  EXPECT_EQ(radiusText(1), "r = 1 (45 deg)");
  EXPECT_EQ(radiusText(0.80880061), "r = 0.8088 (38.97 deg)");
  EXPECT_EQ(radiusText(INFINITY), "r = inf (90 deg)");
  EXPECT_EQ(percent(0.7273), "72.7 %");
}

}  // namespace
}  // namespace norv::internal::review

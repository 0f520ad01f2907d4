#include "support/messages/decimal_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>

#include "testing/filled_message.h"
#include "testing/same_bits.h"

namespace norv::internal {
namespace {

TEST(WriteNumber, AsAPersonWould) {
  EXPECT_EQ(writeNumber(0.1), "0.1");
  EXPECT_EQ(writeNumber(0.1F), "0.1");
  EXPECT_EQ(writeNumber(1280.0), "1280");
  EXPECT_EQ(writeNumber(0.0), "0");
  EXPECT_EQ(writeNumber(-0.0), "-0");
  EXPECT_EQ(writeNumber(-1047.5F), "-1047.5");
  EXPECT_EQ(writeNumber(2.0 / 3), "0.6666666666666666");
  EXPECT_EQ(writeNumber(1238.465568274), "1238.465568274");
}

TEST(WriteNumber, InFullWhereThatIsShort) {
  EXPECT_EQ(writeNumber(1000000.0), "1000000");
  EXPECT_EQ(writeNumber(999999999999999.0), "999999999999999");
  EXPECT_EQ(writeNumber(1e15), "1e+15");
  EXPECT_EQ(writeNumber(1e-5), "0.00001");
  EXPECT_EQ(writeNumber(-9.5e-6), "-9.5e-06");
  EXPECT_EQ(writeNumber(1e22F), "1e+22");
}

TEST(WriteNumber, ValuesThatAreNoNumbers) {
  EXPECT_EQ(writeNumber(std::numeric_limits<double>::infinity()), "inf");
  EXPECT_EQ(writeNumber(-std::numeric_limits<float>::infinity()), "-inf");
  EXPECT_EQ(writeNumber(std::numeric_limits<double>::quiet_NaN()), "nan");
  EXPECT_EQ(writeNumber(-std::numeric_limits<float>::quiet_NaN()), "-nan");
}

TEST(WriteNumber, Extremes) {
  EXPECT_EQ(writeNumber(std::numeric_limits<double>::max()), "1.7976931348623157e+308");
  EXPECT_EQ(writeNumber(std::numeric_limits<double>::denorm_min()), "5e-324");
  EXPECT_EQ(writeNumber(std::numeric_limits<float>::denorm_min()), "1e-45");
}

TEST(WriteNumber, DoublesReadBackToTheLastBit) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 200'000; ++i) {
    const double value = testing::drawDouble(&random);
    if (!std::isfinite(value)) continue;
    const double read = std::strtod(writeNumber(value).c_str(), nullptr);
    ASSERT_EQ(testing::bitsOf(read), testing::bitsOf(value)) << writeNumber(value);
  }
}

TEST(WriteNumber, FloatsReadBackByWayOfDoubles) {
  std::mt19937_64 random(2);
  for (int i = 0; i < 200'000; ++i) {
    const float value = testing::drawFloat(&random);
    if (!std::isfinite(value)) continue;
    const double read = std::strtod(writeNumber(value).c_str(), nullptr);
    ASSERT_EQ(testing::bitsOf(static_cast<float>(read)), testing::bitsOf(value))
        << writeNumber(value);
  }
}

}  // namespace
}  // namespace norv::internal

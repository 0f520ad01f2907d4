#include "tools/output/number_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>

namespace norv::tools {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

/// Any finite float, all exponents equally likely.
float randomFloat(std::mt19937_64* random) {
  for (;;) {
    const auto bits = static_cast<std::uint32_t>((*random)());
    float value = 0;
    std::memcpy(&value, &bits, sizeof(value));
    if (std::isfinite(value)) return value;
  }
}

TEST(NumberText, FewestDigits) {
  EXPECT_EQ(shortestText(0.03F), "0.03");
  EXPECT_EQ(shortestText(-905), "-905");
  EXPECT_EQ(shortestText(-0.0F), "0");
  EXPECT_EQ(shortestText(1e-12F), "1e-12");
  EXPECT_EQ(shortestText(kInfinity), "inf");
  EXPECT_EQ(shortestText(std::copysign(std::nanf(""), -1.0F)), "nan");
}

TEST(NumberText, ReadsBackAsTheSameFloat) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 20000; ++i) {
    const float value = randomFloat(&random);
    EXPECT_EQ(std::strtof(shortestText(value).c_str(), nullptr), value);
    EXPECT_EQ(std::strtof(nineDigits(static_cast<double>(value)).c_str(), nullptr), value);
    EXPECT_EQ(static_cast<float>(shortestDouble(value)), value);
  }
}

TEST(NumberText, NineDigits) {
  EXPECT_EQ(nineDigits(-0.036109), "-0.036109");
  EXPECT_EQ(nineDigits(43806.2), "43806.2");
  EXPECT_EQ(nineDigits(1238.465568274), "1238.46557");
  EXPECT_EQ(nineDigits(-0.0), "0");
  EXPECT_EQ(nineDigits(std::copysign(std::nan(""), -1.0)), "nan");
}

TEST(NumberText, DoubleThatPrintsAsTheFloat) {
  EXPECT_EQ(shortestDouble(0.03F), 0.03);
  EXPECT_EQ(shortestDouble(0.1F), 0.1);
  EXPECT_EQ(shortestDouble(-kInfinity), -std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(shortestDouble(std::nanf(""))));
}

}  // namespace
}  // namespace norv::tools

#include "tools/input/number_list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <limits>

namespace norv::tools {
namespace {

using ::testing::ElementsAre;

TEST(NumberList, WholeNumbers) {
  EXPECT_THAT(*parseIntegers<3>("1,2,3"), ElementsAre(1, 2, 3));
  EXPECT_THAT(*parseIntegers<3>("-1,0,-300"), ElementsAre(-1, 0, -300));
  EXPECT_THAT(*parseIntegers<3>("2147483647,-2147483648,007"), ElementsAre(INT_MAX, INT_MIN, 7));
}

TEST(NumberList, BlanksBeforeNumbersAndPlusSigns) {
  EXPECT_THAT(*parseIntegers<3>("500, 200,  2500"), ElementsAre(500, 200, 2500));
  EXPECT_THAT(*parseIntegers<3>(" +5,+007, -1"), ElementsAre(5, 7, -1));
  EXPECT_THAT(*parseNumbers<2>("+1.5, +.25"), ElementsAre(1.5F, 0.25F));
}

TEST(NumberList, NumbersInBothPrecisions) {
  EXPECT_THAT(*parseDoubles<2>("0.1, -1e300"), ElementsAre(0.1, -1e300));
  EXPECT_EQ((*parseNumbers<2>("0.1,0"))[0], 0.1F);
  EXPECT_FALSE(parseNumbers<2>("0.1,-1e300"));
  for (const char* text : {"1,nan", "inf,1", "1,1e999", "1", "1,2,3"}) {
    EXPECT_FALSE(parseDoubles<2>(text)) << text;
  }
}

TEST(NumberList, TextsThatAreNoWholeNumbers) {
  for (const char* text : {"",
                           ",",
                           ",,",
                           "1",
                           "1,2",
                           "1,2,",
                           "1,2,3,",
                           "1,2,3,4",
                           ",1,2,3",
                           "1,,3",
                           "1 ,2,3",
                           "1,\t2,3",
                           "1,2,3 ",
                           "1,2,3\n",
                           "1;2;3",
                           "1.5,2,3",
                           "1e3,2,3",
                           "0x1,2,3",
                           "++1,2,3",
                           "+-1,2,3",
                           "-+1,2,3",
                           "+,2,3",
                           "+ 1,2,3",
                           "--1,2,3",
                           "a,b,c",
                           "2147483648,0,0",
                           "0,-2147483649,0",
                           "0,0,99999999999999999999"}) {
    EXPECT_FALSE(parseIntegers<3>(text)) << text;
  }
  EXPECT_FALSE(parseIntegers<3>(std::string("1,2,3\0", 6)));
}

TEST(NumberList, Numbers) {
  EXPECT_THAT(*parseNumbers<2>("1.5,-2"), ElementsAre(1.5F, -2.0F));
  EXPECT_THAT(*parseNumbers<2>("1e3,.25"), ElementsAre(1000.0F, 0.25F));
  EXPECT_THAT(*parseNumbers<3>("0,-0.5,5."), ElementsAre(0.0F, -0.5F, 5.0F));
  EXPECT_THAT(*parseNumbers<4>("1,2,3,4"), ElementsAre(1.0F, 2.0F, 3.0F, 4.0F));
  EXPECT_THAT(*parseNumbers<2>("3.4028235e38,-3.4028235e38"),
              ElementsAre(std::numeric_limits<float>::max(), std::numeric_limits<float>::lowest()));
}

TEST(NumberList, TextsThatAreNoNumbers) {
  for (const char* text : {"", "1", "1,", ",1", "1,2,3", "1 2", "1, ", "nan,0", "+nan,0", "0,inf",
                           "-inf,0", "1e39,0", "0,-1e39", "1e,0", "1.2.3,0", "one,two", "1,2x"}) {
    EXPECT_FALSE(parseNumbers<2>(text)) << text;
  }
}

}  // namespace
}  // namespace norv::tools

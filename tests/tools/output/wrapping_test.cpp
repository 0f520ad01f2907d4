#include "tools/output/wrapping.h"

#include <gtest/gtest.h>

#include <string>

namespace norv::tools {
namespace {

TEST(WrapText, ShortSentencesStayOnALine) {
  EXPECT_EQ(wrapText("  note: ", "a b", 4), "  note: a b\n");
  EXPECT_EQ(wrapText("", "", 4), "\n");
}

TEST(WrapText, BreaksAtTheLastBlankThatFits) {
  const std::string word(38, 'x');
  // Two words and a blank are 77 columns: with 3 more they fill the line.
  EXPECT_EQ(wrapText("123", word + " " + word, 2), "123" + word + " " + word + "\n");
  EXPECT_EQ(wrapText("1234", word + " " + word, 2), "1234" + word + "\n  " + word + "\n");
}

TEST(WrapText, LongWordsStayWhole) {
  const std::string word(100, 'x');
  EXPECT_EQ(wrapText("a: ", "b " + word + " c", 3), "a: b\n   " + word + "\n   c\n");
  EXPECT_EQ(wrapText("", word, 3), word + "\n");
}

}  // namespace
}  // namespace norv::tools

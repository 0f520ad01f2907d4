#include "support/messages/string_text.h"

#include <gtest/gtest.h>

#include <string>

namespace norv::internal {
namespace {

using std::string_literals::operator""s;

TEST(QuoteString, CharactersStandAsTheyAre) {
  EXPECT_EQ(quoteString(""), "\"\"");
  EXPECT_EQ(quoteString("it's here"), "\"it's here\"");
  EXPECT_EQ(quoteString("K\u00fcche \u20ac \U0001f916"), "\"K\u00fcche \u20ac \U0001f916\"");
}

TEST(QuoteString, WhatActsOnATextOrATerminalIsEscaped) {
  EXPECT_EQ(quoteString("a\"b\\c"), R"("a\"b\\c")");
  EXPECT_EQ(quoteString("\n\r\t"), R"("\n\r\t")");
  // A digit may follow, and is no part of the number.
  EXPECT_EQ(quoteString("\0007\x1b[2J\x7f"s), R"("\0007\033[2J\177")");
  EXPECT_EQ(quoteString("\u202e\u009b"), R"("\342\200\256\302\233")");
}

TEST(QuoteString, BytesThatAreNoCharacterAreWrittenByNumber) {
  EXPECT_EQ(quoteString("\xff\xc3"), R"("\377\303")");
  EXPECT_EQ(quoteString("\xc3z"), R"("\303z")");
  EXPECT_EQ(quoteString("\xe2\x82\u00fc"), "\"\\342\\202\u00fc\"");
  EXPECT_EQ(quoteString("\xc0\x80"), R"("\300\200")");  // too long a form of the null character
}

}  // namespace
}  // namespace norv::internal

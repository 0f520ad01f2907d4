#include "support/printable_text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>

namespace norv {
namespace {

/// UTF-8 of any code point up to U+10FFFF, surrogates included.
std::string utf8(std::uint32_t code) {
  const auto tail = [&](unsigned shift) {
    return static_cast<char>(0x80 | (code >> shift & 0x3f));
  };
  if (code < 0x80) return {static_cast<char>(code)};
  if (code < 0x800) return {static_cast<char>(0xc0 | code >> 6), tail(0)};
  if (code < 0x10000) return {static_cast<char>(0xe0 | code >> 12), tail(6), tail(0)};
  return {static_cast<char>(0xf0 | code >> 18), tail(12), tail(6), tail(0)};
}

std::string hexEscapes(const std::string& bytes) {
  std::string text;
  for (const char c : bytes) {
    char escape[5];
    std::snprintf(escape, sizeof(escape), "\\x%02x", static_cast<unsigned>(c) & 0xffU);
    text += escape;
  }
  return text;
}

TEST(PrintableText, OrdinaryTextIsUnchanged) {
  const std::string text =
      "Kamera \"vorn\" 100 % caf\xc3\xa9 \xe2\x82\xac \xe6\x97\xa5\xe6\x9c\xac \xf0\x9f\x93\xb7 "
      "\\x1b";
  EXPECT_EQ(toPrintable(text), text);
  EXPECT_EQ(toPrintable(""), "");
}

TEST(PrintableText, EveryCodePoint) {
  std::set<std::uint32_t> escaped = {0x7f, 0x61c, 0x200e, 0x200f, 0x2028, 0x2029};
  for (std::uint32_t code = 0; code < 0x20; ++code) escaped.insert(code);
  for (std::uint32_t code = 0x80; code <= 0x9f; ++code) escaped.insert(code);
  for (std::uint32_t code = 0x202a; code <= 0x202e; ++code) escaped.insert(code);
  for (std::uint32_t code = 0x2066; code <= 0x2069; ++code) escaped.insert(code);
  for (std::uint32_t code = 0xd800; code <= 0xdfff; ++code) escaped.insert(code);  // surrogates
  for (std::uint32_t code = 0; code <= 0x10ffff; ++code) {
    const std::string bytes = utf8(code);
    const std::string expected = code == '\n'               ? "\\n"
                                 : escaped.count(code) == 1 ? hexEscapes(bytes)
                                                            : bytes;
    ASSERT_EQ(toPrintable("a" + bytes + "b"), "a" + expected + "b") << std::hex << code;
  }
}

TEST(PrintableText, IllFormedBytesAreEscapedOneByOne) {
  const std::string_view cases[] = {
      "\x80",              // a continuation without a lead
      "\xc0\xaf",          // overlong slash
      "\xc1\xbf",          // overlong
      "\xe0\x80\xaf",      // overlong
      "\xf0\x8f\xbf\xbf",  // overlong
      "\xf4\x90\x80\x80",  // beyond U+10FFFF
      "\xf5\x80\x80\x80",  // beyond U+10FFFF
      "\xff",
      "\xc3",          // cut short
      "\xe2\x82",      // cut short
      "\xf0\x9f\x93",  // cut short
  };
  for (const std::string_view bytes : cases) {
    const std::string escapes = hexEscapes(std::string(bytes));
    EXPECT_EQ(toPrintable(bytes), escapes);
    EXPECT_EQ(toPrintable(std::string(bytes) + "z"), escapes + "z");
    EXPECT_EQ(toPrintable(std::string(bytes) + "\xc3\xa9"), escapes + "\xc3\xa9");
  }
}

TEST(PrintableText, NullCharactersAreText) {
  EXPECT_EQ(toPrintable(std::string_view("a\0b", 3)), "a\\x00b");
}

TEST(PrintableText, AnAttackOnTheTerminal) {
  EXPECT_EQ(toPrintable("mk\x1b]0;title\x07\nerror: forged\r"),
            "mk\\x1b]0;title\\x07\\nerror: forged\\x0d");
  EXPECT_EQ(toPrintable(utf8(0x9b) + "2J" + utf8(0x202e) + "gnp.exe"),
            "\\xc2\\x9b2J\\xe2\\x80\\xaegnp.exe");
}

TEST(PrintableText, ResultIsItsOwnFixedPoint) {
  std::string every_byte;
  for (int byte = 0; byte < 256; ++byte) every_byte.push_back(static_cast<char>(byte));
  const std::string printable = toPrintable(every_byte);
  EXPECT_EQ(toPrintable(printable), printable);
}

}  // namespace
}  // namespace norv

#include "support/log/error_line.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace norv {
namespace {

constexpr std::size_t kMaxText = 4096;
constexpr std::size_t kMaxName = 1024;

std::string lineOf(const LogRecord& record) {
  internal::ErrorLine line;
  line.set(record);
  return std::string(line.view());
}

std::string lineOf(const std::string& text) {
  return lineOf({3, "channel", "file.cpp", "function", 12, text});
}

const std::string start = "WARNING channel file.cpp:12: ";

/// `unit` as often as it takes to make `size` bytes.
std::string repeated(const std::string& unit, std::size_t size) {
  std::string text;
  while (text.size() < size) text += unit;
  return text;
}

TEST(ErrorLine, LevelChannelPlaceAndText) {
  EXPECT_EQ(lineOf("text"), start + "text\n");
  EXPECT_EQ(lineOf({1, "a", "b", "c", 0, ""}), "FATAL a b:0: \n");
  EXPECT_EQ(lineOf({4, "a", "b", "c", INT_MAX, "d"}), "LEVEL4 a b:2147483647: d\n");
  EXPECT_EQ(lineOf({INT_MIN, "a", "b", "c", INT_MIN, "d"}),
            "LEVEL-2147483648 a b:-2147483648: d\n");
}

TEST(ErrorLine, CanBeSetAgain) {
  internal::ErrorLine line;
  line.set({3, "channel", "file.cpp", "function", 12, "a long text"});
  line.set({3, "channel", "file.cpp", "function", 12, "short"});
  EXPECT_EQ(line.view(), start + "short\n");
}

TEST(ErrorLine, TextsUpToTheLimitAreWhole) {
  const std::string text(kMaxText, 'x');
  EXPECT_EQ(lineOf(text), start + text + "\n");
}

TEST(ErrorLine, LongerTextsAreCutAndCounted) {
  const std::string shown(kMaxText, 'x');
  EXPECT_EQ(lineOf(shown + "y"), start + shown + " ... (1 more bytes)\n");
  EXPECT_EQ(lineOf(shown + std::string(1000000, 'y')),
            start + shown + " ... (1000000 more bytes)\n");
}

TEST(ErrorLine, CutsBetweenCharacters) {
  for (const std::string character : {"\xc3\xa9", "\xe2\x82\xac", "\xf0\x9f\x93\xb7"}) {
    for (std::size_t offset = 0; offset < character.size(); ++offset) {
      const std::string text = std::string(offset, 'x') + repeated(character, 5000);
      const std::size_t whole = (kMaxText - offset) / character.size();
      const std::size_t size = offset + whole * character.size();
      EXPECT_EQ(lineOf(text), start + text.substr(0, size) + " ... (" +
                                  std::to_string(text.size() - size) + " more bytes)\n");
    }
  }
}

TEST(ErrorLine, EscapesCountAsTheBytesThatTheyStandFor) {
  std::string escapes;
  for (std::size_t i = 0; i < kMaxText; ++i) escapes += "\\x1b";
  EXPECT_EQ(lineOf(std::string(kMaxText + 3, '\x1b')), start + escapes + " ... (3 more bytes)\n");
  EXPECT_EQ(lineOf(std::string(kMaxText - 1, 'x') + "\xc2\x9b"),
            start + std::string(kMaxText - 1, 'x') + " ... (2 more bytes)\n");
}

TEST(ErrorLine, EverythingAtItsLongest) {
  const std::string escaped = repeated("\\xff", 4 * kMaxName);
  const std::string name(kMaxName + 1, '\xff');
  const std::string text(kMaxText + 1, '\xff');
  const std::string more = " ... (1 more bytes)";
  EXPECT_EQ(lineOf({INT_MIN, name.c_str(), name.c_str(), "c", INT_MIN, text}),
            "LEVEL-2147483648 " + escaped + more + " " + escaped + more +
                ":-2147483648: " + repeated("\\xff", 4 * kMaxText) + more + "\n");
}

TEST(ErrorLine, NamesAreEscapedToo) {
  EXPECT_EQ(lineOf({2, "a\n", "b\x1b", "c", 1, "\xc2\x9b"}), "ERROR a\\n b\\x1b:1: \\xc2\\x9b\n");
}

}  // namespace
}  // namespace norv

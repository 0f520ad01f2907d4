#include "interop/syntax/literal.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "interop/syntax/fields.h"

namespace norv::interop {
namespace {

/// The problem of a text as "LINE:COLUMN: KEY: sentence", or "" where there is none.
std::string problemOf(const std::string& text) {
  try {
    parseLiteral(text);
    return "";
  } catch (const FormatError& error) {
    FormatProblem problem = error.problem();
    problem.file = "f";
    return describe(problem);
  }
}

std::string stringOf(const std::string& text) { return parseLiteral(text).text; }

TEST(Literal, HasPlacesOfEveryValueCountedFromOne) {
  const Node root = parseLiteral("# a comment: {\n{ 'a': 1, # one\n  \"b\": [ (2,), 'y', ],\n}\n");
  ASSERT_EQ(root.kind, Node::Kind::kMap);
  EXPECT_EQ(root.place.line, 2);
  EXPECT_EQ(root.place.column, 1);
  const Node* const b = findKey(root, "b");
  ASSERT_NE(b, nullptr);
  ASSERT_EQ(b->items.size(), 2U);
  EXPECT_EQ(b->items[0].kind, Node::Kind::kSequence);
  EXPECT_EQ(b->items[0].items.at(0).text, "2");
  EXPECT_FALSE(b->items[0].items[0].is_quoted);
  EXPECT_EQ(b->items[1].text, "y");
  EXPECT_TRUE(b->items[1].is_quoted);
  EXPECT_EQ(b->items[1].place.line, 3);
  EXPECT_EQ(b->items[1].place.column, 16);
  EXPECT_EQ(root.key_places.at(1).line, 3);
  EXPECT_EQ(root.key_places.at(1).column, 3);
}

TEST(Literal, ReadsStringsInAnyQuotes) {
  EXPECT_EQ(stringOf("'it''s'"), "its");
  EXPECT_EQ(stringOf("(\"it's\"\n  b' bytes')"), "it's bytes");
  EXPECT_EQ(stringOf("'''two\nlines, 'quoted' '''"), "two\nlines, 'quoted' ");
  EXPECT_EQ(stringOf("\"\"\"a\"b\"\"\""), "a\"b");
  EXPECT_EQ(stringOf("''"), "");
  EXPECT_EQ(stringOf(R"('\'\"\\\n\t\x41\101\u00e9\U0001F600\q')"),
            "'\"\\\n\tAA\xC3\xA9\xF0\x9F\x98\x80\\q");
  EXPECT_EQ(stringOf("'\\xe9\\u20ac'"), "\xC3\xA9\xE2\x82\xAC");
  EXPECT_EQ(stringOf("b'\\xe9\\377\\u00e9'"), "\xE9\xFF\\u00e9");
  EXPECT_EQ(stringOf(R"(r'\n\'')"), "\\n\\'");
  EXPECT_EQ(stringOf("'a\\\nb'"), "ab");
  EXPECT_EQ(stringOf("'a\\\r\nb'"), "ab");
  // Places go on after strings of several lines.
  EXPECT_EQ(parseLiteral("['''\n\n''', 1]").items[1].place.line, 3);
  EXPECT_EQ(parseLiteral("['''\n\n''', 1]").items[1].place.column, 6);
}

TEST(Literal, ReadsNumbersNamesAndEmptyBrackets) {
  const Node root = parseLiteral("[ 1, -2.5, 1., .5, +3, 1e-3, (4), ]");
  EXPECT_EQ(numbersOf({&root, "x"}), (std::vector<double>{1, -2.5, 1, 0.5, 3, 0.001, 4}));
  EXPECT_EQ(parseLiteral("None").kind, Node::Kind::kNothing);
  EXPECT_EQ(parseLiteral("True").text, "True");
  EXPECT_EQ(parseLiteral("{}").kind, Node::Kind::kMap);
  EXPECT_EQ(parseLiteral("()").kind, Node::Kind::kSequence);
  EXPECT_EQ(parseLiteral("[\f]").kind, Node::Kind::kSequence);
  EXPECT_EQ(parseLiteral("\xEF\xBB\xBF{'a': 7,\r\n 'b': 8}\r\n").items.at(1).text, "8");
}

TEST(Literal, RefusesWhatIsNone) {
  EXPECT_EQ(problemOf(""), "f: is empty");
  EXPECT_EQ(problemOf(" # only a comment"), "f: is empty");
  EXPECT_EQ(problemOf("{'a': 1,\n 'a': 2}"), "f:2:2: a: stands there twice");
  EXPECT_EQ(problemOf("{'a': 1} {}"), "f:1:10: more than one value");
  EXPECT_EQ(problemOf("{'a': 1, b: 2}"), "f:1:10: a key that is no string");
  EXPECT_EQ(problemOf("{'a', 'b'}"), "f:1:5: a: has no colon and no value");
  EXPECT_EQ(problemOf("{'a' 1}"), "f:1:6: a: has no colon and no value");
  EXPECT_EQ(problemOf("{'a': 1 'b': 2}"), "f:1:9: a comma or a bracket is missing");
  EXPECT_EQ(problemOf("[1 2]"), "f:1:4: a comma or a bracket is missing");
  EXPECT_EQ(problemOf("[,]"), "f:1:2: a value is missing");
  EXPECT_EQ(problemOf("{'a': 1,, }"), "f:1:9: a value is missing");
  EXPECT_EQ(problemOf("[1, 2"), "f:1:6: a comma or a bracket is missing");
  EXPECT_EQ(problemOf("[1, 2,"), "f:1:7: a value is missing");
  EXPECT_EQ(problemOf("{'a':"), "f:1:6: a value is missing");
  EXPECT_EQ(problemOf("{'a': 'b\n'}"), "f:1:7: a string without an end");
  EXPECT_EQ(problemOf("'''a''"), "f:1:1: a string without an end");
  EXPECT_EQ(problemOf("'a\\"), "f:1:1: a string without an end");
  EXPECT_EQ(problemOf("r'a\\"), "f:1:1: a string without an end");
  EXPECT_EQ(problemOf("'\\x4'"), "f:1:5: an escape with too few digits");
  EXPECT_EQ(problemOf("'\\UFFFFFFFF'"), "f:1:3: an escape that stands for no character");
  EXPECT_EQ(problemOf("'\\N{DASH}'"),
            "f:1:3: an escape by the name of a character, which is not read");
  EXPECT_EQ(problemOf("@"), "f:1:1: a value is missing");
  EXPECT_EQ(problemOf(std::string("[\0]", 3)), "f: has a null character");
}

TEST(Literal, RefusesHostileTextsWithinASecond) {
  const auto begin = std::chrono::steady_clock::now();
  const std::size_t many = 100000;
  EXPECT_EQ(problemOf(std::string(many, '[')), "f:1:65: is nested too deeply");
  EXPECT_EQ(problemOf(std::string(many, '(')), "f:1:65: is nested too deeply");
  EXPECT_EQ(problemOf(std::string(many, '{')), "f:1:65: is nested too deeply");
  EXPECT_EQ(problemOf(std::string(64, '[') + "1" + std::string(64, ']')), "");
  std::string maps;
  for (std::size_t i = 0; i < many; ++i) maps += "{'a':";
  EXPECT_EQ(problemOf(maps), "f:1:321: is nested too deeply");
  EXPECT_EQ(problemOf(std::string(100000000, ' ')), "f: is longer than 16 MiB");
  std::string ones = "[";
  for (int i = 0; i < 1000000; ++i) ones += "1,";
  EXPECT_EQ(problemOf(ones + "]"), "f:1:2000000: has too many values");
  EXPECT_EQ(problemOf(std::string(16777212, '\'')), "");  // empty strings in three quotes each
  EXPECT_EQ(problemOf("'" + std::string(kMaxDocumentBytes - 1, ' ')),
            "f:1:1: a string without an end");
  EXPECT_EQ(problemOf(std::string(kMaxDocumentBytes, '#')), "f: is empty");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

}  // namespace
}  // namespace norv::interop

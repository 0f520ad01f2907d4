#include "interop/syntax/yaml.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "interop/syntax/fields.h"

namespace norv::interop {
namespace {

/// The problem of a text as "LINE:COLUMN: KEY: sentence", or "" where there is none.
std::string problemOf(const std::string& text) {
  try {
    parseYaml(text);
    return "";
  } catch (const FormatError& error) {
    FormatProblem problem = error.problem();
    problem.file = "f";
    return describe(problem);
  }
}

Field fieldOf(const Node& root, const std::string& key) { return {findKey(root, key), key}; }

TEST(Yaml, HasPlacesOfEveryValueCountedFromOne) {
  const Node root = parseYaml("a: 1\nb:\n  - [x, 'y']\n");
  ASSERT_EQ(root.kind, Node::Kind::kMap);
  const Node* const b = findKey(root, "b");
  ASSERT_NE(b, nullptr);
  const Node& y = b->items.at(0).items.at(1);
  EXPECT_EQ(y.text, "y");
  EXPECT_TRUE(y.is_quoted);
  EXPECT_EQ(y.place.line, 3);
  EXPECT_EQ(y.place.column, 9);
  EXPECT_FALSE(b->items[0].items[0].is_quoted);
  EXPECT_EQ(root.key_places.at(1).line, 2);
}

TEST(Yaml, ReadsJsonTabsByteOrderMarksAndOtherEndsOfLines) {
  EXPECT_EQ(findKey(parseYaml("{\n\t\"a\":[1,{\"b\":\"x\"}]}"), "a")->items.size(), 2U);
  EXPECT_EQ(findKey(parseYaml("\xEF\xBB\xBF"
                              "a: 7\r\nb: 8\r\n"),
                    "b")
                ->text,
            "8");
  EXPECT_EQ(
      findKey(parseYaml("%YAML:1.0\n---\nm: !!opencv-matrix\n   rows: 3\n"), "m")->items.at(0).text,
      "3");
}

TEST(Yaml, RefusesWhatProgramsReadDifferently) {
  EXPECT_EQ(problemOf("a: 1\nb: 2\na: 3\n"), "f:3:1: a: stands there twice");
  EXPECT_EQ(problemOf("a: &x 1\nb: *x\n"), "f:2:4: aliases are not read");
  EXPECT_EQ(problemOf("a: 1\n---\nb: 1\n"), "f:3:1: a second document");
  EXPECT_EQ(problemOf("[1]: 2\n"), "f:1:1: a key that is no word");
  EXPECT_EQ(problemOf(""), "f: is empty");
  EXPECT_EQ(problemOf(std::string("a: \0", 4)), "f: has a null character");
  // The bracket is missed at the colon, which a list cannot have.
  EXPECT_EQ(problemOf("a: [1, 2\nb: 3\n").substr(0, 10), "f:2:2: no ");
}

TEST(Yaml, RefusesHostileTextsWithinASecond) {
  const auto begin = std::chrono::steady_clock::now();
  const std::size_t many = 100000;
  std::string dashes;
  for (std::size_t i = 0; i < many; ++i) dashes += "- ";
  EXPECT_NE(problemOf(std::string(many, '[')), "");
  EXPECT_NE(problemOf(std::string(many, '{')), "");
  EXPECT_NE(problemOf(dashes), "");
  EXPECT_EQ(problemOf(std::string(100000000, ' ')), "f: is longer than 16 MiB");
  EXPECT_EQ(problemOf("[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[["
                      "]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]"),
            "f:1:65: is nested too deeply");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST(Yaml, NumbersAreDecimalAndFinite) {
  const Node root = parseYaml(
      "good: [1, -2.5, 1., .5, +3, 1e-3]\nquoted: '1'\nnan: .nan\nbig: 1e999\nword: 1x\n"
      "hex: 0x10\nnone:\nhalf: 0.5\nwhole: 640.0\n");
  EXPECT_EQ(numbersOf(fieldOf(root, "good")), (std::vector<double>{1, -2.5, 1, 0.5, 3, 0.001}));
  const auto refusal = [&](const std::string& key) {
    try {
      numberOf(fieldOf(root, key));
      return std::string();
    } catch (const FormatError& error) {
      return describe(error.problem());
    }
  };
  EXPECT_EQ(refusal("quoted"), ":2:9: quoted: is not a number, but a text");
  EXPECT_EQ(refusal("nan"), ":3:6: nan: is not finite: .nan");
  EXPECT_EQ(refusal("big"), ":4:6: big: exceeds the range of double: 1e999");
  EXPECT_EQ(refusal("word"), ":5:7: word: is not a number: 1x");
  EXPECT_EQ(refusal("hex"), ":6:6: hex: is not a number: 0x10");
  EXPECT_NE(refusal("none").find("none: is not a number"), std::string::npos);
  EXPECT_THROW(integerOf(fieldOf(root, "half"), 0, 10), FormatError);
  EXPECT_EQ(integerOf(fieldOf(root, "whole"), 1, kMaxSide), 640);
}

TEST(Fields, NamesWhatNobodyAskedFor) {
  const Node root = parseYaml("a: 1\nb: 2\nc: 3\n");
  Fields fields({&root, "cam0"});
  EXPECT_EQ(numberOf(fields.get("b")), 2);
  EXPECT_FALSE(fields.find("d"));
  std::vector<NotTakenOver> rest;
  fields.listRest([](const std::string& key) { return "no " + key; }, &rest);
  ASSERT_EQ(rest.size(), 2U);
  EXPECT_EQ(rest[0].key, "cam0.a");
  EXPECT_EQ(rest[1].reason, "no c");
}

}  // namespace
}  // namespace norv::interop

#include "interop/syntax/ini.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "interop/syntax/fields.h"

namespace norv::interop {
namespace {

/// The problem of a text as "f:LINE:COLUMN: KEY: sentence", or "" where there is none.
std::string problemOf(const std::string& text) {
  try {
    parseIni(text);
    return "";
  } catch (const FormatError& error) {
    FormatProblem problem = error.problem();
    problem.file = "f";
    return describe(problem);
  }
}

TEST(Ini, HasSectionsKeysAndWordsWithPlaces) {
  const Node root = parseIni("[a b]\nkey of words\n1 -2.5\n  .5\n# 7\n; 8\n\n[c]\n");
  ASSERT_EQ(root.keys, (std::vector<std::string>{"a b", "c"}));
  const Node* const list = findKey(*findKey(root, "a b"), "key of words");
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(numbersOf({list, "list"}), (std::vector<double>{1, -2.5, 0.5}));
  EXPECT_EQ(list->place.line, 2);
  EXPECT_EQ(list->items[1].place.line, 3);
  EXPECT_EQ(list->items[1].place.column, 3);
  EXPECT_EQ(list->items[2].place.line, 4);
  EXPECT_EQ(list->items[2].place.column, 3);
}

TEST(Ini, ReadsByteOrderMarksAndOtherEndsOfLines) {
  const Node root = parseIni("\xEF\xBB\xBF[a]\r\nb\r\n1 2\r\n");
  EXPECT_EQ(numbersOf({findKey(*findKey(root, "a"), "b"), "b"}), (std::vector<double>{1, 2}));
}

TEST(Ini, WhatIsNotFiniteIsNoKey) {
  const Node root = parseIni("[a]\nb\nNaN 1\n-inf\n");
  EXPECT_EQ(findKey(*findKey(root, "a"), "b")->items.size(), 3U);
}

TEST(Ini, RefusesWhatHasNoPlaceInIt) {
  EXPECT_EQ(problemOf("[a]\n[b]\n[a]\n"), "f:3:1: a: stands there twice");
  EXPECT_EQ(problemOf("[a]\nx\n1\nx\n2\n"), "f:4:1: x: stands there twice");
  EXPECT_EQ(problemOf("x\n"), "f:1:1: x: stands before the first section");
  EXPECT_EQ(problemOf("[a]\n  5\n"), "f:2:3: numbers that stand under no key");
  EXPECT_EQ(problemOf("[a\n"), "f:1:1: a section without its ]");
  EXPECT_EQ(problemOf("[\n"), "f:1:1: a section without its ]");
  EXPECT_EQ(problemOf(std::string("[a]\nb\n1\0", 9)), "f: has a null character");
}

TEST(Ini, RefusesOrReadsHostileTextsWithinASecond) {
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(problemOf(std::string(100000, '[')), "f:1:1: a section without its ]");
  EXPECT_EQ(problemOf(std::string(100000000, ' ')), "f: is longer than 16 MiB");
  EXPECT_EQ(problemOf(std::string(16000000, ' ')), "");
  EXPECT_EQ(problemOf(std::string(16000000, '\n')), "");
  std::string numbers = "[a]\nb\n";
  for (int i = 0; i < 1100000; ++i) numbers += "1 ";
  EXPECT_EQ(problemOf(numbers), "f:3:1999997: has too many values");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

}  // namespace
}  // namespace norv::interop

#include "tools/usage/nearest_word.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace norv::tools {
namespace {

TEST(NearestWord, EditDistance) {
  EXPECT_EQ(editDistance("", ""), 0U);
  EXPECT_EQ(editDistance("show", "show"), 0U);
  EXPECT_EQ(editDistance("", "show"), 4U);
  EXPECT_EQ(editDistance("show", ""), 4U);
  EXPECT_EQ(editDistance("shw", "show"), 1U);
  EXPECT_EQ(editDistance("shoow", "show"), 1U);
  EXPECT_EQ(editDistance("shew", "show"), 1U);
  EXPECT_EQ(editDistance("shwo", "show"), 1U);
  EXPECT_EQ(editDistance("hsow", "show"), 1U);
  EXPECT_EQ(editDistance("kitten", "sitting"), 3U);
  // The classic pair that tells this distance from the one where letters may be touched twice (2).
  EXPECT_EQ(editDistance("ca", "abc"), 3U);
}

TEST(NearestWord, DistanceIsTheSameBothWays) {
  const std::vector<std::string> words = {"",    "a",    "ab",   "ba",  "abc",
                                          "acb", "cabb", "show", "shwo"};
  for (const std::string& a : words) {
    for (const std::string& b : words) EXPECT_EQ(editDistance(a, b), editDistance(b, a));
  }
}

TEST(NearestWord, WhatWasMeant) {
  const std::vector<std::string> verbs = {"show", "aim", "adjust"};
  EXPECT_EQ(nearestWord("shwo", verbs), "show");
  EXPECT_EQ(nearestWord("am", verbs), "aim");
  EXPECT_EQ(nearestWord("ajdsut", verbs), "adjust");
  EXPECT_EQ(nearestWord("show", verbs), "show");
  EXPECT_EQ(nearestWord("frobnicate", verbs), "");
  EXPECT_EQ(nearestWord("", verbs), "");
  EXPECT_EQ(nearestWord("shwo", {}), "");
  EXPECT_EQ(nearestWord(std::string(100'000'000, 's'), verbs), "");
}

TEST(NearestWord, TheFirstOfSeveral) { EXPECT_EQ(nearestWord("aaab", {"aaac", "aaad"}), "aaac"); }

}  // namespace
}  // namespace norv::tools

#include "interop/syntax/xml.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "interop/syntax/fields.h"

namespace norv::interop {
namespace {

/// The problem of a text as "f:LINE:COLUMN: KEY: sentence", or "" where there is none.
std::string problemOf(const std::string& text) {
  try {
    parseXml(text);
    return "";
  } catch (const FormatError& error) {
    FormatProblem problem = error.problem();
    problem.file = "f";
    return describe(problem);
  }
}

/// The element in the outermost one.
Node inner(const std::string& text, const std::string& key) {
  const Node root = parseXml("<r>" + text + "</r>");
  const Node* const node = findKey(*findKey(root, "r"), key);
  EXPECT_NE(node, nullptr);
  return node == nullptr ? Node{} : *node;
}

TEST(Xml, HasMapsListsAndWords) {
  EXPECT_EQ(inner("<a>1</a>", "a").text, "1");
  EXPECT_EQ(inner("<a>1</a>", "a").kind, Node::Kind::kScalar);
  const Node list = inner("<a>\n 1 -2.5\n 3. </a>", "a");
  EXPECT_EQ(numbersOf({&list, "a"}), (std::vector<double>{1, -2.5, 3}));
  const Node items = inner("<a><_>1</_><_><b>2</b></_></a>", "a");
  ASSERT_EQ(items.kind, Node::Kind::kSequence);
  EXPECT_EQ(items.items.at(1).items.at(0).text, "2");
  EXPECT_EQ(inner("<a><_>1</_></a>", "a").items.size(), 1U);
  EXPECT_EQ(inner("<a/>", "a").kind, Node::Kind::kNothing);
  const Node words = inner("<a>x \"y z\" 1</a>", "a");
  ASSERT_EQ(words.items.size(), 3U);
  EXPECT_EQ(words.items[1].text, "y z");
  EXPECT_TRUE(words.items[1].is_quoted);
  EXPECT_FALSE(words.items[2].is_quoted);
}

TEST(Xml, TypeIsAnElementOfAMapAsInJson) {
  const Node map = inner("<a type_id=\"t\"><b>1</b></a>", "a");
  EXPECT_EQ(findKey(map, "type_id")->text, "t");
  EXPECT_EQ(inner("<a type_id=\"t\">1</a>", "a").text, "1");
}

TEST(Xml, HasPlacesOfElementsAndWordsCountedFromOne) {
  const Node root = parseXml("<?xml version=\"1.0\"?>\n<r>\n  <a>1</a><b>\n 5 6 </b>\n</r>\n");
  const Node& r = root.items.at(0);
  const auto place = [](const Place& p) {
    return std::to_string(p.line) + ":" + std::to_string(p.column);
  };
  EXPECT_EQ(place(r.place), "2:1");
  EXPECT_EQ(place(r.key_places.at(0)), "3:3");
  EXPECT_EQ(place(r.items.at(0).place), "3:6");
  EXPECT_EQ(place(r.items.at(1).place), "3:11");
  EXPECT_EQ(place(r.items.at(1).items.at(0).place), "4:2");
  EXPECT_EQ(place(r.items.at(1).items.at(1).place), "4:4");
}

TEST(Xml, ReadsCommentsReferencesByteOrderMarksAndOtherEndsOfLines) {
  EXPECT_EQ(inner("<!-- <a>2</a> --><a><!-- 7 -->1</a>", "a").text, "1");
  EXPECT_EQ(inner("<a>&#49;</a>", "a").text, "1");
  EXPECT_EQ(inner("<a><![CDATA[1]]></a>", "a").text, "1");
  const Node root = parseXml("\xEF\xBB\xBF<r>\r\n<a>1\r\n2</a>\r\n</r>\r\n");
  const Node* const a = findKey(root.items.at(0), "a");
  EXPECT_EQ(numbersOf({a, "a"}), (std::vector<double>{1, 2}));
  EXPECT_EQ(a->items.at(1).place.line, 3);
}

TEST(Xml, RefusesWhatIsNoFileOfOpenCv) {
  EXPECT_EQ(problemOf("<r>\n<a>1</a>\n<a>2</a></r>"), "f:3:1: a: stands there twice");
  EXPECT_EQ(problemOf("<r>\n <a>1<b/></a></r>"), "f:2:2: a: has values beside named elements");
  EXPECT_EQ(problemOf("<r>\n<a b=\"1\"/></r>"), "f:2:1: b: is an attribute that is not read");
  EXPECT_EQ(problemOf("<r/>\n<s/>"), "f:2: s: is a second document");
  EXPECT_EQ(problemOf("<r><?x?></r>"), "f:1: no XML: parsing declaration");
  EXPECT_EQ(problemOf(""), "f: is empty");
  EXPECT_EQ(problemOf("<!-- a -->"), "f: is empty");
  EXPECT_EQ(problemOf("<r>\n<a></b></r>"), "f:2: no XML: mismatched element");
  EXPECT_EQ(problemOf("<r>\n"), "f:1: no XML: parsing");
  EXPECT_EQ(problemOf(std::string("<r>\0</r>", 8)), "f: has a null character");
}

TEST(Xml, RefusesDocumentTypesAndReadsNoEntity) {
  // The parser takes the first > for the end of the document type, and what follows for text.
  EXPECT_EQ(
      problemOf("<!DOCTYPE r [\n<!ENTITY a \"1111111111\">\n<!ENTITY b \"&a;&a;&a;&a;\">\n]>\n"
                "<r><c>&b;</c></r>"),
      "f:1: a document type or text is not read");
  EXPECT_EQ(problemOf("<!DOCTYPE r>\n<r/>"), "f:1: a document type or text is not read");
  EXPECT_EQ(inner("<a>&b;</a>", "a").text, "&b;");
}

TEST(Xml, RefusesOrReadsHostileTextsWithinASecond) {
  const auto begin = std::chrono::steady_clock::now();
  const std::size_t many = 100000;
  std::string deep;
  for (std::size_t i = 0; i < many; ++i) deep += "<_>";
  EXPECT_EQ(problemOf(deep), "f:1: is nested too deeply");
  std::string layers;
  for (int i = 0; i < 65; ++i) layers = "<_>" + layers + "</_>";
  EXPECT_EQ(problemOf("<r>" + layers + "</r>"), "f:1:193: is nested too deeply");
  EXPECT_EQ(problemOf(std::string(100000000, ' ')), "f: is longer than 16 MiB");
  EXPECT_EQ(problemOf(std::string(16000000, ' ')), "f: is empty");
  EXPECT_EQ(problemOf("<r>" + std::string(16000000, ' ') + "</r>"), "");
  EXPECT_EQ(problemOf(std::string(100000, '<')).substr(0, 8), "f:1: no ");
  std::string elements;
  for (int i = 0; i < 1100000; ++i) elements += "<_/>";
  EXPECT_EQ(problemOf("<r>" + elements + "</r>"), "f: has too many values");
  std::string words;
  for (int i = 0; i < 1100000; ++i) words += "1 ";
  EXPECT_EQ(problemOf("<r>" + words + "</r>"), "f:1:2000002: has too many values");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}

TEST(Xml, ManyPiecesThatAreNotFoundWhereTheyStandCostNoMoreThanOthers) {
  // The words stand as references, so that none is found on the line.
  std::string words;
  for (int i = 0; i < 900000; ++i) words += "&#50; ";
  const auto begin = std::chrono::steady_clock::now();
  const Node list = inner("<a>" + words + "</a>", "a");
  EXPECT_EQ(list.items.size(), 900000U);
  EXPECT_EQ(list.items.back().place.line, 1);
  EXPECT_EQ(list.items.back().place.column, 0);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

}  // namespace
}  // namespace norv::interop

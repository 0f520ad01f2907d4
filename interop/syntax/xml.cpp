#include "interop/syntax/xml.h"

#include <tinyxml2.h>

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "interop/syntax/source_places.h"

namespace norv::interop {
namespace {

/// What OpenCV calls the elements of a list.
constexpr std::string_view kItem = "_";
constexpr std::string_view kTypeAttribute = "type_id";

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

/// Makes the tree from the parser's.
class TreeBuilder {
 public:
  explicit TreeBuilder(const std::string& text) : places_(text) {}

  Node build(const tinyxml2::XMLDocument& document) {
    Node root;
    root.kind = Node::Kind::kMap;
    for (const auto* child = document.FirstChild(); child; child = child->NextSibling()) {
      if (child->ToComment() != nullptr || child->ToDeclaration() != nullptr) continue;
      const Place place{child->GetLineNum(), 0};
      const tinyxml2::XMLElement* const element = child->ToElement();
      if (element == nullptr) throw FormatError(place, "", "a document type or text is not read");
      if (!root.items.empty()) throw FormatError(place, element->Name(), "is a second document");
      const Place begin = placeOf(*element);
      addKey(&root, element->Name(), begin, nodeOf(*element, begin, 1));
    }
    if (root.items.empty()) throw FormatError({}, "", "is empty");
    return root;
  }

 private:
  Place placeOf(const tinyxml2::XMLElement& element) {
    return places_.find(element.GetLineNum(), std::string("<") + element.Name());
  }

  /// What stands in the element that begins there: values, or named elements.
  Node nodeOf(const tinyxml2::XMLElement& element, const Place& place, int depth) {
    Node map;
    map.kind = Node::Kind::kMap;
    map.place = place;
    if (depth > kMaxDepth) throw FormatError(map.place, "", "is nested too deeply");
    count(map.place);
    Node list;
    list.kind = Node::Kind::kSequence;
    list.place = map.place;
    bool has_items = false;
    for (const auto* child = element.FirstChild(); child; child = child->NextSibling()) {
      const tinyxml2::XMLElement* const inner = child->ToElement();
      if (child->ToComment() != nullptr) continue;
      if (const auto* text = child->ToText()) {
        takeWords(*text, &list);
      } else if (inner != nullptr) {
        has_items = has_items || inner->Name() == kItem;
        takeElement(*inner, depth, &map, &list);
      } else {
        throw FormatError({child->GetLineNum(), 0}, element.Name(), "has a declaration in it");
      }
    }
    if (!map.items.empty() && !list.items.empty()) {
      throw FormatError(map.place, element.Name(), "has values beside named elements");
    }
    takeAttributes(element, &map);
    return map.items.empty() ? valueOf(std::move(list), has_items) : map;
  }

  void takeElement(const tinyxml2::XMLElement& element, int depth, Node* map, Node* list) {
    const Place place = placeOf(element);
    Node node = nodeOf(element, place, depth + 1);
    if (element.Name() == kItem) {
      list->items.push_back(std::move(node));
    } else {
      addKey(map, element.Name(), place, std::move(node));
    }
  }

  /// The type is an element of a map, as in JSON; of what is none it says nothing that the text
  /// does not.
  static void takeAttributes(const tinyxml2::XMLElement& element, Node* map) {
    for (const auto* attribute = element.FirstAttribute(); attribute;
         attribute = attribute->Next()) {
      if (attribute->Name() != kTypeAttribute) {
        throw FormatError(map->place, attribute->Name(), "is an attribute that is not read");
      }
      if (map->items.empty()) continue;
      Node type;
      type.kind = Node::Kind::kScalar;
      type.place = map->place;
      type.text = attribute->Value();
      type.is_quoted = true;
      addKey(map, attribute->Name(), map->place, std::move(type));
    }
  }

  /// A list of one word is the word, and an empty one nothing.
  static Node valueOf(Node list, bool has_items) {
    if (has_items || list.items.size() > 1) return list;
    if (list.items.size() == 1) return std::move(list.items[0]);
    list.kind = Node::Kind::kNothing;
    return list;
  }

  void takeWords(const tinyxml2::XMLText& text, Node* list) {
    std::string_view rest = text.Value();
    // The parser gives the line of the first character that is no blank, but for CDATA.
    if (!text.CData()) skipBlanks(&rest);
    int line = text.GetLineNum();
    while (true) {
      line += skipBlanks(&rest);
      if (rest.empty()) return;
      const std::string_view begin = rest;
      list->items.push_back(takeWord(&rest, line));
      count(list->items.back().place);
      line += countLines(begin.substr(0, begin.size() - rest.size()));
    }
  }

  static int countLines(std::string_view text) {
    return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
  }

  /// Returns the number of ends of lines among them.
  static int skipBlanks(std::string_view* text) {
    const std::string_view whole = *text;
    while (!text->empty() && isBlank(text->front())) text->remove_prefix(1);
    return countLines(whole.substr(0, whole.size() - text->size()));
  }

  /// The first word of a text that begins with one, or what it begins with in double quotes.
  Node takeWord(std::string_view* rest, int line) {
    Node node;
    node.kind = Node::Kind::kScalar;
    node.is_quoted = rest->front() == '"';
    if (node.is_quoted) rest->remove_prefix(1);
    const bool is_quoted = node.is_quoted;
    const auto end = std::find_if(rest->begin(), rest->end(), [is_quoted](char c) {
      return is_quoted ? c == '"' : isBlank(c);
    });
    const auto length = static_cast<std::size_t>(end - rest->begin());
    node.text = std::string(rest->substr(0, length));
    node.place = places_.find(line, node.text);
    rest->remove_prefix(std::min(rest->size(), length + (is_quoted ? 1 : 0)));
    return node;
  }

  void count(const Place& place) {
    if (++count_ > kMaxNodes) throw FormatError(place, "", "has too many values");
  }

  SourcePlaces places_;
  std::size_t count_ = 0;
};

/// Elements and attributes at most, told before the parser takes memory for each.
std::size_t countPieces(const std::string& text) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool is_opening = text[i] == '<' && i + 1 < text.size() && text[i + 1] != '/';
    if (is_opening || text[i] == '=') ++count;
  }
  return count;
}

/// "mismatched element" of XML_ERROR_MISMATCHED_ELEMENT.
std::string wordsOf(const char* error_name) {
  std::string words = error_name;
  constexpr std::string_view kPrefix = "XML_ERROR_";
  if (words.compare(0, kPrefix.size(), kPrefix) == 0) words.erase(0, kPrefix.size());
  for (char& c : words) {
    c = c == '_' ? ' ' : c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return words;
}

[[noreturn]] void refuseError(const tinyxml2::XMLDocument& document) {
  const Place place{document.ErrorLineNum(), 0};
  switch (document.ErrorID()) {
    case tinyxml2::XML_ERROR_EMPTY_DOCUMENT:
      throw FormatError({}, "", "is empty");
    case tinyxml2::XML_ELEMENT_DEPTH_EXCEEDED:
      throw FormatError(place, "", "is nested too deeply");
    default:
      throw FormatError(place, "", "no XML: " + wordsOf(document.ErrorName()));
  }
}

}  // namespace

Node parseXml(const std::string& text) {
  if (text.size() > kMaxDocumentBytes) throw FormatError({}, "", "is longer than 16 MiB");
  if (text.find('\0') != std::string::npos) throw FormatError({}, "", "has a null character");
  if (countPieces(text) > kMaxNodes) throw FormatError({}, "", "has too many values");
  tinyxml2::XMLDocument document;
  if (document.Parse(text.data(), text.size()) != tinyxml2::XML_SUCCESS) refuseError(document);
  return TreeBuilder(text).build(document);
}

}  // namespace norv::interop

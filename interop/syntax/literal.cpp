#include "interop/syntax/literal.h"

#include <cstddef>
#include <utility>

#include "interop/syntax/literal_text.h"

namespace norv::interop {
namespace {

/// Reads values, which lie in each other.
class LiteralParser {
 public:
  explicit LiteralParser(const std::string& text) : text_(text) {}

  Node parse() {
    text_.skipBlanks();
    if (text_.isAtEnd()) throw FormatError({}, "", "is empty");
    Node root = value(0);
    text_.skipBlanks();
    if (!text_.isAtEnd()) throw FormatError(text_.place(), "", "more than one value");
    return root;
  }

 private:
  Node value(int depth) {
    const bool is_open = text_.peek() == '{' || text_.peek() == '[' || text_.peek() == '(';
    if (is_open && depth >= kMaxDepth) {
      throw FormatError(text_.place(), "", "is nested too deeply");
    }
    if (++count_ > kMaxNodes) throw FormatError(text_.place(), "", "has too many values");
    Node node;
    node.place = text_.place();
    if (text_.isAtString()) {
      fillString(&node);
    } else if (text_.take('{')) {
      fillMap(depth, &node);
    } else if (text_.take('[')) {
      node.kind = Node::Kind::kSequence;
      fillItems(']', depth, &node);
    } else if (text_.take('(')) {
      fillTuple(depth, &node);
    } else {
      fillWord(&node);
    }
    return node;
  }

  void fillWord(Node* node) {
    std::string word = text_.takeWord();
    if (word.empty()) throw FormatError(text_.place(), "", "a value is missing");
    if (word == "None") return;
    node->kind = Node::Kind::kScalar;
    node->text = std::move(word);
  }

  /// Strings with nothing but blanks between them are one.
  void fillString(Node* node) {
    node->kind = Node::Kind::kScalar;
    node->is_quoted = true;
    while (text_.isAtString()) {
      node->text += text_.takeString();
      text_.skipBlanks();
    }
  }

  /// The values up to a closing bracket, with commas between them. Returns whether a comma came
  /// last.
  bool fillItems(char close, int depth, Node* node) {
    bool has_comma = false;
    for (text_.skipBlanks(); !text_.take(close); text_.skipBlanks()) {
      if (!node->items.empty() && !has_comma)
        throw FormatError(text_.place(), "", "a comma or a bracket is missing");
      node->items.push_back(value(depth + 1));
      text_.skipBlanks();
      has_comma = text_.take(',');
    }
    return has_comma;
  }

  /// A value in parentheses is that value unless a comma follows it.
  void fillTuple(int depth, Node* node) {
    const Place place = node->place;
    node->kind = Node::Kind::kSequence;
    const bool has_comma = fillItems(')', depth, node);
    if (node->items.size() != 1 || has_comma) return;
    Node only = std::move(node->items.front());
    *node = std::move(only);
    node->place = place;
  }

  void fillMap(int depth, Node* node) {
    node->kind = Node::Kind::kMap;
    bool has_comma = true;
    for (text_.skipBlanks(); !text_.take('}'); text_.skipBlanks()) {
      if (!has_comma) throw FormatError(text_.place(), "", "a comma or a bracket is missing");
      Node key = value(depth + 1);
      if (!key.is_quoted) throw FormatError(key.place, "", "a key that is no string");
      text_.skipBlanks();
      if (!text_.take(':')) throw FormatError(text_.place(), key.text, "has no colon and no value");
      text_.skipBlanks();
      Node item = value(depth + 1);
      addKey(node, std::move(key.text), key.place, std::move(item));
      text_.skipBlanks();
      has_comma = text_.take(',');
    }
  }

  LiteralText text_;
  std::size_t count_ = 0;
};

}  // namespace

Node parseLiteral(const std::string& text) {
  if (text.size() > kMaxDocumentBytes) throw FormatError({}, "", "is longer than 16 MiB");
  if (text.find('\0') != std::string::npos) throw FormatError({}, "", "has a null character");
  return LiteralParser(text).parse();
}

}  // namespace norv::interop

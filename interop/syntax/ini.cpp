#include "interop/syntax/ini.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "interop/syntax/fields.h"

namespace norv::interop {
namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

/// A piece of the text and where it begins.
struct Piece {
  std::string_view text;
  Place place;
};

Piece trimmed(Piece piece) {
  while (!piece.text.empty() && isBlank(piece.text.front())) {
    piece.text.remove_prefix(1);
    ++piece.place.column;
  }
  while (!piece.text.empty() && isBlank(piece.text.back())) piece.text.remove_suffix(1);
  return piece;
}

/// Takes the first word off a line that begins with one.
Piece takeWord(Piece* line) {
  const std::size_t length = static_cast<std::size_t>(
      std::find_if(line->text.begin(), line->text.end(), isBlank) - line->text.begin());
  const Piece word{line->text.substr(0, length), line->place};
  line->text.remove_prefix(length);
  line->place.column += static_cast<int>(length);
  *line = trimmed(*line);
  return word;
}

bool beginsNumber(Piece line) {
  const std::string_view word = takeWord(&line).text;
  return std::string_view("0123456789+-.").find(word[0]) != std::string_view::npos ||
         isNotFiniteWord(std::string(word));
}

/// Makes the tree line by line.
class TreeBuilder {
 public:
  TreeBuilder() { root_.kind = Node::Kind::kMap; }

  void take(Piece line) {
    if (line.text.empty() || line.text[0] == '#' || line.text[0] == ';') return;
    if (line.text[0] == '[') {
      openSection(line);
    } else if (beginsNumber(line)) {
      takeNumbers(line);
    } else {
      openKey(line);
    }
  }

  Node finish() {
    closeSection();
    return std::move(root_);
  }

 private:
  /// A part of the tree that is still being filled.
  struct Open {
    bool is_open = false;
    std::string name;
    Node node;
  };

  static Open opened(Node::Kind kind, const std::string& name, Place place) {
    Open open{true, name, {}};
    open.node.kind = kind;
    open.node.place = place;
    return open;
  }

  void openSection(const Piece& line) {
    closeSection();
    if (line.text.back() != ']') throw FormatError(line.place, "", "a section without its ]");
    const Piece name = trimmed({line.text.substr(1, line.text.size() - 2), line.place});
    section_ = opened(Node::Kind::kMap, std::string(name.text), line.place);
    count(line.place);
  }

  void openKey(const Piece& line) {
    if (!section_.is_open) {
      throw FormatError(line.place, std::string(line.text), "stands before the first section");
    }
    closeKey();
    key_ = opened(Node::Kind::kSequence, std::string(line.text), line.place);
    count(line.place);
  }

  void takeNumbers(Piece line) {
    if (!key_.is_open) throw FormatError(line.place, "", "numbers that stand under no key");
    while (!line.text.empty()) {
      const Piece word = takeWord(&line);
      Node node;
      node.kind = Node::Kind::kScalar;
      node.place = word.place;
      node.text = std::string(word.text);
      key_.node.items.push_back(std::move(node));
      count(word.place);
    }
  }

  void closeKey() { close(&key_, &section_.node); }

  void closeSection() {
    closeKey();
    close(&section_, &root_);
  }

  static void close(Open* open, Node* into) {
    if (!open->is_open) return;
    open->is_open = false;
    const Place place = open->node.place;
    addKey(into, std::move(open->name), place, std::move(open->node));
  }

  void count(const Place& place) {
    if (++count_ > kMaxNodes) throw FormatError(place, "", "has too many values");
  }

  Node root_;
  Open section_;
  Open key_;
  std::size_t count_ = 0;
};

}  // namespace

Node parseIni(const std::string& text) {
  if (text.size() > kMaxDocumentBytes) throw FormatError({}, "", "is longer than 16 MiB");
  if (text.find('\0') != std::string::npos) throw FormatError({}, "", "has a null character");
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  std::string_view rest = text;
  if (rest.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    rest.remove_prefix(kByteOrderMark.size());
  }
  TreeBuilder tree;
  for (int line = 1; !rest.empty(); ++line) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    tree.take(trimmed({rest.substr(0, end), {line, 1}}));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return tree.finish();
}

}  // namespace norv::interop

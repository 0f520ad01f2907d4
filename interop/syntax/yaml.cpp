#include "interop/syntax/yaml.h"

#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/exceptions.h>
#include <yaml-cpp/parser.h>

#include <sstream>
#include <utility>
#include <vector>

namespace norv::interop {
namespace {

/// yaml-cpp counts from 0, and has -1 for no place.
Place placeOf(const YAML::Mark& mark) { return {mark.line + 1, mark.column + 1}; }

/// Makes a tree of what the parser tells.
class TreeBuilder : public YAML::EventHandler {
 public:
  void OnDocumentStart(const YAML::Mark& /*mark*/) override {}
  void OnDocumentEnd() override {}

  void OnNull(const YAML::Mark& mark, YAML::anchor_t /*anchor*/) override {
    Node node;
    node.place = placeOf(mark);
    take(std::move(node));
  }

  void OnAlias(const YAML::Mark& mark, YAML::anchor_t /*anchor*/) override {
    throw FormatError(placeOf(mark), "", "aliases are not read");
  }

  void OnScalar(const YAML::Mark& mark, const std::string& tag, YAML::anchor_t /*anchor*/,
                const std::string& value) override {
    Node node;
    node.kind = Node::Kind::kScalar;
    node.place = placeOf(mark);
    node.text = value;
    node.is_quoted = tag == "!";  // what the parser gives a word in quotes
    take(std::move(node));
  }

  void OnSequenceStart(const YAML::Mark& mark, const std::string& /*tag*/,
                       YAML::anchor_t /*anchor*/, YAML::EmitterStyle::value /*style*/) override {
    open(mark, Node::Kind::kSequence);
  }
  void OnSequenceEnd() override { close(); }

  void OnMapStart(const YAML::Mark& mark, const std::string& /*tag*/, YAML::anchor_t /*anchor*/,
                  YAML::EmitterStyle::value /*style*/) override {
    open(mark, Node::Kind::kMap);
  }
  void OnMapEnd() override { close(); }

  Node takeRoot() { return std::move(root_); }

 private:
  struct Level {
    Node node;
    Node key;  ///< of the value that comes next in a map
    bool has_key = false;
  };

  void open(const YAML::Mark& mark, Node::Kind kind) {
    if (levels_.size() >= static_cast<std::size_t>(kMaxDepth)) {
      throw FormatError(placeOf(mark), "", "is nested too deeply");
    }
    levels_.emplace_back();
    levels_.back().node.kind = kind;
    levels_.back().node.place = placeOf(mark);
  }

  void close() {
    Node node = std::move(levels_.back().node);
    levels_.pop_back();
    take(std::move(node));
  }

  void take(Node node) {
    if (++count_ > kMaxNodes) throw FormatError(node.place, "", "has too many values");
    if (levels_.empty()) {
      root_ = std::move(node);
      return;
    }
    Level& level = levels_.back();
    if (level.node.kind == Node::Kind::kSequence) {
      level.node.items.push_back(std::move(node));
    } else if (level.has_key) {
      level.has_key = false;
      addKey(&level.node, std::move(level.key.text), level.key.place, std::move(node));
    } else if (node.kind == Node::Kind::kScalar) {
      level.has_key = true;
      level.key = std::move(node);
    } else {
      throw FormatError(node.place, "", "a key that is no word");
    }
  }

  std::vector<Level> levels_;
  std::size_t count_ = 0;
  Node root_;
};

}  // namespace

Node parseYaml(const std::string& text) {
  if (text.size() > kMaxDocumentBytes) throw FormatError({}, "", "is longer than 16 MiB");
  if (text.find('\0') != std::string::npos) throw FormatError({}, "", "has a null character");
  try {
    std::istringstream stream(text);
    YAML::Parser parser(stream);
    TreeBuilder tree;
    if (!parser.HandleNextDocument(tree)) throw FormatError({}, "", "is empty");
    Node root = tree.takeRoot();
    TreeBuilder rest;
    if (parser.HandleNextDocument(rest)) {
      throw FormatError(rest.takeRoot().place, "", "a second document");
    }
    return root;
  } catch (const YAML::Exception& error) {
    throw FormatError(placeOf(error.mark), "", "no YAML: " + error.msg);
  }
}

}  // namespace norv::interop

#pragma once

/// What the syntaxes of the formats have in common: a tree of maps, lists and words, with places.

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "interop/format_problem.h"

namespace norv::interop {

/// A piece of a document. A plain value; of a map, `keys`, `key_places` and `items` are equally
/// many.
struct Node {
  enum class Kind { kNothing, kScalar, kSequence, kMap };
  Kind kind = Kind::kNothing;
  Place place;
  std::string text;        ///< of a scalar, without its quotes
  bool is_quoted = false;  ///< what stands in quotes is no number
  std::vector<Node> items;
  std::vector<std::string> keys;                ///< of a map, each once
  std::vector<Place> key_places;                ///< of these
  std::map<std::string, std::size_t> index_of;  ///< where in them a key is
};

/// Texts of any of the syntaxes are at most that long, and have at most as many pieces: ten
/// thousand cameras of the wordiest format. What is larger is no calibration.
inline constexpr std::size_t kMaxDocumentBytes = 16 << 20;
inline constexpr std::size_t kMaxNodes = 1000000;

/// Deeper nesting is refused.
inline constexpr int kMaxDepth = 64;

/// The element `key` of a map; null where there is none, or `map` is no map.
const Node* findKey(const Node& map, const std::string& key);

/// Adds an element to a map. Throws FormatError where the key is there already: programs differ in
/// which of two they take.
void addKey(Node* map, std::string key, Place key_place, Node value);

}  // namespace norv::interop

#include "interop/syntax/node.h"

#include <utility>

namespace norv::interop {

const Node* findKey(const Node& map, const std::string& key) {
  const auto found = map.index_of.find(key);
  return found == map.index_of.end() ? nullptr : &map.items[found->second];
}

void addKey(Node* map, std::string key, Place key_place, Node value) {
  if (!map->index_of.emplace(key, map->items.size()).second) {
    throw FormatError(key_place, std::move(key), "stands there twice");
  }
  map->keys.push_back(std::move(key));
  map->key_places.push_back(key_place);
  map->items.push_back(std::move(value));
}

}  // namespace norv::interop

#pragma once

/// Reading of a map's elements, each used or named at the end.

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "interop/peer_camera.h"
#include "interop/syntax/node.h"

namespace norv::interop {

/// An element of a document, and what it is called there: what errors speak of.
struct Field {
  const Node* node;
  std::string path;  ///< "cam0.intrinsics", "intrinsics[2]"
};

/// FormatError of a field.
[[noreturn]] void refuse(const Field& field, const std::string& sentence);

/// Whether a word is what programs write for a number that is not finite: "nan", ".NaN", "-inf",
/// "Infinity" and the like.
bool isNotFiniteWord(const std::string& word);

/// The number that a word is: decimal, of the range of double, not in quotes. Anything else is
/// refused, by words for what is not finite too.
double numberOf(const Field& field);

/// The same of a text that stands at a place.
double parseNumber(const std::string& text, Place place, const std::string& key);

/// The whole number that a word is, or 640.0 is; refused outside of [low, high].
int integerOf(const Field& field, int low, int high);

/// The word itself, quoted or not.
const std::string& wordOf(const Field& field);

/// The elements of a list.
std::vector<Field> itemsOf(const Field& field);

/// The numbers of a list.
std::vector<double> numbersOf(const Field& field);

/// The same, of that many numbers; any other count is refused with both.
std::vector<double> numbersOf(const Field& field, std::size_t count);

/// A width or a height, at most 2^24 pixels, beyond which single precision has no halves.
inline constexpr int kMaxSide = 1 << 24;

/// A map whose elements are asked for one by one. What nobody asked for is named by `listRest`.
class Fields {
 public:
  /// `map` must be one, else it is refused, and must outlive this. Its elements are called
  /// path.key, or key alone where the path is empty.
  explicit Fields(const Field& map);

  /// The element; none where it is missing.
  std::optional<Field> find(const std::string& key);

  /// The element; refused at the map's place where it is missing.
  Field get(const std::string& key);

  /// The keys in the order of the text.
  const std::vector<std::string>& keys() const { return map_.node->keys; }

  /// Adds what was not asked for to the list, each with the reason that `reason` has for its key.
  void listRest(const std::function<std::string(const std::string& key)>& reason,
                std::vector<NotTakenOver>* list) const;

 private:
  std::string pathOf(const std::string& key) const;

  Field map_;
  std::vector<bool> is_used_;
};

}  // namespace norv::interop

#include "support/text_places.h"

#include <cstddef>
#include <unordered_map>

#include "support/messages/field_visit.h"

namespace norv {
namespace {

using Places = std::unordered_map<std::string, TextPlace>;

/// The path of the field around the last one of `path`; "" at the top.
std::string outerPath(const std::string& path) {
  const std::size_t period = path.rfind('.');
  return period != std::string::npos ? path.substr(0, period) : "";
}

/// The path of the repeated field that `path` is an element of, or "".
std::string listPath(const std::string& path) {
  return !path.empty() && path.back() == ']' ? path.substr(0, path.rfind('[')) : "";
}

/// All paths that a place is asked for, and those that may stand in for them, without a place.
Places wantedPlaces(const std::vector<std::string>& paths) {
  Places wanted;
  for (const std::string& path : paths) {
    for (std::string p = path; !p.empty() && wanted.emplace(p, TextPlace{}).second;) {
      p = outerPath(p);
    }
  }
  return wanted;
}

/// Keeps the first place of a path, if it is wanted, and returns whether it is.
bool note(const std::string& path, TextPlace place, Places* wanted) {
  const auto found = wanted->find(path);
  if (found == wanted->end()) return false;
  if (found->second.line == 0) found->second = place;
  return true;
}

TextPlace placeOf(std::string path, const Places& places) {
  for (; !path.empty(); path = outerPath(path)) {
    const TextPlace place = places.at(path);
    if (place.line > 0) return place;
  }
  return {};
}

}  // namespace

std::vector<TextPlace> findTextPlaces(const std::string& text,
                                      const google::protobuf::Descriptor& type,
                                      const std::vector<std::string>& paths) {
  Places wanted = wantedPlaces(paths);
  if (!wanted.empty()) {
    internal::visitTextFields(text, type, [&](const std::string& path, int line, int column) {
      note(listPath(path), {line, column}, &wanted);
      return note(path, {line, column}, &wanted);
    });
  }
  std::vector<TextPlace> places;
  places.reserve(paths.size());
  for (const std::string& path : paths) places.push_back(placeOf(path, wanted));
  return places;
}

}  // namespace norv

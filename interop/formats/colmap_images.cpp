#include "interop/formats/colmap_images.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string>
#include <unordered_set>

#include "interop/formats/colmap_words.h"

namespace norv::interop {
namespace {

/// The rotation of four words. They are made smaller or larger first, so that their squares neither
/// vanish nor exceed the range of double.
Eigen::Matrix3d rotationOf(ColmapLine* line) {
  constexpr std::array<std::string_view, 4> kKeys = {"QW", "QX", "QY", "QZ"};
  const Place place = line->place();
  std::array<double, 4> q{};
  double largest = 0;
  for (std::size_t i = 0; i < q.size(); ++i) {
    q[i] = numberOf(line->take(kKeys[i]));
    largest = std::max(largest, std::abs(q[i]));
  }
  if (largest == 0) throw FormatError(place, "QW QX QY QZ", "is a quaternion of length 0");
  return rotationFromQuaternion(q[0] / largest, q[1] / largest, q[2] / largest, q[3] / largest);
}

Eigen::Vector3d translationOf(ColmapLine* line) {
  const double x = numberOf(line->take("TX"));
  const double y = numberOf(line->take("TY"));
  return {x, y, numberOf(line->take("TZ"))};
}

ColmapImage imageOf(ColmapLine* line) {
  ColmapImage image;
  image.camera_from_world.rotation = rotationOf(line);
  image.camera_from_world.translation = translationOf(line);
  const ColmapWord camera = line->take("CAMERA_ID");
  image.camera_id = identityOf(camera);
  image.camera_place = camera.place;
  const std::string_view name = line->rest();
  if (name.empty()) throw FormatError(line->place(), "NAME", "is missing");
  image.name = withoutExtension(name);
  return image;
}

/// Whether the line could be one of points: words by threes, the last of which is a whole number.
/// The first line of an image is not, so that files which lack second lines are found out.
bool canBePoints(ColmapLine line) {
  std::size_t count = 0;
  std::string_view last;
  for (; !line.isAtEnd(); ++count) last = line.take("POINTS2D").text;
  if (!last.empty() && last.front() == '-') last.remove_prefix(1);
  const bool is_whole = last.find_first_not_of("0123456789") == std::string_view::npos;
  return count % 3 == 0 && is_whole;
}

}  // namespace

std::string_view withoutExtension(std::string_view name) {
  const std::size_t slash = name.find_last_of('/');
  const std::size_t begin = slash == std::string_view::npos ? 0 : slash + 1;
  const std::size_t dot = name.find_last_of('.');
  return dot == std::string_view::npos || dot <= begin ? name : name.substr(0, dot);
}

ColmapImages colmapImages(std::string_view text) {
  ColmapLines lines(text);
  ColmapImages result;
  std::unordered_set<std::uint32_t> ids;
  while (std::optional<ColmapLine> line = lines.takeFilled()) {
    const ColmapWord id = line->take("IMAGE_ID");
    const std::uint32_t number = identityOf(id);
    if (!ids.insert(number).second) refuse(id, fmt::format("stands there twice: {}", number));
    result.images.push_back(imageOf(&*line));
    const std::optional<ColmapLine> points = lines.take();
    if (!points || points->isAtEnd()) continue;
    result.has_points = true;
    if (!canBePoints(*points)) {
      throw FormatError(points->place(), "POINTS2D",
                        "is no list of points: an image has two lines, the second of which may be "
                        "empty");
    }
  }
  return result;
}

}  // namespace norv::interop

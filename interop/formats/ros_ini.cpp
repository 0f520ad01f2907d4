#include <fmt/format.h>

#include <iterator>
#include <utility>
#include <vector>

#include "interop/formats/ros_camera.h"
#include "interop/syntax/ini.h"

namespace norv::interop {
namespace {

constexpr const char* kNoPart = "is no part of ROS' calibrations";

int sideOf(Fields* image, const std::string& key) {
  const Field list = image->get(key);
  const std::vector<Field> items = itemsOf(list);
  if (items.size() != 1) {
    refuse(list, fmt::format("has {} numbers where 1 is needed", items.size()));
  }
  return integerOf(items[0], 1, kMaxSide);
}

NumberList listOf(const Field& field, std::size_t count) {
  return {field.path, field, numbersOf(field, count)};
}

/// The model of a lens that INI does not name, by the number of its coefficients as ROS has it.
std::string modelOf(const NumberList& coefficients) {
  const std::size_t count = coefficients.numbers.size();
  if (count == 4 || count == 5) return kRosPlumbBob;
  if (count == 8) return kRosRational;
  refuse(coefficients.list,
         fmt::format("a lens of INI files has 4, 5 or 8 numbers, not {}", count));
}

/// The only section that is a camera's.
std::string cameraSection(const Node& root) {
  std::string name;
  bool has_camera = false;
  for (std::size_t i = 0; i < root.keys.size(); ++i) {
    const std::string& key = root.keys[i];
    if (key == "image" || key == "externals") continue;
    if (has_camera) throw FormatError(root.key_places[i], key, "is a second camera");
    has_camera = true;
    name = key;
  }
  if (!has_camera) throw FormatError(root.place, "", "has no section of a camera");
  return name;
}

void readCamera(const Field& section, RosNumbers* numbers,
                std::vector<NotTakenOver>* not_taken_over) {
  Fields camera(section);
  numbers->camera_matrix = listOf(camera.get("camera matrix"), 9);
  numbers->coefficients = numberListOf(camera.get("distortion"));
  numbers->model = modelOf(numbers->coefficients);
  if (const auto field = camera.find("rectification")) numbers->rectification = listOf(*field, 9);
  if (const auto field = camera.find("projection")) numbers->projection = listOf(*field, 12);
  camera.listRest([](const std::string&) { return kNoPart; }, not_taken_over);
}

}  // namespace

bool isRosIni(const std::string& text) {
  // No YAML of ROS begins with a bracket, and so does no comment of either.
  constexpr const char* kByteOrderMark = "\xEF\xBB\xBF";
  std::size_t at = text.compare(0, 3, kByteOrderMark) == 0 ? 3 : 0;
  while (true) {
    at = text.find_first_not_of(" \t\r\n", at);
    if (at == std::string::npos) return false;
    if (text[at] != '#' && text[at] != ';') return text[at] == '[';
    at = text.find('\n', at);
  }
}

PeerFile readRosIni(const std::string& text, calibration::PixelOrigin origin) {
  const Node root = parseIni(text);
  Fields sections({&root, ""});
  RosNumbers numbers;
  std::vector<NotTakenOver> rest;
  Fields image(sections.get("image"));
  numbers.size = {sideOf(&image, "width"), sideOf(&image, "height")};
  image.listRest([](const std::string&) { return kNoPart; }, &rest);
  numbers.name = cameraSection(root);
  readCamera(sections.get(numbers.name), &numbers, &rest);
  sections.listRest([](const std::string&) { return "is a pose, of which ROS does not say whose"; },
                    &rest);
  PeerFile file = fileOfRosNumbers(numbers, origin);
  std::move(rest.begin(), rest.end(), std::back_inserter(file.not_taken_over));
  return file;
}

}  // namespace norv::interop

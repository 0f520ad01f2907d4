#include "interop/formats/colmap_cameras.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <unordered_set>
#include <utility>

#include "interop/formats/camera_fields.h"
#include "interop/formats/colmap_words.h"

namespace norv::interop {
namespace {

enum class ColmapLens { kPerspective, kFisheye, kFieldOfView };

struct ModelRow {
  std::string_view name;
  ColmapLens lens;
  std::string_view parameters;  ///< what they are called, in the order of the file
};

constexpr std::array<ModelRow, 10> kModels = {{
    {"SIMPLE_PINHOLE", ColmapLens::kPerspective, "f cx cy"},
    {"PINHOLE", ColmapLens::kPerspective, "fx fy cx cy"},
    {"SIMPLE_RADIAL", ColmapLens::kPerspective, "f cx cy k"},
    {"RADIAL", ColmapLens::kPerspective, "f cx cy k1 k2"},
    {"OPENCV", ColmapLens::kPerspective, "fx fy cx cy k1 k2 p1 p2"},
    {"FULL_OPENCV", ColmapLens::kPerspective, "fx fy cx cy k1 k2 p1 p2 k3 k4 k5 k6"},
    {"SIMPLE_RADIAL_FISHEYE", ColmapLens::kFisheye, "f cx cy k"},
    {"RADIAL_FISHEYE", ColmapLens::kFisheye, "f cx cy k1 k2"},
    {"OPENCV_FISHEYE", ColmapLens::kFisheye, "fx fy cx cy k1 k2 k3 k4"},
    {"FOV", ColmapLens::kFieldOfView, "fx fy cx cy omega"},
}};

/// Lenses that COLMAP has and nothing else here can hold.
constexpr std::array<std::string_view, 6> kRefusedModels = {
    "THIN_PRISM_FISHEYE", "RAD_TAN_THIN_PRISM_FISHEYE",
    "SIMPLE_DIVISION",    "DIVISION",
    "SIMPLE_FISHEYE",     "FISHEYE"};

const ModelRow& rowOf(const ColmapWord& word) {
  for (const ModelRow& row : kModels) {
    if (row.name == word.text) return row;
  }
  const bool is_known =
      std::find(kRefusedModels.begin(), kRefusedModels.end(), word.text) != kRefusedModels.end();
  refuse(word, (is_known ? "is a lens that is not read: " : "is no lens of COLMAP's: ") +
                   std::string(word.text));
}

/// The words that are left of the line, each called by the model's name for it.
std::vector<ColmapWord> parametersOf(const ModelRow& row, ColmapLine* line) {
  constexpr std::string_view kKey = "PARAMS";
  const Place place = line->place();
  ColmapLine names(row.parameters, 0);
  std::size_t needed = 0;
  std::vector<ColmapWord> words;
  for (; !names.isAtEnd(); ++needed) {
    const std::string_view name = names.take(kKey).text;
    if (!line->isAtEnd()) words.push_back(line->take(name));
  }
  std::size_t count = words.size();
  for (; !line->isAtEnd(); ++count) line->take(kKey);
  if (count != needed) {
    throw FormatError(place, std::string(kKey),
                      fmt::format("has {} numbers where {} are needed", count, needed));
  }
  return words;
}

double focalLengthOf(const ColmapWord& word) {
  const double value = numberOf(word);
  if (value > 0) return value;
  refuse(word, "is a focal length, which must be above 0: " + std::string(word.text));
}

/// COLMAP's formula is that of no distortion for an angle of 0.
PeerLens fieldOfViewLens(const ColmapWord& word) {
  constexpr double kPi = 3.14159265358979323846;
  const double omega = numberOf(word);
  if (!(omega >= 0 && omega < kPi)) {
    refuse(word, "is a field of view, which must be from 0 to pi: " + std::string(word.text));
  }
  if (omega == 0) return calibration::LensDistortion<double>{};
  return RadialMap{RadialKind::kFieldOfView, {omega}, {}};
}

PeerLens peerLensOf(ColmapLens lens, const std::vector<ColmapWord>& words) {
  if (lens == ColmapLens::kFieldOfView) return fieldOfViewLens(words.at(0));
  std::vector<double> coefficients;
  for (const ColmapWord& word : words) coefficients.push_back(numberOf(word));
  if (lens == ColmapLens::kPerspective) return lensOf(coefficients);
  RadialMap map;
  std::copy(coefficients.begin(), coefficients.end(), map.parameters.begin());
  return map;
}

PeerCamera cameraOf(ColmapLine* line, calibration::PixelOrigin origin) {
  PeerCamera camera;
  const ModelRow& row = rowOf(line->take("MODEL"));
  camera.size.width = sideOf(line->take("WIDTH"));
  camera.size.height = sideOf(line->take("HEIGHT"));
  const std::vector<ColmapWord> words = parametersOf(row, line);
  const std::size_t focal_lengths = words[0].key == "f" ? 1 : 2;
  camera.fx = focalLengthOf(words[0]);
  camera.fy = focal_lengths == 1 ? camera.fx : focalLengthOf(words[1]);
  setPrincipalPoint(numberOf(words[focal_lengths]), numberOf(words[focal_lengths + 1]), origin,
                    &camera);
  const auto first = words.begin() + static_cast<std::ptrdiff_t>(focal_lengths) + 2;
  camera.lens = peerLensOf(row.lens, {first, words.end()});
  return camera;
}

}  // namespace

std::vector<ColmapCamera> colmapCameras(std::string_view text, calibration::PixelOrigin origin) {
  ColmapLines lines(text);
  std::vector<ColmapCamera> cameras;
  std::unordered_set<std::uint32_t> ids;
  while (std::optional<ColmapLine> line = lines.takeFilled()) {
    const ColmapWord id = line->take("CAMERA_ID");
    const std::uint32_t number = identityOf(id);
    if (!ids.insert(number).second) refuse(id, fmt::format("stands there twice: {}", number));
    cameras.push_back({number, cameraOf(&*line, origin)});
  }
  if (cameras.empty()) throw FormatError({}, "", "has no camera");
  return cameras;
}

}  // namespace norv::interop

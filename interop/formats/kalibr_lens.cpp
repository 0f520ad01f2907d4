#include "interop/formats/kalibr_lens.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "interop/formats/camera_fields.h"
#include "interop/formats/radial_parameters.h"

namespace norv::interop {
namespace {

using Lens = calibration::LensDistortion<double>;

/// A model whose own parameters stand in front of fu, fv, pu, pv.
struct MapRow {
  const char* name;
  RadialKind kind;
  std::size_t parameters;
};

constexpr std::array<MapRow, 3> kMaps = {{{"omni", RadialKind::kOmni, 1},
                                          {"eucm", RadialKind::kEnhancedUnified, 2},
                                          {"ds", RadialKind::kDoubleSphere, 2}}};

constexpr std::size_t kBrownCoefficients = 4;

/// fu, fv, pu, pv behind `first` other numbers.
void readCameraMatrix(const Field& intrinsics, std::size_t first, calibration::PixelOrigin origin,
                      PeerCamera* camera) {
  const std::vector<double> numbers = numbersOf(intrinsics, first + 4);
  camera->fx = focalLengthOf(intrinsics, numbers, first);
  camera->fy = focalLengthOf(intrinsics, numbers, first + 1);
  setPrincipalPoint(numbers[first + 2], numbers[first + 3], origin, camera);
}

/// Four coefficients, k1 k2 p1 p2.
Lens brownLens(Fields* fields) {
  return lensOf(numbersOf(fields->get("distortion_coeffs"), kBrownCoefficients));
}

/// The lens of the distortion model none: some write zeros for it.
Lens noLens(Fields* fields) {
  const auto coefficients = fields->find("distortion_coeffs");
  if (!coefficients) return {};
  for (const Field& item : itemsOf(*coefficients)) {
    if (numberOf(item) != 0) {
      refuse(item, "is not 0, though the distortion model is none: " + item.node->text);
    }
  }
  return {};
}

[[noreturn]] void refuseDistortion(const Field& distortion, const std::string& model,
                                   const std::string& those_read) {
  refuse(distortion, fmt::format("is not read of a camera of the model {}, only {}: {}", model,
                                 those_read, wordOf(distortion)));
}

PeerLens pinholeLens(Fields* fields) {
  const Field distortion = fields->get("distortion_model");
  const std::string& name = wordOf(distortion);
  if (name == "none") return noLens(fields);
  if (name == "radtan") return brownLens(fields);
  const bool is_fov = name == "fov";
  if (!is_fov && name != "equidistant") {
    refuseDistortion(distortion, "pinhole", "radtan, none, equidistant and fov");
  }
  const Field coefficients = fields->get("distortion_coeffs");
  numbersOf(coefficients, is_fov ? 1 : kBrownCoefficients);
  return radialMapOf(is_fov ? RadialKind::kFieldOfView : RadialKind::kKannalaBrandt,
                     itemsOf(coefficients));
}

/// What comes behind the map of an omnidirectional camera.
Lens lensBehind(const MapRow& row, Fields* fields) {
  const Field distortion = fields->get("distortion_model");
  const std::string& name = wordOf(distortion);
  if (name == "none") return noLens(fields);
  const bool has_brown = row.kind == RadialKind::kOmni;
  if (has_brown && name == "radtan") return brownLens(fields);
  refuseDistortion(distortion, row.name, has_brown ? "radtan and none" : "none");
}

}  // namespace

void readKalibrLens(Fields* fields, calibration::PixelOrigin origin, PeerCamera* camera) {
  const Field model = fields->get("camera_model");
  const Field intrinsics = fields->get("intrinsics");
  const std::string& name = wordOf(model);
  if (name == "pinhole") {
    readCameraMatrix(intrinsics, 0, origin, camera);
    camera->lens = pinholeLens(fields);
    return;
  }
  const auto* const row = std::find_if(kMaps.begin(), kMaps.end(),
                                       [&name](const MapRow& map) { return name == map.name; });
  if (row == kMaps.end()) {
    refuse(model, "is a model that is not read, only pinhole, omni, eucm and ds: " + name);
  }
  readCameraMatrix(intrinsics, row->parameters, origin, camera);
  std::vector<Field> parameters = itemsOf(intrinsics);
  parameters.resize(row->parameters);
  RadialMap map = radialMapOf(row->kind, parameters);
  map.then = lensBehind(*row, fields);
  camera->lens = map;
}

}  // namespace norv::interop

#include "interop/formats/basalt_lens.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "interop/formats/camera_fields.h"
#include "interop/formats/radial_parameters.h"
#include "support/point_projection.h"

namespace norv::interop {
namespace {

using calibration::CameraModel;
using calibration::LensDistortion;

constexpr const char* kPinhole = "pinhole";
constexpr const char* kRational = "pinhole-radtan8";

/// A type that is a radial map, and the keys of its parameters.
struct MapRow {
  const char* type;
  RadialKind kind;
  std::vector<const char*> keys;
};

const std::vector<MapRow>& mapRows() {
  static const std::vector<MapRow> kRows = {
      {"kb4", RadialKind::kKannalaBrandt, {"k1", "k2", "k3", "k4"}},
      {"ds", RadialKind::kDoubleSphere, {"xi", "alpha"}},
      {"eucm", RadialKind::kEnhancedUnified, {"alpha", "beta"}},
      {"ucm", RadialKind::kEnhancedUnified, {"alpha"}},
      {"fov", RadialKind::kFieldOfView, {"w"}}};
  return kRows;
}

RadialMap mapOf(const MapRow& row, Fields* numbers) {
  std::vector<Field> parameters;
  for (const char* const key : row.keys) parameters.push_back(numbers->get(key));
  return radialMapOf(row.kind, parameters);
}

LensDistortion<double> rationalLens(Fields* numbers) {
  std::vector<double> coefficients;
  for (const char* const key : {"k1", "k2", "p1", "p2", "k3", "k4", "k5", "k6"}) {
    coefficients.push_back(numberOf(numbers->get(key)));
  }
  return lensOf(coefficients);
}

/// The largest radius on the plane z = 1 that the picture's corners are rays of; infinite where a
/// corner has none.
double cornerRadius(const PeerCamera& camera, const LensDistortion<double>& lens) {
  const double width = camera.size.width;
  const double height = camera.size.height;
  const CameraModel model = {camera.size.width, camera.size.height, camera.fx, camera.fy,
                             camera.skew,       camera.cx,          camera.cy, lens};
  double largest = 0;
  for (const Eigen::Vector2d& corner :
       {Eigen::Vector2d(0, 0), {width, 0}, {0, height}, {width, height}}) {
    Eigen::Vector2d ray;
    const auto status = calibration::rectifyPixel(model, corner, &ray);
    if (!calibration::hasAnswer(status)) return HUGE_VAL;
    largest = std::max(largest, ray.norm());
  }
  return largest;
}

/// rpmax, the largest radius on the plane z = 1 that basalt projects: 0 for none, -1 for one that
/// basalt is to find.
void noteLimit(const Field& field, const PeerCamera& camera, const LensDistortion<double>& lens,
               PeerFile* file) {
  const double limit = numberOf(field);
  if (limit < 0 && limit != -1) {
    refuse(field, "is neither a radius nor 0 nor -1: " + field.node->text);
  }
  if (limit <= 0) return;
  const double corner = cornerRadius(camera, lens);
  if (!(corner > limit)) return;
  const std::string radius =
      std::isfinite(corner) ? fmt::format("have the radius {:.4g}", corner) : "have no ray";
  file->notes.push_back(
      fmt::format("{} is {}, but the picture's corners {}; the lens is taken over without a limit",
                  field.path, field.node->text, radius));
}

/// The row of a type that is a radial map; null of the pinhole types. Others are refused.
const MapRow* rowOf(const Field& type) {
  const std::string& name = wordOf(type);
  for (const MapRow& row : mapRows()) {
    if (name == row.type) return &row;
  }
  if (name == kPinhole || name == kRational) return nullptr;
  refuse(type,
         "is a camera type that is not read, only pinhole, pinhole-radtan8, kb4, ds, eucm, ucm "
         "and fov: " +
             name);
}

/// The lens of a type that is no radial map.
LensDistortion<double> pinholeLens(const Field& type, Fields* numbers, const PeerCamera& camera,
                                   PeerFile* file) {
  if (wordOf(type) == kPinhole) return {};
  const LensDistortion<double> lens = rationalLens(numbers);
  if (const auto limit = numbers->find("rpmax")) noteLimit(*limit, camera, lens, file);
  return lens;
}

}  // namespace

void readBasaltLens(const Field& element, calibration::PixelOrigin origin, PeerCamera* camera,
                    PeerFile* file) {
  Fields fields(element);
  const Field type = fields.get("camera_type");
  const MapRow* const row = rowOf(type);
  Fields numbers(fields.get("intrinsics"));
  camera->fx = focalLengthOf(numbers.get("fx"));
  camera->fy = focalLengthOf(numbers.get("fy"));
  setPrincipalPoint(numberOf(numbers.get("cx")), numberOf(numbers.get("cy")), origin, camera);
  if (row != nullptr) {
    camera->lens = mapOf(*row, &numbers);
  } else {
    camera->lens = pinholeLens(type, &numbers, *camera, file);
  }
  const auto reason = [](const std::string& /*key*/) {
    return std::string("not a number of this camera type");
  };
  numbers.listRest(reason, &file->not_taken_over);
  fields.listRest([](const std::string& /*key*/) { return "not a key that is known of basalt"; },
                  &file->not_taken_over);
}

}  // namespace norv::interop

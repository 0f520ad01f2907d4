#include "interop/formats/camera_fields.h"

#include <fmt/format.h>

namespace norv::interop {

calibration::PixelOrigin usedOrigin(PeerFormat format, const ReadOptions& options) {
  return options.pixel_origin.value_or(pixelOriginOf(format));
}

double focalLengthOf(const Field& field) {
  const double value = numberOf(field);
  if (!(value > 0)) refuse(field, "is a focal length, which must be above 0: " + field.node->text);
  return value;
}

double focalLengthOf(const Field& list, const std::vector<double>& numbers, std::size_t index) {
  const double value = numbers[index];
  if (value > 0) return value;
  throw FormatError(list.node->items[index].place, fmt::format("{}[{}]", list.path, index),
                    fmt::format("is a focal length, which must be above 0: {}", value));
}

calibration::PixelSize sizeOf(const Field& list) {
  const std::vector<Field> sides = itemsOf(list);
  if (sides.size() != 2) {
    refuse(list, fmt::format("has {} numbers where 2 are needed", sides.size()));
  }
  return {integerOf(sides[0], 1, kMaxSide), integerOf(sides[1], 1, kMaxSide)};
}

void setPrincipalPoint(double cx, double cy, calibration::PixelOrigin origin, PeerCamera* camera) {
  camera->cx = cx + cornerOffset(origin);
  camera->cy = cy + cornerOffset(origin);
}

calibration::LensDistortion<double> lensOf(const std::vector<double>& coefficients) {
  const auto at = [&](std::size_t i) { return i < coefficients.size() ? coefficients[i] : 0; };
  return {at(0), at(1), at(2), at(3), at(4), at(5), at(6), at(7)};
}

RigidPose poseOfRows(const Field& rows) {
  const std::vector<Field> items = itemsOf(rows);
  if (items.size() != 4) {
    refuse(rows, fmt::format("has {} rows where 4 are needed", items.size()));
  }
  RigidPose pose;
  for (int r = 0; r < 4; ++r) {
    const std::vector<double> row = numbersOf(items[static_cast<std::size_t>(r)], 4);
    if (r == 3) {
      if (row != std::vector<double>{0, 0, 0, 1}) {
        refuse(items[3], "is the last row of a pose, which must be 0, 0, 0, 1");
      }
      break;
    }
    for (int c = 0; c < 3; ++c) pose.rotation(r, c) = row[static_cast<std::size_t>(c)];
    pose.translation[r] = row[3];
  }
  return pose;
}

RigidPose finitePose(const Field& field, const RigidPose& pose) {
  if (!pose.rotation.allFinite() || !pose.translation.allFinite()) {
    refuse(field, "gives a pose beyond the range of double");
  }
  return pose;
}

}  // namespace norv::interop

#include "tools/diff/diff_json.h"

#include "tools/diff/diff_numbers.h"
#include "tools/output/json_output.h"

namespace norv::tools {
namespace {

using calibration::BaseDifference;
using calibration::CameraDifference;
using calibration::CameraParameters;
using calibration::ImageDifference;
using calibration::PixelDifference;
using calibration::PixelSize;
using calibration::PoseDifference;
using calibration::PtzDifference;
using calibration::RobotDifference;
using calibration::ValueChange;

json pixelsJson(const PixelDifference& pixels) {
  return {{"compared", pixels.compared},
          {"without_ray", pixels.without_ray},
          {"not_imaged", pixels.not_imaged},
          {"max", pixels.max},
          {"median", pixels.median},
          {"rms", pixels.rms},
          {"worst_at", {pixels.worst_u, pixels.worst_v}}};
}

json intrinsicsJson(const CameraParameters::Intrinsics& camera) {
  return {{"fx", numberOf(camera.fx)},     {"fy", numberOf(camera.fy)},
          {"skew", numberOf(camera.skew)}, {"cx", numberOf(camera.cx)},
          {"cy", numberOf(camera.cy)},     {"distortion", listOf(camera.distortion)}};
}

json imageJson(const ImageDifference& image) {
  const auto& [x, y, z] = image.rotation;
  json result = {{"width", image.a.width},
                 {"height", image.a.height},
                 {"intrinsics_a", intrinsicsJson(image.a)},
                 {"intrinsics_b", intrinsicsJson(image.b)},
                 {"as_is", pixelsJson(image.as_is)},
                 {"rotated", pixelsJson(image.rotated)},
                 {"rotation_degrees", {toDegrees(x), toDegrees(y), toDegrees(z)}},
                 {"on_robot", json::array()}};
  for (const auto& at : image.on_robot) {
    json figures = {{"distance", at.distance}};
    figures.update(pixelsJson(at.pixels));
    result["on_robot"].push_back(figures);
  }
  return result;
}

json poseJson(const PoseDifference& pose) {
  return {{"angle_degrees", toDegrees(pose.angle)},
          {"distance", pose.distance},
          {"movement", pose.movement}};
}

json sizesJson(const std::vector<PixelSize>& sizes) {
  json list = json::array();
  for (const PixelSize& size : sizes) list.push_back({size.width, size.height});
  return list;
}

json cameraJson(const CameraDifference& camera) {
  json images = json::array();
  for (const ImageDifference& image : camera.images) images.push_back(imageJson(image));
  return {{"name", camera.name},
          {"pose", poseJson(camera.pose)},
          {"images", images},
          {"sizes_only_in_a", sizesJson(camera.only_in_a)},
          {"sizes_only_in_b", sizesJson(camera.only_in_b)}};
}

json jsonOf(const RobotDifference& robot) {
  json cameras = json::array();
  for (const CameraDifference& camera : robot.cameras) cameras.push_back(cameraJson(camera));
  return {{"kind", "robot"},
          {"cameras", cameras},
          {"only_in_a", robot.only_in_a},
          {"only_in_b", robot.only_in_b}};
}

json jsonOf(const PtzDifference& ptz) {
  json zooms = json::array();
  for (const auto& at : ptz.zooms) {
    zooms.push_back({{"zoom", at.zoom}, {"image", imageJson(at.image)}});
  }
  json poses = json::array();
  for (const auto& at : ptz.poses) {
    poses.push_back({{"pan", at.pan}, {"tilt", at.tilt}, {"pose", poseJson(at.pose)}});
  }
  return {{"kind", "ptz"},
          {"size_a", {ptz.size_a.width, ptz.size_a.height}},
          {"size_b", {ptz.size_b.width, ptz.size_b.height}},
          {"zooms", zooms},
          {"poses", poses}};
}

json changeJson(const ValueChange& change) {
  const auto orNull = [](const std::optional<float>& value) {
    return value ? numberOf(*value) : json(nullptr);
  };
  return {{"a", orNull(change.a)}, {"b", orNull(change.b)}};
}

json jsonOf(const BaseDifference& base) {
  return {{"kind", "base"},
          {"global_transform", poseJson(base.global_transform)},
          {"gyroscope_gain", changeJson(base.gain)},
          {"wheel_base", changeJson(base.wheel_base)},
          {"base_width", changeJson(base.base_width)},
          {"base_length", changeJson(base.base_length)}};
}

}  // namespace

std::string diffJson(const DiffResult& result) {
  json document = {{"a", result.name_a}, {"b", result.name_b}};
  document.update(
      std::visit([](const auto& of_kind) { return jsonOf(of_kind); }, result.difference));
  document["exceeded"] = result.exceeded;
  return printJson(document);
}

}  // namespace norv::tools

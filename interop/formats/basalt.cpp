#include "interop/formats/basalt.h"

#include <fmt/format.h>

#include <cmath>
#include <cstddef>
#include <utility>

#include "interop/formats/basalt_lens.h"
#include "interop/formats/camera_fields.h"
#include "interop/syntax/yaml.h"

namespace norv::interop {
namespace {

/// The three lists, of one element for each camera.
struct CameraLists {
  std::vector<Field> intrinsics;
  std::vector<Field> resolution;
  std::vector<Field> imu_from_camera;
};

void checkCount(const Field& list, std::size_t count, std::size_t cameras) {
  if (count == cameras) return;
  refuse(list, fmt::format("has {} elements where intrinsics has {}", count, cameras));
}

CameraLists listsOf(Fields* fields) {
  const Field intrinsics = fields->get("intrinsics");
  const Field resolution = fields->get("resolution");
  const Field poses = fields->get("T_imu_cam");
  CameraLists lists = {itemsOf(intrinsics), itemsOf(resolution), itemsOf(poses)};
  if (lists.intrinsics.empty()) refuse(intrinsics, "has no camera");
  checkCount(resolution, lists.resolution.size(), lists.intrinsics.size());
  checkCount(poses, lists.imu_from_camera.size(), lists.intrinsics.size());
  return lists;
}

std::string whyNotTaken(const std::string& key) {
  if (key == "vignette") return "brightness is not stored";
  if (key == "cam_time_offset_ns") return "times are not stored";
  const bool is_imu = key.find("accel") != std::string::npos ||
                      key.find("gyro") != std::string::npos || key.rfind("imu_", 0) == 0;
  return is_imu ? "the IMU's own numbers are not stored" : "not a key that is known of basalt";
}

/// p_imu = T p_camera, which is inverted.
RigidPose cameraFromImu(const Field& element, PeerFile* file) {
  Fields fields(element);
  const auto number = [&fields](const char* key) { return numberOf(fields.get(key)); };
  const double w = number("qw");
  const double x = number("qx");
  const double y = number("qy");
  const double z = number("qz");
  const double length = std::hypot(std::hypot(w, x), std::hypot(y, z));
  if (!(std::abs(length - 1) <= kMaxQuaternionError)) {
    refuse(element, fmt::format("has a quaternion of length {:.6g}, which must be 1", length));
  }
  const RigidPose imu_from_camera = {rotationFromQuaternion(w, x, y, z),
                                     {number("px"), number("py"), number("pz")}};
  fields.listRest([](const std::string& /*key*/) { return "not a number of a pose"; },
                  &file->not_taken_over);
  return finitePose(element, inverse(imu_from_camera));
}

PeerFile readCalibration(const Field& calibration, calibration::PixelOrigin origin) {
  Fields fields(calibration);
  const CameraLists lists = listsOf(&fields);
  PeerFile file;
  file.parent = "imu";
  for (std::size_t i = 0; i < lists.intrinsics.size(); ++i) {
    PeerCamera camera;
    camera.size = sizeOf(lists.resolution[i]);
    readBasaltLens(lists.intrinsics[i], origin, &camera, &file);
    camera.camera_from_parent = cameraFromImu(lists.imu_from_camera[i], &file);
    file.cameras.push_back(std::move(camera));
  }
  fields.listRest(whyNotTaken, &file.not_taken_over);
  return file;
}

}  // namespace

PeerFile readBasalt(const SourceFile& file, const ReadOptions& options) {
  const Node root = parseYaml(file.contents);
  const calibration::PixelOrigin origin = usedOrigin(PeerFormat::kBasalt, options);
  Fields outer({&root, ""});
  const std::optional<Field> inner = outer.find("value0");
  if (!inner) return readCalibration({&root, ""}, origin);
  PeerFile read = readCalibration(*inner, origin);
  outer.listRest([](const std::string& /*key*/) { return "stands beside value0"; },
                 &read.not_taken_over);
  return read;
}

}  // namespace norv::interop

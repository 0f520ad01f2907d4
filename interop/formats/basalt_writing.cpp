#include <fmt/format.h>

#include <cmath>

#include "interop/formats/basalt.h"
#include "interop/formats/written_camera.h"
#include "interop/formats/written_pose.h"
#include "support/lens_validity.h"
#include "support/printable_text.h"

namespace norv::interop {
namespace {

using calibration::CameraModel;

/// Written so that it reads back with the same translation, whatever the rotation is rounded by.
RigidPose imuFromCamera(const RigidPose& camera_from_imu) {
  const Eigen::Vector4d q = quaternionFromRotation(camera_from_imu.rotation);
  return inverse({rotationFromQuaternion(q[0], q[1], q[2], q[3]), camera_from_imu.translation});
}

std::string poseText(const RigidPose& camera_from_imu) {
  const RigidPose pose = imuFromCamera(camera_from_imu);
  const Eigen::Vector3d& p = pose.translation;
  const Eigen::Vector4d q = quaternionFromRotation(pose.rotation);
  return fmt::format(
      R"(      {{"px": {}, "py": {}, "pz": {}, "qx": {}, "qy": {}, "qz": {}, "qw": {}}})", p.x(),
      p.y(), p.z(), q[1], q[2], q[3], q[0]);
}

std::string intrinsicsText(const CameraModel& model, double offset) {
  const auto& k = model.lens;
  const double radius = calibration::validRadius(k);
  std::string text = fmt::format(R"(          "fx": {}, "fy": {}, "cx": {}, "cy": {},)", model.fx,
                                 model.fy, model.cx - offset, model.cy - offset);
  text += fmt::format("\n          \"k1\": {}, \"k2\": {}, \"p1\": {}, \"p2\": {},", k.k1, k.k2,
                      k.p1, k.p2);
  text += fmt::format("\n          \"k3\": {}, \"k4\": {}, \"k5\": {}, \"k6\": {},", k.k3, k.k4,
                      k.k5, k.k6);
  text += fmt::format("\n          \"rpmax\": {}\n", std::isfinite(radius) ? radius : 0);
  return "      {\n        \"camera_type\": \"pinhole-radtan8\",\n        \"intrinsics\": {\n" +
         text + "        }\n      }";
}

/// What basalt wants to be there.
constexpr const char* kImuText = R"(    "calib_accel_bias": [0, 0, 0, 0, 0, 0, 0, 0, 0],
    "calib_gyro_bias": [0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0],
    "imu_update_rate": 0,
    "accel_noise_std": [0, 0, 0],
    "gyro_noise_std": [0, 0, 0],
    "accel_bias_std": [0, 0, 0],
    "gyro_bias_std": [0, 0, 0],
    "cam_time_offset_ns": 0,
    "vignette": []
)";

std::optional<std::string> problemOf(const WrittenCamera& camera) {
  if (auto problem = findUnwritable(camera, "basalt")) return problem;
  if (!camera.camera_from_parent) {
    return callCamera(camera) + " has no pose, which basalt needs of every camera";
  }
  if (std::isnan(calibration::validRadius(camera.model.lens))) {
    return callCamera(camera) + " has a coefficient of its lens beyond the range of float";
  }
  return findUnwritablePose(camera);
}

/// What the format could not take as it was.
std::vector<std::string> notesOn(const std::vector<WrittenCamera>& cameras,
                                 const std::string& parent) {
  std::vector<std::string> notes;
  std::string names;
  for (const WrittenCamera& camera : cameras) {
    names += (names.empty() ? "" : ", ") + toPrintable(camera.name);
    if (auto note = noteOnTurn(camera)) notes.push_back(*note);
  }
  notes.push_back("basalt has no names; the cameras stand in this order: " + names);
  if (parent != "imu") {
    notes.push_back(
        fmt::format("T_imu_cam are poses of the frame {}, which basalt takes for the IMU's",
                    toPrintable(parent)));
  }
  notes.emplace_back(
      "the IMU's own numbers are zeros: basalt needs them to be there, and to be "
      "filled in before it uses an IMU");
  return notes;
}

/// The lines of a list, with commas.
void addItem(const std::string& item, std::string* list) {
  *list += (list->empty() ? "" : ",\n") + item;
}

}  // namespace

std::variant<PeerWriting, std::string> writeBasalt(const std::vector<WrittenCamera>& cameras,
                                                   const WriteOptions& options) {
  const double offset = cornerOffset(writtenOrigin(options));
  std::string poses;
  std::string intrinsics;
  std::string resolution;
  for (const WrittenCamera& camera : cameras) {
    if (auto problem = problemOf(camera)) return *problem;
    addItem(poseText(*camera.camera_from_parent), &poses);
    addItem(intrinsicsText(camera.model, offset), &intrinsics);
    addItem(fmt::format("      [{}, {}]", camera.model.width, camera.model.height), &resolution);
  }
  const std::string text = "{\n  \"value0\": {\n    \"T_imu_cam\": [\n" + poses +
                           "\n    ],\n    \"intrinsics\": [\n" + intrinsics +
                           "\n    ],\n    \"resolution\": [\n" + resolution + "\n    ],\n" +
                           kImuText + "  }\n}\n";
  return PeerWriting{{{"", text}}, notesOn(cameras, options.parent)};
}

}  // namespace norv::interop

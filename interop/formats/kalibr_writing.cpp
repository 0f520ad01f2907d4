#include <fmt/format.h>

#include <cstddef>
#include <set>

#include "interop/formats/kalibr.h"
#include "interop/formats/written_camera.h"
#include "interop/formats/written_pose.h"
#include "support/printable_text.h"

namespace norv::interop {
namespace {

using calibration::CameraModel;

constexpr const char* kImu = "imu";  ///< the parent whose poses are T_cam_imu
constexpr int kCoefficients = 4;     ///< of radtan

/// The shortest decimal with a point. Without one, Python's YAML takes 640 for a whole number and
/// 1e-05 for a text, and Kalibr refuses both.
std::string floatText(double value) {
  std::string text = fmt::format("{}", value);
  if (text.find('.') != std::string::npos) return text;
  const std::size_t exponent = text.find('e');
  return text.insert(exponent == std::string::npos ? text.size() : exponent, ".0");
}

template <class Numbers>
std::string listText(const Numbers& numbers) {
  std::string text;
  for (const double number : numbers) text += (text.empty() ? "" : ", ") + floatText(number);
  return "[" + text + "]";
}

std::string poseText(const char* key, const RigidPose& pose) {
  std::string text = fmt::format("  {}:\n", key);
  for (int r = 0; r < 3; ++r) {
    const auto row = pose.rotation.row(r);
    text +=
        "  - " + listText(std::vector<double>{row[0], row[1], row[2], pose.translation[r]}) + "\n";
  }
  return text + "  - [0.0, 0.0, 0.0, 1.0]\n";
}

/// The camera's name as the first part of a topic.
std::string topicName(const WrittenCamera& camera, std::size_t index) {
  const std::string name = underscored(camera.name);
  return name.empty() ? fmt::format("cam{}", index) : name;
}

/// Why Kalibr cannot hold the camera.
std::optional<std::string> problemOf(const WrittenCamera& camera, double offset) {
  if (auto problem = findUnwritable(camera, "Kalibr")) return problem;
  if (auto problem = findUnwritablePose(camera)) return problem;
  const CameraModel& model = camera.model;
  if (coefficientsNeeded(model.lens) > kCoefficients) {
    return callCamera(camera) + " has a lens of more than the four coefficients of Kalibr's radtan";
  }
  const double cx = model.cx - offset;
  const double cy = model.cy - offset;
  if (cx >= 0 && cy >= 0) return std::nullopt;
  return fmt::format("{} has its principal point at ({}, {}), and Kalibr reads no negative one",
                     callCamera(camera), cx, cy);
}

/// Why the cameras are no chain.
std::optional<std::string> problemOf(const std::vector<WrittenCamera>& cameras) {
  std::set<std::string> topics;
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    const WrittenCamera& camera = cameras[i];
    if (camera.camera_from_parent.has_value() != cameras[0].camera_from_parent.has_value()) {
      return callCamera(camera.camera_from_parent ? cameras[0] : camera) +
             " has no pose, and Kalibr's chain has those of all cameras or of none";
    }
    const std::string topic = topicName(camera, i);
    if (topics.insert(topic).second) continue;
    return fmt::format("{} would share the topic /{}/image_raw with another one",
                       callCamera(camera), topic);
  }
  return std::nullopt;
}

std::string posesText(const std::vector<WrittenCamera>& cameras, std::size_t index,
                      const std::string& parent) {
  const std::optional<RigidPose>& pose = cameras[index].camera_from_parent;
  if (!pose) return "";
  std::string text;
  if (parent == kImu) text += poseText("T_cam_imu", *pose);
  if (index == 0) return text;
  const RigidPose before = *cameras[index - 1].camera_from_parent;
  return text + poseText("T_cn_cnm1", compose(*pose, inverse(before)));
}

/// Which cameras see the same is not known, so that none are listed.
std::string lensText(const CameraModel& model, double offset) {
  const auto& lens = model.lens;
  const std::vector<double> coefficients = {lens.k1, lens.k2, lens.p1, lens.p2};
  const std::vector<double> intrinsics = {model.fx, model.fy, model.cx - offset, model.cy - offset};
  return "  cam_overlaps: []\n  camera_model: pinhole\n  distortion_coeffs: " +
         listText(coefficients) +
         "\n  distortion_model: radtan\n  intrinsics: " + listText(intrinsics) +
         fmt::format("\n  resolution: [{}, {}]\n", model.width, model.height);
}

}  // namespace

std::variant<PeerWriting, std::string> writeKalibr(const std::vector<WrittenCamera>& cameras,
                                                   const WriteOptions& options) {
  if (auto problem = problemOf(cameras)) return *problem;
  const double offset = cornerOffset(writtenOrigin(options));
  PeerWriting writing;
  std::string text = fmt::format(
      "# {}\n", describePixelOrigin(writtenOrigin(options), PeerFormat::kKalibr, "Kalibr"));
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    const WrittenCamera& camera = cameras[i];
    if (auto problem = problemOf(camera, offset)) return *problem;
    const std::string topic = topicName(camera, i);
    text += fmt::format("cam{}:\n", i) + posesText(cameras, i, options.parent) +
            lensText(camera.model, offset) + fmt::format("  rostopic: /{}/image_raw\n", topic);
    if (topic == camera.name) continue;
    writing.notes.push_back(fmt::format("{} is called {} in its topic", callCamera(camera), topic));
  }
  writing.files.push_back({"", text});
  if (cameras[0].camera_from_parent && options.parent != kImu) {
    writing.notes.push_back(
        fmt::format("Kalibr's files have no place for the pose of cam0 in the frame {}, only in "
                    "that of an IMU",
                    toPrintable(options.parent)));
  }
  return writing;
}

}  // namespace norv::interop

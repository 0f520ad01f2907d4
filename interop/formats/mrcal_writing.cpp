#include <fmt/format.h>

#include "interop/formats/mrcal.h"
#include "interop/formats/written_camera.h"
#include "interop/formats/written_pose.h"
#include "support/printable_text.h"

namespace norv::interop {
namespace {

using calibration::CameraModel;

/// A Python list, with a comma at its end as mrcal writes it.
template <class Numbers>
std::string listOf(const Numbers& numbers) {
  std::string text = "[";
  for (const auto number : numbers) text += fmt::format(" {},", number);
  return text + "]";
}

std::string lensName(int coefficients) {
  return coefficients == 0 ? "LENSMODEL_PINHOLE" : fmt::format("LENSMODEL_OPENCV{}", coefficients);
}

std::vector<double> intrinsicsOf(const CameraModel& model, int coefficients, double offset) {
  const auto k = model.lens.toCoefficients();
  std::vector<double> numbers = {model.fx, model.fy, model.cx - offset, model.cy - offset};
  numbers.insert(numbers.end(), k.begin(), k.begin() + coefficients);
  return numbers;
}

std::array<double, 6> poseNumbers(const RigidPose& pose) {
  const Eigen::Vector3d turn = vectorFromRotation(pose.rotation);
  const Eigen::Vector3d& t = pose.translation;
  return {turn.x(), turn.y(), turn.z(), t.x(), t.y(), t.z()};
}

std::string textOf(const WrittenCamera& camera, const WriteOptions& options) {
  const CameraModel& model = camera.model;
  const int coefficients = coefficientsNeeded(model.lens);
  const std::string pose = listOf(poseNumbers(camera.camera_from_parent.value_or(RigidPose{})));
  std::string text =
      fmt::format("# Camera {}\n# {}\n", toPrintable(camera.name),
                  describePixelOrigin(writtenOrigin(options), PeerFormat::kMrcal, "mrcal"));
  text += fmt::format("{{\n    'lensmodel':  '{}',\n\n", lensName(coefficients));
  text += fmt::format(
      "    # intrinsics are fx,fy,cx,cy,distortion0,distortion1,....\n    'intrinsics': {},\n\n",
      listOf(intrinsicsOf(model, coefficients, cornerOffset(writtenOrigin(options)))));
  text += fmt::format(
      "    # metres; the reference is the frame {}. Since 2.5 mrcal calls the pose rt_cam_ref\n"
      "    'extrinsics': {},\n    'rt_cam_ref': {},\n\n",
      toPrintable(options.parent), pose, pose);
  text += fmt::format("    'imagersize': {},\n}}\n",
                      listOf(std::array<int, 2>{model.width, model.height}));
  return text;
}

}  // namespace

std::variant<PeerWriting, std::string> writeMrcal(const std::vector<WrittenCamera>& cameras,
                                                  const WriteOptions& options) {
  if (cameras.size() != 1) {
    return fmt::format("mrcal's files hold one camera each, and there are {}: choose with --camera",
                       cameras.size());
  }
  const WrittenCamera& camera = cameras.front();
  if (auto problem = findUnwritable(camera, "mrcal")) return *problem;
  if (auto problem = findUnwritablePose(camera)) return *problem;
  PeerWriting writing;
  writing.files.push_back({"", textOf(camera, options)});
  if (auto note = noteOnTurn(camera)) writing.notes.push_back(*note);
  if (!camera.camera_from_parent) {
    writing.notes.push_back(callCamera(camera) +
                            " has no pose; mrcal needs one, and the identity is written");
  }
  return writing;
}

}  // namespace norv::interop

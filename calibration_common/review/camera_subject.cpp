#include "calibration_common/review/camera_subject.h"

#include <cstddef>
#include <cstring>
#include <unordered_map>
#include <utility>

#include "calibration_common/review/delivered_images.h"

namespace norv::internal::review {
namespace {

using calibration::CameraCalibration;
using calibration::CameraIntrinsics;
using Lens = calibration::LensDistortion<double>;

/// The bytes of a pose, equal for equal ones; empty for one that cannot be read.
std::string poseKey(const calibration::CameraExtrinsics& stored) {
  const PoseSubject pose = makePoseSubject(stored, "");
  std::string key;
  if (!pose.readable) return key;
  for (int i = 0; i < 12; ++i) {
    const double value = stored.a(i) + 0.0;  // turns -0 into 0
    key.append(reinterpret_cast<const char*>(&value), sizeof(value));
  }
  return key;
}

PinholeImage fullFrame(const CameraIntrinsics& in) {
  return {{in.width(), in.height()}, in.fx(), in.fy(), in.cx(), in.cy()};
}

/// The lens that the message states; nothing where that is incomplete.
std::optional<Lens> storedLens(const CameraIntrinsics& in) {
  if (in.radial_size() < 6 || in.tangential_size() < 2) return std::nullopt;
  const auto& k = in.radial();
  return Lens{k[0], k[1], in.tangential(0), in.tangential(1), k[2], k[3], k[4], k[5]};
}

/// The image that reaches farthest from the axis, of those that are cut out of the full frame.
PinholeImage widestImage(const CameraSubject& camera) {
  PinholeImage widest = camera.full_frame.pinhole;
  for (const CameraImage& image : camera.images) {
    if (image.refitted || !isUsable(image.pinhole)) continue;
    if (cornerDistance(image.pinhole) > cornerDistance(widest)) widest = image.pinhole;
  }
  return widest;
}

void addStoredLens(CameraSubject* camera) {
  const std::optional<Lens> stored = storedLens(camera->message.intrinsics());
  if (!stored || !isUsable(camera->full_frame.pinhole) || !isFinite(narrowed(*stored))) return;
  const std::string in = camera->path + ".intrinsics.";
  camera->lenses.push_back({narrowed(*stored),
                            widestImage(*camera),
                            in + "radial",
                            in + "tangential",
                            "the lens",
                            *stored,
                            fullFrame(camera->message.intrinsics()),
                            {}});
  measureReach(&camera->lenses.back());
}

/// Adds the image that the sensor warps and its lens.
void addRefit(const CameraModel model, CameraSubject* camera) {
  const CameraIntrinsics& in = camera->message.intrinsics();
  camera->warps = model == CameraModel::kCorvelHead;
  if (!camera->warps || in.samples().empty()) return;
  FittedView fitted = fitWarpedView(in, makeCorvelHeadTransform());
  const bool exists = !fitted.residuals.empty();
  camera->refit = RefitQuality{exists, fitted.error_per_point, std::move(fitted.residuals)};
  if (!exists || !fitted.isUsable()) return;
  const auto projection = valuesOf(fitted.camera);
  const PinholeImage whole = {
      {in.width(), in.height()}, projection.fx, projection.fy, projection.cx, projection.cy};
  const PinholeImage image = cropped(whole, kWideCrops[kWarpedCrop]);
  camera->images.push_back({image, true});
  const Lens lens = narrowed(projection.lens());
  if (!isUsable(image) || !isFinite(lens)) return;
  camera->lenses.push_back({lens,
                            image,
                            camera->path + ".intrinsics.samples",
                            "",
                            "the lens fitted to the samples",
                            lens,
                            image,
                            {}});
  measureReach(&camera->lenses.back());
}

}  // namespace

std::vector<Repetition> findRepetitions(const calibration::RobotCalibration& robot) {
  std::vector<Repetition> repetitions(static_cast<std::size_t>(robot.camera_calibration_size()));
  std::unordered_map<std::string, int> last_of_name;
  std::unordered_map<std::string, int> first_of_pose;
  for (int i = 0; i < robot.camera_calibration_size(); ++i) {
    const CameraCalibration& camera = robot.camera_calibration(i);
    Repetition& repetition = repetitions[static_cast<std::size_t>(i)];
    const auto [name, new_name] = last_of_name.emplace(camera.name(), i);
    if (!new_name) repetition.same_name = std::exchange(name->second, i);
    const std::string key = poseKey(camera.extrinsics());
    if (key.empty()) continue;
    const auto [pose, new_pose] = first_of_pose.emplace(key, i);
    if (!new_pose) repetition.same_pose = pose->second;
  }
  return repetitions;
}

CameraSubject makeCameraSubject(const calibration::RobotCalibration& robot, int index,
                                const Repetition& repetition) {
  const CameraCalibration& message = robot.camera_calibration(index);
  const std::string path = "camera_calibration[" + std::to_string(index) + "]";
  const PinholeImage full = narrowed(fullFrame(message.intrinsics()));
  CameraSubject camera = {message,
                          path,
                          repetition.same_name,
                          repetition.same_pose,
                          makePoseSubject(message.extrinsics(), path + ".extrinsics"),
                          {full, false},
                          {{full, false}},
                          false,
                          std::nullopt,
                          {}};
  const CameraModel model = findModel(message.model());
  const std::vector<Crop> crops = cropsOf(model);
  for (std::size_t i = 0; i < crops.size(); ++i) {
    const bool warped = model == CameraModel::kCorvelHead && i == kWarpedCrop;
    if (!warped) camera.images.push_back({cropped(full, crops[i]), false});
  }
  addStoredLens(&camera);
  addRefit(model, &camera);
  return camera;
}

}  // namespace norv::internal::review

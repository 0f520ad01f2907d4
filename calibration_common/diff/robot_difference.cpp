// Two calibrations of a robot's fixed cameras.

#include <algorithm>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "calibration_common/calibration_diff.h"
#include "calibration_common/camera_parameters.h"
#include "calibration_common/diff/image_difference.h"
#include "calibration_common/diff/pose.h"

namespace norv::calibration {
namespace {

using Intrinsics = CameraParameters::Intrinsics;

/// The cameras that programs get from a calibration.
struct Cameras {
  /// In the order of the message; null where a later one has the same name.
  std::vector<std::unique_ptr<const CameraParameters>> list;
  std::unordered_map<std::string, std::size_t> index;  ///< by name

  const CameraParameters* find(const std::string& name) const {
    const auto found = index.find(name);
    return found == index.end() ? nullptr : list[found->second].get();
  }

  void add(const std::string& name, std::unique_ptr<const CameraParameters> camera) {
    const auto [entry, is_new] = index.insert({name, list.size()});
    if (!is_new) {
      list[entry->second] = nullptr;
      entry->second = list.size();
    }
    list.push_back(std::move(camera));
  }
};

/// Loads the cameras that are asked for; why that fails, or none.
std::optional<LoadProblem> load(const RobotCalibration& robot, const DiffOptions& options,
                                Cameras* cameras) {
  for (int i = 0; i < robot.camera_calibration_size(); ++i) {
    const CameraCalibration& calibration = robot.camera_calibration(i);
    if (options.camera && calibration.name() != *options.camera) continue;
    auto camera = std::make_unique<CameraParameters>();
    if (!camera->readProto(calibration)) {
      LoadProblem problem = findLoadProblem(calibration).value_or(LoadProblem{});
      problem.field = "camera_calibration[" + std::to_string(i) + "]." + problem.field;
      return problem;
    }
    cameras->add(calibration.name(), std::move(camera));
  }
  return std::nullopt;
}

/// The camera at a size that it may not deliver.
Intrinsics scaledTo(const CameraParameters& camera, const PixelSize& size) {
  const Matrix3x3_f k = camera.getIntrinsics(size.width, size.height);
  Intrinsics scaled;
  scaled.width = size.width;
  scaled.height = size.height;
  scaled.distortion = camera.getDistortion(size.width, size.height);
  scaled.fx = k(0, 0);
  scaled.fy = k(1, 1);
  scaled.skew = k(0, 1);
  scaled.cx = k(0, 2);
  scaled.cy = k(1, 2);
  return scaled;
}

const Intrinsics* findSize(const CameraParameters& camera, const Intrinsics& like) {
  const std::vector<Intrinsics>& table = camera.getIntrinsicsTable();
  const auto found = std::find_if(table.begin(), table.end(), [&like](const Intrinsics& entry) {
    return entry.width == like.width && entry.height == like.height;
  });
  return found == table.end() ? nullptr : &*found;
}

/// The sizes that `camera` delivers and `other` does not.
std::vector<PixelSize> sizesMissing(const CameraParameters& camera, const CameraParameters& other) {
  std::vector<PixelSize> missing;
  for (const Intrinsics& entry : camera.getIntrinsicsTable()) {
    if (findSize(other, entry) == nullptr) missing.push_back({entry.width, entry.height});
  }
  return missing;
}

CameraDifference compareCameras(const CameraParameters& a, const CameraParameters& b,
                                const DiffOptions& options) {
  using internal::diff::compareImages;
  const internal::diff::Pose pose_a = internal::diff::readPose(a.getCalibration().extrinsics());
  const internal::diff::Pose pose_b = internal::diff::readPose(b.getCalibration().extrinsics());
  const internal::diff::Pose b_from_a = internal::diff::between(pose_a, pose_b);
  CameraDifference difference;
  difference.name = a.getCalibration().name();
  difference.pose = internal::diff::comparePoses(pose_a, pose_b);
  if (options.size) {
    difference.images.push_back(
        compareImages(scaledTo(a, *options.size), scaledTo(b, *options.size), b_from_a, options));
    return difference;
  }
  for (const Intrinsics& entry : a.getIntrinsicsTable()) {
    const Intrinsics* const other = findSize(b, entry);
    if (other == nullptr) continue;
    difference.images.push_back(compareImages(entry, *other, b_from_a, options));
  }
  difference.only_in_a = sizesMissing(a, b);
  difference.only_in_b = sizesMissing(b, a);
  return difference;
}

std::vector<std::string> namesMissing(const Cameras& cameras, const Cameras& others) {
  std::vector<std::string> missing;
  for (const auto& camera : cameras.list) {
    if (camera == nullptr) continue;
    const std::string& name = camera->getCalibration().name();
    if (others.find(name) == nullptr) missing.push_back(name);
  }
  return missing;
}

}  // namespace

std::optional<RobotDifference> diffCalibrations(const RobotCalibration& a,
                                                const RobotCalibration& b,
                                                const DiffOptions& options, DiffProblem* problem) {
  Cameras cameras_a;
  Cameras cameras_b;
  for (const bool is_b : {false, true}) {
    auto found = load(is_b ? b : a, options, is_b ? &cameras_b : &cameras_a);
    if (!found) continue;
    if (problem != nullptr) *problem = {is_b, *found};
    return std::nullopt;
  }
  RobotDifference difference;
  for (const auto& camera : cameras_a.list) {
    if (camera == nullptr) continue;
    const CameraParameters* const other = cameras_b.find(camera->getCalibration().name());
    if (other != nullptr) difference.cameras.push_back(compareCameras(*camera, *other, options));
  }
  difference.only_in_a = namesMissing(cameras_a, cameras_b);
  difference.only_in_b = namesMissing(cameras_b, cameras_a);
  return difference;
}

}  // namespace norv::calibration

#include "calibration_common/camera_problems.h"

#include <locale>
#include <sstream>
#include <string>

#include "calibration_common/stored_pose.h"

namespace norv::internal {
namespace {

constexpr int kMinRadial = 6;
constexpr int kMinTangential = 2;

}  // namespace

std::optional<LoadProblem> findShortList(const calibration::CameraCalibration& camera) {
  const calibration::CameraIntrinsics& intrinsics = camera.intrinsics();
  if (intrinsics.radial_size() < kMinRadial) {
    return shortListProblem("intrinsics.radial", intrinsics.radial_size(), kMinRadial);
  }
  if (intrinsics.tangential_size() < kMinTangential) {
    return shortListProblem("intrinsics.tangential", intrinsics.tangential_size(), kMinTangential);
  }
  return findShortPose("extrinsics", camera.extrinsics());
}

std::optional<LoadProblem> findMissingSize(const calibration::CameraCalibration& camera) {
  if (camera.intrinsics().has_width() && camera.intrinsics().has_height()) return std::nullopt;
  return LoadProblem{"intrinsics",
                     "needs width and height, since model \"" + camera.model() + "\" is not known"};
}

std::optional<LoadProblem> findMissingSamples(const calibration::CameraCalibration& camera) {
  if (!camera.intrinsics().samples().empty()) return std::nullopt;
  return LoadProblem{"intrinsics.samples",
                     "Can not find calibration sample points to recompute intrinsics parameters."};
}

std::optional<LoadProblem> findUselessFit(const FittedView& fitted) {
  if (fitted.isUsable()) return std::nullopt;
  std::ostringstream sentence;
  sentence.imbue(std::locale::classic());
  sentence << "Error recomputing calibration. Error per point=" << fitted.error_per_point;
  return LoadProblem{"intrinsics.samples", sentence.str()};
}

}  // namespace norv::internal

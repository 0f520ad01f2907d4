// Why a camera would not load, without loading it.

#include "calibration_common/camera_models.h"
#include "calibration_common/camera_parameters.h"
#include "calibration_common/camera_problems.h"

namespace norv::calibration {

/// Asks what a load asks, in the same order.
std::optional<LoadProblem> findLoadProblem(const CameraCalibration& calibration) {
  if (auto problem = internal::findShortList(calibration)) return problem;
  switch (internal::findModel(calibration.model())) {
    case internal::CameraModel::kCorvelHead:
      if (auto problem = internal::findMissingSamples(calibration)) return problem;
      return internal::findUselessFit(
          internal::fitWarpedView(calibration.intrinsics(), internal::makeCorvelHeadTransform()));
    case internal::CameraModel::kOther:
      return internal::findMissingSize(calibration);
    case internal::CameraModel::kCorvelNav:
    case internal::CameraModel::kB910:
      break;
  }
  return std::nullopt;
}

}  // namespace norv::calibration

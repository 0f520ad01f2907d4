// A camera's intrinsics at the image sizes that its model delivers.

#include <cstddef>
#include <utility>

#include "calibration_common/camera_models.h"
#include "calibration_common/camera_parameters.h"
#include "calibration_common/camera_problems.h"

namespace norv::calibration {
namespace {

/// Sets an entry of the table to the image that `crop` makes of the one that `in` describes.
void applyCrop(const CameraParameters& camera, const CameraParameters::Intrinsics& in,
               const internal::Crop& crop, CameraParameters::Intrinsics* entry) {
  camera.affineIntrinsics(in, crop.x0, crop.y0, crop.source_width, crop.source_height,
                          crop.target_width, crop.target_height, entry);
}

/// Table of a camera that delivers plain crops of its full frame.
template <std::size_t N>
void fillTable(const CameraParameters& camera, const internal::Crop (&crops)[N],
               std::vector<CameraParameters::Intrinsics>* table) {
  *table = std::vector<CameraParameters::Intrinsics>(N, camera.getFullFrame());
  for (std::size_t i = 0; i < N; ++i) applyCrop(camera, (*table)[i], crops[i], &(*table)[i]);
}

/// Lets `*pointer` point to `target` for the length of a scope.
template <class T>
class ScopedTarget {
 public:
  ScopedTarget(T* target, T** pointer) : pointer_(pointer) { *pointer_ = target; }
  ScopedTarget(const ScopedTarget&) = delete;
  ScopedTarget& operator=(const ScopedTarget&) = delete;
  ~ScopedTarget() { *pointer_ = nullptr; }

 private:
  T** pointer_;
};

}  // namespace

void CameraParameters::affineIntrinsics(const Intrinsics& in, int x0, int y0, int source_width,
                                        int source_height, int target_width, int target_height,
                                        Intrinsics* out) const {
  const Matrix3x3_f k =
      recomputeKMatrix(in, x0, y0, source_width, source_height, target_width, target_height);
  out->fx = k(0, 0);
  out->width = target_width;
  out->height = target_height;
  out->fy = k(1, 1);
  out->cx = k(0, 2);
  out->cy = k(1, 2);
  out->skew = k(0, 1);
  if (out != &in) out->distortion = in.distortion;
}

bool CameraParameters::precomputeCorvelHeadIntrinsics() {
  Intrinsics warped;
  Refit refit;
  {
    const ScopedTarget<Refit> wanted(&refit, &refit_of_load_);
    if (!recomputeIntrinsics(internal::makeCorvelHeadTransform(), &warped)) return false;
  }
  fillTable(*this, internal::kWideCrops, &intrinsics_);
  applyCrop(*this, warped, internal::kWideCrops[internal::kWarpedCrop],
            &intrinsics_[internal::kWarpedCrop]);
  refit_ = std::move(refit);
  return true;
}

bool CameraParameters::precomputeCorvelNavIntrinsics() {
  refit_.reset();
  fillTable(*this, internal::kWideCrops, &intrinsics_);
  return true;
}

bool CameraParameters::precomputeB910Intrinsics() {
  refit_.reset();
  fillTable(*this, internal::kB910Crops, &intrinsics_);
  return true;
}

/// The table of a model that is not known: the full frame alone.
bool CameraParameters::precomputeFullFrame() {
  if (internal::findMissingSize(*calibration_)) return false;
  const int width = calibration_->intrinsics().width();
  const int height = calibration_->intrinsics().height();
  refit_.reset();
  intrinsics_.resize(1);
  affineIntrinsics(full_frame_, 0, 0, width, height, width, height, intrinsics_.data());
  return true;
}

}  // namespace norv::calibration

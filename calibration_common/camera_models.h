#pragma once

/// What the known camera models deliver: which part of the sensor's frame at which image size, and
/// which image the sensor warps.

#include <string_view>
#include <vector>

#include "proto/norv_camera_calibration.pb.h"
#include "support/auto_diff.h"
#include "support/opencv_projection.h"
#include "support/sensor_transform.h"

namespace norv::internal {

enum class CameraModel {
  kCorvelHead,  ///< "mk512h"
  kCorvelNav,   ///< "mk513n"
  kB910,        ///< "b910"
  kOther,       ///< any other id: the camera delivers its full frame alone
};

/// The model of an id; upper and lower case differ.
CameraModel findModel(std::string_view id);

/// A rectangle of the full frame and the image size that it is delivered at, pixels.
struct Crop {
  int x0;
  int y0;
  int source_width;
  int source_height;
  int target_width;
  int target_height;
};

/// Head and navigation cameras: the whole frame halved, the whole frame, and its central 720 lines.
inline constexpr Crop kWideCrops[] = {
    {0, 0, 1280, 960, 640, 480},
    {0, 0, 1280, 960, 1280, 960},
    {0, 120, 1280, 720, 1280, 720},
};

/// Which of them the head camera's sensor warps; it delivers the others as they are.
inline constexpr int kWarpedCrop = 0;

inline constexpr Crop kB910Crops[] = {
    {176, 136, 2232, 1672, 640, 480},
    {176, 136, 2232, 1672, 800, 600},
    {176, 136, 2232, 1672, 1024, 768},
    {176, 136, 2232, 1672, 1280, 960},
};

/// The warp of the head camera's sensor.
calibration::AptinaSTE makeCorvelHeadTransform();

/// A camera that was fitted to one view, and how far it misses the view's points.
struct FittedView {
  calibration::OpenCVProjection<autodiff::AutoDiff1<double, 20>> camera;
  double error_per_point = 0;  ///< pixels; infinite where no fit exists
  /// How far the camera misses each of the points, pixels; empty where no fit exists.
  std::vector<float> residuals;

  /// Whether the fit is of use. Written so that NaN is.
  bool isUsable() const;
};

/// The fitted values, without the derivatives, which mean nothing.
calibration::OpenCVProjection<double> valuesOf(
    const calibration::OpenCVProjection<autodiff::AutoDiff1<double, 20>>& fitted);

/// Fits the intrinsics of the image that `transform` makes of the sensor's, in the full frame's
/// pixel grid, to the sample points stored with `intrinsics` (`calibrateFromSingleImage`).
/// Exceptions of `transform` pass through. Thread-safe where `transform` is.
FittedView fitWarpedView(const calibration::CameraIntrinsics& intrinsics,
                         const calibration::ImageSensorTransform& transform);

}  // namespace norv::internal

#pragma once

/// An undistorted picture of what a camera sees, and how to choose one. Units, frames, pixel
/// origin: docs/conventions.md.

#include <Eigen/Core>
#include <optional>

#include "camera_model.h"
#include "export.h"
#include "pixel_size.h"

namespace norv::calibration {

/// An undistorted picture: that of a pinhole camera without lens at the same optical centre, turned
/// by a rotation. A negative focal length mirrors the picture. A plain value.
struct RectifiedView {
  int width = 0;  ///< pixels
  int height = 0;
  double fx = 0;  ///< focal lengths, pixels
  double fy = 0;
  double cx = 0;  ///< principal point, pixels from the image's corner
  double cy = 0;
  Eigen::Matrix3d view_from_camera = Eigen::Matrix3d::Identity();  ///< rotation
};

/// Where the optical axis lies in a view.
enum class ViewCentre {
  kFree,    ///< wherever the picture is largest
  kMiddle,  ///< in the middle of the view
  kKept,    ///< at the same fraction of width and height as in the camera's image
};

/// What a view is to be like.
struct ViewOptions {
  /// fx / fy of the view; the camera's own if not given. Not zero; its sign is the camera's.
  std::optional<double> aspect;
  ViewCentre centre = ViewCentre::kFree;
  /// Pixels of the camera's image that a view of valid pixels keeps away from its border. With 0
  /// the pixel centres of the view lie inside of the image; with 0.5 bilinear sampling needs no
  /// pixel beyond it either. Not negative.
  double margin = 0;
  Eigen::Matrix3d view_from_camera = Eigen::Matrix3d::Identity();  ///< rotation of the view
};

enum class ViewFit {
  kValidOnly,   ///< every pixel of the view shows the camera's image: alpha = 0
  kWholeImage,  ///< the view shows all of the camera's image: alpha = 1
};

/// The view of `width` x `height` pixels that is scaled as `alpha` says: with 0 it is the largest
/// of which every pixel shows the camera's image, with 1 the smallest that shows all of that image;
/// between, the rectangles of rays that the two show are interpolated.
///
/// The borders of the image are sampled at every half pixel and their extremes refined. With
/// alpha = 0 no centre of a view's pixel is imaged outside of [0, width] x [0, height], and where
/// the first branch of the lens ends within the image, the disc of `validRadius` bounds the view.
/// The view of a camera without lens at its own size is the camera itself, for every alpha.
///
/// None where the camera is none (focal length zero, anything infinite or NaN, no pixels), where
/// `width`, `height`, `alpha` or an option is out of range, where alpha exceeds 0 and a pixel of
/// the border has no ray, and where no such view exists: of rays behind the rotated view, say.
/// Thread-safe.
NORV_EXPORT std::optional<RectifiedView> fitView(const CameraModel& camera, int width, int height,
                                                 double alpha, const ViewOptions& options = {});
NORV_EXPORT std::optional<RectifiedView> fitView(const CameraModel& camera, int width, int height,
                                                 ViewFit fit, const ViewOptions& options = {});

/// The size at which the view keeps the camera's focal lengths, for those who want no scaling at
/// all: the rectangle of rays that `fitView` shows, in pixels of the camera, rounded down for
/// alpha = 0 and up otherwise. None where `fitView` has no view or the size exceeds int.
/// Thread-safe.
NORV_EXPORT std::optional<PixelSize> naturalViewSize(const CameraModel& camera, double alpha);

}  // namespace norv::calibration

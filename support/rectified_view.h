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

/// The straightened picture's own camera, at the same optical centre and turned by
/// `view_from_camera`: without skew and lens. `cameraMatrix` has its matrix in both conventions for
/// pixels. Thread-safe.
NORV_EXPORT CameraModel cameraOf(const RectifiedView& view);

/// Where the optical axis lies in a view.
enum class ViewCentre {
  kFree,    ///< wherever the picture is largest that shows the middle of the camera's image
  kMiddle,  ///< in the middle of the view
  kKept,    ///< at the same fraction of width and height as in the camera's image
};

/// What a view is to be like.
struct ViewOptions {
  /// |fx / fy| of the view, positive; the camera's own if not given. The focal lengths have the
  /// camera's signs: a mirrored camera has a mirrored view.
  std::optional<double> aspect;
  ViewCentre centre = ViewCentre::kFree;
  /// Pixels of the camera's image that a view of valid pixels keeps away from its border. With 0
  /// the pixel centres of the view lie inside of the image; with 0.5 bilinear sampling needs no
  /// pixel beyond it either. Not negative, and below half of the image's sides.
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
/// A view of valid pixels only lies in the image as a whole, from corner to corner of its border
/// pixels and not only with their centres, and touches the image's border, less the margin, on both
/// sides across or up and down, to 1e-5 of its size. With `ViewCentre::kFree` no other place gives
/// a view that is larger by more than half a per cent; with the others the optical axis has to be
/// in the image where it is to be in the view. Where the first branch of the lens ends within the
/// image, the disc of `validRadius` bounds the view, and nothing beyond 88.8 degrees from the
/// view's axis is shown. A view of the whole image holds its border to 1e-6 pixels. Either is
/// centred where it has room to be shifted.
///
/// The view of a camera without lens and skew at its own size is the camera itself, for every
/// alpha.
///
/// None where the camera is none (focal length zero, anything infinite or NaN, no pixels), where
/// `width`, `height`, `alpha` or an option is out of range (view_from_camera: no rotation, to
/// 1e-5), where alpha exceeds 0 and a point of the border has no ray or one that is not in front of
/// the view, and where no such view exists: alpha is below 1 and neither the middle of the image
/// nor the optical axis is to be seen, say. Takes some milliseconds; a view that is turned can take
/// tens. Thread-safe.
NORV_EXPORT std::optional<RectifiedView> fitView(const CameraModel& camera, int width, int height,
                                                 double alpha, const ViewOptions& options = {});
NORV_EXPORT std::optional<RectifiedView> fitView(const CameraModel& camera, int width, int height,
                                                 ViewFit fit, const ViewOptions& options = {});

/// The size at which the view keeps the camera's focal lengths, for those who want no scaling at
/// all: a rectangle of rays in pixels of the camera. With alpha = 0 it is that of the view of the
/// camera's own size, widened until it touches the image's border on all sides, and the size is
/// rounded down; with 1 that around the whole image, rounded up; between, the rectangles are
/// interpolated and the size is rounded up. None where `fitView` has no view or the size exceeds
/// int. Thread-safe.
NORV_EXPORT std::optional<PixelSize> naturalViewSize(const CameraModel& camera, double alpha);

}  // namespace norv::calibration

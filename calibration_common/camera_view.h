#pragma once

/// A camera at one picture size, ready to use: where it sees points, which rays its pixels show,
/// how its pictures are straightened. Units, frames, pixel origin and distortion formula:
/// docs/conventions.md.

#include <Eigen/Core>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "../support/camera_matrix.h"
#include "../support/camera_model.h"
#include "../support/camera_transform.h"
#include "../support/export.h"
#include "../support/point_projection.h"
#include "../support/rectification.h"

namespace norv::internal {
struct ViewRecord;
}

namespace norv::calibration {

/// Derivatives of a pixel, in pixels. NaN where the point has no pixel.
struct ViewJacobian {
  DerivativeRows<3> point;                      ///< by the point in the parent frame
  DerivativeRows<6> pose;                       ///< by the pose, as `byPose` has it
  DerivativeRows<kIntrinsicsCount> intrinsics;  ///< by the camera's numbers
};

/// A ray in the parent frame, in metres.
struct Ray {
  Eigen::Vector3d origin;     ///< the optical centre
  Eigen::Vector3d direction;  ///< of length 1
};

/// Angles between rays of a picture, radians; NaN where one of the two pixels has no ray.
struct FieldsOfView {
  double horizontal;  ///< from the middle of the left border to that of the right one
  double vertical;    ///< from the middle of the upper border to that of the lower one
  double diagonal;    ///< from the upper left corner to the lower right one
};

/// Where a batch of a view puts what it has to say beside its pixels, `count` of each; null where
/// it is not wanted.
struct ViewExtras {
  PointStatus* statuses = nullptr;
  ViewJacobian* jacobians = nullptr;
};

/// A camera at one picture size and in one place: camera matrix, lens, size and pose, with all that
/// its lens has to be asked in advance. Everything is computed in double, from the numbers that the
/// library holds in single precision.
///
/// The parent frame is the one that the pose maps from: that of the robot for a fixed camera, the
/// world for a pan-tilt-zoom camera.
///
/// Immutable but for assignment, and cheap to copy: copies share one record. All const operations
/// may be called concurrently.
class NORV_EXPORT CameraView {
 public:
  /// The camera of these numbers at the place of `camera_from_parent`: set both of its matrices by
  /// `setTransform`, the identity for points of the camera frame; one that is as it was constructed
  /// is all zeros, and no place. Any numbers are taken: where
  /// one of them is not in the range of float, points have the status `kNotFinite`. Takes
  /// microseconds, as all that make a view do.
  CameraView(const CameraModel& model, const CameraTransform& camera_from_parent);
  /// For the library itself, and no part of its binary interface.
  __attribute__((visibility("hidden"))) explicit CameraView(
      std::shared_ptr<const internal::ViewRecord> record);
  CameraView(const CameraView& other);
  CameraView& operator=(const CameraView& other);
  ~CameraView();

  const CameraModel& model() const;
  int width() const;
  int height() const;

  /// Camera matrix, rows (fx, skew, cx), (0, fy, cy), (0, 0, 1), pixels.
  Eigen::Matrix3d K(PixelOrigin origin) const;

  /// k1, k2, p1, p2, k3, k4, k5, k6: the same for all pictures of a camera, however processed.
  std::array<double, 8> distortion() const;

  /// Pose: camera_from_robot, or camera_from_world for a pan-tilt-zoom camera.
  const CameraTransform& pose() const;

  /// Whether the sensor itself took most of the lens out of the picture; `model` is that of the
  /// picture that it then delivers.
  bool isRectifiedBySensor() const;

  /// Whether this is a size that the camera delivers: not for a view of a picture that was
  /// processed afterwards, nor for one made from numbers.
  bool isFromTable() const;

  // The view of a picture that is made from this one's afterwards. Pixels being counted from the
  // corner, no half pixels occur.

  /// Scaled to this size, x and y on their own: f' = s f, c' = s c. None unless both are positive
  /// and this picture has pixels.
  std::optional<CameraView> resized(int width, int height) const;

  /// The rectangle with the top left corner (x0, y0): c' = c - (x0, y0). None unless it has pixels
  /// and lies in the picture.
  std::optional<CameraView> cropped(int x0, int y0, int width, int height) const;

  /// Blocks of `columns` x `rows` pixels summed, from the top left corner on; columns and rows that
  /// are left over are dropped, so that the scale is exactly 1 / `columns` and 1 / `rows`. None
  /// unless both are positive and a pixel remains.
  std::optional<CameraView> binned(int columns, int rows) const;

  /// Mirrored left to right, or top to bottom, or both: f' = -f, c' = size - c, and the skew turns
  /// around with x.
  CameraView flipped(bool horizontally, bool vertically) const;

  /// The same picture taken from another place: of a robot that moves, say. The pose is held in
  /// single precision; to refine one, work in double with `projectPoint` of `model()` and `byPose`,
  /// and move the view at the end.
  CameraView movedTo(const CameraTransform& camera_from_parent) const;

  /// The camera of the straightened picture that `view` describes (`fitView`): without lens, at the
  /// same place, turned by `view.view_from_camera`.
  CameraView straightened(const RectifiedView& view) const;

  // Points and rays.

  /// Pixel at which the camera sees a point of the parent frame, metres: `projectPoint` of the
  /// point in the camera frame, rounded to float that of `norv::project3dToCamera` where both
  /// answer. `*pixel` is NaN unless the status is `kOk` or `kOutsideImage`; so is `*jacobian`,
  /// which may be null. The inverse is `rayAt`. Allocates nothing.
  PointStatus project(const Eigen::Vector3d& point_in_parent, Eigen::Vector2d* pixel,
                      ViewJacobian* jacobian = nullptr) const;

  /// `project` for `count` points, to the same bits; the number of those that are not `kOk`.
  /// `pixels` may be the array of the points, where both have the same strides. `threads` as in
  /// `calibration::projectPoints`. Allocates nothing per point.
  std::size_t projectPoints(const PointArray<const double>& points_in_parent, std::size_t count,
                            const PointArray<double>& pixels, const ViewExtras& extras = {},
                            int threads = 1) const;

  /// Undistorted point (x/z, y/z), in the camera frame, of the ray that is imaged at `pixel`:
  /// `calibration::rectifyPixel`, and faster. Allocates nothing.
  PointStatus rectify(const Eigen::Vector2d& pixel, Eigen::Vector2d* point,
                      RectificationJacobian* jacobian = nullptr) const;

  /// `rectify` for `count` pixels, as `calibration::rectifyPoints`.
  std::size_t rectifyPoints(const PointArray<const double>& pixels, std::size_t count,
                            const PointArray<double>& points,
                            const RectificationExtras& extras = {}, int threads = 1) const;

  /// The ray that is imaged at `pixel`, in the parent frame. `*ray` is NaN unless the status is
  /// `kOk` or `kOutsideImage`; of a pose that has no inverse it is `kNotFinite`. The inverse of the
  /// pose is found in double: `project` of a point of the ray is the pixel as `rectifyPixel` says.
  /// The ray meets the floor z = 0 at origin + t direction with t = -origin.z() / direction.z(),
  /// where that is above 0.
  PointStatus rayAt(const Eigen::Vector2d& pixel, Ray* ray) const;

  /// By the lens, and not by the focal lengths alone.
  FieldsOfView fieldsOfView() const;

  // Where the lens ends, and straightened pictures: the functions of support/lens_validity.h,
  // support/rectified_view.h and support/rectification.h for `model()`.

  double validRadius() const;
  double validHalfAngle() const;
  ImageCoverage coverage() const;
  std::optional<RectifiedView> fitView(int width, int height, double alpha,
                                       const ViewOptions& options = {}) const;
  std::optional<RectifiedView> fitView(int width, int height, ViewFit fit,
                                       const ViewOptions& options = {}) const;
  std::optional<PixelSize> naturalViewSize(double alpha) const;
  void makeRectifyMap(const RectifiedView& view, float* map_x, float* map_y, int threads = 1) const;
  void makeFixedPointRectifyMap(const RectifiedView& view, std::int16_t* xy,
                                std::uint16_t* fraction, int threads = 1) const;
  void makeUndistortMap(const RectifiedView& view, float* map_x, float* map_y,
                        int threads = 1) const;

 private:
  std::shared_ptr<const internal::ViewRecord> record_;
};

}  // namespace norv::calibration

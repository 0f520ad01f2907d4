#pragma once

/// The calibration of a pan-tilt-zoom camera, the camera frozen at one pan, tilt and zoom, and
/// where to move it so that something comes to the middle of its picture. Units, frames, pixel
/// origin and distortion formula: docs/conventions.md.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "../support/camera_transform.h"
#include "../support/export.h"
#include "../support/load_problem.h"
#include "../support/matrix_types.h"
#include "pan_tilt_model.h"
#include "proto/norv_ptz_camera.pb.h"

namespace norv::calibration {

class CameraParameters;
class CameraView;
struct LoadReport;

/// Lens samples over the zoom range, and the head's kinematics.
///
/// The samples are taken to be in increasing order of zoom position and of focal length, and a
/// fixed number of zoom steps apart; that is not checked. The first one belongs at the lower end of
/// the mechanical range and the last one beyond the upper end, since a configuration at or beyond
/// the last has no finite lens, nor has one a whole interval below the first.
///
/// Immutable after construction; all operations may be called concurrently.
class NORV_EXPORT PTZCameraModel {
 public:
  /// Builds the model from a calibration, of which it keeps a copy. Where that has no lens samples
  /// or an incomplete head, the model is not valid and an error line says why.
  explicit PTZCameraModel(const PTZCameraParameters& params);

  /// The model of the `PTZCameraParameters` that the file or the data holds, binary or text. Null,
  /// with an error line that says why, where that does not parse, makes no valid model, or is of
  /// another kind of calibration. Fills `*report` unless that is null (load_report.h).
  static std::shared_ptr<const PTZCameraModel> fromFile(const std::string& path,
                                                        LoadReport* report = nullptr);
  static std::shared_ptr<const PTZCameraModel> fromString(const std::string& data,
                                                          LoadReport* report = nullptr);

  /// Index of the sample at or just below a zoom position in steps: (zoom - start) / interval,
  /// truncated toward zero and not limited to the table; 0 where the interval is 0. Quotients
  /// beyond the range of int (a difference of extremes over an interval of 1 or -1) saturate.
  int getIntrinsicsIndex(int zoom) const;

  /// The sample of an index, which is limited to the table first. Valid for the life of the model.
  /// That there are no samples is a fatal check, after which, where the logger lets it pass, the
  /// sample is one whose values are all zero.
  const PTZIntrinsicsItem* getIntrinsics(int index) const;

  /// Zoom position, in steps, of a magnification relative to the first sample: the inverse of the
  /// piecewise linear focal-length curve, rounded. 0 for factors below 1 and for tables of fewer
  /// than two samples; the last sample's position for factors beyond it and for NaN.
  int zoomXFactorToSteps(float factor) const;

  /// Magnification at a zoom position in steps, relative to the first sample: never NaN nor below
  /// 1; 1 for tables of fewer than two samples. Its segment comes from `getIntrinsicsIndex`, so
  /// that it undoes `zoomXFactorToSteps` only where the samples are spaced as the table says.
  float stepsToZoomXFactor(int steps) const;

  /// The calibration that the model was built from.
  const PTZCameraParameters& getParams() const { return params_; }

  /// The head's kinematics.
  const PanTiltModel& getPanTiltModel() const { return pan_tilt_model_; }

  /// Whether the calibration is usable. Build configurations from valid models only.
  bool isValid() const { return valid_; }

  /// Magnification of the last sample relative to the first; 1 for fewer than two, and for a model
  /// that is not valid.
  float getMaxZoomFactor() const { return max_zoom_factor_; }

 private:
  static std::shared_ptr<const PTZCameraModel> take(const std::string& data,
                                                    const std::string& source, LoadReport* report);

  PTZCameraParameters params_;
  PanTiltModel pan_tilt_model_;
  float max_zoom_factor_ = 1;
  bool valid_ = false;
};

using PTZCameraModelPtr = std::shared_ptr<const PTZCameraModel>;

/// Why a model made from this calibration would not be valid, or none: "intrinsics.samples" is
/// empty, or "a" of one of the head's three poses holds too few values. Logs nothing. Thread-safe.
NORV_EXPORT std::optional<LoadProblem> findLoadProblem(const PTZCameraParameters& params);

/// A pan-tilt-zoom camera at one head position and one zoom: a pinhole camera with a lens and a
/// pose.
///
/// Pixels are those of the image at which the model's samples were calibrated. Motor positions are
/// steps.
///
/// Immutable; make a new one for every new position. All operations may be called concurrently.
class NORV_EXPORT PTZCameraModelConfiguration {
 public:
  /// The camera of a valid model at the motor positions `pan`, `tilt` and `zoom`.
  ///
  /// The lens is the focal-length-weighted mean of the two samples around the zoom position: each
  /// has the radial factor (1 + k1 s) / (1 + k4 s), and the mean over the common denominator is a
  /// rational lens with k1, k2, k4 and k5. Principal point and tangential distortion are
  /// interpolated by position. Where one sample is both neighbours, that is at the last sample and
  /// beyond it and from a whole interval below the first one on, focal length, principal point, k1,
  /// k2, p1 and p2 are infinite or NaN: then no pixel has a ray and nothing can be pointed at.
  ///
  /// A model without samples is a fatal check; one without a head (not valid either) has a pose of
  /// zeros. Allocates the vector of `getDistortion` and, with logging off, nothing else.
  PTZCameraModelConfiguration(const PTZCameraModelPtr& model, int pan, int tilt, int zoom);

  /// The optical centre in world coordinates (the base frame of the head), metres.
  Vector3_f getCameraCenter() const;

  /// Pixel at which the camera sees a world point, as `norv::project3dToCamera` has it.
  Vector2_f project3dToCamera(const Vector3_f& point) const;

  /// This camera, ready to use (camera_view.h). None where the lens is not finite, and where the
  /// calibration states no image size.
  std::optional<CameraView> view() const;

  /// World direction, not normalised, of the ray that is imaged at a pixel. NaN where there is
  /// none. The inverse, up to depth, is `project3dToCamera`.
  Vector3_f projectPixelToRay(const Vector2_f& pixel) const;

  /// Undistorted point (x/z, y/z) of a point given as fractions of the image's width and height.
  /// NaN where no ray is imaged there.
  Vector2_f rectifyPoint(const Vector2_f& point) const;

  /// Does nothing: this camera does not convert into a `CameraParameters`.
  void getCameraParameters(int width, int height, CameraParameters* camera) const;

  /// Pan and tilt in steps at which the world point appears at the pixel of this configuration's
  /// lens; neither rounded nor limited. Result, what is written on failure and log lines are those
  /// of `PanTiltModel::computePanTilt`; a pixel without a ray has no solution.
  bool getPanTilt(const Vector3_f& world, const Vector2_f& pixel, float* pan, float* tilt) const;

  /// Pan and tilt that bring what is seen at the pixel to the optical axis, rounded to whole steps
  /// (halves away from zero) and then limited to the motors' range as far as the calibration states
  /// it. What is seen is taken to be one metre away, which matters by the lever arms of the head.
  /// False with nothing written when there is no solution. Results beyond the range of int
  /// saturate; NaN, which scales of zero give, counts as 0.
  bool getPanTilt(const Vector2_f& pixel, int* pan, int* tilt) const;

  /// Pan, tilt and zoom that show the axis-aligned box with these opposite corners, pixels of this
  /// configuration, as large as it fits the picture. The head turns to the sum of the unit rays of
  /// the two corners, rounded and limited as above. The zoom is the one whose focal length, by the
  /// samples' piecewise linear curve, keeps all four corners within half of the image's size from
  /// the optical axis, truncated to a whole step: 0 when not even the first sample does, the last
  /// sample's position when all do.
  ///
  /// The zoom is computed as for a lens without distortion whose axis passes the middle of the
  /// image and that turns about its centre; by as much as the real one differs, a corner can miss
  /// the picture. A corner that no ray reaches does not bound the zoom; if it is one of the two
  /// that are given, there is no solution.
  ///
  /// False with nothing written when pan and tilt have no solution.
  bool getPanTiltZoom(const Vector2_f& corner, const Vector2_f& opposite, int* pan, int* tilt,
                      int* zoom) const;

  /// What the configuration was made from; motor positions in steps.
  const PTZCameraModelPtr& getModel() const { return model_; }
  int getPan() const { return pan_; }
  int getTilt() const { return tilt_; }
  int getZoom() const { return zoom_; }

  /// Pose of the camera, camera_from_world and its inverse.
  const CameraTransform& getCameraTransform() const { return camera_transform_; }

  /// k1, k2, p1, p2, k3, k4, k5, k6; k3 and k6 are zero.
  const std::vector<float>& getDistortion() const { return distortion_; }

  /// Camera matrix K, rows (f, 0, cx), (0, f, cy), (0, 0, 1), pixels.
  const Matrix3x3_f& getIntrinsics() const { return K_; }

 private:
  void blendLenses();

  PTZCameraModelPtr model_;
  int pan_;
  int tilt_;
  int zoom_;
  CameraTransform camera_transform_;
  std::vector<float> distortion_;
  Matrix3x3_f K_;
  float principal_point_[2];
  float focal_lengths_[2];
};

}  // namespace norv::calibration

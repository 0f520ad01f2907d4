#pragma once

/// What the checks look at, with what several of them need computed once.

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "calibration_common/review/lens_subject.h"
#include "calibration_common/review/pose_subject.h"
#include "calibration_common/review/report.h"
#include "proto/norv_base_calibration.pb.h"
#include "proto/norv_camera_calibration.pb.h"
#include "proto/norv_ptz_camera.pb.h"

namespace norv::internal::review {

/// An image that a camera delivers.
struct CameraImage {
  PinholeImage pinhole;
  bool refitted;  ///< fitted to sample points, not cut out of the full frame
};

/// How well the fit of a warped image meets its sample points.
struct RefitQuality {
  bool exists;                   ///< whether any camera could be fitted
  double error_per_point;        ///< pixels; infinite where there is no fit
  std::vector<float> residuals;  ///< of each sample, pixels
};

/// One entry of a robot calibration.
struct CameraSubject {
  const calibration::CameraCalibration& message;
  std::string path;  ///< "camera_calibration[3]"
  /// Indices of the last entry before this one that has the same name, of the first that has the
  /// same pose; -1 where there is none.
  int same_name;
  int same_pose;
  PoseSubject pose;
  CameraImage full_frame;
  std::vector<CameraImage> images;  ///< the full frame and all that is delivered
  bool warps;  ///< whether the model's sensor warps an image, so that samples count
  std::optional<RefitQuality> refit;  ///< where there are samples to fit to
  std::vector<LensSubject> lenses;
};

/// A pan-tilt-zoom camera.
struct PtzSubject {
  const calibration::PTZCameraParameters& message;
  std::array<PoseSubject, 3> poses;  ///< of the head, in the order of the chain
};

/// A mobile base.
struct BaseSubject {
  const calibration::BaseCalibrationProto& message;
  PoseSubject pose;
};

/// Path of the i-th zoom sample.
std::string samplePath(int i);

/// The image of a zoom sample.
PinholeImage sampleImage(const calibration::PTZIntrinsicsTable& table, int i);

}  // namespace norv::internal::review

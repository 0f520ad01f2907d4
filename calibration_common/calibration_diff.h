#pragma once

/// What one calibration, B, changes in another one, A: in pixels, in poses and in the stored
/// numbers. What the figures mean, with their formulas: docs/diff.md; units, frames, pixel origin:
/// docs/conventions.md.

#include <array>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "../support/export.h"
#include "../support/load_problem.h"
#include "../support/pixel_size.h"
#include "camera_parameters.h"
#include "proto/norv_base_calibration.pb.h"
#include "proto/norv_ptz_camera.pb.h"
#include "proto/norv_robot_calibration.pb.h"

namespace norv::calibration {

/// What a comparison is to look at.
struct DiffOptions {
  /// How far away the points are that the cameras of a robot are compared by: from A's optical
  /// centre along the ray, metres, positive. Infinity means directions.
  std::vector<double> distances = {std::numeric_limits<double>::infinity(), 3.0};
  /// Fixed cameras alone: only the one of this name.
  std::optional<std::string> camera;
  /// Fixed cameras alone: only this size, at which the cameras are those that
  /// `CameraParameters::getIntrinsics` and `getDistortion` give, in the table or not.
  std::optional<PixelSize> size;
  /// Whether the differences at each pixel of the grid are wanted too.
  bool keep_grid = false;
};

/// How far apart two cameras image what A's camera sees at the pixels of a grid: the distances
/// between B's pixel and A's, pixels. Without any point that both image the figures are NaN.
struct PixelDifference {
  int compared = 0;     ///< points that both cameras image, which the figures are of
  int without_ray = 0;  ///< pixels of the grid at which A's camera images no ray
  int not_imaged = 0;   ///< points that A's camera images, and B's does not
  double max = std::numeric_limits<double>::quiet_NaN();
  double median = std::numeric_limits<double>::quiet_NaN();
  double rms = std::numeric_limits<double>::quiet_NaN();
  double worst_u = std::numeric_limits<double>::quiet_NaN();  ///< A's pixel with the largest one
  double worst_v = std::numeric_limits<double>::quiet_NaN();
};

/// The same for points at one distance on A's rays, the cameras in their places on the robot.
struct DistanceDifference {
  double distance = 0;  ///< from A's optical centre, metres; infinity for directions
  PixelDifference pixels;
};

/// A pixel of the grid and by how much B images its ray elsewhere: B's pixel less A's, pixels. NaN
/// where A has no ray or B does not image it.
struct GridDifference {
  double u;  ///< A's pixel
  double v;
  double du;  ///< as the cameras are
  double dv;
  double du_rotated;  ///< after the rotation
  double dv_rotated;
};

/// Two cameras at one image size.
struct ImageDifference {
  CameraParameters::Intrinsics a;
  CameraParameters::Intrinsics b;
  /// The ray of each of A's pixels as B images it, the two camera frames taken to be one.
  PixelDifference as_is;
  /// The same after the one rotation of the frames that makes the RMS smallest. A principal point
  /// that moved is mostly a turned camera; what remains is a different lens.
  PixelDifference rotated;
  /// That rotation, from A's camera frame into B's: its axis times its angle, radians.
  std::array<double, 3> rotation = {};
  std::vector<DistanceDifference> on_robot;  ///< for each of the distances asked for
  std::vector<GridDifference> grid;          ///< row by row; empty unless it was asked for
};

/// Two poses of one local frame, a camera's, in its parent frame, the robot's.
struct PoseDifference {
  double angle = 0;     ///< of the rotation between them, 0 to pi radians
  double distance = 0;  ///< between the two origins of the local frame, metres
  /// From A's origin to B's, in coordinates of the parent frame, metres.
  std::array<double, 3> movement = {};
};

/// A camera that both calibrations have.
struct CameraDifference {
  std::string name;
  PoseDifference pose;
  std::vector<ImageDifference> images;  ///< at the sizes that both deliver, in A's order
  std::vector<PixelSize> only_in_a;     ///< sizes that B's camera does not deliver
  std::vector<PixelSize> only_in_b;
};

/// Two calibrations of a robot's fixed cameras.
struct RobotDifference {
  std::vector<CameraDifference> cameras;  ///< those that both have, in A's order
  std::vector<std::string> only_in_a;     ///< names of cameras, in A's order
  std::vector<std::string> only_in_b;
};

/// A pan-tilt-zoom camera at one zoom position, steps; "on the robot" is with the head at A's home.
struct ZoomDifference {
  int zoom = 0;
  ImageDifference image;
};

/// The pose that a head gives its camera at one position of the motors, steps.
struct HeadPoseDifference {
  int pan = 0;
  int tilt = 0;
  PoseDifference pose;
};

/// Two pan-tilt-zoom cameras.
struct PtzDifference {
  PixelSize size_a;
  PixelSize size_b;
  /// At each zoom sample of A and half-way between each two; the last sample, at which there is no
  /// lens, is stood in for by the step before it, and what is beyond A's `min_zoom` and `max_zoom`
  /// by these. Empty where the image sizes differ.
  std::vector<ZoomDifference> zooms;
  /// At A's home, which is 0 where it is not stated, and at the corners of A's motor range.
  std::vector<HeadPoseDifference> poses;
};

/// A stored number in both calibrations; none where it is absent.
struct ValueChange {
  std::optional<float> a;
  std::optional<float> b;
};

/// Two calibrations of a mobile base.
struct BaseDifference {
  PoseDifference global_transform;
  ValueChange gain;        ///< of the gyroscope, no unit
  ValueChange wheel_base;  ///< metres, these three
  ValueChange base_width;
  ValueChange base_length;
};

/// Why two calibrations were not compared: one of them does not load.
struct DiffProblem {
  bool is_in_b = false;
  LoadProblem problem;  ///< its field is a path from the top of the message
};

/// Compares two calibrations. None where one of the two does not load (of fixed cameras, where one
/// of the cameras asked for does not); `*problem`, unless it is null, then says why.
///
/// Of fixed cameras that share a name the last counts, as in loading. Their intrinsics are those
/// that they have per image size in single precision, fitted again where the sensor warps the
/// image; poses are the stored ones. Everything is computed in double precision. Two cameras whose
/// numbers are the same differ by exactly 0.
///
/// Any message is compared, however nonsensical; what is no number comes out as NaN, and what is no
/// camera has no rays. The time is that of loading both and, for each pair of images, some
/// milliseconds. Logs what loading the cameras logs. Thread-safe.
NORV_EXPORT std::optional<RobotDifference> diffCalibrations(const RobotCalibration& a,
                                                            const RobotCalibration& b,
                                                            const DiffOptions& options = {},
                                                            DiffProblem* problem = nullptr);
NORV_EXPORT std::optional<PtzDifference> diffCalibrations(const PTZCameraParameters& a,
                                                          const PTZCameraParameters& b,
                                                          const DiffOptions& options = {},
                                                          DiffProblem* problem = nullptr);
NORV_EXPORT std::optional<BaseDifference> diffCalibrations(const BaseCalibrationProto& a,
                                                           const BaseCalibrationProto& b,
                                                           DiffProblem* problem = nullptr);

}  // namespace norv::calibration

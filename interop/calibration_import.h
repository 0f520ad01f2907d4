#pragma once

/// Calibrations of other programs made into ours.

#include <cstddef>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "interop/lens_fit.h"
#include "interop/peer_reading.h"
#include "proto/norv_robot_calibration.pb.h"

namespace norv::interop {

/// What `importCameras` is to do. All of it is optional.
struct ImportOptions {
  std::optional<PeerFormat> format;  ///< of all files; else that of each one's contents
  ReadOptions reading;
  /// Says that the parent of the files' poses is the robot's frame.
  bool parent_is_robot = false;
  /// The pose between, if it is not: that maps the robot's frame into the poses' parent.
  std::optional<RigidPose> parent_from_robot;
  /// Of cameras without a pose, top three rows, translation in millimetres, as messages hold it.
  std::optional<calibration::CameraExtrinsics> extrinsics;
  /// For the cameras in the order of the files, instead of the files' names; none, or one for each
  /// camera.
  std::vector<std::string> names;
  std::string model;       ///< camera model id of all cameras; "" for none
  double max_error = 0.1;  ///< what a lens may deviate by in the place of another one, pixels
};

/// Where the pose of an imported camera comes from.
enum class PoseSource {
  kFile,     ///< its file, moved into the robot's frame
  kOptions,  ///< `ImportOptions::extrinsics`
  kNone      ///< nowhere: it is the identity
};

/// One camera that was imported.
struct ImportedCamera {
  calibration::CameraCalibration calibration;
  std::size_t file = 0;  ///< index in `ImportOutcome::files`
  PeerCamera source;     ///< as it stands there
  PoseSource pose_source = PoseSource::kNone;
  std::optional<LensDeviation> deviation;  ///< of the imported lens; none where it is the same
};

/// What was found out about one file.
struct ImportedFile {
  std::string name;
  PeerFormat format = PeerFormat::kRos;
  calibration::PixelOrigin pixel_origin =
      calibration::PixelOrigin::kPixelCentre;  ///< of its pixels
  std::string parent;                          ///< of its poses, as `PeerFile::parent`
  std::vector<NotTakenOver> not_taken_over;
  std::vector<std::string> notes;  ///< sentences
};

struct ImportOutcome {
  std::vector<ImportedFile> files;  ///< COLMAP's images.txt is part of its cameras.txt
  std::vector<ImportedCamera> cameras;
};

/// The cameras of all files, in order. Camera matrix, lens and pose pass through as the same
/// doubles wherever our model has them, but for half a pixel of the principal point and metres to
/// millimetres; other lenses are fitted (`fitLens`). A camera without a name gets that of its file,
/// without folders and extension; several of one file get it with _0, _1 and so on. COLMAP's
/// images.txt belongs to the cameras.txt that comes before it.
///
/// A problem is returned where a file is refused, a lens deviates by more than allowed, or two
/// cameras have one name. Bad input never throws. Thread-safe.
std::variant<ImportOutcome, FormatProblem> importCameras(const std::vector<SourceFile>& files,
                                                         const ImportOptions& options);

/// Replaces the cameras of the same names in a calibration, the last of several, and adds the
/// others.
void putCameras(const std::vector<ImportedCamera>& cameras, calibration::RobotCalibration* robot);

}  // namespace norv::interop

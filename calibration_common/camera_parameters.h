#pragma once

/// The calibration of a robot's fixed cameras: each camera's intrinsics at every image size and its
/// pose on the robot. Units, frames, pixel origin and distortion formula: docs/conventions.md.

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "../support/camera_transform.h"
#include "../support/export.h"
#include "../support/load_problem.h"
#include "../support/matrix_types.h"
#include "calibration_format.h"
#include "proto/norv_camera_calibration.pb.h"
#include "proto/norv_camera_extrinsics.pb.h"
#include "proto/norv_robot_calibration.pb.h"
#include "save_problem.h"

namespace norv::calibration {

class BaseCalibrationData;
class CameraView;
class ImageSensorTransform;
struct LoadReport;

/// The calibration of one camera.
///
/// Filled once by `readProto` and then only read; the const operations may be called concurrently
/// from then on. Cannot be copied.
class NORV_EXPORT CameraParameters {
 public:
  /// Pinhole intrinsics and lens distortion for one image size.
  struct Intrinsics {
    std::int32_t width = 0;  ///< image size that the entry applies to, pixels
    std::int32_t height = 0;
    std::vector<float> distortion;  ///< k1, k2, p1, p2, k3, k4, k5, k6
    float fx = 0;                   ///< focal lengths, pixels
    float fy = 0;
    float skew = 0;  ///< skew term, pixels
    float cx = 0;    ///< principal point, pixels
    float cy = 0;
  };

  /// How well the intrinsics that were fitted to sample points meet them. Pixels of the image that
  /// the sensor warps, at the full frame's scale.
  struct Refit {
    double error_per_point = 0;  ///< root mean square of the residuals that are finite
    /// Distance by which each sample is missed, in stored order; NaN where the sample is not
    /// finite, which the fit leaves out.
    std::vector<float> residuals;
  };

  /// An empty camera: no table, no distortion, no model, zero pose and a full frame of size zero.
  CameraParameters();
  CameraParameters(const CameraParameters&) = delete;
  CameraParameters& operator=(const CameraParameters&) = delete;
  ~CameraParameters();

  /// Loads the camera from its stored calibration and builds the table of intrinsics per image
  /// size.
  ///
  /// False, with an error line, when the message holds fewer than 6 radial, 2 tangential or 12 pose
  /// values: then the message copy, the full frame's size and its five numbers of the camera matrix
  /// are already those of the message, and all else is as before. False too when
  /// `precomputeIntrinsics` fails, after everything but the table was loaded. Such a camera is to
  /// be discarded.
  ///
  /// Meant for a camera that is loaded once: distortion is appended to what is there. Throws
  /// std::bad_alloc where memory does not suffice; the camera is then to be discarded.
  bool readProto(const CameraCalibration& calibration);

  /// Camera matrix of the full sensor frame: rows (fx, skew, cx), (0, fy, cy), (0, 0, 1).
  Matrix3x3_f getFullFrameIntrinsics() const;

  /// Lens distortion of the full frame: k1, k2, p1, p2, k3, k4, k5, k6.
  const std::vector<float>& getFullFrameDistortion() const;

  /// Lens distortion of images of `width` x `height` pixels: that of the first table entry of
  /// exactly this size, or the full frame's. The reference lives until the next load or
  /// destruction.
  const std::vector<float>& getDistortion(int width, int height) const;

  /// Camera matrix of images of `width` x `height` pixels: that of the first table entry of exactly
  /// this size, or the full frame's scaled to it, x and y on their own, with a line at info level.
  ///
  /// A camera whose full frame has a zero size gives infinite or NaN elements on a miss.
  Matrix3x3_f getIntrinsics(int width, int height) const;

  /// Camera matrix of the image made by cutting the rectangle of `source_width` x `source_height`
  /// pixels with top-left corner (`x0`, `y0`) out of the image that `in` describes, and scaling it
  /// to `target_width` x `target_height`.
  ///
  /// With s = target / source in each axis: f' = s f and c' = s c - s x0, in single precision; the
  /// origin of pixel coordinates is the image's corner, so no half-pixel terms occur. A zero source
  /// size gives infinite or NaN elements.
  Matrix3x3_f recomputeKMatrix(const Intrinsics& in, int x0, int y0, int source_width,
                               int source_height, int target_width, int target_height) const;

  /// The camera at one of the sizes that it delivers, ready to use (camera_view.h): that of the
  /// first table entry of exactly this size, none without one. Of a picture that was made from a
  /// delivered one it is `view(...)->resized(...)` and the like. A snapshot: it does not follow
  /// what becomes of this object.
  std::optional<CameraView> view(int width, int height) const;

  /// The whole record of that image: camera matrix as above, size, and the distortion of `in`,
  /// which acts on normalised coordinates and does not change. `out` may be `&in`.
  void affineIntrinsics(const Intrinsics& in, int x0, int y0, int source_width, int source_height,
                        int target_width, int target_height, Intrinsics* out) const;

  /// Fills the table of intrinsics per image size for the camera model. False, with the table as it
  /// was, for a model that is not known when the message lacks the full frame's size, and for the
  /// head camera when its intrinsics cannot be fitted again.
  bool precomputeIntrinsics();

  /// The tables of the known models: "mk512h", "mk513n" and "b910".
  bool precomputeCorvelHeadIntrinsics();
  bool precomputeCorvelNavIntrinsics();
  bool precomputeB910Intrinsics();

  /// Fits the intrinsics of the image that `transform` makes of the sensor's, in the full frame's
  /// pixel grid, from the sample points stored with the calibration. Sets the camera matrix,
  /// without skew, and the 8 distortion coefficients of `*out`; its size is the caller's to set.
  ///
  /// Reports the fit's error per point (`calibrateFromSingleImage`) at info level. False, with an
  /// error line and `*out` as it was, when there are no sample points or that error exceeds 10
  /// pixels, as the infinite one does where no fit exists. Exceptions of `transform` pass through,
  /// with `*out` as it was.
  bool recomputeIntrinsics(const ImageSensorTransform& transform, Intrinsics* out) const;

  /// Moves the camera by the base's global transform B: its pose P becomes P B. The new pose is
  /// also stored as the extrinsics of `*calibration`, in millimetres; the camera's own message copy
  /// keeps the old one. Applied twice, it moves the camera twice.
  void adjustUsingBaseCalibration(const BaseCalibrationData& base, CameraCalibration* calibration);

  /// Conversions of poses. Values are passed on whatever they are, rigid and finite or not;
  /// translations are metres in matrices and millimetres in messages. Thread-safe.
  ///
  /// Rotation and translation of a pose; its last row is ignored.
  static void convert(const Matrix4x4_f& m, Matrix3x3_f* rotation, Vector3_f* translation);
  /// The pose of a rotation and a translation, with last row (0, 0, 0, 1); inverse of the above.
  static void convert(const Matrix3x3_f& rotation, const Vector3_f& translation, Matrix4x4_f* m);
  /// Stores the top three rows of a pose, in millimetres, in an otherwise cleared message.
  static void convert(const Matrix4x4_f& m, CameraExtrinsics* dst);
  /// Reads a stored pose; inverse of the above. Values after the twelfth are ignored; fewer than 12
  /// are a fatal check, and leave `*m` as it was where the logger lets that pass.
  static void convert(const CameraExtrinsics& src, Matrix4x4_f* m);

  /// Pose of the camera, camera_from_robot and its inverse, and its parts; translation in metres.
  const CameraTransform& getTransform() const { return transform_; }
  const Matrix3x3_f& getRotation() const { return rotation_; }
  const Vector3_f& getTranslation() const { return translation_; }

  /// Camera model id.
  const std::string& getModel() const { return model_; }

  /// Intrinsics of the full sensor frame.
  const Intrinsics& getFullFrame() const { return full_frame_; }

  /// Intrinsics per image size that the camera delivers.
  const std::vector<Intrinsics>& getIntrinsicsTable() const { return intrinsics_; }

  /// The fit behind the table's entry for the image that the sensor warps; none for a camera whose
  /// sensor warps no image, and for one that did not load. A `recomputeIntrinsics` of one's own
  /// does not change it. The reference lives until the next load or destruction.
  const std::optional<Refit>& getRefit() const { return refit_; }

  /// The message that the camera was last loaded from, unknown fields included. The reference lives
  /// until the next load or adjustment by the base, or destruction.
  const CameraCalibration& getCalibration() const { return *calibration_; }

 private:
  friend class CameraParametersSet;

  bool precomputeFullFrame();

  std::vector<Intrinsics> intrinsics_;
  Intrinsics full_frame_;
  std::string model_;
  CameraTransform transform_;
  Matrix3x3_f rotation_;
  Vector3_f translation_;
  std::shared_ptr<const CameraCalibration> calibration_;
  std::optional<Refit> refit_;
  Refit* refit_of_load_ = nullptr;  ///< where a load wants it; null unless one is under way
};

/// Why a camera would not load from this calibration, or none: the first thing that is wrong with
/// it, in the order in which `CameraParameters::readProto` looks. One of
///
/// - "intrinsics.radial", "intrinsics.tangential" or "extrinsics.a" holds too few values,
/// - "intrinsics" lacks width or height, which a model that is not known needs,
/// - "intrinsics.samples" is empty, or no camera can be fitted to it: the head camera's model
/// alone.
///
/// Logs nothing. Fits the head camera's intrinsics again, as a load does: ask where a load has
/// failed, rather than before it. Thread-safe.
NORV_EXPORT std::optional<LoadProblem> findLoadProblem(const CameraCalibration& calibration);

/// The calibration of all fixed cameras of a robot, by name.
///
/// It never lacks a usable calibration: the constructor loads the one that is compiled in, and
/// every load that fails falls back to it and returns false. So false from a load means that the
/// defaults are in force now. Cameras that a load does not name stay available from earlier ones.
///
/// A load that memory does not suffice for throws std::bad_alloc, and the set is then exactly as it
/// was before: message, cameras and the answers of each. No load, failed ones included, leaves more
/// memory in use than the message and the cameras that the set then holds; a camera may keep the
/// message that it was loaded with, up to 256 KiB of it as a file has it.
///
/// Loading must not overlap with any other use of the same set; the const operations may be called
/// concurrently. Cameras that were handed out stay valid whatever becomes of the set, and no load
/// changes them.
class NORV_EXPORT CameraParametersSet {
 public:
  /// Holds the compiled-in default calibration; that it is missing or unusable is a fatal check.
  CameraParametersSet();

  /// A deep copy: the cameras are built again from a copy of the stored message, which leaves out
  /// those that the message does not name.
  CameraParametersSet(const CameraParametersSet& other);
  CameraParametersSet& operator=(const CameraParametersSet&) = delete;
  ~CameraParametersSet();

  /// Loads a `RobotCalibration` from a file in binary or text format. A failure is reported by an
  /// error line that names the file.
  bool loadFromFile(const std::string& path);

  /// Loads a `RobotCalibration` from bytes: the binary format is tried first, then the text format.
  /// An empty string is an empty binary message, which loads and changes no camera. A failure is
  /// reported by a warning, after an error line where a camera's entry is what is wrong.
  bool loadFromString(const std::string& data);

  /// The same loads, which also fill `*report` unless that is null (load_report.h): what the data
  /// was read as, which cameras came from it, why it did not load, and all that is doubtful in it.
  /// The report is made for the data that was loaded, after the load.
  bool loadFromFile(const std::string& path, LoadReport* report);
  bool loadFromString(const std::string& data, LoadReport* report);

  /// A set of exactly the cameras that the file or the data holds, binary or text, without any of
  /// the default calibration. Null, with an error line that says why, where that does not load,
  /// holds no camera, or is of another kind of calibration. Fills `*report` unless that is null.
  ///
  /// The set is as others are from then on: a later load that fails puts the default in force.
  static std::unique_ptr<CameraParametersSet> fromFile(const std::string& path,
                                                       LoadReport* report = nullptr);
  static std::unique_ptr<CameraParametersSet> fromString(const std::string& data,
                                                         LoadReport* report = nullptr);

  /// Loads a copy of `calibration`. A failure is reported as by `loadFromString`.
  bool loadFromProto(const RobotCalibration& calibration);

  /// Loads the compiled-in default calibration. Always false, so that a failed load can return it.
  bool setDefault();

  /// Builds the cameras that the stored message names. False at the first entry that does not load;
  /// the cameras of the entries before it are replaced by then.
  bool readProto();

  /// Moves every camera that the stored message names by the base's global transform, and stores
  /// the new poses in that message, so that a copy of the set or a saved message has them. Where
  /// two entries have one name, their camera is moved once for each; an entry that has no camera is
  /// skipped. Cameras already handed out move too: nothing else may use them meanwhile. Applied
  /// twice, it moves them twice.
  void adjustUsingBaseCalibration(const BaseCalibrationData& base);

  /// The camera of that name, or an empty pointer.
  std::shared_ptr<CameraParameters> getCamera(const std::string& name) const;

  /// The names of all cameras, in byte-wise order.
  std::vector<std::string> getCameraNames() const;

  /// The stored message: what was last loaded, with the poses as last adjusted. The reference lives
  /// until the next load or destruction.
  const RobotCalibration& getRobotCalibration() const { return *robotcal_; }

  /// Writes the stored message to a file, as `calibration::saveToFile` does (calibration_saving.h):
  /// of the cameras that it does not name, nothing. None, or why the file is as it was.
  [[nodiscard]] std::optional<SaveProblem> saveToFile(const std::string& path,
                                                      CalibrationFormat format) const;

 private:
  struct WithoutDefault {};
  explicit CameraParametersSet(WithoutDefault /*tag*/);
  static std::unique_ptr<CameraParametersSet> take(const std::string& data,
                                                   const std::string& source, LoadReport* report);
  bool buildCameras(std::size_t message_size);
  void separateCameras();

  std::map<std::string, std::shared_ptr<CameraParameters>> cameras_;
  std::shared_ptr<RobotCalibration> robotcal_;
};

}  // namespace norv::calibration

#pragma once

/// The calibration of the robot's mobile base. Units and frames: docs/conventions.md.

#include <memory>
#include <optional>
#include <string>

#include "../support/export.h"
#include "../support/load_problem.h"
#include "../support/matrix_types.h"
#include "calibration_format.h"
#include "proto/norv_base_calibration.pb.h"
#include "save_problem.h"

namespace norv::calibration {

struct LoadReport;

/// Body dimensions, a global transform and the gyroscope's gain, each calibration with the metadata
/// that says what it is valid for.
///
/// The global transform is rigid: rotation W and translation b (metres), by which camera poses that
/// were measured in the frame of the calibration are moved onto the base
/// (`adjustUsingBaseCalibration`).
///
/// Always usable: the constructor loads the compiled-in default, and a load that fails falls back
/// to it and returns false. A load that memory does not suffice for throws std::bad_alloc, and the
/// object is then exactly as it was before. No load leaves more memory in use than its result
/// needs. An object is used from one thread at a time.
class NORV_EXPORT BaseCalibrationData {
 public:
  /// Holds the compiled-in default calibration; that it is missing or unusable is a fatal check.
  BaseCalibrationData();

  /// A copy of the working calibration. It carries no default of its own and reads the compiled-in
  /// one when it needs it.
  BaseCalibrationData(const BaseCalibrationData& other);
  BaseCalibrationData& operator=(const BaseCalibrationData&) = delete;
  ~BaseCalibrationData();

  /// Takes the global transform from the working calibration. False, with an error line and the
  /// transform as it was, when that has fewer than 12 values.
  bool readProto();

  /// Puts the compiled-in default in force. Always false, so that a failed load can return it. In a
  /// copy this reads the compiled-in file the first time; that it is unusable is a fatal check.
  bool setDefault();

  /// Loads a `BaseCalibrationProto` from bytes: the binary format is tried first, then the text
  /// format. False, with the default in force, when the data is neither, about which nothing is
  /// logged, or when its global transform has fewer than 12 values, which is an error line. An
  /// empty string is an empty binary message, and so has none.
  bool loadFromString(const std::string& data);

  /// The same, and fills `*report` unless that is null (load_report.h): what the data was read as,
  /// why it did not load, and all that is doubtful in it.
  bool loadFromString(const std::string& data, LoadReport* report);

  /// The same of a file. False, with the default in force and an error line that names the file,
  /// when it cannot be read or does not load.
  bool loadFromFile(const std::string& path, LoadReport* report = nullptr);

  /// The calibration that the file or the data holds, binary or text; never the default. Null, with
  /// an error line that says why, where that does not load or is of another kind of calibration.
  /// Fills `*report` unless that is null.
  ///
  /// The object is as others are from then on: a later load that fails puts the default in force.
  static std::unique_ptr<BaseCalibrationData> fromFile(const std::string& path,
                                                       LoadReport* report = nullptr);
  static std::unique_ptr<BaseCalibrationData> fromString(const std::string& data,
                                                         LoadReport* report = nullptr);

  /// Rotation W of the global transform.
  Matrix3x3_f getWorldRotation() const { return world_rotation_; }

  /// Translation b of the global transform, metres.
  Vector3_f getWorldTranslation() const { return world_translation_; }

  /// Writes the global transform into the working calibration, in millimetres: the inverse of
  /// `readProto`.
  void updatePBMatrix();

  /// Stores a global transform, as it is and not made rigid, with the metadata of its calibration.
  /// The translation is in metres.
  void setGlobalTransform(const Matrix3x3_f& R, const Vector3_f& t,
                          const CalibrationMetadataProto& metadata);

  /// Whether the global transform's `validity_key` is exactly `key`. Without metadata the stored
  /// key is empty, and then an empty `key` is valid.
  bool isGlobalTransformCalibrationValid(const std::string& key) const;

  /// Factor by which the gyroscope's rate is multiplied, no unit; 0 where the calibration has none.
  float getGyroscopeGain() const;

  /// Replaces the gyroscope's calibration, gain and metadata, and reports the gain at info level.
  void setGyroscopeGain(const GyroscopeCalibrationProto& gyro);

  /// Whether the gyroscope's metadata is there and its `gain_validity_key` is exactly `key`.
  /// (Unlike the global transform's check, never without metadata.)
  bool isGyroscopeGainCalibrationValid(const std::string& key) const;

  /// Body dimensions, metres; 0 where the calibration has none. Not checked.
  float getBaseWidth() const;
  void setBaseWidth(float width);
  float getWheelBase() const;
  void setWheelBase(float wheel_base);
  float getBaseLength() const;
  void setBaseLength(float length);

  /// The working calibration: what was loaded and set. The reference stays valid as long as the
  /// object; loads change what it refers to.
  const BaseCalibrationProto& getCalibration() const { return *cal_; }

  /// Writes the working calibration to a file, as `calibration::saveToFile` does
  /// (calibration_saving.h). None, or why the file is as it was.
  [[nodiscard]] std::optional<SaveProblem> saveToFile(const std::string& path,
                                                      CalibrationFormat format) const;

 private:
  struct WithoutDefault {};
  explicit BaseCalibrationData(WithoutDefault /*tag*/);
  static std::unique_ptr<BaseCalibrationData> take(const std::string& data,
                                                   const std::string& source, LoadReport* report);
  void loadDefault();

  std::unique_ptr<BaseCalibrationProto> default_cal_;  ///< null in a copy until it is needed
  std::unique_ptr<BaseCalibrationProto> cal_;
  Matrix3x3_f world_rotation_;
  Vector3_f world_translation_;
};

/// Why `BaseCalibrationData` would not load this calibration, or none: its global transform has
/// fewer than 12 values. Logs nothing. Thread-safe.
NORV_EXPORT std::optional<LoadProblem> findLoadProblem(const BaseCalibrationProto& calibration);

}  // namespace norv::calibration

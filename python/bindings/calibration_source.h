#pragma once

/// Calibrations of any kind, as bytes. Nothing here needs the interpreter's lock; all of it is
/// thread-safe and logs nothing.

#include <google/protobuf/message.h>

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "calibration_common/finding.h"
#include "calibration_common/load_report.h"
#include "proto/norv_base_calibration.pb.h"
#include "proto/norv_ptz_camera.pb.h"
#include "proto/norv_robot_calibration.pb.h"

namespace norv::python {

enum class Kind { kRobot, kPtz, kBase };

/// "robot", "ptz", "base", as the command-line tool calls them, and the inverse.
const char* kindName(Kind kind);
std::optional<Kind> kindOfName(const std::string& name);

/// "fixed cameras", "a pan-tilt-zoom camera", "a mobile base".
const char* describeKind(Kind kind);

enum class SourceFormat { kBinary, kText, kJson };

/// "binary", "text", "json".
const char* formatName(SourceFormat format);

/// A calibration that was read.
struct Source {
  Kind kind = Kind::kRobot;
  SourceFormat format = SourceFormat::kBinary;
  std::unique_ptr<google::protobuf::Message> message;  ///< of the kind's type
  std::string data;
};

/// Reads data as the given kind, or as the one that it fits best: the one of which it leaves the
/// fewest bytes unknown. Returns an error of the check "parse" where it is none, or where another
/// kind than the given one fits it better.
std::variant<Source, calibration::PlacedFinding> readSource(const std::string& data,
                                                            std::optional<Kind> kind);

/// The binary form of a message of that kind, which may be empty.
Source sourceOfObject(const std::string& data, Kind kind);

/// An empty message of the kind's type.
std::unique_ptr<google::protobuf::Message> newMessage(Kind kind);

/// What data fits best; of JSON and text, as far as it can be told what is meant.
Kind detectKind(const std::string& data);

/// Reads JSON, of which fields that are not known are an error unless `ignore_unknown`; returns
/// why it is none.
std::optional<calibration::PlacedFinding> readJson(const std::string& data,
                                                   google::protobuf::Message* message,
                                                   bool ignore_unknown);

/// Whether data that is no binary message is meant as JSON.
bool looksLikeJson(const std::string& data);

/// Whether the place of an error would mean anything to a person.
bool looksLikeText(const std::string& data);

/// Where fields stand in the source's text; line 0 in other formats.
std::vector<TextPlace> placesOf(const Source& source, const std::vector<std::string>& fields);

/// What a review finds, in the order of the file.
std::vector<calibration::PlacedFinding> reviewSource(const Source& source);

/// Why the library would not load it, an error of the check "parse"; none where it loads.
std::optional<calibration::PlacedFinding> findSourceProblem(const Source& source);

/// An error of the check "parse".
calibration::PlacedFinding parseFinding(const std::string& field, const std::string& text,
                                        TextPlace place = {});

/// `visit(message)` with the message as what it is.
template <class Visit>
auto visitSource(const Source& source, const Visit& visit) {
  if (source.kind == Kind::kRobot) {
    return visit(dynamic_cast<const calibration::RobotCalibration&>(*source.message));
  }
  if (source.kind == Kind::kPtz) {
    return visit(dynamic_cast<const calibration::PTZCameraParameters&>(*source.message));
  }
  return visit(dynamic_cast<const calibration::BaseCalibrationProto&>(*source.message));
}

}  // namespace norv::python

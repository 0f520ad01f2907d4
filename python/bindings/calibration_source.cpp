#include "python/bindings/calibration_source.h"

#include <google/protobuf/util/json_util.h>

#include <algorithm>
#include <cstddef>
#include <tuple>
#include <utility>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/calibration_review.h"
#include "calibration_common/camera_parameters.h"
#include "calibration_common/ptz_camera_model.h"
#include "interop/peer_format.h"
#include "support/message_parsing.h"
#include "support/text_error.h"
#include "support/text_places.h"

namespace norv::python {
namespace {

using calibration::Finding;
using calibration::PlacedFinding;
using google::protobuf::Message;

bool hasByteOrderMark(const std::string& data) {
  return data.rfind("\xef\xbb\xbf", 0) == 0 || data.rfind("\xff\xfe", 0) == 0 ||
         data.rfind("\xfe\xff", 0) == 0;
}

/// What is wrong with data that is neither binary nor JSON nor text of that type.
PlacedFinding explain(const std::string& data, const Message& message,
                      const TextParseError& error) {
  if (hasByteOrderMark(data)) {
    return parseFinding("", "begins with a byte order mark; save it as UTF-8 without one");
  }
  if (!looksLikeText(data)) {
    return parseFinding("",
                        "is neither a binary nor a text-format " + message.GetDescriptor()->name());
  }
  if (const auto format = interop::detectFormat(data)) {
    return parseFinding("", std::string("is a file of another program, format ") +
                                interop::formatName(*format) +
                                ": import_calibration makes a calibration of it");
  }
  if (error.line < 1) return parseFinding("", error.message);
  const TextProblem problem = explainTextError(data, *message.GetDescriptor(), error);
  return parseFinding(problem.path, problem.text, problem.place);
}

std::optional<PlacedFinding> findProblem(const calibration::RobotCalibration& robot) {
  for (int i = 0; i < robot.camera_calibration_size(); ++i) {
    const auto problem = findLoadProblem(robot.camera_calibration(i));
    if (!problem) continue;
    PlacedFinding placed = parseFinding(
        "camera_calibration[" + std::to_string(i) + "]." + problem->field, problem->sentence);
    placed.finding.camera = robot.camera_calibration(i).name();
    return placed;
  }
  return std::nullopt;
}

template <class M>
std::optional<PlacedFinding> findProblem(const M& message) {
  const auto problem = findLoadProblem(message);
  if (!problem) return std::nullopt;
  return parseFinding(problem->field, problem->sentence);
}

bool standsBefore(const PlacedFinding& a, const PlacedFinding& b) {
  return std::tie(a.place.line, a.place.column) < std::tie(b.place.line, b.place.column);
}

/// Reads data as the source's kind; returns why it is none.
std::optional<PlacedFinding> readAs(Source* source) {
  source->format = SourceFormat::kBinary;
  if (parseBinary(source->data, source->message.get())) return std::nullopt;
  if (looksLikeJson(source->data)) {
    source->format = SourceFormat::kJson;
    return readJson(source->data, source->message.get(), /*ignore_unknown=*/false);
  }
  source->format = SourceFormat::kText;
  TextParseError error;
  if (parseText(source->data, source->message.get(), &error)) return std::nullopt;
  return explain(source->data, *source->message, error);
}

std::string otherKind(const char* verb, Kind found, Kind wanted) {
  return std::string(verb) + " the calibration of " + describeKind(found) + ", not of " +
         describeKind(wanted);
}

}  // namespace

PlacedFinding parseFinding(const std::string& field, const std::string& text, TextPlace place) {
  PlacedFinding placed;
  placed.finding.severity = calibration::Severity::kError;
  placed.finding.check = "parse";
  placed.finding.field = field;
  placed.finding.text = text;
  placed.place = place;
  return placed;
}

std::unique_ptr<Message> newMessage(Kind kind) {
  if (kind == Kind::kRobot) return std::make_unique<calibration::RobotCalibration>();
  if (kind == Kind::kPtz) return std::make_unique<calibration::PTZCameraParameters>();
  return std::make_unique<calibration::BaseCalibrationProto>();
}

bool looksLikeJson(const std::string& data) {
  const std::size_t first = data.find_first_not_of(" \t\r\n");
  return first != std::string::npos && data[first] == '{';
}

bool looksLikeText(const std::string& data) {
  return std::none_of(data.begin(), data.end(), [](char c) {
    return static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\r' && c != '\t';
  });
}

std::optional<PlacedFinding> readJson(const std::string& data, Message* message,
                                      bool ignore_unknown) {
  google::protobuf::util::JsonParseOptions options;
  options.ignore_unknown_fields = ignore_unknown;
  const auto status = google::protobuf::util::JsonStringToMessage(data, message, options);
  if (status.ok()) return std::nullopt;
  // "(path): problem", "(path) name: problem" or "problem", with the text around it below.
  const std::string all(status.message());
  const std::string line = all.substr(0, all.find('\n'));
  const std::size_t end = line.find(')');
  if (line.empty() || line[0] != '(' || end == std::string::npos) return parseFinding("", line);
  const std::size_t text = line.find_first_not_of(": ", end + 1);
  return parseFinding(line.substr(1, end - 1), text != std::string::npos ? line.substr(text) : "");
}

std::variant<Source, PlacedFinding> readSource(const std::string& data, std::optional<Kind> kind) {
  const Kind detected = detectKind(data);
  Source source{kind.value_or(detected), {}, newMessage(kind.value_or(detected)), data};
  std::optional<PlacedFinding> problem = readAs(&source);
  if (source.kind != detected) {
    const bool fits = source.format != SourceFormat::kBinary && !problem;
    if (!fits) {
      Source other{detected, {}, newMessage(detected), data};
      return parseFinding("",
                          otherKind(readAs(&other) ? "resembles" : "holds", detected, source.kind));
    }
  }
  if (problem) return *problem;
  return source;
}

Source sourceOfObject(const std::string& data, Kind kind) {
  Source source{kind, SourceFormat::kBinary, newMessage(kind), data};
  parseBinary(data, source.message.get());
  return source;
}

std::vector<TextPlace> placesOf(const Source& source, const std::vector<std::string>& fields) {
  if (source.format != SourceFormat::kText) return std::vector<TextPlace>(fields.size());
  return findTextPlaces(source.data, *source.message->GetDescriptor(), fields);
}

std::vector<PlacedFinding> reviewSource(const Source& source) {
  std::vector<Finding> findings = visitSource(
      source, [](const auto& message) { return calibration::reviewCalibration(message); });
  std::vector<std::string> fields;
  fields.reserve(findings.size());
  for (const Finding& finding : findings) fields.push_back(finding.field);
  const std::vector<TextPlace> places = placesOf(source, fields);
  std::vector<PlacedFinding> placed;
  placed.reserve(findings.size());
  for (std::size_t i = 0; i < findings.size(); ++i) {
    placed.push_back({std::move(findings[i]), places[i]});
  }
  std::stable_sort(placed.begin(), placed.end(), standsBefore);
  return placed;
}

std::optional<PlacedFinding> findSourceProblem(const Source& source) {
  std::optional<PlacedFinding> problem =
      visitSource(source, [](const auto& message) { return findProblem(message); });
  if (problem) problem->place = placesOf(source, {problem->finding.field}).front();
  return problem;
}

const char* kindName(Kind kind) {
  if (kind == Kind::kRobot) return "robot";
  return kind == Kind::kPtz ? "ptz" : "base";
}

std::optional<Kind> kindOfName(const std::string& name) {
  for (const Kind kind : {Kind::kRobot, Kind::kPtz, Kind::kBase}) {
    if (name == kindName(kind)) return kind;
  }
  return std::nullopt;
}

const char* describeKind(Kind kind) {
  if (kind == Kind::kRobot) return "fixed cameras";
  return kind == Kind::kPtz ? "a pan-tilt-zoom camera" : "a mobile base";
}

const char* formatName(SourceFormat format) {
  if (format == SourceFormat::kBinary) return "binary";
  return format == SourceFormat::kText ? "text" : "json";
}

}  // namespace norv::python

#include "calibration_common/loading/calibration_reading.h"

#include <algorithm>
#include <cstring>

#include "calibration_common/loading/calibration_kinds.h"
#include "support/messages/message_reading.h"
#include "support/text_error.h"

namespace norv::internal {
namespace {

using calibration::CalibrationFormat;
using calibration::PlacedFinding;
using calibration::Severity;
using google::protobuf::Message;

/// Whether an error's place in the data would mean anything to a person.
bool looksLikeText(const std::string& data) {
  return std::none_of(data.begin(), data.end(),
                      [](char c) {
                        return static_cast<unsigned char>(c) < ' ' &&
                               std::strchr("\n\r\t", c) == nullptr;
                      }) &&
         data.find('\0') == std::string::npos;
}

bool hasByteOrderMark(const std::string& data) {
  return data.rfind("\xef\xbb\xbf", 0) == 0 || data.rfind("\xff\xfe", 0) == 0 ||
         data.rfind("\xfe\xff", 0) == 0;
}

PlacedFinding otherKind(const char* kind, const Message& message) {
  return parseProblem(
      "", std::string("holds the calibration of ") + kind + ", not of " + describeKind(message));
}

/// Of data that is in neither format.
PlacedFinding explainText(const std::string& data, const Message& message,
                          const TextParseError& error) {
  if (hasByteOrderMark(data)) {
    return parseProblem("", "begins with a byte order mark; save it as UTF-8 without one");
  }
  if (!looksLikeText(data)) {
    return parseProblem("",
                        "is neither a binary nor a text-format " + message.GetDescriptor()->name());
  }
  if (const char* kind = findKindOfText(data, message)) return otherKind(kind, message);
  if (error.line < 1) return parseProblem("", error.message);
  const TextProblem problem = explainTextError(data, *message.GetDescriptor(), error);
  return parseProblem(problem.path, problem.text, problem.place);
}

}  // namespace

PlacedFinding parseProblem(const std::string& field, const std::string& text, TextPlace place) {
  PlacedFinding problem;
  problem.finding.severity = Severity::kError;
  problem.finding.check = "parse";
  problem.finding.field = field;
  problem.finding.text = text;
  problem.place = place;
  return problem;
}

CalibrationReading readCalibration(const std::string& data, Message* message) {
  if (data.empty()) return {CalibrationFormat::kBinary, parseProblem("", "is empty")};
  if (readBinary(data, message)) {
    CalibrationReading reading = {CalibrationFormat::kBinary, {}};
    if (const char* kind = findBetterKind(data, *message))
      reading.problem = otherKind(kind, *message);
    return reading;
  }
  TextParseError error;
  if (!readText(data, message, &error)) return {{}, explainText(data, *message, error)};
  CalibrationReading reading = {CalibrationFormat::kText, {}};
  if (message->ByteSizeLong() == 0) reading.problem = parseProblem("", "is empty");
  return reading;
}

}  // namespace norv::internal

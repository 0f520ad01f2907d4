#include "python/bindings/messages.h"

#include <google/protobuf/util/json_util.h>

#include <memory>
#include <vector>

#include "python/bindings/errors.h"
#include "python/bindings/names.h"
#include "support/message_parsing.h"
#include "support/message_printing.h"

namespace norv::python {

namespace py = pybind11;
using google::protobuf::Message;

py::bytes toBytes(const Message& message) {
  std::string data;
  if (!message.SerializeToString(&data)) throwCalibrationError("too large for the format");
  return py::bytes(data);
}

py::str toPrintedText(const Message& message) {
  const std::vector<std::string> lost = listTextLosses(message);
  if (!lost.empty()) throwCalibrationError("text cannot hold it", lost.front());
  return toText(printText(message));
}

py::object toDict(const Message& message) {
  google::protobuf::util::JsonPrintOptions options;
  options.preserve_proto_field_names = true;
  std::string json;
  const auto status = google::protobuf::util::MessageToJsonString(message, &json, options);
  if (!status.ok()) throwCalibrationError(std::string(status.message()));
  // JSON's -0 would become an integer, which has no sign.
  const py::cpp_function parse_int([](const py::str& digits) -> py::object {
    if (digits.cast<std::string>() == "-0") return py::float_(-0.0);
    return py::int_(digits);
  });
  return py::module_::import("json").attr("loads")(py::bytes(json),
                                                   py::arg("parse_int") = parse_int);
}

namespace {

/// What json raises but for TypeError tells of the dict: nested too deep, in a circle, a number of
/// more digits than Python writes, or NaN, for which the mapping has a string.
std::string writeJson(const py::handle& dict) {
  try {
    const py::object dumps = py::module_::import("json").attr("dumps");
    return dumps(dict, py::arg("allow_nan") = false).cast<std::string>();
  } catch (py::error_already_set& error) {
    if (!error.matches(PyExc_ValueError) && !error.matches(PyExc_RecursionError)) throw;
    throwCalibrationError(py::str(error.value()).cast<std::string>());
  }
}

/// Without the piece of JSON that follows, which nobody has written.
std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

}  // namespace

std::string bytesOfDict(const py::handle& dict, const Message& prototype) {
  const std::string json = writeJson(dict);
  const std::unique_ptr<Message> message(prototype.New());
  const auto status = google::protobuf::util::JsonStringToMessage(json, message.get());
  if (!status.ok()) throwCalibrationError(firstLine(std::string(status.message())));
  return message->SerializeAsString();
}

std::string bytesOfText(const py::str& text, const Message& prototype) {
  const std::optional<std::string> bytes = bytesOfName(text, "text");
  if (!bytes) throwCalibrationError("holds lone surrogates, which no file can hold");
  const std::unique_ptr<Message> message(prototype.New());
  if (!parseBinary(*bytes, message.get())) return *bytes;
  TextParseError error;
  if (!parseText(*bytes, message.get(), &error)) {
    throwTextError(error.message, error.line, error.column);
  }
  return message->SerializeAsString();
}

}  // namespace norv::python

#include "python/bindings/messages.h"

#include <google/protobuf/util/json_util.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "python/bindings/calibration_source.h"
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

std::string typeName(const py::handle& object) { return Py_TYPE(object.ptr())->tp_name; }

/// What json raises but for TypeError tells of the dict: nested too deep, in a circle, or a number
/// of more digits than Python writes.
std::string writeJson(const py::handle& dict) {
  try {
    return py::module_::import("json").attr("dumps")(dict).cast<std::string>();
  } catch (py::error_already_set& error) {
    if (!error.matches(PyExc_ValueError) && !error.matches(PyExc_RecursionError)) throw;
    throwCalibrationError(py::str(error.value()).cast<std::string>());
  }
}

/// Python writes NaN, Infinity and -Infinity bare, the mapping has strings for them. Outside of
/// strings, JSON has no other capital letters but the exponent's E.
std::string quoteSpecials(const std::string& json) {
  std::string quoted;
  quoted.reserve(json.size());
  bool is_string = false;
  for (std::size_t i = 0; i < json.size(); ++i) {
    const char c = json[i];
    const char next = i + 1 < json.size() ? json[i + 1] : ' ';
    const bool is_special = !is_string && (c == 'N' || c == 'I' || (c == '-' && next == 'I'));
    if (is_special) {
      const std::size_t end = std::min(json.find_first_of(",]}", i), json.size());
      quoted += '"' + json.substr(i, end - i) + '"';
      i = end - 1;
      continue;
    }
    quoted += c;
    if (is_string && c == '\\') quoted += json[++i];
    if (c == '"') is_string = !is_string;
  }
  return quoted;
}

[[noreturn]] void throwJsonProblem(const calibration::Finding& finding) {
  const std::string unknown = ": Cannot find field.";
  const std::string& text = finding.text;
  const std::size_t end = text.size() - std::min(text.size(), unknown.size());
  if (end == 0 || text.substr(end) != unknown) throwCalibrationError(text, finding.field);
  const std::string prefix = finding.field.empty() ? "" : finding.field + ".";
  throwCalibrationError("no field has this name", prefix + text.substr(0, end));
}

/// Lone surrogates that stand for no byte, which UTF-8 has no bytes for.
[[noreturn]] void throwLoneSurrogate(const py::handle& text) {
  const py::str all = py::reinterpret_borrow<py::str>(text);
  py::ssize_t begin = 0;
  while (PyUnicode_READ_CHAR(all.ptr(), begin) < 0xD800U ||
         PyUnicode_READ_CHAR(all.ptr(), begin) > 0xDFFFU ||
         bytesOfName(all[py::slice(begin, begin + 1, 1)], "text")) {
    ++begin;
  }
  const std::string before = bytesOfName(all[py::slice(0, begin, 1)], "text").value_or("");
  const auto line = 1 + std::count(before.begin(), before.end(), '\n');
  const std::size_t start = before.find_last_of('\n') + 1;  // 0 where there is none
  throwTextError("holds lone surrogates, which no file can hold", static_cast<int>(line),
                 static_cast<int>(before.size() - start + 1));
}

}  // namespace

std::string bytesOfDict(const py::handle& dict, const Message& prototype) {
  if (!PyDict_Check(dict.ptr())) {
    throw py::type_error("dict: expected a dict, got " + typeName(dict));
  }
  const std::string json = quoteSpecials(writeJson(dict));
  const std::unique_ptr<Message> message(prototype.New());
  const auto problem = readJson(json, message.get(), /*ignore_unknown=*/false);
  if (problem) throwJsonProblem(problem->finding);
  return message->SerializeAsString();
}

std::string bytesOfText(const py::handle& text, const Message& prototype) {
  const std::optional<std::string> bytes = bytesOfName(text, "text");
  if (!bytes) throwLoneSurrogate(text);
  const std::unique_ptr<Message> message(prototype.New());
  if (!parseBinary(*bytes, message.get()) && looksLikeText(*bytes)) return *bytes;
  TextParseError error;
  if (!parseText(*bytes, message.get(), &error)) {
    throwTextError(error.message, error.line, error.column);
  }
  return message->SerializeAsString();
}

void throwWithPlace(py::error_already_set& error) {
  const py::object value = error.value();
  if (!py::hasattr(value, "line") || !value.attr("line").is_none()) throw error;
  const py::object placed =
      py::type::of(value)(value.attr("text"), py::none(), 1, 1, value.attr("field"));
  PyErr_SetObject(py::type::of(placed).ptr(), placed.ptr());
  throw py::error_already_set();
}

std::string takeBytes(const py::handle& data) {
  if (!PyObject_CheckBuffer(data.ptr())) {
    throw py::type_error("data: expected bytes, got " + typeName(data));
  }
  const auto bytes = py::reinterpret_steal<py::bytes>(PyBytes_FromObject(data.ptr()));
  if (!bytes) throw py::error_already_set();
  return bytes.cast<std::string>();
}

}  // namespace norv::python

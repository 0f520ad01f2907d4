#include "python/bindings/messages.h"

#include <google/protobuf/util/json_util.h>

#include <memory>
#include <vector>

#include "python/bindings/errors.h"
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
  return py::module_::import("json").attr("loads")(toText(json));
}

std::string bytesOfDict(const py::handle& dict, const Message& prototype) {
  const auto json = py::module_::import("json").attr("dumps")(dict).cast<std::string>();
  const std::unique_ptr<Message> message(prototype.New());
  const auto status = google::protobuf::util::JsonStringToMessage(json, message.get());
  if (!status.ok()) throwCalibrationError(std::string(status.message()));
  return message->SerializeAsString();
}

}  // namespace norv::python

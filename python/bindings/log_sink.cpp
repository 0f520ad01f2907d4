#include "python/bindings/log_sink.h"

#include <pybind11/stl.h>

#include <optional>
#include <stdexcept>
#include <string>

#include "python/bindings/kept_records.h"
#include "python/bindings/library_call.h"
#include "python/bindings/use_lock.h"
#include "support/logging.h"

namespace norv::python {
namespace {

namespace py = pybind11;

/// Called by the logger on the thread that logs. The exceptions have it write the record to
/// standard error itself.
void receive(const LogRecord& record) {
  if (isHandingOver()) throw std::runtime_error("a handler's own calls log");
  // After a failed check there is no later.
  if (LibraryCall::isUnderWay() && record.level > kLogFatal) {
    keepRecord(record);
    return;
  }
  const py::gil_scoped_acquire acquired;
  const RecordHandling handling;
  if (!handleRecord(record)) throw std::runtime_error("the handler raised");
}

void refuseOtherInterpreters() {
  if (PyInterpreterState_Get() == PyInterpreterState_Main()) return;
  throw py::import_error("camera_parameters works in a process's main interpreter alone");
}

void installSink() {
  refuseOtherInterpreters();
  setRecordHandler(py::module_::import("camera_parameters._logging").attr("emit"));
  const LibraryCall call;
  setLogSink(&receive);
}

void removeSink() {
  const LibraryCall call;
  setLogSink(LogSink());
}

void setLevel(const std::optional<std::string>& channel, int level) {
  const LibraryCall call;
  setLogLevel(channel ? channel->c_str() : nullptr, level);
}

}  // namespace

void bindLogging(py::module_& module) {
  module.def("_install_log_sink", &installSink);
  module.def("_remove_log_sink", &removeSink);
  module.def("_set_log_level", &setLevel, py::arg("channel"), py::arg("level"));
}

}  // namespace norv::python

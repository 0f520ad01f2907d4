#include "python/bindings/log_sink.h"

#include <optional>
#include <stdexcept>
#include <string>

#include "python/bindings/errors.h"
#include "python/bindings/use_lock.h"
#include "support/logging.h"

namespace norv::python {
namespace {

namespace py = pybind11;

/// Called by the logger, one record at a time, on the thread that logs. What the handler raises is
/// reported as Python reports what nobody catches; the exception that is thrown then has the logger
/// write the record to standard error itself.
void emit(const py::handle& handler, const LogRecord& record) {
  const py::gil_scoped_acquire acquired;
  const RecordHandling handling;
  try {
    handler(record.level, toText(record.channel), toText(record.file), toText(record.function),
            record.line, toText(record.text));
  } catch (py::error_already_set& error) {
    error.discard_as_unraisable("a handler of camera_parameters' log records");
    throw std::runtime_error("the handler raised");
  }
}

void installSink() {
  // Kept for good: the logger may drop its sink on a thread that has no interpreter.
  const py::object emitter = py::module_::import("camera_parameters._logging").attr("emit");
  const py::handle handler = py::object(emitter).release();
  const py::gil_scoped_release released;
  setLogSink([handler](const LogRecord& record) { emit(handler, record); });
}

void removeSink() {
  const py::gil_scoped_release released;
  setLogSink(LogSink());
}

}  // namespace

void bindLogging(py::module_& module) {
  module.def("_install_log_sink", &installSink);
  module.def("_remove_log_sink", &removeSink);
  module.def(
      "_set_log_level",
      [](const std::optional<std::string>& channel, int level) {
        const py::gil_scoped_release released;
        setLogLevel(channel ? channel->c_str() : nullptr, level);
      },
      py::arg("channel"), py::arg("level"));
}

}  // namespace norv::python

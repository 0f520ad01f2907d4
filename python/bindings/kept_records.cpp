#include "python/bindings/kept_records.h"

#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "python/bindings/errors.h"
#include "python/bindings/thread_end.h"

namespace norv::python {
namespace {

namespace py = pybind11;

/// A record that outlives the statement.
struct KeptRecord {
  explicit KeptRecord(const LogRecord& record)
      : level(record.level),
        channel(record.channel),
        file(record.file),
        function(record.function),
        line(record.line),
        text(record.text) {}

  int level;
  std::string channel;
  std::string file;
  std::string function;
  int line;
  std::string text;
};

thread_local std::vector<KeptRecord> kept_records;
thread_local bool is_handing_over = false;
py::handle handler;

/// What Python may do at the end of a process (`LibraryCall`), it may do within the handler too.
py::object callHandler(const py::tuple& arguments) {
  try {
    PyObject* const result = PyObject_CallObject(handler.ptr(), arguments.ptr());
    return py::reinterpret_steal<py::object>(result);
  } catch (...) {
    sleepForever();
  }
}

/// Raises an exception that a pending call holds.
int raiseHeld(void* exception) {
  const auto value = py::reinterpret_steal<py::object>(static_cast<PyObject*>(exception));
  PyErr_SetObject(py::type::handle_of(value).ptr(), value.ptr());
  return -1;
}

bool isMainThread() {
  const py::module_ threading = py::module_::import("threading");
  return threading.attr("get_ident")().equal(threading.attr("main_thread")().attr("ident"));
}

/// Has the interpreter raise it as soon as it is back, as it does with signals. Threads besides the
/// main one get an exception of its class.
bool raiseSoon(const py::error_already_set& error) {
  if (isMainThread()) {
    PyObject* const value = error.value().inc_ref().ptr();
    if (Py_AddPendingCall(&raiseHeld, value) == 0) return true;
    Py_DECREF(value);  // too many calls are pending
    return false;
  }
  return PyThreadState_SetAsyncExc(PyThread_get_thread_ident(), error.type().ptr()) == 1;
}

/// What the handler raises is reported as Python reports what nobody catches. What is to end the
/// program or the thread, such as KeyboardInterrupt, does.
bool handle(const KeptRecord& record) {
  const py::str text = toText(record.text);
  if (callHandler(py::make_tuple(record.level, toText(record.channel), toText(record.file),
                                 toText(record.function), record.line, text))) {
    return true;
  }
  py::error_already_set error;
  if (!error.matches(PyExc_Exception) && raiseSoon(error)) return true;
  const py::str context = py::str("the handling of a record of camera_parameters.{}: {}")
                              .format(toText(record.channel), text);
  error.restore();
  PyErr_WriteUnraisable(context.ptr());
  return false;
}

}  // namespace

void setRecordHandler(const py::object& function) { handler = py::object(function).release(); }

bool handleRecord(const LogRecord& record) { return handle(KeptRecord(record)); }

void keepRecord(const LogRecord& record) { kept_records.emplace_back(record); }

void handOverRecords() noexcept {
  if (kept_records.empty() || is_handing_over) return;
  // The call may end by an exception, of which the handlers know nothing.
  const py::error_scope raised;
  const std::vector<KeptRecord> records = std::exchange(kept_records, {});
  is_handing_over = true;
  for (const KeptRecord& record : records) {
    try {
      handle(record);
    } catch (const std::exception&) {
      PyErr_Clear();  // no memory even to report
    }
  }
  is_handing_over = false;
}

bool isHandingOver() { return is_handing_over; }

}  // namespace norv::python

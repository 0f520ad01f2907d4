#pragma once

/// Log records of the library on their way to the handlers in Python.

#include <pybind11/pybind11.h>

#include "support/log_record.h"

namespace norv::python {

/// The function of `camera_parameters._logging` that gets the records. Needs the interpreter's
/// lock. Kept for good: the logger may drop its sink on a thread that has no interpreter.
void setRecordHandler(const pybind11::object& function);

/// Gives a record to the handlers now; false where one raised an Exception, which is reported as
/// Python reports what nobody catches. Others, such as KeyboardInterrupt, are raised once the
/// thread is back in Python. Needs the interpreter's lock.
bool handleRecord(const LogRecord& record);

/// Keeps a record of this thread.
void keepRecord(const LogRecord& record);

/// Gives the records that this thread kept to the handlers, in their order. Needs the interpreter's
/// lock, and lets nothing out that a handler raises.
void handOverRecords() noexcept;

/// Whether this thread is in a handler that `handOverRecords` called.
bool isHandingOver();

}  // namespace norv::python

#pragma once

#include <pybind11/pybind11.h>

namespace norv::python {

/// Sends the library's log records to Python's logging from now on, by way of
/// `camera_parameters._logging.emit`, until the interpreter ends. Adds `set_log_level`.
void bindLogging(pybind11::module_& module);

}  // namespace norv::python

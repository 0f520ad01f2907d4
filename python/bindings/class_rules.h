#pragma once

#include <pybind11/pybind11.h>

namespace norv::python {

/// What holds for all classes of the module, which are there by now: objects that no constructor
/// made raise where they are used, `__reduce__` serves every protocol of pickles, and no class can
/// be derived from, since what loads and copies make is never of a derived class.
void finishClasses(const pybind11::module_& module);

}  // namespace norv::python

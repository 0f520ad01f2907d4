#pragma once

#include <pybind11/pybind11.h>

namespace norv::python {

/// Puts a callable of the package's own in the place of every public function and method that the
/// module has by now. Those of pybind11 say to Python that they are methods of a capsule, cannot be
/// pickled, and have no signature.
void describeFunctions(const pybind11::module_& module);

}  // namespace norv::python

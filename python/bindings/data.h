#pragma once

/// What is found out about calibrations: findings, differences, other programs' files. The
/// functions take bytes and give dicts of plain values, of which the modules in Python beside them
/// make classes.

#include <pybind11/pybind11.h>

namespace norv::python {

void bindAdjusting(pybind11::module_& module);
void bindFindings(pybind11::module_& module);
void bindDifferences(pybind11::module_& module);
void bindImports(pybind11::module_& module);
void bindExports(pybind11::module_& module);

}  // namespace norv::python

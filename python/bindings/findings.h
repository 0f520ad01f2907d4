#pragma once

#include <pybind11/pybind11.h>

#include "calibration_common/load_report.h"

namespace norv::python {

namespace py = pybind11;

/// What the class Finding is made of, but for the file.
py::dict findingDict(const calibration::PlacedFinding& placed);

}  // namespace norv::python

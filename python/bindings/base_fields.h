#pragma once

/// The fields of a base's calibration.

#include <pybind11/pybind11.h>

#include "python/bindings/cameras.h"

namespace norv::python {

/// Adds the properties and setters of the base's sizes, global transform and gyroscope.
void bindBaseFields(pybind11::class_<Base>* base);

}  // namespace norv::python

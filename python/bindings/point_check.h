#pragma once

/// Imported cameras compared with points that were seen.

#include <pybind11/pybind11.h>

#include <string>
#include <variant>
#include <vector>

#include "interop/calibration_import.h"
#include "interop/reprojection_check.h"

namespace norv::python {

/// A table of points; no contents where none is given.
struct PointTable {
  bool is_given = false;
  interop::SourceFile file;
  calibration::PixelOrigin origin = calibration::PixelOrigin::kImageCorner;
};

/// Of None, or (name, contents, "centre" or "corner").
PointTable pointTableOf(const pybind11::handle& given);

/// A camera's points; none where the table has none of it.
struct PointCheck {
  std::string camera;
  bool has_points = false;
  interop::ReprojectionCheck check;
};

/// The checks, or why the table is refused; none where no table was given.
using PointChecks = std::variant<std::vector<PointCheck>, interop::FormatProblem>;

/// Needs no lock of the interpreter.
PointChecks checkPoints(const std::vector<interop::ImportedCamera>& cameras,
                        const PointTable& table);

/// Adds the keys "checks" or "check_problem".
void addPointChecks(const PointChecks& checks, pybind11::dict* dict);

}  // namespace norv::python

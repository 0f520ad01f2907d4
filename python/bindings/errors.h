#pragma once

/// Exceptions of the package, thrown from C++. All functions need the interpreter's lock.

#include <pybind11/pybind11.h>

#include <optional>
#include <string>

#include "calibration_common/load_report.h"
#include "calibration_common/save_problem.h"

namespace norv::python {

/// A string of Python for a person to read, from bytes that need not be UTF-8: what is not, is
/// written as "\xff".
pybind11::str toText(const std::string& bytes);

/// Throws CalibrationError with the problem of a load that failed. A `path` that cannot be opened
/// is an OSError instead, as of `open(path)`.
[[noreturn]] void throwLoadProblem(const calibration::LoadReport& report,
                                   const std::optional<std::string>& path);

/// Throws CalibrationError, or OSError where the system is what keeps the file from being written.
[[noreturn]] void throwSaveProblem(const calibration::SaveProblem& problem,
                                   const std::string& path);

/// Throws CalibrationError about a field, or about nothing in particular where it is empty.
[[noreturn]] void throwCalibrationError(const std::string& text, const std::string& field = "");

/// Throws CalibrationError about a place in a text, counted from 1; 0 where it has none.
[[noreturn]] void throwTextError(const std::string& text, int line, int column);

/// Throws NoSolutionError; `reason` is the word for programs, such as "out-of-reach".
[[noreturn]] void throwNoSolution(const std::string& text, const std::string& reason);

}  // namespace norv::python

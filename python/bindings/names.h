#pragma once

/// Names and paths, which are bytes to the library and the system. To Python they are strings, in
/// which bytes that are no UTF-8 stand as lone surrogates, as the standard library has them in
/// names of files: what was read finds what it was read from.

#include <pybind11/pybind11.h>

#include <optional>
#include <string>

namespace norv::python {

/// A name as a string of Python. Inverse: `bytesOfName`.
pybind11::str nameOf(const std::string& bytes);

/// A path as a string of Python. Inverse: `bytesOfPath`.
pybind11::str pathOf(const std::string& bytes);

/// None for a string that stands for no bytes, such as one with other lone surrogates. Throws
/// TypeError where it is no string.
std::optional<std::string> bytesOfName(const pybind11::handle& name, const char* argument);

/// The bytes of a path: str, bytes or os.PathLike. Throws TypeError for all else.
std::string bytesOfPath(const pybind11::handle& path);

/// The same of a file that a calibration is saved to, as text or binary. Throws ValueError for a
/// name that ends in .json, which would lie.
std::string bytesOfNewPath(const pybind11::handle& path);

}  // namespace norv::python

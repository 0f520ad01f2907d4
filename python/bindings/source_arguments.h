#pragma once

/// Calibrations as the modules in Python hand them over: bytes of a file, or of an object.

#include <pybind11/pybind11.h>

#include <optional>
#include <string>
#include <variant>

#include "python/bindings/calibration_source.h"

namespace norv::python {

struct SourceArgument {
  std::string data;
  std::optional<Kind> kind;
  bool is_object = false;  ///< the binary form of a message, which always has a kind

  std::variant<Source, calibration::PlacedFinding> read() const {
    if (is_object) return sourceOfObject(data, kind.value());
    return readSource(data, kind);
  }
};

/// Throws ValueError where `kind` is the name of none.
inline SourceArgument sourceArgument(const pybind11::bytes& data,
                                     const std::optional<std::string>& kind, bool is_object) {
  SourceArgument argument{data, std::nullopt, is_object};
  if (kind) argument.kind = kindOfName(*kind);
  if (kind.has_value() != argument.kind.has_value() || (is_object && !kind)) {
    throw pybind11::value_error("kind: expected robot, ptz or base");
  }
  return argument;
}

}  // namespace norv::python

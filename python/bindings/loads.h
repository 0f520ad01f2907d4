#pragma once

/// Loads that make an object or raise.

#include <pybind11/pybind11.h>

#include <memory>
#include <optional>
#include <string>

#include "calibration_common/load_report.h"
#include "python/bindings/errors.h"
#include "python/bindings/library_call.h"

namespace norv::python {

/// A path as bytes for the system, of what `open` takes as a name.
inline std::string pathOf(const pybind11::handle& path_like) {
  return pybind11::module_::import("os").attr("fsencode")(path_like).cast<std::string>();
}

/// What `load(report)` makes without the interpreter's lock, a smart pointer. Throws what the
/// report says where that is null.
template <class Load>
auto loadedOrThrow(const Load& load, const std::optional<std::string>& path = std::nullopt) {
  calibration::LoadReport report;
  auto loaded = [&] {
    const LibraryCall call;
    return load(&report);
  }();
  if (loaded == nullptr) throwLoadProblem(report, path);
  return loaded;
}

}  // namespace norv::python

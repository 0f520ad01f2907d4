#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstddef>

#include "python/bindings/aiming.h"
#include "python/bindings/camera_values.h"
#include "python/bindings/cameras.h"
#include "python/bindings/data.h"
#include "python/bindings/heads.h"
#include "python/bindings/library_call.h"
#include "python/bindings/log_sink.h"
#include "python/bindings/pan_tilt_heads.h"
#include "python/bindings/point_functions.h"
#include "python/bindings/views.h"

namespace {

/// pybind11 gives an object that no constructor has made memory that nobody has written to:
/// `PTZCameraModel.__new__(PTZCameraModel).image_size` would read from there. It raises instead.
void refuseUnmadeObjects(const pybind11::module_& module) {
  for (const auto& [name, value] : pybind11::dict(module.attr("__dict__"))) {
    if (!pybind11::isinstance<pybind11::type>(value)) continue;
    auto* const type = reinterpret_cast<PyTypeObject*>(value.ptr());
    auto* const info = pybind11::detail::get_type_info(type);
    if (info == nullptr) continue;
    info->operator_new = [](std::size_t) -> void* {
      throw pybind11::type_error("the object was not made by its constructor");
    };
  }
}

}  // namespace

PYBIND11_MODULE(_core, module) {
  namespace python = norv::python;
  // pybind11 looks NumPy's functions up at their first use, which two threads must not do at once.
  pybind11::array_t<float>(1);
  python::bindForks(module);
  python::bindLogging(module);
  python::bindCameraValues(module);
  python::bindPointFunctions(module);
  python::bindViews(module);
  python::bindCamera(module);
  python::bindCameraSet(module);
  python::bindBase(module);
  python::bindAdjusting(module);
  python::bindFindings(module);
  python::bindDifferences(module);
  python::bindPtzCameraModel(module);
  python::bindPtzPositions(module);
  python::bindZoomTable(module);
  python::bindPtzConfiguration(module);
  python::bindHeadGeometry(module);
  python::bindPanTiltAnswers(module);
  python::bindPanTiltModel(module);
  python::bindAimAnswers(module);
  python::bindAiming(module);
  python::bindTracking(module);
  python::bindPtzCoverage(module);
  python::bindImports(module);
  python::bindExports(module);
  refuseUnmadeObjects(module);
}

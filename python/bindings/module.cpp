#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include "python/bindings/aiming.h"
#include "python/bindings/camera_values.h"
#include "python/bindings/cameras.h"
#include "python/bindings/class_rules.h"
#include "python/bindings/data.h"
#include "python/bindings/functions.h"
#include "python/bindings/heads.h"
#include "python/bindings/library_call.h"
#include "python/bindings/log_sink.h"
#include "python/bindings/pan_tilt_heads.h"
#include "python/bindings/point_functions.h"
#include "python/bindings/views.h"

PYBIND11_MODULE(_core, module) {
  namespace python = norv::python;
  pybind11::options options;
  options.disable_function_signatures();
  module.attr("__version__") = CAMERA_PARAMETERS_VERSION;
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
  python::finishClasses(module);
  python::describeFunctions(module);
}

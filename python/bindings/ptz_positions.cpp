#include <pybind11/stl.h>

#include <optional>

#include "calibration_common/ptz_aiming.h"
#include "python/bindings/heads.h"
#include "python/bindings/library_call.h"
#include "python/bindings/numbers.h"

namespace norv::python {
namespace {

using calibration::PanTiltSystemParameters;
using calibration::PTZCameraModelConfiguration;
using calibration::PTZCameraParameters;

const PTZCameraParameters& messageOf(const Head& head) { return head.model->getParams(); }

std::optional<int> ifStated(bool stated, int steps) {
  return stated ? std::optional<int>(steps) : std::nullopt;
}

py::tuple panRange(const Head& head) {
  const PanTiltSystemParameters& p = messageOf(head).pan_tilt();
  return py::make_tuple(ifStated(p.has_min_pan(), p.min_pan()),
                        ifStated(p.has_max_pan(), p.max_pan()));
}

py::tuple tiltRange(const Head& head) {
  const PanTiltSystemParameters& p = messageOf(head).pan_tilt();
  return py::make_tuple(ifStated(p.has_min_tilt(), p.min_tilt()),
                        ifStated(p.has_max_tilt(), p.max_tilt()));
}

py::tuple home(const Head& head) {
  const PanTiltSystemParameters& p = messageOf(head).pan_tilt();
  return py::make_tuple(ifStated(p.has_home_pan(), p.home_pan()),
                        ifStated(p.has_home_tilt(), p.home_tilt()));
}

/// None where there is no zoom with a lens.
py::object zoomRangeOf(const Head& head) {
  calibration::ZoomRange range = {};
  {
    const LibraryCall call;
    range = calibration::zoomRange(*head.model);
  }
  if (range.empty()) return py::none();
  return py::make_tuple(range.lowest, range.highest);
}

PTZCameraModelConfiguration configurationOf(const Head& head, const py::object& pan,
                                            const py::object& tilt, const py::object& zoom) {
  const int steps[] = {takeSteps(pan, "pan"), takeSteps(tilt, "tilt"), takeSteps(zoom, "zoom")};
  const LibraryCall call;
  return {head.model, steps[0], steps[1], steps[2]};
}

using Class = py::class_<Head>;

void bindNumbers(Class* head) {
  head->def_property_readonly(
          "image_size",
          [](const Head& h) {
            const auto& table = messageOf(h).intrinsics();
            return py::make_tuple(table.image_width(), table.image_height());
          },
          "Width and height, pixels, of the image at which the lens was sampled; (0, 0) where the "
          "calibration states none.")
      .def_property_readonly(
          "intrinsics", [](const Head& h) { return ZoomTable{h.model}; },
          "PTZIntrinsicsTable: the lens at the samples of the zoom.")
      .def_property_readonly("zoom_range", &zoomRangeOf,
                             "Lowest and highest position, steps, where the zoom motor may go: "
                             "within the stated range, as far as there is a finite lens. None "
                             "where there is no such position.")
      .def_property_readonly("pan_range", &panRange,
                             "Lowest and highest motor position, steps; None for an end that the "
                             "calibration does not state.")
      .def_property_readonly("tilt_range", &tiltRange,
                             "Lowest and highest motor position, steps; None for an end that the "
                             "calibration does not state.")
      .def_property_readonly("home", &home,
                             "Pan and tilt, steps, to which the head returns when idle; None where "
                             "the calibration states none.")
      .def_property_readonly(
          "max_zoom_factor", [](const Head& h) { return h.model->getMaxZoomFactor(); },
          "Magnification of the last sample relative to the first.");
}

void bindPositions(Class* head) {
  head->def(
          "configuration", &configurationOf, py::arg("pan"), py::arg("tilt"), py::arg("zoom"),
          R"(The camera at these positions of its motors, whole steps: a PTZCameraModelConfiguration.

Positions may lie beyond the range of the motors. Raises TypeError for what is no whole number and ValueError
beyond 32 bits.

>>> import camera_parameters as cp
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt")
>>> now = head.configuration(pan=500, tilt=200, zoom=2500)
>>> now.get_pan_tilt(pixel=(400, 300))
(104, 365)
)")
      .def(
          "zoom_x_factor_to_steps",
          [](const Head& h, const py::object& factor) {
            const auto number = static_cast<float>(takeNumber(factor, "factor"));
            const LibraryCall call;
            return h.model->zoomXFactorToSteps(number);
          },
          py::arg("factor"),
          R"(Zoom position, steps, of a magnification relative to the first sample.

The inverse of the piecewise linear focal lengths, rounded. 0 for factors below 1, the last sample's position for
factors beyond it and for NaN.

>>> import camera_parameters as cp
>>> cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").zoom_x_factor_to_steps(20)
10000
)")
      .def(
          "steps_to_zoom_x_factor",
          [](const Head& h, const py::object& steps) {
            const int position = takeSteps(steps, "steps");
            const LibraryCall call;
            return h.model->stepsToZoomXFactor(position);
          },
          py::arg("steps"),
          R"(Magnification at a zoom position, steps, relative to the first sample: 1 at least.

>>> import camera_parameters as cp
>>> cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").steps_to_zoom_x_factor(10000)
20.0
)");
}

}  // namespace

void bindPtzPositions(py::module_& module) {
  auto head = py::reinterpret_borrow<Class>(module.attr("PTZCameraModel"));
  bindNumbers(&head);
  bindPositions(&head);
}

}  // namespace norv::python

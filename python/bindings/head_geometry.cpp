#include <fmt/format.h>
#include <pybind11/stl.h>

#include <cmath>

#include "python/bindings/errors.h"
#include "python/bindings/heads.h"
#include "python/bindings/library_call.h"
#include "python/bindings/numbers.h"
#include "python/bindings/pickling.h"

namespace norv::python {
namespace {

using calibration::BlindCones;
using calibration::ElevationRange;
using calibration::HeadGeometry;
using calibration::PanTiltSystemParameters;
using calibration::PTZCameraParameters;

const PanTiltSystemParameters& headOf(const Head& head) {
  return head.model->getParams().pan_tilt();
}

HeadGeometry geometryOf(const Head& head) {
  const LibraryCall call;
  return calibration::describeHead(headOf(head));
}

BlindCones conesOf(const Head& head) {
  const LibraryCall call;
  return calibration::blindCones(headOf(head));
}

Head withHead(const Head& head, const PanTiltSystemParameters& replacement) {
  PTZCameraParameters message = head.model->getParams();
  *message.mutable_pan_tilt() = replacement;
  return headOfMessage(message);
}

Head reframed(const Head& head, const py::object& tau) {
  const double turn = takeNumber(tau, "tau");
  if (!std::isfinite(turn)) throw py::value_error("tau: expected a finite number");
  if (turn != 0 && headOf(head).tilt_scale() == 0) {
    throwCalibrationError("the zero of a tilt that does not turn cannot be moved",
                          "pan_tilt.tilt_scale");
  }
  return withHead(head, calibration::reframeHead(headOf(head), turn));
}

/// The camera with its head in a better frame, and by how much zero tilt moved; or None.
py::object betterFrame(const Head& head) {
  const auto better = calibration::findBetterFrame(headOf(head));
  if (!better) return py::none();
  return py::make_tuple(withHead(head, better->head), better->turn_of_zero);
}

std::string describe(const HeadGeometry& g) {
  return fmt::format(
      "HeadGeometry(azimuth={:.6g}, elevation={:.6g}, axis_gap={:.6g}, tilt_axis_error={:.6g})",
      g.azimuth, g.elevation, g.axis_gap, g.tilt_axis_error);
}

void bindGeometry(py::module_& module) {
  py::class_<HeadGeometry>(
      module, "HeadGeometry",
      R"(How a head suits the fixed pointing operations, at zero tilt and in the pan frame.

>>> import camera_parameters as cp
>>> cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").geometry
HeadGeometry(azimuth=0, elevation=0, axis_gap=0.002, tilt_axis_error=0)
)")
      .def_readonly("azimuth", &HeadGeometry::azimuth,
                    "Of the optical axis about the pan axis, radians.")
      .def_readonly("elevation", &HeadGeometry::elevation,
                    "Of the optical axis above the plane of pan, radians.")
      .def_readonly("axis_gap", &HeadGeometry::axis_gap,
                    "Distance of the optical axis from the pan axis, metres.")
      .def_readonly("tilt_axis_error", &HeadGeometry::tilt_axis_error,
                    "How far the tilt axis is from square to pan axis and optical axis, radians; "
                    "NaN where those are parallel.")
      .def_property_readonly("azimuth_is_supported", &calibration::azimuthIsSupported,
                             "Whether the azimuth is 0 or half a turn.")
      .def_property_readonly("elevation_is_supported", &calibration::elevationIsSupported,
                             "Whether the elevation is between 0 and 30 degrees.")
      .def_property_readonly("tilt_axis_is_supported", &calibration::tiltAxisIsSupported,
                             "Whether the tilt axis is level and square to the optical axis.")
      .def_property_readonly("reaches_the_pan_axis", &calibration::reachesThePanAxis,
                             "Whether targets on the pan axis are found.")
      .def_property_readonly(
          "findable_elevations",
          [](const HeadGeometry& g) {
            const ElevationRange range = calibration::findableElevations(g);
            return py::make_tuple(range.lowest, range.highest);
          },
          "Lowest and highest elevation of the targets that are found, radians above the plane of "
          "pan.")
      .def("__repr__", &describe)
      .def(py::pickle(
          [](const HeadGeometry& g) {
            return py::make_tuple(g.azimuth, g.elevation, g.axis_gap, g.tilt_axis_error);
          },
          [](const py::tuple& state) {
            return HeadGeometry{takeNumber(stateAt(state, 0, 4), "azimuth"),
                                takeNumber(stateAt(state, 1, 4), "elevation"),
                                takeNumber(stateAt(state, 2, 4), "axis_gap"),
                                takeNumber(stateAt(state, 3, 4), "tilt_axis_error")};
          }));
}

void bindCones(py::module_& module) {
  py::class_<BlindCones>(
      module, "BlindCones",
      R"(Directions that the optical axis never has, whatever the motors do: two cones about the pan axis.

>>> import camera_parameters as cp
>>> cones = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").blind_cones
>>> cones.upper, cones.lower
(0.0, 0.0)
)")
      .def_readonly("upper", &BlindCones::upper,
                    "Half angle about the pan frame's z, radians; 0 for none.")
      .def_readonly("lower", &BlindCones::lower,
                    "Half angle about the opposite direction, radians; 0 for none.")
      .def("__repr__",
           [](const BlindCones& c) {
             return fmt::format("BlindCones(upper={:.6g}, lower={:.6g})", c.upper, c.lower);
           })
      .def(py::pickle([](const BlindCones& c) { return py::make_tuple(c.upper, c.lower); },
                      [](const py::tuple& state) {
                        return BlindCones{takeNumber(stateAt(state, 0, 2), "upper"),
                                          takeNumber(stateAt(state, 1, 2), "lower")};
                      }));
}

}  // namespace

void bindHeadGeometry(py::module_& module) {
  bindGeometry(module);
  bindCones(module);
  auto head = py::reinterpret_borrow<py::class_<Head>>(module.attr("PTZCameraModel"));
  head.def_property_readonly("geometry", &geometryOf, "HeadGeometry: the head, measured.")
      .def_property_readonly("blind_cones", &conesOf, "BlindCones: where the head never looks.")
      .def_property_readonly(
          "motors_turn", [](const Head& h) { return calibration::motorsTurn(headOf(h)); },
          "Whether the steps of both motors are finite and not zero.")
      .def_property_readonly(
          "levelling_turn", [](const Head& h) { return calibration::levellingTurn(headOf(h)); },
          "Turn of the tilt frame about its axis, radians, that makes the optical axis at zero "
          "tilt level; NaN where none does.")
      .def("reframed", &reframed, py::arg("tau"),
           R"(The same camera, its head written in another frame.

Zero tilt moves by `tau` radians and the pan frame turns so that the azimuth is 0; motor positions mean what they
meant. Raises CalibrationError where the tilt does not turn and `tau` is not 0.

>>> import camera_parameters as cp
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt")
>>> round(head.reframed(0.1).to_dict()["pan_tilt"]["tilt_offset"], 3)
200.0
)")
      .def(
          "better_frame", &betterFrame,
          R"(The same camera with its head in a frame that the fixed operations serve, and by how much zero tilt moved.

(PTZCameraModel, radians); None for a head that is in such a frame already, or has none.

>>> import camera_parameters as cp
>>> print(cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").better_frame())
None
)");
}

}  // namespace norv::python

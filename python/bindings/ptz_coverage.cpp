#include "calibration_common/ptz_coverage.h"

#include <fmt/format.h>
#include <pybind11/stl.h>

#include "python/bindings/aim_words.h"
#include "python/bindings/aiming.h"
#include "python/bindings/arrays.h"
#include "python/bindings/numbers.h"
#include "python/bindings/pickling.h"

namespace norv::python {
namespace {

using calibration::PtzCoverage;
using calibration::PtzSight;

/// A hundredth of a degree apart. Beyond this, a slip of the pen is likelier than a question, which
/// nobody could interrupt.
constexpr int kMaxAzimuths = 36000;

py::object canSee(const Head& head, const py::handle& points, const std::string& sight) {
  const PtzSight what = sightOf(sight);
  const Points<double> in = takePoints<double>(points, "points", 3);
  py::array_t<bool> seen(in.leading);
  bool* const out = seen.mutable_data();
  const double* const from = in.data();
  withoutLock([&] {
    for (std::size_t i = 0; i < in.count; ++i) {
      out[i] =
          calibration::canSee(*head.model, Eigen::Map<const Eigen::Vector3d>(from + 3 * i), what);
    }
  });
  if (in.leading.empty()) return py::bool_(out[0]);
  return seen;
}

PtzCoverage coverageOf(const Head& head, const py::object& distance, const std::string& sight,
                       const py::object& azimuths) {
  const double metres = takeNumber(distance, "distance");
  const PtzSight what = sightOf(sight);
  const auto count = static_cast<std::size_t>(takeWhole(azimuths, "azimuths", 1, kMaxAzimuths));
  if (!(metres > 0) || !(metres <= std::numeric_limits<double>::max())) {
    throw py::value_error("distance: expected a positive number");
  }
  return withoutLock([&] { return calibration::coverage(*head.model, metres, what, count); });
}

py::array_t<double> spansOf(const PtzCoverage& coverage) {
  Eigen::MatrixX3d spans(static_cast<Eigen::Index>(coverage.spans.size()), 3);
  Eigen::Index row = 0;
  for (const calibration::ElevationSpan& span : coverage.spans) {
    spans.row(row++) << span.azimuth, span.lowest, span.highest;
  }
  return constantArray(spans);
}

PtzCoverage coverageOfState(const py::handle& centre, const py::handle& spans) {
  PtzCoverage coverage;
  coverage.centre =
      Eigen::Map<const Eigen::Vector3d>(takeArray<double>(centre, "centre", {3}).data());
  const Points<double> rows = takePoints<double>(spans, "spans", 3);
  const double* row = rows.data();
  for (std::size_t i = 0; i < rows.count; ++i, row += 3) {
    coverage.spans.push_back({row[0], row[1], row[2]});
  }
  return coverage;
}

}  // namespace

void bindPtzCoverage(py::module_& module) {
  py::class_<PtzCoverage>(module, "PtzCoverage",
                          R"(What a head sees at a distance, by directions from where it turns.

>>> import camera_parameters as cp
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt")
>>> head.coverage(5, azimuths=36)
PtzCoverage(34 spans)
)")
      .def_property_readonly(
          "centre", [](const PtzCoverage& c) { return constantArray(c.centre); },
          "Where directions start, metres in the base frame: (3,). NaN where "
          "the axes are parallel.")
      .def_property_readonly("spans", &spansOf,
                             "Azimuth in [-pi, pi), lowest and highest elevation, radians: (spans, "
                             "3). An azimuth at which nothing is seen has none.")
      .def("__len__", [](const PtzCoverage& c) { return c.spans.size(); })
      .def(
          "__repr__",
          [](const PtzCoverage& c) { return fmt::format("PtzCoverage({} spans)", c.spans.size()); })
      .def(py::pickle(
          [](const PtzCoverage& c) { return py::make_tuple(constantArray(c.centre), spansOf(c)); },
          [](const py::tuple& state) {
            return coverageOfState(stateAt(state, 0, 2), stateAt(state, 1, 2));
          }));
  py::reinterpret_borrow<py::class_<Head>>(module.attr("PTZCameraModel"))
      .def(
          "can_see", &canSee, py::arg("points"), py::arg("sight") = "in-picture",
          R"(Whether some position of the motors has points (..., 3), metres, in the picture: (...) of bool, or a bool.

With `sight` "centred": on the optical axis. Takes up to a millisecond a point, of "centred" ones a microsecond.

>>> import camera_parameters as cp
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt")
>>> head.can_see((3, 1, 1.5)), head.can_see([(3, 1, 1.5), (0.1, 0, -5)], sight="centred")
(True, array([ True, False]))
)")
      .def(
          "coverage", &coverageOf, py::arg("distance"), py::kw_only(), py::arg("sight") = "centred",
          py::arg("azimuths") = 360,
          R"(The boundary of what is seen at a distance, metres, at azimuths spread evenly: a PtzCoverage.

`sight` is "centred" or "in-picture". Raises ValueError for a distance that is not positive.

>>> import camera_parameters as cp, math
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt")
>>> azimuth, lowest, highest = head.coverage(5, azimuths=36).spans[16]
>>> round(azimuth, 6), round(math.degrees(lowest)), round(math.degrees(highest))
(0.0, -30, 90)
)");
}

}  // namespace norv::python

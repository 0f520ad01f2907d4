#include <fmt/format.h>

#include "python/bindings/pan_tilt_heads.h"
#include "python/bindings/pan_tilt_words.h"

namespace norv::python {
namespace {

namespace py = pybind11;
using calibration::PanTiltRoot;
using calibration::PanTiltRoots;
using calibration::PanTiltSolution;

const PanTiltRoot& rootAt(const PanTiltRoots& roots, py::ssize_t index) {
  const auto count = static_cast<py::ssize_t>(roots.size());
  const py::ssize_t i = index < 0 ? index + count : index;
  if (i < 0 || i >= count) throw py::index_error("there are fewer roots");
  return roots[static_cast<std::size_t>(i)];
}

void bindRoot(py::module_& module) {
  py::class_<PanTiltRoot>(
      module, "PanTiltRoot",
      R"(A pair of angles at which a point is seen in the direction that was asked for.

>>> import camera_parameters as cp
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").pan_tilt_model
>>> root = head.solve_all((3, 1, 1.5))[0]
>>> root.miss <= 1e-12, root.range > 2.9
(True, True)
)")
      .def_readonly("pan", &PanTiltRoot::pan, "Radians, in (-pi, pi].")
      .def_readonly("tilt", &PanTiltRoot::tilt, "Radians, in (-pi, pi].")
      .def_readonly("range", &PanTiltRoot::range, "From the optical centre to the point, metres.")
      .def_readonly("miss", &PanTiltRoot::miss, "Angle between the point and the ray, radians.")
      .def_readonly("sensitivity", &PanTiltRoot::sensitivity,
                    "By how much the angles change, at most, per radian by which the ray turns; "
                    "infinite in a singular position.")
      .def("__repr__", [](const PanTiltRoot& r) {
        return fmt::format("PanTiltRoot(pan={:.6g}, tilt={:.6g}, range={:.6g})", r.pan, r.tilt,
                           r.range);
      });
}

void bindRoots(py::module_& module) {
  py::class_<PanTiltRoots>(
      module, "PanTiltRoots",
      R"(All pairs of angles at which a point is seen in a direction, by pan, then by tilt: a sequence of PanTiltRoot.

>>> import camera_parameters as cp
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").pan_tilt_model
>>> roots = head.solve_all((3, 1, 1.5))
>>> len(roots), roots.reach
(2, 'reached')
)")
      .def("__len__", &PanTiltRoots::size)
      .def("__getitem__", &rootAt, py::arg("index"))
      .def_property_readonly(
          "reach", [](const PanTiltRoots& r) { return reachWord(r.reach); },
          "\"reached\"; \"any-pan\" or \"any-tilt\" where one root stands for all; or why there is "
          "none: \"out-of-reach\", \"behind\", \"parallel-axes\", \"not-finite\".")
      .def("__repr__", [](const PanTiltRoots& r) {
        return fmt::format("PanTiltRoots({} roots, {})", r.size(), reachWord(r.reach));
      });
}

void bindSolution(py::module_& module) {
  py::class_<PanTiltSolution>(module, "PanTiltSolution",
                              R"(Answer of the fixed operations of pointing, good or not.

>>> import camera_parameters as cp
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").pan_tilt_model
>>> head.solve((3, 1, 1.5)).verdict
'solved'
)")
      .def_property_readonly(
          "verdict", [](const PanTiltSolution& s) { return verdictWord(s.verdict); },
          "\"solved\", \"no-candidate\", \"high-residual\" or \"large-residual\".")
      .def_property_readonly("solved", &PanTiltSolution::solved, "Whether the error is small.")
      .def_readonly("pan", &PanTiltSolution::pan, "Steps, neither rounded nor limited.")
      .def_readonly("tilt", &PanTiltSolution::tilt, "Steps, neither rounded nor limited.")
      .def_readonly("start_pan", &PanTiltSolution::start_pan, "Of the closed form, radians.")
      .def_readonly("start_tilt", &PanTiltSolution::start_tilt, "Of the closed form, radians.")
      .def_readonly("error", &PanTiltSolution::error, "Square metres across the ray.")
      .def("__repr__", [](const PanTiltSolution& s) {
        return fmt::format("PanTiltSolution({}, pan={:.6g}, tilt={:.6g})", verdictWord(s.verdict),
                           s.pan, s.tilt);
      });
}

}  // namespace

void bindPanTiltAnswers(py::module_& module) {
  bindRoot(module);
  bindRoots(module);
  bindSolution(module);
}

}  // namespace norv::python

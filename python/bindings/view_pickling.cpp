// Views as values: they compare, copy and pickle by their numbers.

#include <pybind11/stl.h>

#include <array>
#include <tuple>

#include "python/bindings/views.h"

namespace norv::python {
namespace {

namespace py = pybind11;
using Matrix = std::array<float, 16>;
/// Size; fx, fy, skew, cx, cy; lens; the two matrices of the pose; where the picture comes from.
using State =
    std::tuple<int, int, std::array<double, 5>, std::array<double, 8>, Matrix, Matrix, bool, bool>;

Matrix listOf(const Matrix4x4_f& matrix) {
  Matrix list;
  Eigen::Map<Matrix4x4_f>(list.data()) = matrix;
  return list;
}

State stateOf(const View& of) {
  const calibration::CameraModel& m = of.view.model();
  const CameraTransform& pose = of.view.pose();
  return {m.width,
          m.height,
          {m.fx, m.fy, m.skew, m.cx, m.cy},
          of.view.distortion(),
          listOf(pose.transform),
          listOf(pose.inverse),
          of.is_from_table,
          of.is_rectified_by_sensor};
}

View fromState(const State& state) {
  const auto& [width, height, k, c, transform, inverse, is_from_table, is_rectified] = state;
  const calibration::CameraModel model{
      width, height, k[0], k[1],
      k[2],  k[3],   k[4], {c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7]}};
  CameraTransform pose;
  pose.transform = Eigen::Map<const Matrix4x4_f>(transform.data());
  pose.inverse = Eigen::Map<const Matrix4x4_f>(inverse.data());
  View view(calibration::CameraView(model, pose));
  view.is_from_table = is_from_table;
  view.is_rectified_by_sensor = is_rectified;
  return view;
}

}  // namespace

void bindViewPickling(ViewClass* view) {
  view->def(py::pickle(&stateOf, &fromState))
      .def("__copy__", [](const View& of) { return of; })
      .def("__deepcopy__", [](const View& of, const py::dict&) { return of; })
      .def(
          "__eq__", [](const View& a, const View& b) { return stateOf(a) == stateOf(b); },
          py::is_operator());
}

}  // namespace norv::python

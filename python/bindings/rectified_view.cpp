// RectifiedView: what a straightened picture is like.

#include <fmt/format.h>
#include <pybind11/stl.h>
#include <Eigen/LU>
#include <array>
#include <string>
#include <tuple>

#include "python/bindings/arrays.h"
#include "python/bindings/numbers.h"
#include "python/bindings/views.h"
#include "support/camera_matrix.h"

namespace norv::python {
namespace {

using calibration::PixelOrigin;
using calibration::RectifiedView;

constexpr const char* kClassDoc =
    R"(An undistorted picture: that of a pinhole camera without lens at a camera's optical centre.

`width` and `height` in pixels, `fx` and `fy` focal lengths, `cx` and `cy` the principal point in pixels from the
image's corner, `view_from_camera` a rotation, the identity if not given. A negative focal length mirrors the picture.
A value: `CameraView.fit_view` chooses one. Raises ValueError for sizes below 1 and numbers that are not finite.

>>> import camera_parameters as cp
>>> cp.RectifiedView(640, 480, fx=500, fy=500, cx=320, cy=240)
RectifiedView(640x480, fx=500.0, fy=500.0, cx=320.0, cy=240.0)
)";

RectifiedView makeView(const py::handle& width, const py::handle& height, double fx, double fy,
                       double cx, double cy, const py::handle& view_from_camera) {
  RectifiedView view;
  view.width = takeLength(width, "width");
  view.height = takeLength(height, "height");
  const std::array<std::pair<double, const char*>, 4> numbers = {
      {{fx, "fx"}, {fy, "fy"}, {cx, "cx"}, {cy, "cy"}}};
  for (const auto& [number, name] : numbers) requireFinite(number, name);
  view.fx = fx;
  view.fy = fy;
  view.cx = cx;
  view.cy = cy;
  if (!view_from_camera.is_none()) view.view_from_camera = takeRotation(view_from_camera);
  return view;
}

std::string describe(const RectifiedView& view) {
  return fmt::format("RectifiedView({}x{}, fx={:.1f}, fy={:.1f}, cx={:.1f}, cy={:.1f})", view.width,
                     view.height, view.fx, view.fy, view.cx, view.cy);
}

bool isEqual(const RectifiedView& a, const RectifiedView& b) {
  return a.width == b.width && a.height == b.height && a.fx == b.fx && a.fy == b.fy &&
         a.cx == b.cx && a.cy == b.cy && a.view_from_camera == b.view_from_camera;
}

using Numbers = std::array<double, 9>;
using State = std::tuple<int, int, double, double, double, double, Numbers>;

State stateOf(const RectifiedView& view) {
  Numbers rotation;
  Eigen::Map<Eigen::Matrix3d>(rotation.data()) = view.view_from_camera;
  return {view.width, view.height, view.fx, view.fy, view.cx, view.cy, rotation};
}

RectifiedView fromState(const State& state) {
  RectifiedView view;
  Numbers rotation;
  std::tie(view.width, view.height, view.fx, view.fy, view.cx, view.cy, rotation) = state;
  view.view_from_camera = Eigen::Map<const Eigen::Matrix3d>(rotation.data());
  return view;
}

using Class = py::class_<RectifiedView>;

void bindNumbers(Class* view) {
  view->def_readonly("width", &RectifiedView::width, "Pixels.")
      .def_readonly("height", &RectifiedView::height, "Pixels.")
      .def_property_readonly(
          "size", [](const RectifiedView& of) { return std::make_pair(of.width, of.height); },
          "Width and height, pixels.")
      .def_readonly("fx", &RectifiedView::fx, "Focal length, pixels.")
      .def_readonly("fy", &RectifiedView::fy, "Focal length, pixels.")
      .def_readonly("cx", &RectifiedView::cx, "Principal point, pixels from the image's corner.")
      .def_readonly("cy", &RectifiedView::cy, "Principal point, pixels from the image's corner.")
      .def_property_readonly(
          "view_from_camera",
          [](const RectifiedView& of) { return constantArray(of.view_from_camera); },
          "Rotation, (3, 3), float64, read-only.")
      .def_property_readonly(
          "camera_matrix",
          [](const RectifiedView& of) {
            return constantArray(cameraMatrix(cameraOf(of), PixelOrigin::kImageCorner));
          },
          "Rows (fx, 0, cx), (0, fy, cy), (0, 0, 1), read-only, pixels from the image's corner.")
      .def_property_readonly(
          "camera_matrix_from_first_pixel",
          [](const RectifiedView& of) {
            return constantArray(cameraMatrix(cameraOf(of), PixelOrigin::kPixelCentre));
          },
          "The same with pixels from the centre of the first one, as OpenCV counts them.");
}

}  // namespace

Eigen::Matrix3d takeRotation(const py::handle& object) {
  const auto array = takeArray<double>(object, "view_from_camera", {3, 3});
  const Eigen::Matrix3d m =
      Eigen::Map<const Eigen::Matrix<double, 3, 3, Eigen::RowMajor>>(array.data());
  // To single precision, as stored poses are. Written so that NaN is no rotation.
  constexpr double kTolerance = 1e-5;
  if ((m * m.transpose() - Eigen::Matrix3d::Identity()).norm() < kTolerance &&
      m.determinant() > 0) {
    return m;
  }
  throw py::value_error("view_from_camera: expected a rotation");
}

void bindRectifiedView(py::module_& module) {
  Class view(module, "RectifiedView", kClassDoc);
  view.def(py::init(&makeView), py::arg("width"), py::arg("height"), py::kw_only(), py::arg("fx"),
           py::arg("fy"), py::arg("cx"), py::arg("cy"), py::arg("view_from_camera") = py::none());
  bindNumbers(&view);
  view.def(py::pickle(&stateOf, &fromState))
      .def("__eq__", &isEqual, py::is_operator())
      .def("__repr__", &describe);
}

}  // namespace norv::python

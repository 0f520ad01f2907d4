// Points and rays of a view, and their derivatives.

#include <fmt/format.h>

#include <array>
#include <cstdint>
#include <string>

#include "python/bindings/arrays.h"
#include "python/bindings/numbers.h"
#include "python/bindings/pickling.h"
#include "python/bindings/views.h"

namespace norv::python {
namespace {

using calibration::PointArray;
using calibration::PointStatus;
using Shape = std::vector<py::ssize_t>;

constexpr py::ssize_t kIntrinsics = calibration::kIntrinsicsCount;

/// Derivatives of pixels, in pixels, as users get them: views of one array that the library filled.
struct PixelDerivatives {
  py::array point;
  py::array pose;
  py::array intrinsics;
};

/// The same of the points of rays.
struct RayDerivatives {
  py::array pixel;
  py::array intrinsics;
};

/// Rays in the parent frame, all from one place.
struct Rays {
  py::array_t<double> origin;
  py::array_t<double> direction;
};

constexpr const char* kProjectDoc =
    R"(Pixels (..., 2) at which the camera sees points (..., 3) of the parent frame, metres; float64.

NaN where the status is neither OK nor OUTSIDE_IMAGE. `out` is filled instead of a new array; `status`, an array of
uint8 of shape (...), with a `PointStatus` for each point. With `derivatives` the answer is a pair of the pixels and a
`ViewJacobian`. `threads` compute at once, 0 meaning as many as the machine runs; no bit depends on it. float64 points
that are C-contiguous are used in place. The inverse is `ray_at`. Raises TypeError for what are no numbers and
ValueError for wrong shapes.

>>> import camera_parameters as cp
>>> import numpy as np
>>> view = cp.CameraParametersSet()["head_camera"].view(640, 480)
>>> status = np.empty(2, np.uint8)
>>> pixels = view.project([[1, 0, 0.2], [-1, 0, 0.2]], status=status)
>>> pixels.shape, [cp.PointStatus(code).name for code in status]
((2, 2), ['OK', 'BEHIND_CAMERA'])
>>> pixels, jacobian = view.project(np.ones((5, 7, 3)), derivatives=True)
>>> jacobian.point.shape, jacobian.pose.shape, jacobian.intrinsics.shape
((5, 7, 2, 3), (5, 7, 2, 6), (5, 7, 2, 13))
)";

constexpr const char* kRectifyDoc =
    R"(Undistorted points (x/z, y/z), camera frame, of the rays that are imaged at pixels: (..., 2), float64.

`out`, `status` and `threads` are as for `project`; with `derivatives` the answer is a pair of the points and a
`RectificationJacobian`. NaN where no ray is imaged, with the status BEYOND_LENS. Raises TypeError for what are no
numbers and ValueError for wrong shapes.

>>> import camera_parameters as cp
>>> view = cp.CameraView(640, 480, [[500, 0, 320], [0, 500, 240], [0, 0, 1]])
>>> view.rectify([370, 240])
array([0.1, 0. ])
)";

constexpr const char* kRayDoc =
    R"(The rays that are imaged at pixels (..., 2), in the parent frame, as a `Ray`.

`out`, (..., 3), is filled with the directions, and `status`, uint8 of shape (...), with a `PointStatus` for each. Of
a pose that has no inverse the status is NOT_FINITE. The inverse is `project`. Raises TypeError for what are no
numbers and ValueError for wrong shapes.

>>> import camera_parameters as cp
>>> ray = cp.CameraParametersSet()["head_camera"].view(640, 480).ray_at([[320, 400], [320, 450]])
>>> t = -ray.origin[2] / ray.direction[..., 2]  # to the floor, where above 0
>>> floor = ray.origin + t[..., None] * ray.direction
>>> floor.shape
(2, 3)
)";

constexpr const char* kViewJacobianDoc =
    R"(Derivatives of pixels, rows (u, v), in pixels; NaN where there is no pixel.

>>> import camera_parameters as cp
>>> view = cp.CameraView(640, 480, [[500, 0, 320], [0, 500, 240], [0, 0, 1]])
>>> pixel, jacobian = view.project([0, 0, 2], derivatives=True)
>>> jacobian.point
array([[250.,   0.,   0.],
       [  0., 250.,   0.]])
)";

constexpr const char* kRectificationJacobianDoc =
    R"(Derivatives of rays' points, rows (x/z, y/z); NaN where there is no ray.

>>> import camera_parameters as cp
>>> view = cp.CameraView(640, 480, [[500, 0, 320], [0, 500, 240], [0, 0, 1]])
>>> point, jacobian = view.rectify([320, 240], derivatives=True)
>>> abs(jacobian.pixel)
array([[0.002, 0.   ],
       [0.   , 0.002]])
)";

constexpr const char* kRayClassDoc =
    R"(Rays in the parent frame, metres, all from the optical centre.

>>> import camera_parameters as cp
>>> ray = cp.CameraView(640, 480, [[500, 0, 320], [0, 500, 240], [0, 0, 1]]).ray_at([320, 240])
>>> ray
Ray(origin=(0, 0, 0), direction=(0, 0, 1))
>>> ray.direction
array([0., 0., 1.])
)";

/// `columns` columns of two rows each, which begin at `offset` of every element of `all`.
py::array partOf(const py::array_t<double>& all, py::ssize_t offset, py::ssize_t columns) {
  const py::ssize_t axes = all.ndim() - 1;
  Shape shape(all.shape(), all.shape() + axes);
  Shape strides(all.strides(), all.strides() + axes);
  constexpr py::ssize_t kSize = sizeof(double);
  return py::array_t<double>(withAxes(shape, {2, columns}),
                             withAxes(strides, {columns * kSize, kSize}), all.data() + offset, all);
}

/// An array of so many of the library's structures of numbers.
template <class Jacobian>
py::array_t<double> arrayOf(const Shape& leading) {
  return py::array_t<double>(
      withAxes(leading, {static_cast<py::ssize_t>(sizeof(Jacobian) / sizeof(double))}));
}

PointStatus* statusesFor(const py::handle& status, const Shape& leading) {
  if (status.is_none()) return nullptr;
  return reinterpret_cast<PointStatus*>(
      giveArray<std::uint8_t>(status, "status", leading).mutable_data());
}

py::object project(const View& of, const py::handle& points, const py::handle& out,
                   const py::handle& status, bool derivatives, const py::handle& threads) {
  using calibration::ViewJacobian;
  static_assert(sizeof(ViewJacobian) == 2 * (3 + 6 + kIntrinsics) * sizeof(double));
  const int workers = takeThreads(threads);
  const Points<double> in = takePoints<double>(points, "points", 3);
  auto pixels = giveArray<double>(out, "out", withAxes(in.leading, {2}), {in.given});
  calibration::ViewExtras extras{statusesFor(status, in.leading), nullptr};
  py::array_t<double> all;
  if (derivatives) {
    all = arrayOf<ViewJacobian>(in.leading);
    extras.jacobians = reinterpret_cast<ViewJacobian*>(all.mutable_data());
  }
  const double* const from = in.data();
  double* const to = pixels.mutable_data();
  withoutLock([&] { return of.view.projectPoints({from, 3}, in.count, {to, 2}, extras, workers); });
  if (!derivatives) return pixels;
  return py::make_tuple(
      pixels, PixelDerivatives{partOf(all, 0, 3), partOf(all, 6, 6), partOf(all, 18, kIntrinsics)});
}

py::object rectify(const View& of, const py::handle& pixels, const py::handle& out,
                   const py::handle& status, bool derivatives, const py::handle& threads) {
  using calibration::RectificationJacobian;
  static_assert(sizeof(RectificationJacobian) == 2 * (2 + kIntrinsics) * sizeof(double));
  const int workers = takeThreads(threads);
  const Points<double> in = takePoints<double>(pixels, "pixels", 2);
  auto points = giveArray<double>(out, "out", withAxes(in.leading, {2}), {in.given});
  calibration::RectificationExtras extras{statusesFor(status, in.leading), nullptr};
  py::array_t<double> all;
  if (derivatives) {
    all = arrayOf<RectificationJacobian>(in.leading);
    extras.jacobians = reinterpret_cast<RectificationJacobian*>(all.mutable_data());
  }
  const double* const from = in.data();
  double* const to = points.mutable_data();
  withoutLock([&] { return of.view.rectifyPoints({from, 2}, in.count, {to, 2}, extras, workers); });
  if (!derivatives) return points;
  return py::make_tuple(points, RayDerivatives{partOf(all, 0, 2), partOf(all, 4, kIntrinsics)});
}

/// The optical centre: where the ray along the optical axis begins.
Eigen::Vector3d centreOf(const calibration::CameraView& view) {
  calibration::Ray ray;
  view.rayAt({view.model().cx, view.model().cy}, &ray);
  return ray.origin;
}

Rays rayAt(const View& of, const py::handle& pixels, const py::handle& out,
           const py::handle& status) {
  const Points<double> in = takePoints<double>(pixels, "pixels", 2);
  auto directions = giveArray<double>(out, "out", withAxes(in.leading, {3}), {in.given});
  PointStatus* const statuses = statusesFor(status, in.leading);
  const double* const from = in.data();
  double* const to = directions.mutable_data();
  const Eigen::Vector3d centre = withoutLock([&] {
    for (std::size_t i = 0; i < in.count; ++i) {
      calibration::Ray ray;
      const PointStatus code = of.view.rayAt({from[2 * i], from[2 * i + 1]}, &ray);
      Eigen::Map<Eigen::Vector3d>(to + 3 * i) = ray.direction;
      if (statuses != nullptr) statuses[i] = code;
    }
    return centreOf(of.view);
  });
  return {constantArray(centre), directions};
}

/// One ray with its numbers, of several their count.
std::string describe(const Rays& rays) {
  const auto shown = [](const py::array_t<double>& of) {
    const double* const at = of.data();
    // Zeros without their sign.
    return fmt::format("({:.6g}, {:.6g}, {:.6g})", at[0] + 0.0, at[1] + 0.0, at[2] + 0.0);
  };
  const auto origin = shown(rays.origin);
  if (rays.direction.size() == 3) {
    return fmt::format("Ray(origin={}, direction={})", origin, shown(rays.direction));
  }
  return fmt::format("Ray(origin={}, {} directions)", origin, rays.direction.size() / 3);
}

void bindDerivatives(const py::handle& module) {
  py::class_<PixelDerivatives>(module, "ViewJacobian", kViewJacobianDoc)
      .def_readonly("point", &PixelDerivatives::point,
                    "(..., 2, 3): by the point in the parent frame, metres.")
      .def_readonly("pose", &PixelDerivatives::pose,
                    "(..., 2, 6): by the pose, metres and radians: translation, then rotation, "
                    "both in the camera frame, applied after the pose.")
      .def_readonly("intrinsics", &PixelDerivatives::intrinsics,
                    "(..., 2, 13): by fx, fy, skew, cx, cy, k1, k2, p1, p2, k3, k4, k5, k6.")
      .def(py::pickle(
          [](const PixelDerivatives& d) { return py::make_tuple(d.point, d.pose, d.intrinsics); },
          [](const py::tuple& state) {
            return PixelDerivatives{takeNumbers<double>(stateAt(state, 0, 3), "point"),
                                    takeNumbers<double>(stateAt(state, 1, 3), "pose"),
                                    takeNumbers<double>(stateAt(state, 2, 3), "intrinsics")};
          }));
  py::class_<RayDerivatives>(module, "RectificationJacobian", kRectificationJacobianDoc)
      .def_readonly("pixel", &RayDerivatives::pixel, "(..., 2, 2): by the pixel.")
      .def_readonly("intrinsics", &RayDerivatives::intrinsics,
                    "(..., 2, 13): by fx, fy, skew, cx, cy, k1, k2, p1, p2, k3, k4, k5, k6.")
      .def(py::pickle([](const RayDerivatives& d) { return py::make_tuple(d.pixel, d.intrinsics); },
                      [](const py::tuple& state) {
                        return RayDerivatives{
                            takeNumbers<double>(stateAt(state, 0, 2), "pixel"),
                            takeNumbers<double>(stateAt(state, 1, 2), "intrinsics")};
                      }));
  py::class_<Rays>(module, "Ray", kRayClassDoc)
      .def_readonly("origin", &Rays::origin, "(3,): the optical centre, read-only.")
      .def_readonly("direction", &Rays::direction,
                    "(..., 3): of length 1; NaN where the pixel has no ray.")
      .def("__repr__", &describe)
      .def(py::pickle([](const Rays& rays) { return py::make_tuple(rays.origin, rays.direction); },
                      [](const py::tuple& state) {
                        return Rays{takeArray<double>(stateAt(state, 0, 2), "origin", {3}),
                                    takePoints<double>(stateAt(state, 1, 2), "direction", 3).array};
                      }));
}

}  // namespace

void bindViewPoints(py::module_& module, ViewClass* view) {
  bindDerivatives(module);
  view->def("project", &project, py::arg("points"), py::kw_only(), py::arg("out") = py::none(),
            py::arg("status") = py::none(), py::arg("derivatives") = false, py::arg("threads") = 1,
            kProjectDoc)
      .def("rectify", &rectify, py::arg("pixels"), py::kw_only(), py::arg("out") = py::none(),
           py::arg("status") = py::none(), py::arg("derivatives") = false, py::arg("threads") = 1,
           kRectifyDoc)
      .def("ray_at", &rayAt, py::arg("pixels"), py::kw_only(), py::arg("out") = py::none(),
           py::arg("status") = py::none(), kRayDoc);
}

}  // namespace norv::python

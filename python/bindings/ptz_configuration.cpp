#include <fmt/format.h>
#include <pybind11/stl.h>

#include <algorithm>

#include "python/bindings/arrays.h"
#include "python/bindings/camera_values.h"
#include "python/bindings/errors.h"
#include "python/bindings/heads.h"
#include "python/bindings/library_call.h"
#include "python/bindings/numbers.h"
#include "python/bindings/pan_tilt_words.h"
#include "python/bindings/point_functions.h"
#include "python/bindings/views.h"
#include "support/camera_projection.h"

namespace norv::python {
namespace {

using calibration::PanTiltModel;
using calibration::PTZCameraModelConfiguration;
using Configuration = PTZCameraModelConfiguration;

Vector2_f pixelOf(const py::handle& pixel, const char* name) {
  const auto array = takeArray<float>(pixel, name, {2});
  return {array.data()[0], array.data()[1]};
}

IntrinsicsValue intrinsicsOf(const Configuration& camera) {
  const calibration::PTZIntrinsicsTable& table = camera.getModel()->getParams().intrinsics();
  return {table.image_width(), table.image_height(), camera.getIntrinsics(),
          camera.getDistortion()};
}

py::array_t<float> project(const Configuration& camera, const py::handle& points,
                           const py::handle& out, const py::handle& status) {
  return projectArray(camera.getCameraTransform(), intrinsicsOf(camera), points, {out, status});
}

py::array_t<float> rectify(const Configuration& camera, const py::handle& pixels,
                           const py::handle& out, const py::handle& status) {
  return rectifyArray(intrinsicsOf(camera), pixels, {out, status});
}

py::array_t<float> raysOf(const Configuration& camera, const py::handle& pixels) {
  const Points<float> in = takePoints<float>(pixels, "pixels", 2);
  auto rays = giveArray<float>(py::none(), "out", withAxes(in.leading, {3}));
  const float* const from = in.data();
  float* const to = rays.mutable_data();
  const LibraryCall call;
  for (std::size_t i = 0; i < in.count; ++i) {
    const Vector3_f ray = camera.projectPixelToRay(Vector2_f(from[2 * i], from[2 * i + 1]));
    std::copy_n(ray.data(), 3, to + 3 * i);
  }
  return rays;
}

/// Why there is no pan and tilt that bring what is seen in these directions to the optical axis:
/// the target lies where the rays of unit length end, one after the other.
[[noreturn]] void refuseRays(const Configuration& camera, std::initializer_list<Vector2_f> pixels) {
  Vector3_f target = camera.getCameraCenter();
  for (const Vector2_f& pixel : pixels) {
    const Vector3_f ray = camera.projectPixelToRay(pixel);
    if (!ray.allFinite()) throwNoRay(pixel);
    target += ray.normalized();
  }
  throwUnsolved(camera.getModel()->getPanTiltModel().solve(target, {0, 0}));
}

py::tuple getPanTiltOfPixel(const Configuration& camera, const Vector2_f& pixel) {
  int pan = 0;
  int tilt = 0;
  bool is_solved = false;
  {
    const LibraryCall call;
    is_solved = camera.getPanTilt(pixel, &pan, &tilt);
  }
  if (!is_solved) refuseRays(camera, {pixel});
  return py::make_tuple(pan, tilt);
}

py::tuple getPanTiltOfPoint(const Configuration& camera, const Vector3_f& world,
                            const Vector2_f& pixel) {
  float pan = 0;
  float tilt = 0;
  bool is_solved = false;
  {
    const LibraryCall call;
    is_solved = camera.getPanTilt(world, pixel, &pan, &tilt);
  }
  if (is_solved) return py::make_tuple(pan, tilt);
  const Matrix3x3_f& k = camera.getIntrinsics();
  const float principal_point[] = {k(0, 2), k(1, 2)};
  const float focal_lengths[] = {k(0, 0), k(1, 1)};
  const Vector2_f direction = calibration::rectifyPoint(camera.getDistortion().data(),
                                                        principal_point, focal_lengths, pixel);
  if (!direction.allFinite()) throwNoRay(pixel);
  throwUnsolved(camera.getModel()->getPanTiltModel().solve(world, direction));
}

py::tuple getPanTilt(const Configuration& camera, const py::handle& pixel,
                     const py::handle& world) {
  const Vector2_f at = pixelOf(pixel, "pixel");
  if (world.is_none()) return getPanTiltOfPixel(camera, at);
  const auto point = takeArray<float>(world, "world", {3});
  return getPanTiltOfPoint(camera, {point.data()[0], point.data()[1], point.data()[2]}, at);
}

py::tuple getPanTiltZoom(const Configuration& camera, const py::handle& corner,
                         const py::handle& opposite) {
  const Vector2_f a = pixelOf(corner, "corner");
  const Vector2_f b = pixelOf(opposite, "opposite");
  int pan = 0;
  int tilt = 0;
  int zoom = 0;
  bool is_solved = false;
  {
    const LibraryCall call;
    is_solved = camera.getPanTiltZoom(a, b, &pan, &tilt, &zoom);
  }
  if (!is_solved) refuseRays(camera, {a, b});
  return py::make_tuple(pan, tilt, zoom);
}

View viewOf(const Configuration& camera) {
  const auto view = withoutLock([&] { return camera.view(); });
  if (view) return View(*view);
  const auto& table = camera.getModel()->getParams().intrinsics();
  if (table.image_width() <= 0 || table.image_height() <= 0) {
    throwCalibrationError("states no image size", "intrinsics");
  }
  throwCalibrationError(
      fmt::format("zoom position {} is one where the lens is not known", camera.getZoom()),
      "intrinsics.samples");
}

std::string describe(const Configuration& camera) {
  return fmt::format(
      "PTZCameraModelConfiguration(pan={}, tilt={}, zoom={}, focal length {:.6g} px)",
      camera.getPan(), camera.getTilt(), camera.getZoom(), camera.getIntrinsics()(0, 0));
}

Configuration configurationOfState(const py::tuple& state) {
  if (state.size() != 4 || !py::isinstance<Head>(state[0])) {
    throw py::value_error("state: expected (model, pan, tilt, zoom)");
  }
  return {state[0].cast<Head>().model, takeSteps(py::object(state[1]), "pan"),
          takeSteps(py::object(state[2]), "tilt"), takeSteps(py::object(state[3]), "zoom")};
}

using Class = py::class_<Configuration>;

void bindNumbers(Class* camera) {
  camera
      ->def_property_readonly(
          "model", [](const Configuration& c) { return Head{c.getModel()}; },
          "PTZCameraModel that it was made from.")
      .def_property_readonly("pan", &Configuration::getPan, "Motor position, steps.")
      .def_property_readonly("tilt", &Configuration::getTilt, "Motor position, steps.")
      .def_property_readonly("zoom", &Configuration::getZoom, "Motor position, steps.")
      .def_property_readonly(
          "pose", [](const Configuration& c) { return c.getCameraTransform(); },
          "Pose from the head's base frame, the world, into the camera.")
      .def_property_readonly("intrinsics", &intrinsicsOf,
                             "Intrinsics at this zoom, at the size of the lens' samples. Not "
                             "finite where there is no lens.")
      .def(
          "__eq__",
          [](const Configuration& a, const Configuration& b) {
            return a.getPan() == b.getPan() && a.getTilt() == b.getTilt() &&
                   a.getZoom() == b.getZoom() &&
                   py::cast(Head{a.getModel()}).equal(py::cast(Head{b.getModel()}));
          },
          py::is_operator())
      .def("__hash__",
           [](const Configuration& c) {
             return py::hash(
                 py::make_tuple(Head{c.getModel()}, c.getPan(), c.getTilt(), c.getZoom()));
           })
      .def(py::pickle(
          [](const Configuration& c) {
            return py::make_tuple(Head{c.getModel()}, c.getPan(), c.getTilt(), c.getZoom());
          },
          &configurationOfState))
      .def("__repr__", &describe);
}

void bindPoints(Class* camera) {
  camera
      ->def("project", &project, py::arg("points"), py::kw_only(), py::arg("out") = py::none(),
            py::arg("status") = py::none(),
            R"(Pixels (..., 2) at which the camera sees points (..., 3) of the world, metres.

NaN where it does not see them; `status` is filled with codes of PointStatus. Arguments as of `cp.project`.

>>> import camera_parameters as cp
>>> now = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").configuration(0, 0, 0)
>>> now.project([5, 0, 1.2])
array([964.0309, 559.8534], dtype=float32)
)")
      .def(
          "rectify", &rectify, py::arg("pixels"), py::kw_only(), py::arg("out") = py::none(),
          py::arg("status") = py::none(),
          R"(Undistorted points (..., 2), (x/z, y/z), of the rays imaged at pixels (..., 2). NaN where none is.

>>> import camera_parameters as cp
>>> now = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").configuration(0, 0, 0)
>>> now.rectify([963.42, 537.86])
array([0., 0.], dtype=float32)
)")
      .def(
          "project_pixel_to_ray", &raysOf, py::arg("pixels"),
          R"(World directions (..., 3), not normalised, of the rays imaged at pixels (..., 2). NaN where none is.

>>> import camera_parameters as cp
>>> now = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").configuration(0, 0, 0)
>>> now.project_pixel_to_ray([963.42, 537.86])
array([1., 0., 0.], dtype=float32)
)");
}

void bindPointing(Class* camera) {
  camera
      ->def("view", &viewOf,
            R"(This camera as a CameraView, which works in double and straightens pictures.

Raises CalibrationError where the lens is not finite, and where the calibration states no image size.

>>> import camera_parameters as cp
>>> now = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").configuration(0, 0, 0)
>>> now.view().size
(1920, 1080)
)")
      .def(
          "get_pan_tilt", &getPanTilt, py::arg("pixel"), py::kw_only(),
          py::arg("world") = py::none(),
          R"(Pan and tilt, steps, that bring what is seen at a pixel, one metre away, to the optical axis.

Rounded to whole steps and limited to the motors' range. With a point `world`, metres: pan and tilt at which that
appears at the pixel, neither rounded nor limited. `PTZCameraModel.aim` knows distances. Raises NoSolutionError,
whose reason is "no-ray", "no-candidate", "high-residual" or "large-residual".

>>> import camera_parameters as cp
>>> now = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").configuration(500, 200, 2500)
>>> now.get_pan_tilt(pixel=(400, 300))
(104, 365)
)")
      .def(
          "get_pan_tilt_zoom", &getPanTiltZoom, py::arg("corner"), py::arg("opposite"),
          R"(Pan, tilt and zoom, steps, that show the box with these opposite corners, pixels, as large as it fits.

The zoom is that of a lens without distortion, and can be one at which there is no lens. Raises NoSolutionError.

>>> import camera_parameters as cp
>>> now = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").configuration(500, 200, 2500)
>>> now.get_pan_tilt_zoom((300, 200), (700, 500))
(167, 332, 6673)
)");
}

}  // namespace

void bindPtzConfiguration(py::module_& module) {
  Class camera(module, "PTZCameraModelConfiguration",
               R"(A pan-tilt-zoom camera at one position of its three motors.

Made by `PTZCameraModel.configuration`. Immutable; pixels are those of the image at which the lens was sampled.

>>> import camera_parameters as cp
>>> cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").configuration(pan=500, tilt=200, zoom=2500)
PTZCameraModelConfiguration(pan=500, tilt=200, zoom=2500, focal length 2707.7 px)
)");
  bindNumbers(&camera);
  bindPoints(&camera);
  bindPointing(&camera);
}

}  // namespace norv::python

#include <fmt/format.h>
#include <pybind11/stl.h>

#include <utility>

#include "calibration_common/camera_view.h"
#include "python/bindings/camera_copies.h"
#include "python/bindings/cameras.h"
#include "python/bindings/messages.h"
#include "python/bindings/names.h"
#include "python/bindings/numbers.h"
#include "python/bindings/point_functions.h"
#include "python/bindings/views.h"

namespace norv::python {
namespace {

using calibration::CameraCalibration;
using calibration::CameraParameters;
using Entry = CameraParameters::Intrinsics;
using Size = std::pair<int, int>;

Size sizeOf(const Camera& camera) {
  const Entry& full = camera.parameters->getFullFrame();
  return {full.width, full.height};
}

std::vector<Size> sizesOf(const Camera& camera) {
  std::vector<Size> sizes;
  for (const Entry& entry : camera.parameters->getIntrinsicsTable()) {
    sizes.emplace_back(entry.width, entry.height);
  }
  return sizes;
}

/// The fixed operations' answer, at any size. Sizes that are none would scale by infinity.
IntrinsicsValue intrinsicsAt(const Camera& camera, int width, int height) {
  if (width <= 0 || height <= 0) {
    throw py::value_error(fmt::format("size: expected positive numbers, got {}x{}", width, height));
  }
  return camera.lock->read([&] {
    return IntrinsicsValue{width, height, camera.parameters->getIntrinsics(width, height),
                           camera.parameters->getDistortion(width, height)};
  });
}

CameraTransform poseOf(const Camera& camera) {
  return camera.lock->read([&] { return camera.parameters->getTransform(); });
}

py::array_t<float> project(const Camera& camera, const py::handle& points, int width, int height,
                           const py::handle& out, const py::handle& status) {
  return projectArray(poseOf(camera), intrinsicsAt(camera, width, height), points, {out, status});
}

py::array_t<float> rectify(const Camera& camera, const py::handle& pixels, int width, int height,
                           const py::handle& out, const py::handle& status) {
  return rectifyArray(intrinsicsAt(camera, width, height), pixels, {out, status});
}

std::string describe(const Camera& camera) {
  const Size size = sizeOf(camera);
  return fmt::format(
      "CameraParameters({}, model {}, {}x{})", py::repr(nameOf(camera.name)).cast<std::string>(),
      py::repr(nameOf(camera.parameters->getModel())).cast<std::string>(), size.first, size.second);
}

py::object dictOf(const Camera& camera) {
  CameraCalibration message;
  message.ParseFromString(bytesOfCamera(camera).cast<std::string>());
  return toDict(message);
}

constexpr const char* kClassDoc = R"doc(The calibration of one camera of a robot.

Cameras come from a `CameraParametersSet`. Loads of that set leave them as they are; `adjust_using_base_calibration`
moves them. They pickle and compare by their bytes, so that a camera that is looked up twice equals itself; a copy has
the same values and stays where it is when the set is adjusted.

>>> import camera_parameters as cp
>>> cp.CameraParametersSet()["head_camera"]
CameraParameters('head_camera', model 'mk512h', 1280x960)
)doc";

constexpr const char* kIntrinsicsDoc =
    R"doc(Camera matrix and lens of images of `width` x `height` pixels, as `Intrinsics`.

Those of `sizes` have their own; any other size gives the full frame's camera matrix scaled to it, x and y on their
own, and a log record at info level on the channel "camera_parameters". Raises ValueError for sizes below 1.

>>> import camera_parameters as cp
>>> k = cp.CameraParametersSet()["head_camera"].intrinsics(1280, 960)
>>> k.fx, k.cx, k.cy
(720.0, 640.0, 480.0)
)doc";

constexpr const char* kProjectDoc =
    R"doc(Pixels at which the camera sees points: shape (..., 3) in, (..., 2) out, float32.

`points` are in the robot's frame, metres; pixels are those of images of `width` x `height`, counted from the corner.
Other arguments, and what is raised, as for `camera_parameters.project`; sizes as for `intrinsics`.

>>> import camera_parameters as cp, numpy as np
>>> camera = cp.CameraParametersSet()["head_camera"]
>>> ahead = camera.pose.robot_from_camera @ [0, 0, 2, 1]
>>> np.round(camera.project(ahead[:3], 1280, 960), 2)
array([640., 480.], dtype=float32)
)doc";

constexpr const char* kRectifyDoc =
    R"doc(Undistorted points (x/z, y/z) of the rays that are imaged at pixels: (..., 2) in, (..., 2) out, float32.

Pixels of images of `width` x `height`, counted from the corner; rays in the camera's frame, NaN where there is none.
Other arguments, and what is raised, as for `camera_parameters.rectify`; sizes as for `intrinsics`.

>>> import camera_parameters as cp
>>> cp.CameraParametersSet()["head_camera"].rectify([640, 480], 1280, 960)
array([0., 0.], dtype=float32)
)doc";

constexpr const char* kBytesDoc =
    R"doc(The camera's entry of a calibration file in Protocol Buffers' binary form, with the pose that it has now.

>>> import camera_parameters as cp
>>> b"mk512h" in cp.CameraParametersSet()["head_camera"].to_bytes()
True
)doc";

constexpr const char* kDictDoc =
    R"doc(The camera's entry of a calibration file as a dict, with the pose that it has now.

Protocol Buffers' JSON mapping under the fields' own names: 64-bit integers are strings, NaN is "NaN". Fields that
this version does not know are left out. Raises CalibrationError where a string in it is no UTF-8.

>>> import camera_parameters as cp
>>> cp.CameraParametersSet()["head_camera"].to_dict()["model"]
'mk512h'
)doc";

constexpr const char* kFieldsDoc =
    R"doc(`FieldsOfView` of one of the sizes that the camera delivers, radians, by the lens.

Raises ValueError for any other size.

>>> import camera_parameters as cp, math
>>> round(math.degrees(cp.CameraParametersSet()["head_camera"].fields_of_view(640, 480).horizontal), 1)
89.3
)doc";

constexpr const char* kEqualDoc =
    "Whether both have the same name and, to the last bit, the same calibration and pose.";

void bindNumbers(py::class_<Camera>* camera) {
  camera
      ->def_property_readonly(
          "name", [](const Camera& self) { return nameOf(self.name); },
          "The name by which the set has it. Bytes that are no UTF-8 are lone surrogates.")
      .def_property_readonly(
          "model", [](const Camera& self) { return nameOf(self.parameters->getModel()); },
          "The id of the camera's model.")
      .def_property_readonly("size", &sizeOf, "Width and height of the full frame, pixels.")
      .def_property_readonly("sizes", &sizesOf,
                             "Width and height of the images that the camera delivers, pixels.")
      .def_property_readonly("pose", &poseOf, "Where the camera is now: `Pose`.");
}

}  // namespace

void bindCamera(py::module_& module) {
  py::class_<Camera> camera(module, "CameraParameters", kClassDoc);
  bindNumbers(&camera);
  camera.def("intrinsics", &intrinsicsAt, kIntrinsicsDoc, py::arg("width"), py::arg("height"))
      .def("project", &project, kProjectDoc, py::arg("points"), py::arg("width"), py::arg("height"),
           py::kw_only(), py::arg("out") = py::none(), py::arg("status") = py::none())
      .def("rectify", &rectify, kRectifyDoc, py::arg("pixels"), py::arg("width"), py::arg("height"),
           py::kw_only(), py::arg("out") = py::none(), py::arg("status") = py::none())
      .def(
          "fields_of_view",
          [](const Camera& of, const py::handle& width, const py::handle& height) {
            const View view = viewOf(of, width, height);
            return withoutLock([&] { return view.view.fieldsOfView(); });
          },
          py::arg("width"), py::arg("height"), kFieldsDoc)
      .def("view", &viewOf, py::arg("width"), py::arg("height"), kViewDoc)
      .def("to_bytes", &bytesOfCamera, kBytesDoc)
      .def("to_dict", &dictOf, kDictDoc)
      .def(
          "__eq__", [](const Camera& a, const Camera& b) { return areEqual(a, b); },
          py::is_operator(), kEqualDoc)
      .def(
          "__hash__", [](const Camera& of) { return py::hash(nameOf(of.name)); },
          "That of the name, which stays when the camera is moved.")
      .def("__repr__", &describe)
      .def(py::pickle(&stateOfCamera, &cameraFromState));
}

}  // namespace norv::python

#include <fmt/format.h>
#include <pybind11/stl.h>

#include <utility>

#include "calibration_common/camera_view.h"
#include "python/bindings/cameras.h"
#include "python/bindings/errors.h"
#include "python/bindings/messages.h"
#include "python/bindings/point_functions.h"
#include "python/bindings/views.h"

namespace norv::python {
namespace {

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
      "CameraParameters({}, model {}, {}x{})", py::repr(toText(camera.name)).cast<std::string>(),
      py::repr(toText(camera.parameters->getModel())).cast<std::string>(), size.first, size.second);
}

}  // namespace

void bindCamera(py::module_& module) {
  py::class_<Camera>(module, "CameraParameters")
      .def_property_readonly("name", [](const Camera& camera) { return toText(camera.name); })
      .def_property_readonly(
          "model", [](const Camera& camera) { return toText(camera.parameters->getModel()); })
      .def_property_readonly("size", &sizeOf)
      .def_property_readonly("sizes", &sizesOf)
      .def_property_readonly("pose", &poseOf)
      .def("intrinsics", &intrinsicsAt, py::arg("width"), py::arg("height"))
      .def("project", &project, py::arg("points"), py::arg("width"), py::arg("height"),
           py::kw_only(), py::arg("out") = py::none(), py::arg("status") = py::none())
      .def("rectify", &rectify, py::arg("pixels"), py::arg("width"), py::arg("height"),
           py::kw_only(), py::arg("out") = py::none(), py::arg("status") = py::none())
      .def("view", &viewOf, py::arg("width"), py::arg("height"), kViewDoc)
      .def("to_dict",
           [](const Camera& camera) { return toDict(camera.parameters->getCalibration()); })
      .def("__repr__", &describe);
}

}  // namespace norv::python

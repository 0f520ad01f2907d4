#include "python/bindings/camera_values.h"

#include <fmt/format.h>

#include "python/bindings/arrays.h"

namespace norv::python {
namespace {

CameraTransform poseFromArray(const py::handle& camera_from_parent) {
  const auto array = takeArray<float>(camera_from_parent, "camera_from_robot", {4, 4});
  CameraTransform pose;
  pose.setTransform(Eigen::Map<const Matrix4x4_f>(array.data()), CameraTransform::kForward);
  return pose;
}

std::string describePose(const CameraTransform& pose) {
  const Vector3_f centre = pose.getCameraCenter();
  return fmt::format("Pose(center=[{}, {}, {}])", centre.x(), centre.y(), centre.z());
}

IntrinsicsValue intrinsicsFromNumbers(int width, int height, const py::handle& matrix,
                                      const py::handle& distortion) {
  const auto k = takeArray<float>(matrix, "matrix", {3, 3});
  IntrinsicsValue intrinsics{width, height, Eigen::Map<const Matrix3x3_f>(k.data()), {}};
  const auto lens = takeArray<float>(distortion, "distortion", {8});
  intrinsics.distortion.assign(lens.data(), lens.data() + 8);
  return intrinsics;
}

std::string describeIntrinsics(const IntrinsicsValue& k) {
  return fmt::format("Intrinsics({}x{}, fx={}, fy={}, cx={}, cy={})", k.width, k.height,
                     k.matrix(0, 0), k.matrix(1, 1), k.matrix(0, 2), k.matrix(1, 2));
}

py::array_t<float> distortionOf(const IntrinsicsValue& intrinsics) {
  return constantArray(Eigen::Map<const Eigen::VectorXf>(
      intrinsics.distortion.data(), static_cast<Eigen::Index>(intrinsics.distortion.size())));
}

void bindPose(py::module_& module) {
  py::class_<CameraTransform>(module, "Pose",
                              "Pose of a camera, with its inverse; translations in metres.")
      .def(py::init(&poseFromArray), py::arg("camera_from_robot"))
      .def_property_readonly(
          "camera_from_robot",
          [](const CameraTransform& pose) { return constantArray(pose.transform); })
      .def_property_readonly(
          "robot_from_camera",
          [](const CameraTransform& pose) { return constantArray(pose.inverse); })
      .def_property_readonly(
          "center",
          [](const CameraTransform& pose) { return constantArray(pose.getCameraCenter()); })
      .def("__repr__", &describePose);
}

void bindIntrinsics(py::module_& module) {
  const auto element = [](int row, int column) {
    return [row, column](const IntrinsicsValue& k) { return k.matrix(row, column); };
  };
  py::class_<IntrinsicsValue>(module, "Intrinsics",
                              "Camera matrix and lens at one image size, pixels.")
      .def(py::init(&intrinsicsFromNumbers), py::arg("width"), py::arg("height"), py::arg("matrix"),
           py::arg("distortion"))
      .def_readonly("width", &IntrinsicsValue::width)
      .def_readonly("height", &IntrinsicsValue::height)
      .def_property_readonly("fx", element(0, 0))
      .def_property_readonly("fy", element(1, 1))
      .def_property_readonly("skew", element(0, 1))
      .def_property_readonly("cx", element(0, 2))
      .def_property_readonly("cy", element(1, 2))
      .def_property_readonly("matrix",
                             [](const IntrinsicsValue& k) { return constantArray(k.matrix); })
      .def_property_readonly("distortion", &distortionOf)
      .def("__repr__", &describeIntrinsics);
}

}  // namespace

void bindCameraValues(py::module_& module) {
  bindPose(module);
  bindIntrinsics(module);
}

}  // namespace norv::python

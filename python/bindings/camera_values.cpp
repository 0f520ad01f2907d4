#include "python/bindings/camera_values.h"

#include <fmt/format.h>

#include <cstddef>

#include "python/bindings/arrays.h"
#include "python/bindings/pickling.h"

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

constexpr const char* kPoseDoc =
    R"doc(Pose of a camera on the robot, with its inverse. A value: it never changes, compares and hashes by its elements.

`Pose(camera_from_robot)` takes a 4x4 matrix that maps the robot's coordinates, metres, into the camera's: z along the
line of sight, x to the right of the image, y down. It need not be rigid; the inverse of a singular one is infinite or
NaN. Raises TypeError and ValueError for what is no 4x4 matrix of real numbers.

>>> import camera_parameters as cp
>>> pose = cp.CameraParametersSet()["head_camera"].pose
>>> cp.Pose(pose.camera_from_robot) == pose
True
)doc";

constexpr const char* kIntrinsicsDoc =
    R"doc(Camera matrix and lens at one image size. A value: it never changes, compares and hashes by its elements.

`Intrinsics(width, height, matrix, distortion)` takes the size, pixels, the 3x3 camera matrix (fx, skew, cx), (0, fy,
cy), (0, 0, 1), pixels from the image's corner, and the 8 coefficients k1, k2, p1, p2, k3, k4, k5, k6 of the lens,
kept in single precision. Raises TypeError and ValueError for what is no such array.

>>> import camera_parameters as cp
>>> cp.Intrinsics(640, 480, [[500, 0, 320], [0, 500, 240], [0, 0, 1]], [0] * 8)
Intrinsics(640x480, fx=500, fy=500, cx=320, cy=240)
)doc";

constexpr const char* kHashDoc = "Values that are equal have equal hashes.";

/// The elements as Python compares and hashes them: zeros of either sign are equal, NaN is not.
template <class... Matrices>
py::tuple elementsOf(const Matrices&... matrices) {
  py::list elements;
  const auto append = [&](const auto& matrix) {
    for (Eigen::Index i = 0; i < matrix.size(); ++i) elements.append(matrix.data()[i]);
  };
  (append(matrices), ...);
  return py::tuple(elements);
}

py::tuple elementsOfIntrinsics(const IntrinsicsValue& k) {
  return elementsOf(
      k.matrix, Eigen::Map<const Eigen::VectorXf>(k.distortion.data(),
                                                  static_cast<Eigen::Index>(k.distortion.size())));
}

bool areEqual(const IntrinsicsValue& a, const IntrinsicsValue& b) {
  return a.width == b.width && a.height == b.height && a.matrix == b.matrix &&
         a.distortion == b.distortion;
}

/// Both matrices: the inverse of the inverse need not be the matrix to the last bit.
CameraTransform poseFromState(const py::handle& transform, const py::handle& inverse) {
  const auto forward = takeArray<float>(transform, "camera_from_robot", {4, 4});
  const auto backward = takeArray<float>(inverse, "robot_from_camera", {4, 4});
  CameraTransform pose;
  pose.transform = Eigen::Map<const Matrix4x4_f>(forward.data());
  pose.inverse = Eigen::Map<const Matrix4x4_f>(backward.data());
  return pose;
}

void bindPose(py::module_& module) {
  py::class_<CameraTransform>(module, "Pose", kPoseDoc)
      .def(py::init(&poseFromArray), py::arg("camera_from_robot"))
      .def_property_readonly(
          "camera_from_robot",
          [](const CameraTransform& pose) { return constantArray(pose.transform); },
          "4x4 matrix from the robot's frame into the camera's, metres; a read-only copy, float32.")
      .def_property_readonly(
          "robot_from_camera",
          [](const CameraTransform& pose) { return constantArray(pose.inverse); },
          "4x4 matrix from the camera's frame into the robot's, metres; a read-only copy, float32.")
      .def_property_readonly(
          "center",
          [](const CameraTransform& pose) { return constantArray(pose.getCameraCenter()); },
          "Optical centre in the robot's frame, metres, shape (3,); a read-only copy, float32.")
      .def(
          "__eq__",
          [](const CameraTransform& a, const CameraTransform& b) {
            return a.transform == b.transform && a.inverse == b.inverse;
          },
          py::is_operator(), "Whether all elements are equal.")
      .def(
          "__hash__",
          [](const CameraTransform& pose) {
            return py::hash(elementsOf(pose.transform, pose.inverse));
          },
          kHashDoc)
      .def("__repr__", &describePose)
      .def(py::pickle(
          [](const CameraTransform& pose) {
            return py::make_tuple(constantArray(pose.transform), constantArray(pose.inverse));
          },
          [](const py::tuple& state) {
            return poseFromState(stateAt(state, 0, 2), stateAt(state, 1, 2));
          }));
}

void bindIntrinsics(py::module_& module) {
  const auto element = [](int row, int column) {
    return [row, column](const IntrinsicsValue& k) { return k.matrix(row, column); };
  };
  py::class_<IntrinsicsValue>(module, "Intrinsics", kIntrinsicsDoc)
      .def(py::init(&intrinsicsFromNumbers), py::arg("width"), py::arg("height"), py::arg("matrix"),
           py::arg("distortion"))
      .def_readonly("width", &IntrinsicsValue::width, "Width of the images, pixels.")
      .def_readonly("height", &IntrinsicsValue::height, "Height of the images, pixels.")
      .def_property_readonly("fx", element(0, 0), "Focal length along x, pixels.")
      .def_property_readonly("fy", element(1, 1), "Focal length along y, pixels.")
      .def_property_readonly("skew", element(0, 1), "Skew term of the camera matrix, pixels.")
      .def_property_readonly("cx", element(0, 2), "Principal point, x, pixels from the corner.")
      .def_property_readonly("cy", element(1, 2), "Principal point, y, pixels from the corner.")
      .def_property_readonly(
          "matrix", [](const IntrinsicsValue& k) { return constantArray(k.matrix); },
          "3x3 camera matrix, pixels; a read-only copy, float32.")
      .def_property_readonly("distortion", &distortionOf,
                             "k1, k2, p1, p2, k3, k4, k5, k6, no unit; a read-only copy, float32.")
      .def("__eq__", &areEqual, py::is_operator(), "Whether sizes and all elements are equal.")
      .def(
          "__hash__",
          [](const IntrinsicsValue& k) {
            return py::hash(py::make_tuple(k.width, k.height, elementsOfIntrinsics(k)));
          },
          kHashDoc)
      .def("__repr__", &describeIntrinsics)
      .def(py::pickle(
          [](const IntrinsicsValue& k) {
            return py::make_tuple(k.width, k.height, constantArray(k.matrix), distortionOf(k));
          },
          [](const py::tuple& state) {
            return intrinsicsFromNumbers(stateAt(state, 0, 4).cast<int>(),
                                         stateAt(state, 1, 4).cast<int>(), stateAt(state, 2, 4),
                                         stateAt(state, 3, 4));
          }));
}

}  // namespace

void bindCameraValues(py::module_& module) {
  bindPose(module);
  bindIntrinsics(module);
}

}  // namespace norv::python

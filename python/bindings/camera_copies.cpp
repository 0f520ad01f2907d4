#include "python/bindings/camera_copies.h"

#include <cstring>
#include <set>

#include "python/bindings/errors.h"
#include "python/bindings/messages.h"
#include "python/bindings/names.h"
#include "python/bindings/pickling.h"

namespace norv::python {
namespace {

namespace py = pybind11;
using calibration::CameraCalibration;
using calibration::CameraParameters;
using calibration::CameraParametersSet;
using calibration::RobotCalibration;

/// The base moves a camera, and leaves the camera's own message alone. Where it stands as it was
/// loaded, the message has the pose with more digits.
CameraCalibration messageOf(const CameraParameters& camera) {
  CameraCalibration message = camera.getCalibration();
  const Matrix4x4_f& pose = camera.getTransform().transform;
  Matrix4x4_f loaded;
  CameraParameters::convert(message.extrinsics(), &loaded);
  if (std::memcmp(loaded.data(), pose.data(), sizeof(Matrix4x4_f)) != 0) {
    CameraParameters::convert(pose, message.mutable_extrinsics());
  }
  return message;
}

/// The cameras of earlier loads.
RobotCalibration unnamedCameras(const CameraParametersSet& set) {
  std::set<std::string> named;
  for (const auto& camera : set.getRobotCalibration().camera_calibration()) {
    named.insert(camera.name());
  }
  RobotCalibration others;
  for (const std::string& name : set.getCameraNames()) {
    if (named.count(name) == 0) *others.add_camera_calibration() = messageOf(*set.getCamera(name));
  }
  return others;
}

std::string bytesAt(const py::tuple& state, std::size_t index) {
  return stateAt(state, index, 2).cast<py::bytes>();
}

[[noreturn]] void throwNoPickle() { throwCalibrationError("the pickle holds no such calibration"); }

/// Null where the bytes do not load. A message without cameras is what a set holds that was given
/// an empty string.
std::shared_ptr<CameraParametersSet> rebuild(const std::string& message,
                                             const std::string& others) {
  std::shared_ptr<CameraParametersSet> set =
      CameraParametersSet::fromString(others.empty() ? message : others);
  if (set == nullptr || others.empty()) return set;
  return set->loadFromString(message) ? set : nullptr;
}

}  // namespace

py::bytes bytesOfCamera(const Camera& camera) {
  return toBytes(camera.lock->read([&] { return messageOf(*camera.parameters); }));
}

bool areEqual(const Camera& a, const Camera& b) {
  if (a.name != b.name) return false;
  return a.parameters == b.parameters || bytesOfCamera(a).equal(bytesOfCamera(b));
}

bool areEqual(const CameraSet& a, const CameraSet& b) {
  return a.cameras == b.cameras || stateOfSet(a).equal(stateOfSet(b));
}

py::tuple stateOfCamera(const Camera& camera) {
  return py::make_tuple(py::bytes(camera.name), bytesOfCamera(camera));
}

Camera cameraFromState(const py::tuple& state) {
  Camera camera = {bytesAt(state, 0), std::make_shared<CameraParameters>(),
                   std::make_shared<UseLock>()};
  CameraCalibration message;
  const std::string bytes = bytesAt(state, 1);
  const bool loaded = camera.lock->change(
      [&] { return message.ParseFromString(bytes) && camera.parameters->readProto(message); });
  if (!loaded) throwNoPickle();
  return camera;
}

py::tuple stateOfSet(const CameraSet& set) {
  RobotCalibration message;
  RobotCalibration others;
  set.lock->read([&] {
    message = set.cameras->getRobotCalibration();
    others = unnamedCameras(*set.cameras);
  });
  return py::make_tuple(toBytes(message), toBytes(others));
}

CameraSet setFromState(const py::tuple& state) {
  const std::string message = bytesAt(state, 0);
  const std::string others = bytesAt(state, 1);
  CameraSet set;
  set.lock->change([&] { set.cameras = rebuild(message, others); });
  if (set.cameras == nullptr) throwNoPickle();
  return set;
}

}  // namespace norv::python

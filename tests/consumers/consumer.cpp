// A program that uses the installed library the way robot software does. It exits with the number
// of things that are not as they should be.

#include <calibration_common/camera_parameters.h>

#include <cstddef>
#include <cstdio>
#include <type_traits>

using norv::calibration::CameraCalibration;
using norv::calibration::CameraParameters;
using norv::calibration::CameraParametersSet;
using norv::calibration::RobotCalibration;

namespace {

int failures = 0;

void expect(bool holds, const char* what) {
  if (holds) return;
  std::printf("not as it should be: %s\n", what);
  ++failures;
}

/// Constructed before main, and with it the compiled-in calibration.
CameraParametersSet global_set;

/// Poses beside other members, as programs have them.
struct RobotState {
  char tag;
  norv::Matrix4x4_f robot_from_world;
  norv::CameraTransform head;
};
static_assert(offsetof(RobotState, robot_from_world) == 4);
static_assert(sizeof(norv::CameraTransform) == 2 * 16 * sizeof(float));

RobotCalibration oneCamera() {
  RobotCalibration robot;
  CameraCalibration* camera = robot.add_camera_calibration();
  camera->set_name("mine");
  auto* intrinsics = camera->mutable_intrinsics();
  intrinsics->set_fx(1000);
  intrinsics->set_fy(1000);
  intrinsics->set_cx(640);
  intrinsics->set_cy(480);
  intrinsics->set_width(1280);
  intrinsics->set_height(960);
  for (int i = 0; i < 6; ++i) intrinsics->add_radial(0.125 * i);
  for (int i = 0; i < 2; ++i) intrinsics->add_tangential(0.25 * i);
  for (const double a : {0, -1, 0, 100, 0, 0, -1, 200, 1, 0, 0, 300}) {
    camera->mutable_extrinsics()->add_a(a);
  }
  return robot;
}

void checkPoses(const CameraParameters& camera) {
  RobotState state = {};
  state.head = camera.getTransform();
  state.robot_from_world = state.head.inverse * state.head.transform;
  expect((state.robot_from_world - norv::Matrix4x4_f::Identity()).cwiseAbs().maxCoeff() < 1e-6F,
         "a pose times its inverse is the identity");
  expect(camera.getRotation() * norv::Vector3_f(1, 2, 3) == norv::Vector3_f(-2, -3, 1),
         "rotations multiply vectors");
  expect(
      (camera.getTransform().getCameraCenter() - norv::Vector3_f(-0.3F, 0.1F, 0.2F)).norm() < 1e-6F,
      "the camera's centre");
  norv::Matrix4x4_f pose;
  CameraParameters::convert(camera.getRotation(), camera.getTranslation(), &pose);
  expect(pose == camera.getTransform().transform, "a pose is its rotation and translation");
}

}  // namespace

int main() {
  expect(global_set.getCamera("head_camera") != nullptr, "the global set has the default cameras");
  CameraParametersSet set;
  expect(set.loadFromString(oneCamera().SerializeAsString()), "a binary calibration loads");
  expect(set.loadFromString(oneCamera().DebugString()), "a text calibration loads");
  expect(set.loadFromProto(oneCamera()), "a message loads");
  const auto camera = set.getCamera("mine");
  expect(camera->getIntrinsics(640, 480)(0, 2) == 320, "intrinsics scale");
  expect(camera->getDistortion(640, 480).size() == 8, "the distortion has eight coefficients");
  expect(camera->getIntrinsicsTable().size() == 1, "an unknown model has one size");
  checkPoses(*camera);
  return failures;
}

// A program that uses the installed library the way robot software does. It exits with the number
// of things that are not as they should be.

#include <calibration_common/camera_parameters.h>
#include <calibration_common/camera_view.h>

#include <cstddef>
#include <cstdio>
#include <type_traits>
#include <vector>

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

/// What holds Eigen's matrices lies in memory as the library has it, whatever instruction set this
/// program is compiled for.
void checkViews(const CameraParameters& camera) {
  using namespace norv::calibration;
  const auto view = camera.view(1280, 960);
  if (!view) return expect(false, "the camera has a view");
  const std::vector<Eigen::Vector3d> points = {{3, -0.5, 0.1}, {4, 0.25, -0.5}, {5, 1, 1}};
  std::vector<Eigen::Vector2d> pixels(points.size());
  std::vector<ViewJacobian> jacobians(points.size());
  std::vector<PointStatus> statuses(points.size());
  const std::size_t not_ok =
      view->projectPoints({points[0].data(), 3}, points.size(), {pixels[0].data(), 2},
                          {statuses.data(), jacobians.data()});
  expect(not_ok == 0, "all points are seen");
  for (std::size_t i = 0; i < points.size(); ++i) {
    Eigen::Vector2d pixel;
    ViewJacobian jacobian;
    expect(view->project(points[i], &pixel, &jacobian) == statuses[i], "one point's status");
    expect(pixel == pixels[i], "one point's pixel");
    expect(jacobian.pose == jacobians[i].pose && jacobian.point == jacobians[i].point &&
               jacobian.intrinsics == jacobians[i].intrinsics,
           "one point's derivatives");
    expect(jacobian.intrinsics(0, 3) == 1 && jacobian.intrinsics(1, 4) == 1 &&
               jacobian.intrinsics(0, 4) == 0,
           "derivatives by the principal point");
    RectificationJacobian inverse;
    Eigen::Vector2d ray;
    expect(view->rectify(pixel, &ray, &inverse) == PointStatus::kOk, "the pixel has a ray");
    expect(inverse.pixel.allFinite() && inverse.intrinsics.allFinite(), "derivatives of the ray");
  }
  const auto straight = view->fitView(640, 480, ViewFit::kValidOnly);
  expect(straight && straight->view_from_camera == Eigen::Matrix3d::Identity(), "a view is fitted");
  std::vector<float> map(2 * 640 * 480);
  if (straight) view->makeRectifyMap(*straight, map.data(), map.data() + 640 * 480);
  expect(map[0] >= 0 && map[0] <= 1280, "its first pixel lies in the picture");
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
  checkViews(*camera);
  return failures;
}

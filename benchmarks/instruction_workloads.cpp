// Fixed workloads whose instructions are counted, to guard against regressions where times are too
// noisy: scripts/check-instructions.

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "benchmarks/example_ptz_camera.h"
#include "benchmarks/inputs.h"
#include "benchmarks/view_inputs.h"
#include "calibration_common/camera_parameters.h"
#include "calibration_common/ptz_aiming.h"
#include "support/auto_diff.h"
#include "support/auto_diff_eigen.h"
#include "support/camera_projection.h"
#include "support/logging.h"
#include "support/point_projection.h"
#include "support/rectification.h"
#include "testing/calibration_messages.h"
#include "testing/example_ptz.h"

namespace norv::benchmarks {
namespace {

using calibration::CameraParametersSet;

/// What is counted lies between the entry and the exit of this function.
template <class Work>
__attribute__((noinline)) void countedWorkload(const Work& work) {
  work();
}

/// Keeps the compiler from computing a value in advance or not at all.
template <class T>
void use(T& value) {
  asm volatile("" : "+m"(value) : : "memory");
}

void getIntrinsics() {
  const CameraParametersSet set;
  const auto camera = set.getCamera("navigation_camera");
  countedWorkload([&] {
    for (int i = 0; i < 20000; ++i) {
      Matrix3x3_f hit = camera->getIntrinsics(1280, 720);
      use(hit);
      Matrix3x3_f miss = camera->getIntrinsics(320, 240);
      use(miss);
    }
  });
}

void loadBinary() {
  calibration::RobotCalibration robot;
  for (int i = 0; i < 64; ++i) {
    *robot.add_camera_calibration() =
        testing::exampleCamera("camera_" + std::to_string(i), "mk513n");
  }
  const std::string data = robot.SerializeAsString();
  CameraParametersSet set;
  set.loadFromString(data);
  countedWorkload([&] {
    for (int i = 0; i < 50; ++i) set.loadFromString(data);
  });
}

void refitHeadCamera() {
  const CameraParametersSet set;
  const auto camera = set.getCamera("head_camera");
  countedWorkload([&] { camera->precomputeIntrinsics(); });
}

void project() {
  CameraTransform pose;
  pose.setTransform(examplePose(), CameraTransform::kForward);
  const std::vector<Vector3_f> points = examplePoints(4096);
  std::vector<Vector2_f> pixels(points.size());
  countedWorkload([&] {
    for (const Vector3_f& point : points) {
      Vector2_f pixel = project3dToCamera(pose, kStrongLens, exampleCameraMatrix(), point);
      use(pixel);
    }
    projectPoints(pose, kStrongLens, exampleCameraMatrix(), points.data(), points.size(),
                  pixels.data());
  });
}

void rectify() {
  const float principal_point[] = {kCentreX, kCentreY};
  const float focal_lengths[] = {kFocalLength, kFocalLength};
  const std::vector<Vector2_f> pixels = examplePixels(4096);
  std::vector<Vector2_f> rays(pixels.size());
  countedWorkload([&] {
    for (const std::vector<float>* lens : {&kMildLens, &kStrongLens}) {
      for (const Vector2_f& pixel : pixels) {
        Vector2_f ray =
            calibration::rectifyPoint(lens->data(), principal_point, focal_lengths, pixel);
        use(ray);
      }
      calibration::rectifyPoints(lens->data(), principal_point, focal_lengths, pixels.data(),
                                 pixels.size(), rays.data());
    }
  });
}

void makeMapRow() {
  calibration::RectifiedView view = straightView();
  view.height = 1;
  std::vector<float> x(kMapWidth);
  std::vector<float> y(kMapWidth);
  std::vector<std::int16_t> xy(2 * kMapWidth);
  std::vector<std::uint16_t> fraction(kMapWidth);
  countedWorkload([&] {
    for (int i = 0; i < 20; ++i) {
      calibration::makeRectifyMap(exampleModel(kMildLens), view, x.data(), y.data());
      calibration::makeFixedPointRectifyMap(exampleModel(kMildLens), view, xy.data(),
                                            fraction.data());
    }
    calibration::CameraModel one_row = exampleModel(kMildLens);
    one_row.height = 1;
    calibration::makeUndistortMap(one_row, straightView(), x.data(), y.data());
  });
}

void differentiate() {
  const std::vector<Eigen::Vector3d> points = pointsInCamera(4096);
  std::vector<Eigen::Vector2d> pixels(points.size());
  std::vector<calibration::ProjectionJacobian> jacobians(points.size());
  std::vector<Eigen::Vector2d> rays(points.size());
  std::vector<calibration::RectificationJacobian> of_rays(points.size());
  countedWorkload([&] {
    calibration::projectPoints(exampleModel(kStrongLens), {points[0].data(), 3}, points.size(),
                               {pixels[0].data(), 2}, {nullptr, jacobians.data()});
    calibration::rectifyPoints(exampleModel(kStrongLens), {pixels[0].data(), 2}, pixels.size(),
                               {rays[0].data(), 2}, {nullptr, of_rays.data()});
  });
}

void askStatuses() {
  const std::vector<Eigen::Vector3d> points = pointsInCamera(4096);
  std::vector<Eigen::Vector2d> pixels(points.size());
  std::vector<Eigen::Vector2d> rays(points.size());
  std::vector<calibration::PointStatus> statuses(points.size());
  countedWorkload([&] {
    calibration::projectPoints(exampleModel(kStrongLens), {points[0].data(), 3}, points.size(),
                               {pixels[0].data(), 2}, {statuses.data()});
    calibration::rectifyPoints(exampleModel(kStrongLens), {pixels[0].data(), 2}, pixels.size(),
                               {rays[0].data(), 2}, {statuses.data()});
  });
}

void getFullTransform() {
  const calibration::PanTiltModel head = testing::headModel(testing::exampleHead());
  countedWorkload([&] {
    for (int i = 0; i < 5000; ++i) {
      CameraTransform pose = head.getFullTransform(static_cast<float>(i), 100);
      use(pose);
    }
  });
}

void point() {
  const calibration::PTZCameraModelPtr model = testing::ptzModel(testing::examplePtz());
  countedWorkload([&] {
    for (int i = 0; i < 1000; ++i) {
      const calibration::PTZCameraModelConfiguration configuration(model, i, 300, 2500);
      int pan = 0;
      int tilt = 0;
      int zoom = 0;
      configuration.getPanTiltZoom({500, 300}, {700, 450}, &pan, &tilt, &zoom);
      use(pan);
      use(tilt);
      use(zoom);
    }
  });
}

void solveAll() {
  const calibration::PanTiltModel head = testing::headModel(testing::exampleHead());
  const std::vector<Vector3_f> targets = exampleTargets();
  countedWorkload([&] {
    for (int i = 0; i < 50; ++i) {
      for (const Vector3_f& target : targets) {
        calibration::PanTiltRoots roots = head.solveAll(target.cast<double>(), {0, 0});
        use(roots);
      }
    }
  });
}

void aim() {
  const calibration::PTZCameraModelPtr model = testing::ptzModel(testing::examplePtz());
  const std::vector<Vector3_f> targets = exampleTargets();
  calibration::AimRequest request;
  request.zoom_value = 0.8;
  countedWorkload([&] {
    for (const Vector3_f& target : targets) {
      request.target = calibration::PointTarget{target.cast<double>()};
      request.zoom = calibration::AimZoom::kKeep;
      calibration::Aim kept = calibration::aim(*model, request);
      use(kept);
      request.target = calibration::SphereTarget{target.cast<double>(), 0.1};
      request.zoom = calibration::AimZoom::kFill;
      calibration::Aim filled = calibration::aim(*model, request);
      use(filled);
    }
  });
}

void logStatements() {
  setLogSink([](const LogRecord& record) { use(const_cast<int&>(record.level)); });
  countedWorkload([&] {
    for (int i = 0; i < 5000; ++i) {
      NORV_LOG(kLogDebug, "workload") << "value " << i;
      NORV_LOG(kLogWarning, "workload") << "value " << i;
    }
  });
  setLogSink({});
}

void dualProducts() {
  using Dual = autodiff::AutoDiff1<double, 20>;
  using Matrix = Eigen::Matrix<Dual, 4, 4, Eigen::RowMajor>;
  Matrix a = Matrix::Constant(Dual::variable(0.5, 3));
  const Matrix b = Matrix::Constant(Dual::variable(0.25, 7));
  countedWorkload([&] {
    for (int i = 0; i < 500; ++i) {
      Matrix product = a * b;
      use(product);
    }
  });
}

struct Workload {
  const char* name;
  void (*run)();
};

constexpr Workload kWorkloads[] = {
    {"get_intrinsics", getIntrinsics},
    {"load_binary", loadBinary},
    {"refit_head_camera", refitHeadCamera},
    {"project", project},
    {"rectify", rectify},
    {"map_rows", makeMapRow},
    {"jacobians", differentiate},
    {"statuses", askStatuses},
    {"get_full_transform", getFullTransform},
    {"point", point},
    {"solve_all", solveAll},
    {"aim", aim},
    {"log_statements", logStatements},
    {"dual_products", dualProducts},
};

}  // namespace
}  // namespace norv::benchmarks

/// Without an argument, the names of the workloads; with one, runs that workload.
int main(int argc, char** argv) {
  for (const auto& workload : norv::benchmarks::kWorkloads) {
    if (argc < 2) {
      std::puts(workload.name);
    } else if (std::strcmp(argv[1], workload.name) == 0) {
      workload.run();
      return 0;
    }
  }
  return argc < 2 ? 0 : 2;
}

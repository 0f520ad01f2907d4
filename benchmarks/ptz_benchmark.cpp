// The pan-tilt-zoom camera: kinematics, configurations, pointing and zoom.

#include <benchmark/benchmark.h>

#include <Eigen/Core>
#include <utility>
#include <vector>

#include "benchmarks/example_ptz_camera.h"
#include "benchmarks/inputs.h"
#include "calibration_common/ptz_aiming.h"

namespace norv::benchmarks {
namespace {

using calibration::PanTiltModel;
using calibration::PTZCameraModelConfiguration;
using calibration::PTZCameraModelPtr;

PanTiltModel exampleHeadModel() { return testing::headModel(testing::exampleHead()); }
PTZCameraModelPtr exampleModel() { return testing::ptzModel(testing::examplePtz()); }

void getFullTransform(benchmark::State& state) {
  const PanTiltModel head = exampleHeadModel();
  float pan = 100;
  float tilt = 50;
  for (auto _ : state) {
    benchmark::DoNotOptimize(pan += 1);
    benchmark::DoNotOptimize(tilt += 1);
    CameraTransform pose = head.getFullTransform(pan, tilt);
    benchmark::DoNotOptimize(pose);
  }
}
BENCHMARK(getFullTransform);

void computePanTilt(benchmark::State& state) {
  const PanTiltModel head = exampleHeadModel();
  Cycle<Vector3_f> targets(exampleTargets());
  float pan = 0;
  float tilt = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(head.computePanTilt(targets.next(), Vector2_f(0, 0), &pan, &tilt));
    benchmark::DoNotOptimize(pan);
    benchmark::DoNotOptimize(tilt);
  }
}
BENCHMARK(computePanTilt);

/// All angles, where computePanTilt finds one pair.
void solveAll(benchmark::State& state) {
  const PanTiltModel head = exampleHeadModel();
  std::vector<Eigen::Vector3d> points;
  for (const Vector3_f& target : exampleTargets()) points.emplace_back(target.cast<double>());
  Cycle<Eigen::Vector3d> targets(std::move(points));
  for (auto _ : state) {
    calibration::PanTiltRoots roots = head.solveAll(targets.next(), Eigen::Vector2d(0, 0));
    benchmark::DoNotOptimize(roots);
  }
}
BENCHMARK(solveAll);

void aimAtTargets(benchmark::State& state, calibration::AimZoom zoom) {
  const PTZCameraModelPtr model = exampleModel();
  Cycle<Vector3_f> targets(exampleTargets());
  calibration::AimRequest request;
  request.now = {500, 300, 2500};
  request.zoom = zoom;
  request.zoom_value = 0.8;
  for (auto _ : state) {
    const Eigen::Vector3d centre = targets.next().cast<double>();
    request.target = calibration::SphereTarget{centre, 0.1};
    if (zoom == calibration::AimZoom::kKeep) request.target = calibration::PointTarget{centre};
    calibration::Aim answer = calibration::aim(*model, request);
    benchmark::DoNotOptimize(answer);
  }
}

/// At a point, with the zoom as it is.
void aim(benchmark::State& state) { aimAtTargets(state, calibration::AimZoom::kKeep); }
BENCHMARK(aim);

/// At a ball that is to fill most of the picture.
void aimSphere(benchmark::State& state) { aimAtTargets(state, calibration::AimZoom::kFill); }
BENCHMARK(aimSphere);

void constructConfiguration(benchmark::State& state) {
  const PTZCameraModelPtr model = exampleModel();
  int pan = 0;
  for (auto _ : state) {
    const PTZCameraModelConfiguration configuration(model, pan++ % 5000, 300, 2500);
    benchmark::DoNotOptimize(&configuration);
  }
}
BENCHMARK(constructConfiguration);

void projectPixelToRay(benchmark::State& state) {
  const PTZCameraModelConfiguration configuration(exampleModel(), 500, 300, 2500);
  Cycle<Vector2_f> pixels(examplePixels());
  for (auto _ : state) {
    Vector3_f ray = configuration.projectPixelToRay(pixels.next());
    benchmark::DoNotOptimize(ray);
  }
}
BENCHMARK(projectPixelToRay);

void getPanTiltOfPixel(benchmark::State& state) {
  const PTZCameraModelConfiguration configuration(exampleModel(), 500, 300, 2500);
  Cycle<Vector2_f> pixels(examplePixels());
  int pan = 0;
  int tilt = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(configuration.getPanTilt(pixels.next(), &pan, &tilt));
    benchmark::DoNotOptimize(pan);
    benchmark::DoNotOptimize(tilt);
  }
}
BENCHMARK(getPanTiltOfPixel);

/// From motor positions and a box to motor positions.
void constructAndGetPanTiltZoom(benchmark::State& state) {
  const PTZCameraModelPtr model = exampleModel();
  Cycle<Vector2_f> pixels(examplePixels());
  int pan = 0;
  int tilt = 0;
  int zoom = 0;
  for (auto _ : state) {
    const PTZCameraModelConfiguration configuration(model, 500, 300, 2500);
    const Vector2_f corner = pixels.next();
    benchmark::DoNotOptimize(
        configuration.getPanTiltZoom(corner, corner + Vector2_f(200, 100), &pan, &tilt, &zoom));
    benchmark::DoNotOptimize(pan);
    benchmark::DoNotOptimize(tilt);
    benchmark::DoNotOptimize(zoom);
  }
}
BENCHMARK(constructAndGetPanTiltZoom);

/// From a point to motor positions, the zoom's by the field of view.
void aimPoint(benchmark::State& state) {
  const PTZCameraModelPtr model = exampleModel();
  Cycle<Vector3_f> targets(exampleTargets());
  calibration::AimRequest request = {calibration::PointTarget{}, {500, 300, 2500}};
  request.zoom = calibration::AimZoom::kFieldOfView;
  request.zoom_value = 0.4;
  for (auto _ : state) {
    request.target = calibration::PointTarget{targets.next().cast<double>()};
    calibration::Aim found = aim(*model, request);
    benchmark::DoNotOptimize(found);
  }
}
BENCHMARK(aimPoint);

/// From motor positions and a box to those that frame it.
void aimBox(benchmark::State& state) {
  const PTZCameraModelPtr model = exampleModel();
  Cycle<Vector2_f> pixels(examplePixels());
  calibration::AimRequest request = {calibration::BoxTarget{}, {500, 300, 2500}};
  request.zoom = calibration::AimZoom::kFill;
  for (auto _ : state) {
    const Eigen::Vector2d corner = pixels.next().cast<double>();
    request.target = calibration::BoxTarget{corner, corner + Eigen::Vector2d(200, 100), 5};
    calibration::Aim found = aim(*model, request);
    benchmark::DoNotOptimize(found);
  }
}
BENCHMARK(aimBox);

void zoomXFactorToSteps(benchmark::State& state) {
  const PTZCameraModelPtr model = exampleModel();
  float factor = 1;
  for (auto _ : state) {
    benchmark::DoNotOptimize(model->zoomXFactorToSteps(factor));
    factor = factor > 19 ? 1 : factor * 1.1F;
  }
}
BENCHMARK(zoomXFactorToSteps);

void stepsToZoomXFactor(benchmark::State& state) {
  const PTZCameraModelPtr model = exampleModel();
  int steps = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(model->stepsToZoomXFactor(steps));
    steps = steps > 9900 ? 0 : steps + 97;
  }
}
BENCHMARK(stepsToZoomXFactor);

}  // namespace
}  // namespace norv::benchmarks

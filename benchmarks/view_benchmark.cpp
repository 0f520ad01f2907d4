// A camera at one picture size: many points at once, derivatives, maps.

#include <benchmark/benchmark.h>

#include <Eigen/Core>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "benchmarks/inputs.h"
#include "benchmarks/view_inputs.h"
#include "calibration_common/camera_view.h"
#include "support/point_projection.h"
#include "support/rectification.h"

namespace norv::benchmarks {
namespace {

using calibration::CameraModel;
using calibration::CameraView;
using calibration::PointStatus;
using calibration::ProjectionJacobian;
using calibration::RectifiedView;

/// At the origin of the parent frame, so that the peers have as much to do.
CameraView exampleView() {
  CameraTransform pose;
  pose.setTransform(Matrix4x4_f::Identity(), CameraTransform::kForward);
  return CameraView(exampleModel(kStrongLens), pose);
}

void projectOneOfView(benchmark::State& state) {
  const CameraView view = exampleView();
  Cycle<Eigen::Vector3d> points(pointsInCamera(256));
  Eigen::Vector2d pixel;
  for (auto _ : state) {
    benchmark::DoNotOptimize(view.project(points.next(), &pixel));
    benchmark::DoNotOptimize(pixel);
  }
}
BENCHMARK(projectOneOfView);

void projectOneWithStatus(benchmark::State& state) {
  const CameraModel camera = exampleModel(kStrongLens);
  Cycle<Eigen::Vector3d> points(pointsInCamera(256));
  Eigen::Vector2d pixel;
  for (auto _ : state) {
    benchmark::DoNotOptimize(calibration::projectPoint(camera, points.next(), &pixel));
    benchmark::DoNotOptimize(pixel);
  }
}
BENCHMARK(projectOneWithStatus);

void projectManyWithStatus(benchmark::State& state) {
  const CameraModel camera = exampleModel(kStrongLens);
  const std::vector<Eigen::Vector3d> points = pointsInCamera(10000);
  std::vector<Eigen::Vector2d> pixels(points.size());
  std::vector<PointStatus> statuses(points.size());
  for (auto _ : state) {
    benchmark::DoNotOptimize(calibration::projectPoints(
        camera, {points[0].data(), 3}, points.size(), {pixels[0].data(), 2}, {statuses.data()}));
  }
}
BENCHMARK(projectManyWithStatus);

void projectWithJacobians(benchmark::State& state) {
  const CameraModel camera = exampleModel(kStrongLens);
  const std::vector<Eigen::Vector3d> points = pointsInCamera(1000);
  std::vector<Eigen::Vector2d> pixels(points.size());
  std::vector<ProjectionJacobian> jacobians(points.size());
  for (auto _ : state) {
    benchmark::DoNotOptimize(calibration::projectPoints(camera, {points[0].data(), 3},
                                                        points.size(), {pixels[0].data(), 2},
                                                        {nullptr, jacobians.data()}));
  }
}
BENCHMARK(projectWithJacobians);

void rectifyManyWithStatus(benchmark::State& state, const std::vector<float>& lens) {
  const CameraModel camera = exampleModel(lens);
  std::vector<Eigen::Vector2d> pixels;
  for (const Vector2_f& pixel : examplePixels(10000)) pixels.push_back(pixel.cast<double>());
  std::vector<Eigen::Vector2d> rays(pixels.size());
  std::vector<PointStatus> statuses(pixels.size());
  for (auto _ : state) {
    benchmark::DoNotOptimize(calibration::rectifyPoints(
        camera, {pixels[0].data(), 2}, pixels.size(), {rays[0].data(), 2}, {statuses.data()}));
  }
}
BENCHMARK_CAPTURE(rectifyManyWithStatus, mild, kMildLens);
BENCHMARK_CAPTURE(rectifyManyWithStatus, strong, kStrongLens);

void makeFloatMap(benchmark::State& state) {
  const CameraModel camera = exampleModel(kMildLens);
  const RectifiedView view = straightView();
  std::vector<float> x(kMapPixels);
  std::vector<float> y(kMapPixels);
  for (auto _ : state) {
    calibration::makeRectifyMap(camera, view, x.data(), y.data());
    benchmark::DoNotOptimize(x.data());
  }
}
BENCHMARK(makeFloatMap)->Unit(benchmark::kMicrosecond);

void makeFixedPointMap(benchmark::State& state) {
  const CameraModel camera = exampleModel(kMildLens);
  const RectifiedView view = straightView();
  std::vector<std::int16_t> xy(2 * kMapPixels);
  std::vector<std::uint16_t> fraction(kMapPixels);
  for (auto _ : state) {
    calibration::makeFixedPointRectifyMap(camera, view, xy.data(), fraction.data());
    benchmark::DoNotOptimize(xy.data());
  }
}
BENCHMARK(makeFixedPointMap)->Unit(benchmark::kMicrosecond);

void makeUndistortingMap(benchmark::State& state) {
  const CameraModel camera = exampleModel(kMildLens);
  const RectifiedView view = straightView();
  std::vector<float> x(kMapPixels);
  std::vector<float> y(kMapPixels);
  for (auto _ : state) {
    calibration::makeUndistortMap(camera, view, x.data(), y.data());
    benchmark::DoNotOptimize(x.data());
  }
}
BENCHMARK(makeUndistortingMap)->Unit(benchmark::kMicrosecond);

/// What the map above is measured by: the rays of the same pixels.
void rectifyWholeImage(benchmark::State& state) {
  const CameraModel camera = exampleModel(kMildLens);
  std::vector<Eigen::Vector2d> pixels;
  for (int j = 0; j < camera.height; ++j) {
    for (int i = 0; i < camera.width; ++i) pixels.emplace_back(i + 0.5, j + 0.5);
  }
  std::vector<Eigen::Vector2d> rays(pixels.size());
  for (auto _ : state) {
    benchmark::DoNotOptimize(calibration::rectifyPoints(camera, {pixels[0].data(), 2},
                                                        pixels.size(), {rays[0].data(), 2}));
  }
}
BENCHMARK(rectifyWholeImage)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace norv::benchmarks

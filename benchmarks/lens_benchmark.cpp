// Projection of a point and its inverse for one pixel.

#include <benchmark/benchmark.h>

#include <vector>

#include "benchmarks/inputs.h"
#include "support/camera_projection.h"

namespace norv::benchmarks {
namespace {

void projectOnePoint(benchmark::State& state, const std::vector<float>& lens) {
  CameraTransform pose;
  pose.setTransform(examplePose(), CameraTransform::kForward);
  const Matrix3x3_f k = exampleCameraMatrix();
  Cycle<Vector3_f> points(examplePoints());
  for (auto _ : state) {
    Vector2_f pixel = project3dToCamera(pose, lens, k, points.next());
    benchmark::DoNotOptimize(pixel);
  }
}
BENCHMARK_CAPTURE(projectOnePoint, mild, kMildLens);
BENCHMARK_CAPTURE(projectOnePoint, strong, kStrongLens);

void projectManyPoints(benchmark::State& state) {
  CameraTransform pose;
  pose.setTransform(examplePose(), CameraTransform::kForward);
  const std::vector<Vector3_f> points = examplePoints(10000);
  std::vector<Vector2_f> pixels(points.size());
  for (auto _ : state) {
    projectPoints(pose, kStrongLens, exampleCameraMatrix(), points.data(), points.size(),
                  pixels.data());
    benchmark::DoNotOptimize(pixels.data());
  }
}
BENCHMARK(projectManyPoints);

void rectifyOnePoint(benchmark::State& state, const std::vector<float>& lens) {
  const float principal_point[] = {kCentreX, kCentreY};
  const float focal_lengths[] = {kFocalLength, kFocalLength};
  Cycle<Vector2_f> pixels(examplePixels());
  for (auto _ : state) {
    Vector2_f point =
        calibration::rectifyPoint(lens.data(), principal_point, focal_lengths, pixels.next());
    benchmark::DoNotOptimize(point);
  }
}
BENCHMARK_CAPTURE(rectifyOnePoint, mild, kMildLens);
BENCHMARK_CAPTURE(rectifyOnePoint, strong, kStrongLens);

void rectifyManyPoints(benchmark::State& state, const std::vector<float>& lens) {
  const float principal_point[] = {kCentreX, kCentreY};
  const float focal_lengths[] = {kFocalLength, kFocalLength};
  const std::vector<Vector2_f> pixels = examplePixels(10000);
  std::vector<Vector2_f> points(pixels.size());
  for (auto _ : state) {
    calibration::rectifyPoints(lens.data(), principal_point, focal_lengths, pixels.data(),
                               pixels.size(), points.data());
    benchmark::DoNotOptimize(points.data());
  }
}
BENCHMARK_CAPTURE(rectifyManyPoints, mild, kMildLens);
BENCHMARK_CAPTURE(rectifyManyPoints, strong, kStrongLens);

}  // namespace
}  // namespace norv::benchmarks

// Projection of a point and its inverse for one pixel.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <vector>

#include "support/camera_projection.h"

namespace norv {
namespace {

/// k1, k2, p1, p2, k3, k4, k5, k6.
const std::vector<float> kMildLens = {-0.28F, 0.07F, 0.0003F, -0.0002F, 0, 0, 0, 0};
/// A stereographic lens, 120 degrees across.
const std::vector<float> kStrongLens = {0.800174F, 0.117548F, 0,         0,
                                        0.001619F, 1.050108F, 0.255504F, 0.011237F};

CameraTransform examplePose() {
  Matrix4x4_f m;
  m << 0, -1, 0, 0.1F,  //
      0, 0, -1, 1.2F,   //
      1, 0, 0, 0.3F,    //
      0, 0, 0, 1;
  CameraTransform pose;
  pose.setTransform(m, CameraTransform::kForward);
  return pose;
}

/// Points spread over the image, so that branches are not learnt by heart.
std::vector<Vector3_f> examplePoints() {
  std::vector<Vector3_f> points;
  for (int i = 0; i < 256; ++i) {
    points.emplace_back(2.0F, 0.1F * static_cast<float>(i % 16) - 0.7F,
                        0.1F * static_cast<float>(i / 16) - 0.5F);
  }
  return points;
}

void projectOnePoint(benchmark::State& state, const std::vector<float>& lens) {
  const CameraTransform pose = examplePose();
  Matrix3x3_f k;
  k << 720, 0, 640,  //
      0, 720, 480,   //
      0, 0, 1;
  const std::vector<Vector3_f> points = examplePoints();
  std::size_t i = 0;
  for (auto _ : state) {
    Vector2_f pixel = project3dToCamera(pose, lens, k, points[i++ % points.size()]);
    benchmark::DoNotOptimize(pixel);
  }
}

void project3dToCameraMild(benchmark::State& state) { projectOnePoint(state, kMildLens); }
BENCHMARK(project3dToCameraMild);

void project3dToCameraStrong(benchmark::State& state) { projectOnePoint(state, kStrongLens); }
BENCHMARK(project3dToCameraStrong);

void rectifyOnePoint(benchmark::State& state, const std::vector<float>& lens) {
  const float principal_point[] = {640, 480};
  const float focal_lengths[] = {720, 720};
  std::vector<Vector2_f> pixels;
  for (int i = 0; i < 256; ++i) {
    pixels.emplace_back(20.0F + 82.0F * static_cast<float>(i % 16),
                        20.0F + 61.0F * static_cast<float>(i / 16));
  }
  std::size_t i = 0;
  for (auto _ : state) {
    Vector2_f point = calibration::rectifyPoint(lens.data(), principal_point, focal_lengths,
                                                pixels[i++ % pixels.size()]);
    benchmark::DoNotOptimize(point);
  }
}

void rectifyPointMild(benchmark::State& state) { rectifyOnePoint(state, kMildLens); }
BENCHMARK(rectifyPointMild);

void rectifyPointStrong(benchmark::State& state) { rectifyOnePoint(state, kStrongLens); }
BENCHMARK(rectifyPointStrong);

}  // namespace
}  // namespace norv

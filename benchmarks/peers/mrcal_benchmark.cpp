// mrcal's projection of a point that is already in the camera frame.

#include <benchmark/benchmark.h>

#include <Eigen/Core>
#include <cstddef>
#include <vector>

#include "benchmarks/inputs.h"
#include "benchmarks/view_inputs.h"

// A header of C.
extern "C" {
#include <mrcal/mrcal.h>
}

namespace norv::benchmarks {
namespace {

struct Camera {
  Camera() {
    model.type = MRCAL_LENSMODEL_OPENCV8;
    for (std::size_t i = 0; i < 8; ++i) intrinsics[4 + i] = static_cast<double>(kStrongLens[i]);
  }

  mrcal_lensmodel_t model = {};
  double intrinsics[12] = {kFocalLength, kFocalLength, kCentreX, kCentreY};
};

std::vector<mrcal_point3_t> inCamera(std::size_t count) {
  std::vector<mrcal_point3_t> points;
  for (const Eigen::Vector3d& p : pointsInCamera(count)) {
    mrcal_point3_t q;
    q.x = p.x();
    q.y = p.y();
    q.z = p.z();
    points.push_back(q);
  }
  return points;
}

void mrcalProjectPoint(benchmark::State& state) {
  const Camera camera;
  Cycle<mrcal_point3_t> points(inCamera(256));
  mrcal_point2_t pixel;
  for (auto _ : state) {
    benchmark::DoNotOptimize(mrcal_project(&pixel, nullptr, nullptr, &points.next(), 1,
                                           &camera.model, camera.intrinsics));
    benchmark::DoNotOptimize(pixel);
  }
}
BENCHMARK(mrcalProjectPoint);

void mrcalProject(benchmark::State& state) {
  const Camera camera;
  const std::vector<mrcal_point3_t> points = inCamera(10000);
  std::vector<mrcal_point2_t> pixels(points.size());
  for (auto _ : state) {
    benchmark::DoNotOptimize(mrcal_project(pixels.data(), nullptr, nullptr, points.data(),
                                           static_cast<int>(points.size()), &camera.model,
                                           camera.intrinsics));
  }
}
BENCHMARK(mrcalProject);

void mrcalProjectWithGradients(benchmark::State& state) {
  const Camera camera;
  const std::vector<mrcal_point3_t> points = inCamera(1000);
  std::vector<mrcal_point2_t> pixels(points.size());
  std::vector<mrcal_point3_t> by_point(2 * points.size());
  std::vector<double> by_intrinsics(2 * 12 * points.size());
  for (auto _ : state) {
    benchmark::DoNotOptimize(mrcal_project(pixels.data(), by_point.data(), by_intrinsics.data(),
                                           points.data(), static_cast<int>(points.size()),
                                           &camera.model, camera.intrinsics));
  }
}
BENCHMARK(mrcalProjectWithGradients);

}  // namespace
}  // namespace norv::benchmarks

// mrcal's projection of a point that is already in the camera frame.

#include <benchmark/benchmark.h>

#include <Eigen/Geometry>
#include <cstddef>
#include <vector>

#include "benchmarks/inputs.h"

// A header of C.
extern "C" {
#include <mrcal/mrcal.h>
}

namespace norv::benchmarks {
namespace {

void mrcalProjectPoint(benchmark::State& state) {
  mrcal_lensmodel_t model = {};
  model.type = MRCAL_LENSMODEL_OPENCV8;
  double intrinsics[12] = {kFocalLength, kFocalLength, kCentreX, kCentreY};
  for (std::size_t i = 0; i < 8; ++i) intrinsics[4 + i] = kStrongLens[i];
  std::vector<mrcal_point3_t> in_camera;
  for (const Vector3_f& point : examplePoints()) {
    const Eigen::Vector4f p = examplePose() * point.homogeneous();
    mrcal_point3_t q;
    q.x = p.x();
    q.y = p.y();
    q.z = p.z();
    in_camera.push_back(q);
  }
  Cycle<mrcal_point3_t> points(in_camera);
  mrcal_point2_t pixel;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        mrcal_project(&pixel, nullptr, nullptr, &points.next(), 1, &model, intrinsics));
    benchmark::DoNotOptimize(pixel);
  }
}
BENCHMARK(mrcalProjectPoint);

}  // namespace
}  // namespace norv::benchmarks

// What programs ask of a loaded camera, and the construction of a set with its re-fitted head
// camera.

#include <benchmark/benchmark.h>

#include <memory>

#include "calibration_common/camera_parameters.h"
#include "support/sensor_transform.h"

namespace norv::calibration {
namespace {

void getIntrinsicsHit(benchmark::State& state) {
  const CameraParametersSet set;
  const std::shared_ptr<CameraParameters> camera = set.getCamera("navigation_camera");
  int width = 1280;
  int height = 720;  // the last entry of the table
  for (auto _ : state) {
    benchmark::DoNotOptimize(width);
    benchmark::DoNotOptimize(height);
    Matrix3x3_f k = camera->getIntrinsics(width, height);
    benchmark::DoNotOptimize(k);
  }
}
BENCHMARK(getIntrinsicsHit);

void getIntrinsicsMiss(benchmark::State& state) {
  const CameraParametersSet set;
  const std::shared_ptr<CameraParameters> camera = set.getCamera("navigation_camera");
  int width = 320;
  int height = 240;
  for (auto _ : state) {
    benchmark::DoNotOptimize(width);
    benchmark::DoNotOptimize(height);
    Matrix3x3_f k = camera->getIntrinsics(width, height);
    benchmark::DoNotOptimize(k);
  }
}
BENCHMARK(getIntrinsicsMiss);

/// The fit alone, by way of the camera's own operation with the identity warp in place of the
/// sensor's.
class Identity : public ImageSensorTransform {
 public:
  Vector2_f transformPoint(const Vector2_f& p) const override { return p; }
  Vector2_f inverseTransformPoint(const Vector2_f& p) const override { return p; }
};

void refitDefaultHeadCamera(benchmark::State& state) {
  const CameraParametersSet set;
  const std::shared_ptr<CameraParameters> camera = set.getCamera("head_camera");
  const Identity identity;
  CameraParameters::Intrinsics out;
  for (auto _ : state) benchmark::DoNotOptimize(camera->recomputeIntrinsics(identity, &out));
}
BENCHMARK(refitDefaultHeadCamera)->Unit(benchmark::kMillisecond);

void precomputeDefaultHeadCamera(benchmark::State& state) {
  const CameraParametersSet set;
  const std::shared_ptr<CameraParameters> camera = set.getCamera("head_camera");
  for (auto _ : state) benchmark::DoNotOptimize(camera->precomputeIntrinsics());
}
BENCHMARK(precomputeDefaultHeadCamera)->Unit(benchmark::kMillisecond);

void constructSet(benchmark::State& state) {
  for (auto _ : state) {
    const CameraParametersSet set;
    benchmark::DoNotOptimize(&set);
  }
}
BENCHMARK(constructSet)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace norv::calibration

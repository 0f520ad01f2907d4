// Loading of robot calibrations, beside the bare parse of the same bytes into a fresh message.

#include <benchmark/benchmark.h>
#include <google/protobuf/text_format.h>

#include <string>

#include "calibration_common/camera_parameters.h"
#include "testing/calibration_messages.h"

namespace norv::calibration {
namespace {

/// `cameras` cameras of a model that is not fitted again, each with `samples` sample points.
RobotCalibration robot(std::int64_t cameras, std::int64_t samples) {
  CameraCalibration camera = testing::exampleCamera("", "mk513n");
  for (std::int64_t i = 0; i < samples; ++i) {
    SamplePoint* sample = camera.mutable_intrinsics()->add_samples();
    sample->set_image_x(0.25F + static_cast<float>(i));
    sample->set_image_y(0.75F + static_cast<float>(i));
    sample->set_model_x(static_cast<float>(i % 13));
    sample->set_model_y(static_cast<float>(i % 10));
  }
  RobotCalibration result;
  for (std::int64_t i = 0; i < cameras; ++i) {
    camera.set_name("camera_" + std::to_string(i));
    *result.add_camera_calibration() = camera;
  }
  return result;
}

void perCamera(benchmark::State& state) {
  state.counters["per_camera"] = benchmark::Counter(
      static_cast<double>(state.range(0)),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void loadSet(benchmark::State& state, const std::string& data) {
  CameraParametersSet set;
  for (auto _ : state) benchmark::DoNotOptimize(set.loadFromString(data));
  perCamera(state);
}

void loadBinary(benchmark::State& state) {
  loadSet(state, robot(state.range(0), state.range(1)).SerializeAsString());
}

void loadText(benchmark::State& state) {
  loadSet(state, robot(state.range(0), state.range(1)).DebugString());
}

void parseBinaryAlone(benchmark::State& state) {
  const std::string data = robot(state.range(0), state.range(1)).SerializeAsString();
  for (auto _ : state) {
    RobotCalibration message;
    benchmark::DoNotOptimize(message.ParseFromString(data));
  }
  perCamera(state);
}

void parseTextAlone(benchmark::State& state) {
  const std::string data = robot(state.range(0), state.range(1)).DebugString();
  for (auto _ : state) {
    RobotCalibration message;
    benchmark::DoNotOptimize(google::protobuf::TextFormat::ParseFromString(data, &message));
  }
  perCamera(state);
}

void sizes(benchmark::internal::Benchmark* bench) {
  bench->ArgNames({"cameras", "samples"});
  for (const int samples : {0, 200}) {
    for (const int cameras : {1, 4, 64, 1024}) bench->Args({cameras, samples});
  }
}

BENCHMARK(loadBinary)->Apply(sizes)->Args({4096, 0});
BENCHMARK(parseBinaryAlone)->Apply(sizes);
BENCHMARK(loadText)->Apply(sizes);
BENCHMARK(parseTextAlone)->Apply(sizes);

}  // namespace
}  // namespace norv::calibration

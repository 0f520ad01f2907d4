// spdlog's statement into a sink that drops it.

#include <benchmark/benchmark.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <memory>

namespace norv::benchmarks {
namespace {

void spdlogEnabledStatement(benchmark::State& state) {
  spdlog::logger logger("benchmark", std::make_shared<spdlog::sinks::null_sink_mt>());
  int value = 0;
  for (auto _ : state) {
    SPDLOG_LOGGER_WARN(&logger, "some number {}", value);
    benchmark::DoNotOptimize(++value);
  }
}
BENCHMARK(spdlogEnabledStatement);

}  // namespace
}  // namespace norv::benchmarks

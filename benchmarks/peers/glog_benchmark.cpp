// glog's verbose statement, disabled.

#include <benchmark/benchmark.h>
#include <glog/logging.h>

namespace norv::benchmarks {
namespace {

void glogDisabledStatement(benchmark::State& state) {
  int value = 0;
  for (auto _ : state) {
    VLOG(3) << "value " << value;
    benchmark::DoNotOptimize(++value);
  }
}
BENCHMARK(glogDisabledStatement);

}  // namespace
}  // namespace norv::benchmarks

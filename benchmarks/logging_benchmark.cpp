// Log statements: disabled, and enabled with a sink that drops them; checks that pass.

#include <benchmark/benchmark.h>

#include "support/checks.h"
#include "support/logging.h"

namespace norv {
namespace {

/// What a loop without a statement costs, to subtract.
void emptyLoop(benchmark::State& state) {
  int value = 0;
  for (auto _ : state) benchmark::DoNotOptimize(++value);
}
BENCHMARK(emptyLoop);

void disabledStatement(benchmark::State& state) {
  int value = 0;
  for (auto _ : state) {
    NORV_LOG(kLogDebug, "benchmark") << "value " << value;
    benchmark::DoNotOptimize(++value);
  }
}
BENCHMARK(disabledStatement);

/// Disabled on its own channel while another one enables its level.
void disabledStatementBesideAnEnabledChannel(benchmark::State& state) {
  setLogLevel("other", kLogDebug);
  int value = 0;
  for (auto _ : state) {
    NORV_LOG(kLogDebug, "benchmark") << "value " << value;
    benchmark::DoNotOptimize(++value);
  }
  setLogLevel("other", kLogWarning);
}
BENCHMARK(disabledStatementBesideAnEnabledChannel);

void enabledStatement(benchmark::State& state) {
  setLogSink([](const LogRecord& record) { benchmark::DoNotOptimize(record.text.data()); });
  int value = 0;
  for (auto _ : state) {
    NORV_LOG(kLogWarning, "benchmark") << "some number " << value;
    benchmark::DoNotOptimize(++value);
  }
  setLogSink({});
}
BENCHMARK(enabledStatement);

void enabledFormattedStatement(benchmark::State& state) {
  setLogSink([](const LogRecord& record) { benchmark::DoNotOptimize(record.text.data()); });
  int value = 0;
  for (auto _ : state) {
    NORV_LOG_FORMAT(kLogWarning, "benchmark", "some number %d", value);
    benchmark::DoNotOptimize(++value);
  }
  setLogSink({});
}
BENCHMARK(enabledFormattedStatement);

void passingCheck(benchmark::State& state) {
  int value = 0;
  for (auto _ : state) {
    NORV_CHECK_GE(value, 0);
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(passingCheck);

}  // namespace
}  // namespace norv

// Products of matrices of dual numbers, and their functions.

#include <benchmark/benchmark.h>

#include <Eigen/Core>
#include <cstddef>

#include "support/auto_diff.h"
#include "support/auto_diff_eigen.h"

namespace norv::autodiff {
namespace {

template <std::size_t N>
using Matrix = Eigen::Matrix<AutoDiff1<double, N>, 4, 4, Eigen::RowMajor>;

template <std::size_t N>
Matrix<N> exampleMatrix(double seed) {
  Matrix<N> m;
  for (auto& element : m.reshaped()) {
    element.value = seed += 0.125;
    for (double& derivative : element.derivatives) derivative = seed -= 0.0625;
  }
  return m;
}

template <std::size_t N>
void matrixProduct(benchmark::State& state) {
  Matrix<N> a = exampleMatrix<N>(1);
  Matrix<N> b = exampleMatrix<N>(-1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    benchmark::DoNotOptimize(b);
    Matrix<N> product = a * b;
    benchmark::DoNotOptimize(product);
  }
}
BENCHMARK_TEMPLATE(matrixProduct, 2);
BENCHMARK_TEMPLATE(matrixProduct, 20);

template <std::size_t N>
void sineAndCosine(benchmark::State& state) {
  auto x = AutoDiff1<double, N>::variable(0.3, 1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(x);
    SineAndCosine<AutoDiff1<double, N>> both = sinCos(x);
    benchmark::DoNotOptimize(both);
  }
}
BENCHMARK_TEMPLATE(sineAndCosine, 2);
BENCHMARK_TEMPLATE(sineAndCosine, 20);

}  // namespace
}  // namespace norv::autodiff

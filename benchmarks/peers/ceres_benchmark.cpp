// Ceres Solver on the pointing problem of two variables, and its dual numbers.

#include <benchmark/benchmark.h>
#include <ceres/ceres.h>
#include <ceres/jet.h>
#include <ceres/tiny_solver.h>
#include <ceres/tiny_solver_autodiff_function.h>

#include <Eigen/Core>
#include <memory>
#include <vector>

#include "benchmarks/example_ptz_camera.h"
#include "benchmarks/inputs.h"

namespace norv::benchmarks {
namespace {

/// What computePanTilt brings to zero, e x q with e = (dev, 1), by the same products of 4 x 4
/// matrices.
class PointingCost {
 public:
  explicit PointingCost(const calibration::PanTiltModel& head)
      : tilt_to_camera_(head.getTiltToCamera().transform.cast<double>()),
        pan_to_tilt_(head.getPanToTilt().transform.cast<double>()),
        base_to_pan_(head.getBaseToPan().transform.cast<double>()),
        dev_(0, 0) {}

  void aimAt(const Vector3_f& world) {
    point_in_pan_ = base_to_pan_ * world.cast<double>().homogeneous();
  }

  template <class T>
  bool operator()(const T* angles, T* residual) const {
    const Eigen::Matrix<T, 4, 1> q = tilt_to_camera_.cast<T>() * rotation(angles[1]) *
                                     pan_to_tilt_.cast<T>() * rotation(angles[0]) *
                                     point_in_pan_.cast<T>();
    return cross(q, residual);
  }

 protected:
  template <class T>
  bool cross(const Eigen::Matrix<T, 4, 1>& q, T* residual) const {
    residual[0] = dev_.y() * q[2] - q[1];
    residual[1] = q[0] - dev_.x() * q[2];
    residual[2] = dev_.x() * q[1] - dev_.y() * q[0];
    return true;
  }

  Eigen::Matrix4d tilt_to_camera_;
  Eigen::Matrix4d pan_to_tilt_;
  Eigen::Matrix4d base_to_pan_;
  Eigen::Vector4d point_in_pan_;
  Eigen::Vector2d dev_;

 private:
  template <class T>
  static Eigen::Matrix<T, 4, 4> rotation(const T& angle) {
    using std::cos;
    using std::sin;
    Eigen::Matrix<T, 4, 4> m = Eigen::Matrix<T, 4, 4>::Identity();
    m(0, 0) = m(1, 1) = cos(angle);
    m(1, 0) = sin(angle);
    m(0, 1) = -m(1, 0);
    return m;
  }
};

/// The same with the chain written out: rotations applied to the point from the right, which is a
/// tenth of the arithmetic.
class PointingCostByHand : public PointingCost {
 public:
  using PointingCost::PointingCost;

  template <class T>
  bool operator()(const T* angles, T* residual) const {
    const Eigen::Matrix<T, 4, 1> point = point_in_pan_.cast<T>();
    const Eigen::Matrix<T, 4, 1> panned = pan_to_tilt_ * turn(angles[0], point);
    const Eigen::Matrix<T, 4, 1> q = tilt_to_camera_ * turn(angles[1], panned);
    return cross(q, residual);
  }

 private:
  template <class T>
  static Eigen::Matrix<T, 4, 1> turn(const T& angle, const Eigen::Matrix<T, 4, 1>& p) {
    using std::cos;
    using std::sin;
    const T c = cos(angle);
    const T s = sin(angle);
    return {c * p[0] - s * p[1], s * p[0] + c * p[1], p[2], p[3]};
  }
};

Cycle<PointingTask> exampleTasks() {
  return Cycle<PointingTask>(examplePointingTasks(testing::headModel(testing::exampleHead())));
}

void ceresPointing(benchmark::State& state) {
  auto* const cost = new PointingCost(testing::headModel(testing::exampleHead()));
  double angles[2];
  ceres::Problem problem;
  problem.AddResidualBlock(new ceres::AutoDiffCostFunction<PointingCost, 3, 2>(cost), nullptr,
                           angles);
  ceres::Solver::Options options;
  options.linear_solver_type = ceres::DENSE_QR;
  options.logging_type = ceres::SILENT;
  ceres::Solver::Summary summary;
  Cycle<PointingTask> tasks = exampleTasks();
  for (auto _ : state) {
    const PointingTask& task = tasks.next();
    cost->aimAt(task.world);
    angles[0] = task.pan;
    angles[1] = task.tilt;
    ceres::Solve(options, &problem, &summary);
    benchmark::DoNotOptimize(angles);
  }
}
BENCHMARK(ceresPointing);

template <class Cost>
void solveTiny(benchmark::State& state) {
  Cost cost(testing::headModel(testing::exampleHead()));
  const ceres::TinySolverAutoDiffFunction<Cost, 3, 2> function(cost);
  ceres::TinySolver<ceres::TinySolverAutoDiffFunction<Cost, 3, 2>> solver;
  Cycle<PointingTask> tasks = exampleTasks();
  for (auto _ : state) {
    const PointingTask& task = tasks.next();
    cost.aimAt(task.world);
    Eigen::Vector2d angles(task.pan, task.tilt);
    solver.Solve(function, &angles);
    benchmark::DoNotOptimize(angles);
  }
}

void tinySolverPointing(benchmark::State& state) { solveTiny<PointingCost>(state); }
BENCHMARK(tinySolverPointing);

void tinySolverPointingByHand(benchmark::State& state) { solveTiny<PointingCostByHand>(state); }
BENCHMARK(tinySolverPointingByHand);

template <int N>
ceres::Jet<double, N> exampleJet(double seed) {
  ceres::Jet<double, N> x(seed);
  for (int i = 0; i < N; ++i) x.v[i] = seed -= 0.0625;
  return x;
}

template <int N>
void jetMatrixProduct(benchmark::State& state) {
  using Matrix = Eigen::Matrix<ceres::Jet<double, N>, 4, 4, Eigen::RowMajor>;
  Matrix a;
  Matrix b;
  for (int i = 0; i < 16; ++i) {
    a(i) = exampleJet<N>(1 + i);
    b(i) = exampleJet<N>(-1 - i);
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    benchmark::DoNotOptimize(b);
    Matrix product = a * b;
    benchmark::DoNotOptimize(product);
  }
}
BENCHMARK_TEMPLATE(jetMatrixProduct, 2);
BENCHMARK_TEMPLATE(jetMatrixProduct, 20);

template <int N>
void jetSineAndCosine(benchmark::State& state) {
  ceres::Jet<double, N> x = exampleJet<N>(0.3);
  for (auto _ : state) {
    benchmark::DoNotOptimize(x);
    ceres::Jet<double, N> s = sin(x);
    ceres::Jet<double, N> c = cos(x);
    benchmark::DoNotOptimize(s);
    benchmark::DoNotOptimize(c);
  }
}
BENCHMARK_TEMPLATE(jetSineAndCosine, 2);
BENCHMARK_TEMPLATE(jetSineAndCosine, 20);

}  // namespace
}  // namespace norv::benchmarks

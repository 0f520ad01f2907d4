#include "support/auto_diff_eigen.h"

#include <gtest/gtest.h>

#include <Eigen/LU>
#include <cmath>
#include <random>
#include <type_traits>

namespace norv::autodiff {
namespace {

using Dual = AutoDiff1<double, 2>;
using DualMatrix = Eigen::Matrix<Dual, 4, 4, Eigen::RowMajor>;
using DualVector = Eigen::Matrix<Dual, 4, 1>;

static_assert(std::is_same_v<Eigen::NumTraits<Dual>::Real, double>);

template <class Matrix>
Matrix randomMatrix(std::mt19937_64* random) {
  std::uniform_real_distribution<double> uniform(-1, 1);
  Matrix m;
  for (auto& element : m.reshaped()) {
    element = Dual(uniform(*random), {uniform(*random), uniform(*random)});
  }
  return m;
}

TEST(AutoDiffEigen, DefaultMatrixIsZero) {
  const DualMatrix m;
  for (const Dual& element : m.reshaped()) {
    EXPECT_EQ(element.value, 0);
    EXPECT_EQ(element.derivatives[0], 0);
    EXPECT_EQ(element.derivatives[1], 0);
  }
}

TEST(AutoDiffEigen, CastsFloatMatricesToConstants) {
  Eigen::Matrix<float, 4, 4, Eigen::RowMajor> plain;
  for (int i = 0; i < 16; ++i) plain(i / 4, i % 4) = 0.1F * static_cast<float>(i);
  const DualMatrix m = plain.cast<Dual>();
  for (int i = 0; i < 16; ++i) {
    EXPECT_EQ(m(i / 4, i % 4).value, static_cast<double>(plain(i / 4, i % 4)));
    EXPECT_EQ(m(i / 4, i % 4).derivatives[0], 0);
    EXPECT_EQ(m(i / 4, i % 4).derivatives[1], 0);
  }
}

TEST(AutoDiffEigen, ProductsAreSumsOfElementProducts) {
  std::mt19937_64 random(7);
  const auto a = randomMatrix<DualMatrix>(&random);
  const auto b = randomMatrix<DualMatrix>(&random);
  const auto v = randomMatrix<DualVector>(&random);
  const DualMatrix product = a * b;
  const DualVector image = a * v;
  const double tolerance = 1e-15;  // measured: 2.3e-16
  for (int r = 0; r < 4; ++r) {
    Dual sum;
    for (int k = 0; k < 4; ++k) sum += a(r, k) * v(k);
    EXPECT_NEAR(image(r).value, sum.value, tolerance);
    EXPECT_NEAR(image(r).derivatives[1], sum.derivatives[1], tolerance);
    for (int c = 0; c < 4; ++c) {
      Dual element;
      for (int k = 0; k < 4; ++k) element += a(r, k) * b(k, c);
      EXPECT_NEAR(product(r, c).value, element.value, tolerance);
      EXPECT_NEAR(product(r, c).derivatives[0], element.derivatives[0], tolerance);
      EXPECT_NEAR(product(r, c).derivatives[1], element.derivatives[1], tolerance);
    }
  }
}

TEST(AutoDiffEigen, MixesWithPlainNumbersAndMatrices) {
  std::mt19937_64 random(11);
  const auto m = randomMatrix<DualMatrix>(&random);
  const auto v = randomMatrix<DualVector>(&random);
  const Eigen::Matrix4d plain = Eigen::Matrix4d::Identity() * 2.0;
  const DualVector doubled = 2.0 * v;
  const DualVector from_plain = plain * v;
  const DualVector to_plain = m * Eigen::Vector4d(1, 0, 0, 0);
  const DualVector half = v / 2.0;
  const DualVector sum = v + Eigen::Vector4d::Ones();
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(doubled(i).value, 2 * v(i).value);
    EXPECT_EQ(doubled(i).derivatives[1], 2 * v(i).derivatives[1]);
    EXPECT_EQ(from_plain(i).value, doubled(i).value);
    EXPECT_EQ(from_plain(i).derivatives[0], doubled(i).derivatives[0]);
    EXPECT_EQ(to_plain(i).value, m(i, 0).value);
    EXPECT_EQ(to_plain(i).derivatives[0], m(i, 0).derivatives[0]);
    EXPECT_EQ(half(i).value, v(i).value / 2);
    EXPECT_EQ(sum(i).value, v(i).value + 1);
  }
}

TEST(AutoDiffEigen, LengthAndInverse) {
  const Eigen::Matrix<Dual, 3, 1> v(Dual(3, {1, 0}), Dual(4, {0, 1}), Dual(0));
  const Dual length = sqrt(v.dot(v));
  EXPECT_EQ(length.value, 5);
  EXPECT_DOUBLE_EQ(length.derivatives[0], 0.6);  // x / |v|
  EXPECT_DOUBLE_EQ(length.derivatives[1], 0.8);

  // d(A^-1) = -A^-1 dA A^-1, with A = diag(x, y).
  Eigen::Matrix<Dual, 2, 2> a;
  a << Dual(2, {1, 0}), Dual(0), Dual(0), Dual(4, {0, 1});
  const Eigen::Matrix<Dual, 2, 2> inverse = a.inverse();
  EXPECT_DOUBLE_EQ(inverse(0, 0).value, 0.5);
  EXPECT_DOUBLE_EQ(inverse(0, 0).derivatives[0], -0.25);
  EXPECT_DOUBLE_EQ(inverse(1, 1).derivatives[1], -0.0625);
}

TEST(AutoDiffEigen, FiniteElementsAreRecognised) {
  DualMatrix m;
  EXPECT_TRUE(m.array().isFinite().all());
  m(1, 2).derivatives[0] = std::nan("");
  EXPECT_EQ(m.array().isFinite().count(), 15);
  EXPECT_FALSE(m.array().isFinite()(1, 2));
}

}  // namespace
}  // namespace norv::autodiff

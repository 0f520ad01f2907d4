#include "support/numeric/bracketed_newton.h"

#include <gtest/gtest.h>

#include <cmath>

namespace norv::internal {
namespace {

/// Finds a zero and counts the evaluations.
template <class Function>
double solve(const Function& function, double below, double above, int* evaluations) {
  *evaluations = 0;
  return bracketedNewton(
      [&](double x) {
        ++*evaluations;
        return function(x);
      },
      below, above, 0.5 * (below + above));
}

TEST(BracketedNewton, SmoothFunction) {
  int evaluations;
  const auto square = [](double x) { return ValueAndSlope{x * x - 2, 2 * x}; };
  EXPECT_DOUBLE_EQ(solve(square, 0, 2, &evaluations), std::sqrt(2.0));
  EXPECT_LE(evaluations, 10);
}

TEST(BracketedNewton, FallingFunctionWithTheBracketReversed) {
  int evaluations;
  const auto falling = [](double x) { return ValueAndSlope{2 - x * x, -2 * x}; };
  EXPECT_DOUBLE_EQ(solve(falling, 2, 0, &evaluations), std::sqrt(2.0));
}

TEST(BracketedNewton, StepsThatWouldLeaveTheBracket) {
  // Newton's iteration for the arc tangent diverges from |x| > 1.39.
  int evaluations;
  const auto arc = [](double x) { return ValueAndSlope{std::atan(x), 1 / (1 + x * x)}; };
  EXPECT_NEAR(solve(arc, -30, 70, &evaluations), 0, 1e-15);
  EXPECT_LE(evaluations, 60);
}

TEST(BracketedNewton, SlopesThatAreNoHelp) {
  int evaluations;
  const auto slow = [](double x) { return ValueAndSlope{x - 0.7, 100}; };
  EXPECT_NEAR(solve(slow, 0, 1, &evaluations), 0.7, 1e-13);
  EXPECT_LE(evaluations, 150);
  const auto away = [](double x) { return ValueAndSlope{x - 0.7, -1}; };
  EXPECT_NEAR(solve(away, 0, 1, &evaluations), 0.7, 1e-15);
  const auto flat = [](double x) { return ValueAndSlope{x - 0.7, 0}; };
  EXPECT_NEAR(solve(flat, 0, 1, &evaluations), 0.7, 1e-15);
  const auto missing = [](double x) { return ValueAndSlope{x - 0.7, std::nan("")}; };
  EXPECT_NEAR(solve(missing, 0, 1, &evaluations), 0.7, 1e-15);
}

TEST(BracketedNewton, ZeroAtAnEnd) {
  int evaluations;
  const auto line = [](double x) { return ValueAndSlope{x, 1}; };
  EXPECT_NEAR(solve(line, 0, 1, &evaluations), 0, 1e-15);
  EXPECT_NEAR(solve(line, -1, 0, &evaluations), 0, 1e-15);
}

TEST(BracketedNewton, TripleZero) {
  int evaluations;
  const auto cubic = [](double x) {
    const double d = x - 0.3;
    return ValueAndSlope{d * d * d, 3 * d * d};
  };
  // The cube of a double's rounding error is no zero: bracketing goes down to the last bit.
  EXPECT_NEAR(solve(cubic, 0, 1, &evaluations), 0.3, 1e-15);
}

TEST(BracketedNewton, StartAtTheZero) {
  int evaluations = 0;
  const auto square = [&](double x) {
    ++evaluations;
    return ValueAndSlope{x * x - 4, 2 * x};
  };
  EXPECT_EQ(bracketedNewton(square, 0, 10, 2), 2);
  EXPECT_EQ(evaluations, 1);
}

}  // namespace
}  // namespace norv::internal

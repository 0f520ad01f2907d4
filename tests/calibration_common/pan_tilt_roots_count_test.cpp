// PanTiltModel::solveAll against the number of roots that the resultant of its two equations has.

#include <gtest/gtest.h>

#include <Eigen/Core>
#include <algorithm>
#include <array>
#include <cstddef>
#include <random>
#include <vector>

#include "calibration_common/pan_tilt_model.h"
#include "testing/pointing_chain.h"
#include "testing/random_head.h"

namespace norv::calibration {
namespace {

using testing::PointingChain;
using testing::PointingQuestion;

/// The resultant loses half of the digits, and the chain of remainders more.
__extension__ typedef __float128 Quad;

/// Coefficients, the constant first.
using Polynomial = std::vector<Quad>;

Polynomial operator*(const Polynomial& a, const Polynomial& b) {
  Polynomial product(a.size() + b.size() - 1, 0);
  for (std::size_t i = 0; i < a.size(); ++i) {
    for (std::size_t k = 0; k < b.size(); ++k) product[i + k] += a[i] * b[k];
  }
  return product;
}

Polynomial operator+(Polynomial a, const Polynomial& b) {
  for (std::size_t i = 0; i < a.size(); ++i) a[i] += b[i];
  return a;
}

Polynomial operator-(Polynomial a, const Polynomial& b) {
  for (std::size_t i = 0; i < a.size(); ++i) a[i] -= b[i];
  return a;
}

/// cosine cos x + sine sin x + one, as 1 + u^2 times itself in u = tan(x / 2).
struct Trigonometric {
  Quad cosine;
  Quad sine;
  Quad one;

  Polynomial inHalfTangent() const { return {one + cosine, 2 * sine, one - cosine}; }
};

Trigonometric combine(Quad a, const Trigonometric& x, Quad b, const Trigonometric& y) {
  return {a * x.cosine + b * y.cosine, a * x.sine + b * y.sine, a * x.one + b * y.one};
}

Quad dot(const std::array<Quad, 3>& a, const Eigen::Vector3d& b) {
  return a[0] * Quad(b.x()) + a[1] * Quad(b.y()) + a[2] * Quad(b.z());
}

/// The target in the frame of the tilt joint, before that turns, by the pan angle.
std::array<Trigonometric, 3> pointByPan(const PointingChain& chain, const Eigen::Vector3d& world) {
  std::array<Quad, 3> p{};
  for (int row = 0; row < 3; ++row) {
    p.at(static_cast<std::size_t>(row)) = Quad(chain.baseToPan()(row, 3));
    for (int i = 0; i < 3; ++i) {
      p.at(static_cast<std::size_t>(row)) += Quad(chain.baseToPan()(row, i)) * Quad(world[i]);
    }
  }
  std::array<Trigonometric, 3> point{};
  for (int row = 0; row < 3; ++row) {
    const auto m = [&](int i) { return Quad(chain.panToTilt()(row, i)); };
    point.at(static_cast<std::size_t>(row)) = {m(0) * p[0] + m(1) * p[1], m(1) * p[0] - m(0) * p[1],
                                               m(2) * p[2] + m(3)};
  }
  return point;
}

/// The component across the ray along `side` of the point in the camera frame is zero: a quadratic
/// in tan(tilt / 2), whose coefficients are quadratic in tan(pan / 2).
std::array<Polynomial, 3> equation(const PointingChain& chain, const Eigen::Vector3d& world,
                                   const std::array<Quad, 3>& side) {
  const std::array<Trigonometric, 3> y = pointByPan(chain, world);
  const Quad gx = dot(side, chain.tiltToCamera().block<3, 1>(0, 0));
  const Quad gy = dot(side, chain.tiltToCamera().block<3, 1>(0, 1));
  const Quad gz = dot(side, chain.tiltToCamera().block<3, 1>(0, 2));
  const Polynomial cosine = combine(gx, y[0], gy, y[1]).inHalfTangent();
  const Polynomial sine = combine(gy, y[0], -gx, y[1]).inHalfTangent();
  Trigonometric rest = combine(gz, y[2], 0, y[2]);
  rest.one += dot(side, chain.tiltToCamera().block<3, 1>(0, 3));
  const Polynomial one = rest.inHalfTangent();
  return {one + cosine, sine + sine, one - cosine};
}

/// Sylvester's resultant of two quadratics. Degree 8, of which four zeros are those of the squared
/// distance of the point from the tilt axis, which are not real.
Polynomial resultant(const std::array<Polynomial, 3>& a, const std::array<Polynomial, 3>& b) {
  const Polynomial outer = a[2] * b[0] - a[0] * b[2];
  return outer * outer - (a[2] * b[1] - a[1] * b[2]) * (a[1] * b[0] - a[0] * b[1]);
}

void normalise(Polynomial* p) {
  Quad largest = 0;
  for (const Quad c : *p) largest = std::max(largest, c < 0 ? -c : c);
  for (Quad& c : *p) c /= largest;
}

/// Less the remainder of the division.
Polynomial nextOfSturm(Polynomial a, const Polynomial& b) {
  while (a.size() >= b.size()) {
    const Quad factor = a.back() / b.back();
    const std::size_t shift = a.size() - b.size();
    for (std::size_t i = 0; i + 1 < b.size(); ++i) a[shift + i] -= factor * b[i];
    a.pop_back();
  }
  for (Quad& c : a) c = -c;
  normalise(&a);
  return a;
}

/// How many different real zeros there are, by Sturm's theorem.
int countRealZeros(Polynomial p) {
  normalise(&p);
  Polynomial slope;
  for (std::size_t i = 1; i < p.size(); ++i) slope.push_back(static_cast<int>(i) * p[i]);
  normalise(&slope);
  std::vector<Polynomial> chain = {p, slope};
  while (chain.back().size() > 1) {
    chain.push_back(nextOfSturm(chain[chain.size() - 2], chain.back()));
  }
  int at_plus = 0;
  int at_minus = 0;
  for (std::size_t i = 1; i < chain.size(); ++i) {
    const bool changes = (chain[i].back() > 0) != (chain[i - 1].back() > 0);
    // The degree falls by one from each to the next.
    at_plus += changes ? 1 : 0;
    at_minus += changes ? 0 : 1;
  }
  return at_minus - at_plus;
}

int countByResultant(const PointingQuestion& question) {
  const PointingChain chain(question.head);
  const std::array<Quad, 3> x_side = {1, 0, -Quad(question.dev.x())};
  const std::array<Quad, 3> y_side = {0, 1, -Quad(question.dev.y())};
  return countRealZeros(
      resultant(equation(chain, question.world, x_side), equation(chain, question.world, y_side)));
}

/// The same head with a camera that sees through its back: point and ray are mirrored at the
/// optical centre.
PanTiltModel reversed(const PanTiltModel& head) {
  PanTiltSystemParameters params;
  head.writeToPB(&params);
  testing::storePose(-testing::readPose(params.tilt_to_camera()), params.mutable_tilt_to_camera());
  PanTiltModel result;
  result.readFromPB(params);
  return result;
}

TEST(SturmsTheorem, CountsZerosOfPolynomialsThatAreKnown) {
  EXPECT_EQ(countRealZeros({-6, 11, -6, 1}), 3);  // (x - 1) (x - 2) (x - 3)
  EXPECT_EQ(countRealZeros({2, 1, 1}), 0);
  const Polynomial square = {1, Quad(0.5), 1};
  EXPECT_EQ(countRealZeros(square * Polynomial{-6, 11, -6, 1}), 3);
}

TEST(PanTiltRootsOfRandomHeads, AreAsManyAsTheResultantHas) {
  std::mt19937_64 random(51);
  // Nothing that is only near.
  PanTiltSearch exact;
  exact.tolerance = 0;
  std::array<int, 5> counts{};
  std::array<int, 5> in_front{};
  for (int i = 0; i < 20000; ++i) {
    const PointingQuestion question = testing::randomQuestion(&random);
    const PanTiltRoots front = question.head.solveAll(question.world, question.dev, exact);
    const PanTiltRoots back = reversed(question.head).solveAll(question.world, question.dev, exact);
    const int expected = countByResultant(question);
    ASSERT_LE(expected, 4) << i;
    EXPECT_EQ(front.size() + back.size(), static_cast<std::size_t>(expected)) << i;
    ++counts.at(static_cast<std::size_t>(expected));
    ++in_front.at(front.size());
    if (!front.empty()) continue;
    EXPECT_EQ(front.reach, back.empty() ? PanTiltReach::kOutOfReach : PanTiltReach::kBehind) << i;
  }
  // Measured: on the whole line 6748 questions with none, 6801 with two and 6451 with four; before
  // the camera 10063 with none, 280, 9546, 47 and 64 with one to four.
  EXPECT_EQ(counts[1] + counts[3], 0);
  for (const std::size_t n : {0U, 2U, 4U}) EXPECT_GT(counts.at(n), 5000);
  for (const int count : in_front) EXPECT_GT(count, 20);
}

}  // namespace
}  // namespace norv::calibration

#include "support/fit/projector.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <optional>

#include "support/auto_diff.h"
#include "support/opencv_projection.h"
#include "testing/numeric_derivative.h"
#include "tests/support/fit/known_camera.h"

namespace norv::internal::fit {
namespace {

using Dual20 = autodiff::AutoDiff1<double, 20>;

/// The camera with each of its 18 unknowns a variable: the rotation exp([w]) R has at w = 0 the
/// derivatives [e_i] R.
calibration::OpenCVProjection<Dual20> seeded(const FittedCamera& camera) {
  calibration::OpenCVProjection<Dual20> p;
  Dual20* const intrinsics[] = {&p.fx, &p.fy, &p.cx, &p.cy, &p.k1, &p.k2,
                                &p.k3, &p.k4, &p.k5, &p.k6, &p.p1, &p.p2};
  for (int i = 0; i < kIntrinsicCount; ++i) {
    *intrinsics[i] = Dual20::variable(camera.intrinsics[i], static_cast<std::size_t>(i));
  }
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      Dual20& element = p.rotation[static_cast<std::size_t>(3 * row + column)];
      element = camera.rotation(row, column);
      for (int axis = 0; axis < 3; ++axis) {
        element.derivatives[static_cast<std::size_t>(kRotation + axis)] =
            Eigen::Vector3d::Unit(axis).cross(camera.rotation.col(column))[row];
      }
    }
    p.translation[static_cast<std::size_t>(row)] =
        Dual20::variable(camera.translation[row], static_cast<std::size_t>(kTranslation + row));
  }
  return p;
}

TEST(Projector, AgreesWithTheProjectionOfTheLibrary) {
  const KnownView known((distortedCamera()));
  const Projector projector(known.truth);
  for (const PointPair& point : known.view.points) {
    const std::optional<Eigen::Vector2d> projected = projector.project(point);
    ASSERT_TRUE(projected);
    // The view was made by it.
    EXPECT_NEAR(projected->x(), point.u, 1e-15);  // measured 3e-16
    EXPECT_NEAR(projected->y(), point.v, 1e-15);
  }
}

TEST(Projector, RowsAgreeWithDualNumbers) {
  const KnownView known((distortedCamera()));
  const Projector projector(known.truth);
  const calibration::OpenCVProjection<Dual20> dual = seeded(known.truth);
  for (PointPair point : known.view.points) {
    point.u += 0.25;
    point.v -= 0.5;
    Row u;
    Row v;
    projector.linearize(point, &u, &v);
    EXPECT_NEAR(u.residual, -0.25, 1e-15);  // measured 3e-16
    EXPECT_NEAR(v.residual, 0.5, 1e-15);
    const std::array<Dual20, 2> expected = dual.project({point.plane_x, point.plane_y, 0.0});
    for (int i = 0; i < kParameterCount; ++i) {
      const std::size_t slot = static_cast<std::size_t>(i);
      EXPECT_NEAR(u.derivatives[i], expected[0].derivatives[slot], 1e-14) << i;  // measured 7e-16
      EXPECT_NEAR(v.derivatives[i], expected[1].derivatives[slot], 1e-14) << i;
    }
  }
}

TEST(Projector, RowsAgreeWithDifferences) {
  const KnownView known((distortedCamera()));
  const Projector projector(known.truth);
  for (const PointPair& point : {known.view.points.front(), known.view.points[20]}) {
    Row u;
    Row v;
    projector.linearize(point, &u, &v);
    for (int i = 0; i < kParameterCount; ++i) {
      const auto moved = [&](double step) {
        const FittedCamera camera = known.truth.moved(step * ParameterVector::Unit(i));
        return *Projector(camera).project(point);
      };
      const double du = testing::numericDerivative([&](double h) { return moved(h).x(); }, 0.0);
      const double dv = testing::numericDerivative([&](double h) { return moved(h).y(); }, 0.0);
      EXPECT_NEAR(u.derivatives[i], du, 1e-9) << i;  // measured 2e-11
      EXPECT_NEAR(v.derivatives[i], dv, 1e-9) << i;
    }
  }
}

TEST(Projector, PointsNotInFrontDoNotProject) {
  FittedCamera camera = KnownView(testing::makePinhole(900, 900, 640, 480)).truth;
  const PointPair centre = {0, 0, 0, 0};
  for (const double depth : {1e-6, 0.0, -1.0, std::nan("")}) {
    camera.translation.z() = depth;
    EXPECT_FALSE(Projector(camera).project(centre)) << depth;
  }
  camera.translation.z() = 1.1e-6;
  EXPECT_TRUE(Projector(camera).project(centre));
}

TEST(Projector, PointsBeyondAZeroOfTheLensDoNotProject) {
  FittedCamera camera = KnownView(testing::makePinhole(900, 900, 640, 480)).truth;
  camera.rotation.setIdentity();
  camera.translation = {0, 0, 1};
  const PointPair near = {0, 0, 0.9, 0};
  const PointPair far = {0, 0, 1.1, 0};
  for (int coefficient = kK1; coefficient < kK1 + 6; ++coefficient) {
    FittedCamera folded = camera;
    folded.intrinsics[coefficient] = -1;  // zero at radius 1
    EXPECT_TRUE(Projector(folded).project(near)) << coefficient;
    EXPECT_FALSE(Projector(folded).project(far)) << coefficient;
  }
}

}  // namespace
}  // namespace norv::internal::fit

/// The rotation that brings one camera's image closest to another's.

#include "calibration_common/diff/best_rotation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace norv::internal::diff {
namespace {

using Intrinsics = calibration::CameraParameters::Intrinsics;

Intrinsics makeCamera(float f, std::vector<float> distortion) {
  Intrinsics camera;
  camera.width = 640;
  camera.height = 480;
  camera.fx = camera.fy = f;
  camera.cx = 320;
  camera.cy = 240;
  camera.distortion = std::move(distortion);
  return camera;
}

struct Comparison {
  ImageCamera b;
  std::vector<GridPixel> grid;
  Shifts as_is;
};

Comparison compare(const Intrinsics& a, const Intrinsics& b) {
  const ImageCamera camera_a(a);
  Comparison comparison{ImageCamera(b), seeGrid({a.width, a.height}, camera_a), {}};
  comparison.as_is = shiftGrid(comparison.grid, {}, comparison.b);
  return comparison;
}

double sumOfSquares(Comparison* c, const Eigen::Matrix3d& rotation) {
  double sum = 0;
  for (const GridPixel& at : c->grid) {
    const Eigen::Vector3d p = rotation * at.seen->ray;
    const auto pixel = c->b.project(p.x(), p.y(), p.z());
    sum += (Eigen::Vector2d(pixel.x, pixel.y) - at.seen->imaged).squaredNorm();
  }
  return sum;
}

/// The cameras' rays turned by a known rotation, so that one rotation makes all differences vanish.
TEST(BestRotation, FindsOneThatLeavesNothing) {
  std::mt19937_64 random(23);
  std::uniform_real_distribution<double> angle(-0.1, 0.1);
  for (int i = 0; i < 20; ++i) {
    const Intrinsics camera = makeCamera(500, {-0.2F, 0.05F, 1e-3F, -2e-3F, 0, 0, 0, 0});
    Comparison c = compare(camera, camera);
    const Eigen::Vector3d turn(angle(random), angle(random), angle(random));
    const Eigen::Quaterniond truth(Eigen::AngleAxisd(turn.norm(), turn.normalized()));
    for (GridPixel& at : c.grid) at.seen->ray = truth.inverse() * at.seen->ray;
    const Eigen::Quaterniond found = findBestRotation(c.b, c.grid, c.as_is);
    EXPECT_LT(found.angularDistance(truth), 1e-12);
  }
}

/// Where differences remain: the sum of squares is flat there, by differences over 1e-4 rad whose
/// own error is some 1e-9 of it, and rises on all sides.
TEST(BestRotation, IsAMinimumWhereDifferencesRemain) {
  const Intrinsics a = makeCamera(500, {-0.2F, 0.05F, 1e-3F, -2e-3F, 0, 0, 0, 0});
  Intrinsics b = makeCamera(510, {-0.15F, 0, 0, 3e-3F, 0, 0, 0.1F, 0});
  b.cx = 330;
  b.cy = 237;
  Comparison c = compare(a, b);
  const Eigen::Matrix3d found = findBestRotation(c.b, c.grid, c.as_is).toRotationMatrix();
  const double least = sumOfSquares(&c, found);
  EXPECT_LT(least, sumOfSquares(&c, Eigen::Matrix3d::Identity()));
  constexpr double kStep = 1e-4;
  for (const auto& axis :
       {Eigen::Vector3d::UnitX(), Eigen::Vector3d::UnitY(), Eigen::Vector3d::UnitZ()}) {
    const double before =
        sumOfSquares(&c, Eigen::AngleAxisd(-kStep, Eigen::Vector3d(axis)) * found);
    const double after = sumOfSquares(&c, Eigen::AngleAxisd(kStep, Eigen::Vector3d(axis)) * found);
    EXPECT_GT(before, least);
    EXPECT_GT(after, least);
    // The minimum of the parabola through the three, to what the third derivatives leave of it.
    const double vertex = 0.5 * kStep * (before - after) / (before - 2 * least + after);
    EXPECT_LT(std::abs(vertex), 1e-8);
  }
}

TEST(BestRotation, IsNoneWhereThereIsNothingToCompare) {
  const Intrinsics a = makeCamera(500, std::vector<float>(8));
  Comparison c = compare(a, a);
  for (auto& shift : c.as_is) shift.reset();
  EXPECT_EQ(findBestRotation(c.b, c.grid, c.as_is).angularDistance(Eigen::Quaterniond::Identity()),
            0);
}

TEST(BestRotation, OfASingleRayBringsItHome) {
  const Intrinsics a = makeCamera(500, std::vector<float>(8));
  Intrinsics b = a;
  b.cx += 10;
  Comparison c = compare(a, b);
  for (std::size_t i = 1; i < c.as_is.size(); ++i) c.as_is[i].reset();
  RayMotion motion;
  motion.linear = findBestRotation(c.b, c.grid, c.as_is).toRotationMatrix();
  const auto shift = shiftGrid({c.grid.front()}, motion, c.b).front();
  ASSERT_TRUE(shift);
  EXPECT_LT(shift->norm(), 1e-6);
}

}  // namespace
}  // namespace norv::internal::diff

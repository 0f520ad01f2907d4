/// Projection and its inverse for one point: by hand, as the functions of single precision, and the
/// one undoing the other.

#include "support/point_projection.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

#include "support/camera_projection.h"
#include "testing/allocation_count.h"
#include "testing/difficult_points.h"
#include "testing/same_bits.h"

namespace norv::calibration {
namespace {

using testing::NamedLens;

TEST(PointProjection, ByHand) {
  CameraModel camera{640, 480, 512, 256, 16, 320, 240, {}};
  Eigen::Vector2d pixel;
  EXPECT_EQ(projectPoint(camera, {0.5, -1, 2}, &pixel), PointStatus::kOk);
  EXPECT_EQ(pixel, Eigen::Vector2d(512 * 0.25 - 16 * 0.5 + 320, -256 * 0.5 + 240));
  Eigen::Vector2d ray;
  EXPECT_EQ(rectifyPixel(camera, pixel, &ray), PointStatus::kOk);
  EXPECT_EQ(ray, Eigen::Vector2d(0.25, -0.5));
  // (0.5, 0) is imaged at 0.5 (1 - 0.5 / 4) = 0.4375.
  camera.lens.k1 = -0.5;
  EXPECT_EQ(projectPoint(camera, {1, 0, 2}, &pixel), PointStatus::kOk);
  EXPECT_EQ(pixel, Eigen::Vector2d(512 * 0.4375 + 320, 240));
}

TEST(PointProjection, NegativeFocalLengthsMirror) {
  std::mt19937 random(61);
  CameraModel camera = testing::randomCamera(testing::lensNamed("tangential"), &random);
  camera.skew = 0;
  CameraModel mirrored = camera;
  mirrored.fx = -camera.fx;
  Eigen::Vector2d a;
  Eigen::Vector2d b;
  projectPoint(camera, {0.2, 0.1, 1}, &a);
  projectPoint(mirrored, {0.2, 0.1, 1}, &b);
  EXPECT_NEAR(a.x() - camera.cx, camera.cx - b.x(), 1e-12);
  EXPECT_EQ(a.y(), b.y());
  Eigen::Vector2d ray;
  EXPECT_EQ(rectifyPixel(mirrored, b, &ray), PointStatus::kOk);
  // 1e-12 of the distance from the centre is how well the lens is inverted.
  EXPECT_LT((ray - Eigen::Vector2d(0.2, 0.1)).norm(), 1e-12);
}

Matrix3x3_f matrixOf(const CameraModel& camera) {
  Matrix3x3_f k;
  k << static_cast<float>(camera.fx), static_cast<float>(camera.skew),
      static_cast<float>(camera.cx), 0, static_cast<float>(camera.fy),
      static_cast<float>(camera.cy), 0, 0, 1;
  return k;
}

TEST(PointProjection, RoundedIsProject3dToCamera) {
  std::mt19937 random(62);
  const CameraTransform camera_frame = testing::poseOf(Eigen::Isometry3f::Identity());
  for (const NamedLens& lens : testing::kLenses) {
    const CameraModel camera = testing::randomCamera(lens, &random);
    const std::vector<float> distortion(lens.coefficients.begin(), lens.coefficients.end());
    int answers = 0;
    for (const Eigen::Vector3d& p : testing::difficultPoints(lens, 1000, &random)) {
      const Vector3_f point = p.cast<float>();
      Eigen::Vector2d pixel;
      if (!hasAnswer(projectPoint(camera, testing::widen(point), &pixel))) continue;
      const Vector2_f old = project3dToCamera(camera_frame, distortion, matrixOf(camera), point);
      EXPECT_TRUE(testing::sameBits(Vector2_f(pixel.cast<float>()), old)) << lens;
      ++answers;
    }
    EXPECT_GT(answers, 300) << lens;
  }
}

/// In single precision and back, as `testing::widen` for points.
[[gnu::noinline]] Eigen::Vector2d widen(const Vector2_f& pixel) {
  return {static_cast<double>(pixel.x()), static_cast<double>(pixel.y())};
}

TEST(PointProjection, RoundedIsRectifyPoint) {
  std::mt19937 random(63);
  for (const NamedLens& lens : testing::kLenses) {
    CameraModel camera = testing::randomCamera(lens, &random);
    camera.skew = 0;
    const float focal_lengths[] = {static_cast<float>(camera.fx), static_cast<float>(camera.fy)};
    const float principal_point[] = {static_cast<float>(camera.cx), static_cast<float>(camera.cy)};
    for (const Eigen::Vector2d& p : testing::difficultPixels(camera, 1000, &random)) {
      const Vector2_f pixel = p.cast<float>();
      Eigen::Vector2d ray;
      const PointStatus status = rectifyPixel(camera, widen(pixel), &ray);
      const Vector2_f old =
          rectifyPoint(lens.coefficients.data(), principal_point, focal_lengths, pixel);
      EXPECT_EQ(hasAnswer(status), old.allFinite()) << lens << " " << pixel.transpose();
      if (!hasAnswer(status)) continue;
      EXPECT_TRUE(testing::sameBits(Vector2_f(ray.cast<float>()), old)) << lens;
    }
  }
}

/// The error of project(rectify(pixel)) in units of what is promised.
double shareOfBound(const CameraModel& camera, const Eigen::Vector2d& pixel,
                    const Eigen::Vector2d& again) {
  const double y = (pixel.y() - camera.cy) / camera.fy;
  const double x = (pixel.x() - camera.cx - camera.skew * y) / camera.fx;
  const double focal_length = std::fmax(std::abs(camera.fx), std::abs(camera.fy));
  return (again - pixel).norm() / (1e-12 * focal_length * std::fmax(1, std::hypot(x, y)));
}

TEST(PointProjection, UndoesRectification) {
  std::mt19937 random(64);
  double worst = 0;
  int checked = 0;
  for (const NamedLens& lens : testing::tableAndRandomLenses(300, &random)) {
    const CameraModel camera = testing::randomCamera(lens, &random);
    for (const Eigen::Vector2d& pixel : testing::difficultPixels(camera, 300, &random)) {
      Eigen::Vector2d ray;
      if (rectifyPixel(camera, pixel, &ray) != PointStatus::kOk) continue;
      Eigen::Vector2d again;
      const PointStatus status = projectPoint(camera, {ray.x(), ray.y(), 1}, &again);
      ASSERT_TRUE(hasAnswer(status)) << lens << " " << pixel.transpose();
      worst = std::fmax(worst, shareOfBound(camera, pixel, again));
      ++checked;
    }
  }
  EXPECT_GT(checked, 50000);
  // The residual of the lens' inverse, and the pixel's own rounding. Measured: 0.995.
  EXPECT_LT(worst, 1.01);
}

/// What the projection calls beyond the lens is no ray of any pixel.
TEST(PointProjection, RaysBeyondTheLensAreNoAnswers) {
  std::mt19937 random(65);
  int beyond = 0;
  for (const NamedLens& lens : testing::tableAndRandomLenses(300, &random)) {
    const CameraModel camera = testing::randomCamera(lens, &random);
    for (Eigen::Vector3d point : testing::difficultPoints(lens, 300, &random)) {
      point /= point.z();
      Eigen::Vector2d pixel;
      if (projectPoint(camera, point, &pixel) != PointStatus::kBeyondLens) continue;
      if (!point.allFinite()) continue;
      ++beyond;
      const auto d = camera.lens.distort(NormalizedPoint<double>{point.x(), point.y()});
      const Eigen::Vector2d there(camera.fx * d.x + camera.skew * d.y + camera.cx,
                                  camera.fy * d.y + camera.cy);
      Eigen::Vector2d ray;
      if (!hasAnswer(rectifyPixel(camera, there, &ray))) continue;
      ASSERT_NE(ray, Eigen::Vector2d(point.head<2>())) << lens << " " << point.transpose();
      EXPECT_NE(projectPoint(camera, {ray.x(), ray.y(), 1}, &pixel), PointStatus::kBeyondLens);
    }
  }
  EXPECT_GT(beyond, 10000);
}

TEST(PointProjection, AllocatesNothing) {
  std::mt19937 random(66);
  for (const NamedLens& lens : testing::kLenses) {
    const CameraModel camera = testing::randomCamera(lens, &random);
    const auto points = testing::difficultPoints(lens, 200, &random);
    const auto pixels = testing::difficultPixels(camera, 200, &random);
    Eigen::Vector2d at;
    ProjectionJacobian by_point;
    RectificationJacobian by_pixel;
    const int before = testing::allocationCount();
    for (const auto& point : points) projectPoint(camera, point, &at, &by_point);
    for (const auto& pixel : pixels) rectifyPixel(camera, pixel, &at, &by_pixel);
    EXPECT_EQ(testing::allocationCount(), before) << lens;
  }
}

TEST(PointProjection, BatchesAllocateNothingPerPoint) {
  std::mt19937 random(67);
  const NamedLens& lens = testing::lensNamed("tangential");
  const CameraModel camera = testing::randomCamera(lens, &random);
  const auto points = testing::difficultPoints(lens, 20000, &random);
  std::vector<Eigen::Vector2d> at(points.size());
  std::vector<PointStatus> statuses(points.size());
  std::vector<ProjectionJacobian> jacobians(points.size());
  const auto allocations = [&](std::size_t count) {
    const int before = testing::allocationCount();
    projectPoints(camera, {points.data()->data(), 3}, count, {at.data()->data(), 2},
                  {statuses.data(), jacobians.data()});
    rectifyPoints(camera, {at.data()->data(), 2}, count, {at.data()->data(), 2},
                  {statuses.data(), nullptr});
    return testing::allocationCount() - before;
  };
  allocations(1);  // which chooses the kernels
  EXPECT_EQ(allocations(1), 0);
  EXPECT_EQ(allocations(20000), 0);
}

}  // namespace
}  // namespace norv::calibration

// A camera at one picture size: what it is, and where it sees points.

#include "calibration_common/camera_view.h"

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/camera_projection.h"
#include "testing/lenses.h"
#include "testing/numeric_derivative.h"
#include "testing/random_camera.h"
#include "testing/same_bits.h"
#include "tests/calibration_common/camera_view_example.h"

namespace norv::calibration {
namespace {

using testing::kLenses;
using testing::lensNamed;
using testing::NamedLens;
using testing::numericDerivative;
using testing::poseOf;
using testing::randomCamera;
using testing::randomPose;
using testing::sameBits;
using testing::widen;

// --------------------------------------------------------------------------------- what it is

TEST(CameraView, HoldsItsNumbers) {
  std::mt19937 random(1);
  const CameraModel model = randomCamera(lensNamed("zoom"), &random);
  const CameraTransform pose = randomPose(&random);
  const CameraView view(model, pose);
  EXPECT_EQ(view.width(), model.width);
  EXPECT_EQ(view.height(), model.height);
  EXPECT_EQ(view.model().skew, model.skew);
  EXPECT_EQ(view.distortion(), model.lens.toCoefficients());
  EXPECT_EQ(view.pose().transform, pose.transform);
  EXPECT_EQ(view.pose().inverse, pose.inverse);
  EXPECT_FALSE(view.isFromTable());
  EXPECT_FALSE(view.isRectifiedBySensor());
}

TEST(CameraView, CameraMatrixInBothPixelOrigins) {
  const CameraView view({640, 480, 500, 510, 2, 320, 240, {}}, atOrigin());
  Eigen::Matrix3d corner;
  corner << 500, 2, 320,  //
      0, 510, 240,        //
      0, 0, 1;
  Eigen::Matrix3d centre = corner;
  centre(0, 2) = 319.5;
  centre(1, 2) = 239.5;
  EXPECT_EQ(view.K(PixelOrigin::kImageCorner), corner);
  EXPECT_EQ(view.K(PixelOrigin::kPixelCentre), centre);
}

TEST(CameraView, CopiesAreTheSameAndStay) {
  CameraView view(simpleCamera(), atOrigin());
  const CameraView copy = view;
  const CameraView taken = std::move(view);
  // What was moved from is a view still.
  EXPECT_EQ(view.width(), 640);  // NOLINT(bugprone-use-after-move): that is what is tested
  view = CameraView({10, 20, 5, 5, 0, 5, 10, {}}, atOrigin());
  EXPECT_EQ(view.width(), 10);
  EXPECT_EQ(copy.width(), 640);
  EXPECT_EQ(taken.height(), 480);
}

TEST(CameraView, MovedToAnotherPlaceIsAViewFromThere) {
  std::mt19937 random(2);
  const CameraModel model = randomCamera(lensNamed("barrel"), &random);
  const CameraTransform there = randomPose(&random);
  const CameraView moved = CameraView(model, randomPose(&random)).movedTo(there);
  const CameraView made(model, there);
  for (int i = 0; i < 100; ++i) {
    const Point point = randomPoint(made, &random);
    Pixel a;
    Pixel b;
    EXPECT_EQ(moved.project(point, &a), made.project(point, &b));
    EXPECT_TRUE(sameBits(a, b));
  }
}

// --------------------------------------------------------------------------------- projection

INSTANTIATE_TEST_SUITE_P(CameraView, EachLens, ::testing::ValuesIn(kLenses), [](const auto& lens) {
  std::string name = lens.param.name;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
});

TEST_P(EachLens, ProjectsToTheBitsOfTheFunctionInSinglePrecision) {
  std::mt19937 random(3);
  int answered = 0;
  for (int i = 0; i < 2000; ++i) {
    const CameraModel model = randomCamera(GetParam(), &random);
    const CameraView view(model, randomPose(&random));
    const Vector3_f point = randomPoint(view, &random).cast<float>();
    Pixel pixel;
    const PointStatus status = view.project(widen(point), &pixel);
    if (!hasAnswer(status)) continue;
    ++answered;
    const auto coefficients = GetParam().coefficients;
    const Vector2_f expected =
        project3dToCamera(view.pose(), std::vector<float>(coefficients.begin(), coefficients.end()),
                          view.K(PixelOrigin::kImageCorner).cast<float>(), point);
    ASSERT_TRUE(sameBits(Vector2_f(pixel.cast<float>()), expected));
  }
  EXPECT_GT(answered, 400);
}

TEST_P(EachLens, ProjectsAsAPointOfTheCameraFrameDoes) {
  std::mt19937 random(4);
  for (int i = 0; i < 500; ++i) {
    const CameraView view(randomCamera(GetParam(), &random), randomPose(&random));
    const Point point = randomPoint(view, &random);
    Pixel pixel;
    Pixel expected;
    const PointStatus status = view.project(point, &pixel);
    EXPECT_EQ(status, projectPoint(view.model(), poseInDouble(view) * point, &expected));
    // Products may be added up in another order.
    if (!hasAnswer(status)) continue;
    EXPECT_LE((pixel - expected).norm(), 1e-9);
  }
}

TEST(CameraView, SaysWhatBecomesOfAPoint) {
  // The parent's origin lies 10 m before the camera; its z axis points to the camera's left.
  Eigen::Isometry3f camera_from_parent = Eigen::Isometry3f::Identity();
  camera_from_parent.linear() << 0, 0, -1,  //
      0, 1, 0,                              //
      1, 0, 0;
  camera_from_parent.translation() = Eigen::Vector3f(0, 0, 10);
  const CameraView view(simpleCamera({-0.5}), poseOf(camera_from_parent));
  const auto status_of = [&view](double ahead, double down, double right) {
    Pixel pixel;
    const PointStatus status = view.project({ahead - 10, down, -right}, &pixel);
    EXPECT_NE(hasAnswer(status), pixel.hasNaN());
    return status;
  };
  EXPECT_EQ(status_of(10, 0, 0), PointStatus::kOk);
  EXPECT_EQ(status_of(-1, 0, 0), PointStatus::kBehindCamera);
  EXPECT_EQ(status_of(0, 0, 0), PointStatus::kBehindCamera);
  // Half of the picture is 0.64 focal lengths wide and 0.48 high; the lens folds at r = 0.8165,
  // which it images 0.544 from the axis.
  EXPECT_EQ(status_of(1, 0.8, 0), PointStatus::kOutsideImage);
  EXPECT_EQ(status_of(1, 0, 0.8), PointStatus::kOk);
  EXPECT_EQ(status_of(1, 0, 0.82), PointStatus::kBeyondLens);
  EXPECT_EQ(status_of(1, kNaN, 0), PointStatus::kNotFinite);
  EXPECT_EQ(status_of(1, 0, kInfinity), PointStatus::kNotFinite);
  EXPECT_EQ(status_of(kInfinity, 0, 0), PointStatus::kNotFinite);  // on the optical axis
}

TEST(CameraView, NumbersThatAreNoneGiveNoPixel) {
  CameraModel no_number = simpleCamera();
  no_number.cx = kNaN;
  CameraTransform no_pose = atOrigin();
  no_pose.transform(1, 3) = std::nanf("");
  for (const CameraView& view :
       {CameraView(no_number, atOrigin()), CameraView(simpleCamera(), no_pose)}) {
    Pixel pixel;
    ViewJacobian jacobian;
    EXPECT_EQ(view.project({0, 0, 1}, &pixel, &jacobian), PointStatus::kNotFinite);
    EXPECT_TRUE(pixel.array().isNaN().all());
    EXPECT_TRUE(jacobian.point.array().isNaN().all());
    EXPECT_TRUE(jacobian.pose.array().isNaN().all());
    EXPECT_TRUE(jacobian.intrinsics.array().isNaN().all());
    Ray ray;
    EXPECT_EQ(view.rayAt({320, 240}, &ray), PointStatus::kNotFinite);
    EXPECT_TRUE(ray.origin.array().isNaN().all());
    EXPECT_TRUE(ray.direction.array().isNaN().all());
  }
  // The camera frame knows no pose.
  Pixel ray;
  EXPECT_EQ(CameraView(simpleCamera(), no_pose).rectify({320, 240}, &ray), PointStatus::kOk);
}

// -------------------------------------------------------------------------------- derivatives

/// A view with a point that it sees.
struct SeenPoint {
  CameraView view;
  Point point;
};

SeenPoint randomSeenPoint(const NamedLens& lens, std::mt19937* random) {
  for (;;) {
    const CameraView view(randomCamera(lens, random), randomPose(random));
    const Point point = randomPoint(view, random);
    const Point in_camera = poseInDouble(view) * point;
    // Not near the end of the branch, where no difference is small.
    if ((in_camera.head<2>() / in_camera.z()).norm() > 0.8 * lens.radius) continue;
    Pixel pixel;
    if (view.project(point, &pixel) == PointStatus::kOk) return {view, point};
  }
}

/// exp(xi): the rotation and translation of the group, of small xi to second order.
Eigen::Isometry3d motion(int axis, double amount) {
  Eigen::Isometry3d m = Eigen::Isometry3d::Identity();
  if (axis < 3) {
    m.translation()[axis] = amount;
  } else {
    m.linear() = Eigen::AngleAxisd(amount, Eigen::Vector3d::Unit(axis - 3)).toRotationMatrix();
  }
  return m;
}

TEST_P(EachLens, DerivativesAreThoseOfDifferences) {
  std::mt19937 random(5);
  for (int i = 0; i < 50; ++i) {
    const auto [view, point] = randomSeenPoint(GetParam(), &random);
    Pixel pixel;
    ViewJacobian jacobian;
    ASSERT_EQ(view.project(point, &pixel, &jacobian), PointStatus::kOk);
    const Point p = point;
    const CameraView& v = view;
    for (int row = 0; row < 2; ++row) {
      const auto expect_near = [](double value, double expected) {
        // The differences miss by at most 2.4e-7.
        EXPECT_LE(std::abs(value - expected), 1e-6 * (1 + std::abs(expected)));
      };
      for (int axis = 0; axis < 3; ++axis) {
        const auto by_point = [&](double at) {
          Point moved = p;
          moved[axis] = at;
          Pixel out;
          v.project(moved, &out);
          return out[row];
        };
        expect_near(jacobian.point(row, axis), numericDerivative(by_point, p[axis]));
      }
      for (int axis = 0; axis < 6; ++axis) {
        const auto by_pose = [&](double amount) {
          Pixel out;
          projectPoint(v.model(), motion(axis, amount) * (poseInDouble(v) * p), &out);
          return out[row];
        };
        expect_near(jacobian.pose(row, axis), numericDerivative(by_pose, 0.0));
      }
    }
  }
}

TEST_P(EachLens, DerivativesByTheIntrinsicsAreThoseOfTheCamera) {
  std::mt19937 random(6);
  for (int i = 0; i < 50; ++i) {
    const auto [view, point] = randomSeenPoint(GetParam(), &random);
    Pixel pixel;
    Pixel same;
    ViewJacobian jacobian;
    ProjectionJacobian expected;
    view.project(point, &pixel, &jacobian);
    projectPoint(view.model(), poseInDouble(view) * point, &same, &expected);
    EXPECT_LE((jacobian.intrinsics - expected.intrinsics).norm(),
              1e-12 * (1 + expected.intrinsics.norm()));
  }
}

}  // namespace
}  // namespace norv::calibration

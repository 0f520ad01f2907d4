// A camera at one picture size: what it is, and where it sees points.

#include "calibration_common/camera_view.h"

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/camera_projection.h"
#include "testing/allocation_count.h"
#include "testing/lenses.h"
#include "testing/numeric_derivative.h"
#include "testing/random_camera.h"
#include "testing/same_bits.h"

namespace norv::calibration {
namespace {

using testing::bitsOf;
using testing::kLenses;
using testing::lensNamed;
using testing::NamedLens;
using testing::numericDerivative;
using testing::poseOf;
using testing::randomCamera;
using testing::randomPose;
using testing::sameBits;
using testing::uniform;
using testing::widen;
using Pixel = Eigen::Vector2d;
using Point = Eigen::Vector3d;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

CameraTransform atOrigin() { return poseOf(Eigen::Isometry3f::Identity()); }

/// 640 x 480, f = 500, the axis in the middle.
CameraModel simpleCamera(const LensDistortion<double>& lens = {}) {
  return {640, 480, 500, 500, 0, 320, 240, lens};
}

/// The pose as it is computed with: in double, from the numbers in single precision.
Eigen::Affine3d poseInDouble(const CameraView& view) {
  return Eigen::Affine3d(Eigen::Matrix4d(view.pose().transform.cast<double>()));
}

/// A point of the parent frame that is seen somewhere about the picture.
Point randomPoint(const CameraView& view, std::mt19937* random) {
  const double depth = std::exp(uniform(-2, 4, random));
  const Point in_camera(depth * uniform(-1, 1, random), depth * uniform(-1, 1, random), depth);
  return poseInDouble(view).inverse() * in_camera;
}

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

class EachLens : public ::testing::TestWithParam<NamedLens> {};
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

// --------------------------------------------------------------------------------------- rays

TEST_P(EachLens, RectifiesToTheBitsOfTheFreeFunction) {
  std::mt19937 random(7);
  for (int i = 0; i < 300; ++i) {
    const CameraView view(randomCamera(GetParam(), &random), randomPose(&random));
    const Pixel pixel(uniform(-100, 1400, &random), uniform(-100, 1100, &random));
    Pixel point;
    Pixel expected;
    RectificationJacobian jacobian;
    RectificationJacobian expected_jacobian;
    EXPECT_EQ(view.rectify(pixel, &point, &jacobian),
              rectifyPixel(view.model(), pixel, &expected, &expected_jacobian));
    EXPECT_TRUE(sameBits(point, expected));
    EXPECT_TRUE(sameBits(jacobian.pixel, expected_jacobian.pixel));
    EXPECT_TRUE(sameBits(jacobian.intrinsics, expected_jacobian.intrinsics));
  }
}

TEST_P(EachLens, PointsOfARayAreSeenAtItsPixel) {
  std::mt19937 random(8);
  int answered = 0;
  for (int i = 0; i < 500; ++i) {
    const CameraView view(randomCamera(GetParam(), &random), randomPose(&random));
    const Pixel pixel(uniform(0, view.width(), &random), uniform(0, view.height(), &random));
    Ray ray;
    if (!hasAnswer(view.rayAt(pixel, &ray))) continue;
    ++answered;
    EXPECT_NEAR(ray.direction.norm(), 1, 1e-15);
    EXPECT_LE((ray.origin - view.pose().getCameraCenter().cast<double>()).norm(), 1e-5);
    Pixel again;
    const double distance = uniform(0.5, 50, &random);
    EXPECT_EQ(view.project(ray.origin + distance * ray.direction, &again), PointStatus::kOk);
    // 1e-9 for every 1000 pixels of focal length and for r_d; here below 3000 and 3.
    EXPECT_LE((again - pixel).norm(), 1e-8);
  }
  EXPECT_GT(answered, 100);
}

TEST(CameraView, SaysWhyAPixelHasNoRay) {
  const CameraView view(simpleCamera({-0.5}), atOrigin());
  const auto status_of = [&view](double u, double v) {
    Ray ray;
    const PointStatus status = view.rayAt({u, v}, &ray);
    EXPECT_NE(hasAnswer(status), ray.direction.hasNaN());
    return status;
  };
  EXPECT_EQ(status_of(320, 240), PointStatus::kOk);
  EXPECT_EQ(status_of(320, 480.5), PointStatus::kOutsideImage);
  EXPECT_EQ(status_of(320 - 273, 240), PointStatus::kBeyondLens);  // 272.2 is the last
  EXPECT_EQ(status_of(320 - 272, 240), PointStatus::kOk);
  EXPECT_EQ(status_of(kNaN, 240), PointStatus::kNotFinite);
  const CameraTransform singular;
  Ray ray;
  EXPECT_EQ(CameraView(simpleCamera(), singular).rayAt({1, 1}, &ray), PointStatus::kNotFinite);
}

// ------------------------------------------------------------------------------- fields of view

TEST(FieldsOfView, OfAPinholeCamera) {
  const CameraView view({640, 480, 500, 400, 0, 320, 240, {}}, atOrigin());
  const FieldsOfView fields = view.fieldsOfView();
  EXPECT_NEAR(fields.horizontal, 2 * std::atan(320 / 500.0), 1e-12);
  EXPECT_NEAR(fields.vertical, 2 * std::atan(240 / 400.0), 1e-12);
  EXPECT_NEAR(fields.diagonal, 2 * std::atan(std::hypot(320 / 500.0, 240 / 400.0)), 1e-12);
}

TEST(FieldsOfView, CountTheDistanceOfTheAxisFromTheMiddle) {
  const CameraView view({640, 480, 500, 500, 0, 300, 240, {}}, atOrigin());
  EXPECT_NEAR(view.fieldsOfView().horizontal, std::atan(0.6) + std::atan(0.68), 1e-12);
}

TEST(FieldsOfView, AreThoseOfTheLensAndNaNWhereItEnds) {
  // r - r^3 / 2 = 0.5 at r = 0.6180..., the golden ratio less one: r^3 - 2 r + 1 = 0.
  const double r = (std::sqrt(5) - 1) / 2;
  const CameraView view({500, 250, 500, 500, 0, 250, 125, {-0.5}}, atOrigin());
  EXPECT_NEAR(view.fieldsOfView().horizontal, 2 * std::atan(r), 1e-12);
  EXPECT_TRUE(std::isnan(view.fieldsOfView().diagonal));  // 0.559 focal lengths; the end is 0.544
}

// -------------------------------------------------------------------------------------- batches

TEST_P(EachLens, BatchesAreTheSingleAnswersToTheBit) {
  std::mt19937 random(9);
  const CameraView view(randomCamera(GetParam(), &random), randomPose(&random));
  constexpr std::size_t kCount = 3001;
  std::vector<double> points(4 * kCount);  // one element between each two points
  for (std::size_t i = 0; i < kCount; ++i) {
    Point point = randomPoint(view, &random);
    if (i % 50 == 0) point *= -1;
    if (i % 70 == 0) point.y() = kNaN;
    Point::Map(&points[4 * i]) = point;
  }
  for (const int threads : {1, 2, 0}) {
    std::vector<double> pixels(2 * kCount);
    std::vector<PointStatus> statuses(kCount);
    std::vector<ViewJacobian> jacobians(kCount);
    const std::size_t not_ok =
        view.projectPoints({points.data(), 4}, kCount, {pixels.data(), 1, kCount},
                           {statuses.data(), jacobians.data()}, threads);
    std::vector<double> in_place = points;
    std::vector<PointStatus> statuses_alone(kCount);
    EXPECT_EQ(view.projectPoints({in_place.data(), 4}, kCount, {in_place.data(), 4},
                                 {statuses_alone.data(), nullptr}, threads),
              not_ok);
    std::size_t counted = 0;
    for (std::size_t i = 0; i < kCount; ++i) {
      Pixel pixel;
      ViewJacobian jacobian;
      const PointStatus status = view.project(Point::Map(&points[4 * i]), &pixel, &jacobian);
      counted += status == PointStatus::kOk ? 0 : 1;
      ASSERT_EQ(statuses[i], status);
      ASSERT_EQ(statuses_alone[i], status);
      ASSERT_TRUE(sameBits(pixel, Pixel(pixels[i], pixels[kCount + i])));
      ASSERT_TRUE(sameBits(pixel, Pixel(Pixel::Map(&in_place[4 * i]))));
      ASSERT_TRUE(sameBits(jacobian.point, jacobians[i].point));
      ASSERT_TRUE(sameBits(jacobian.pose, jacobians[i].pose));
      ASSERT_TRUE(sameBits(jacobian.intrinsics, jacobians[i].intrinsics));
    }
    EXPECT_EQ(not_ok, counted);
  }
}

TEST(CameraView, BatchWithDerivativesMayTakeThePlaceOfItsPoints) {
  std::mt19937 random(10);
  const CameraView view(randomCamera(lensNamed("barrel"), &random), randomPose(&random));
  std::vector<double> points(3 * 100);
  for (std::size_t i = 0; i < 100; ++i) Point::Map(&points[3 * i]) = randomPoint(view, &random);
  std::vector<double> in_place = points;
  std::vector<ViewJacobian> jacobians(100);
  view.projectPoints({in_place.data(), 3}, 100, {in_place.data(), 3}, {nullptr, jacobians.data()});
  for (std::size_t i = 0; i < 100; ++i) {
    Pixel pixel;
    ViewJacobian jacobian;
    view.project(Point::Map(&points[3 * i]), &pixel, &jacobian);
    EXPECT_TRUE(sameBits(pixel, Pixel(Pixel::Map(&in_place[3 * i]))));
    EXPECT_TRUE(sameBits(jacobian.pose, jacobians[i].pose));
  }
}

TEST_P(EachLens, RectifiedBatchesAreTheSingleAnswersToTheBit) {
  std::mt19937 random(11);
  const CameraView view(randomCamera(GetParam(), &random), randomPose(&random));
  constexpr std::size_t kCount = 1001;
  std::vector<double> pixels(2 * kCount);
  for (double& coordinate : pixels) coordinate = uniform(-100, 1400, &random);
  std::vector<double> rays(2 * kCount);
  std::vector<PointStatus> statuses(kCount);
  std::vector<RectificationJacobian> jacobians(kCount);
  view.rectifyPoints({pixels.data(), 2}, kCount, {rays.data(), 2},
                     {statuses.data(), jacobians.data()});
  for (std::size_t i = 0; i < kCount; ++i) {
    Pixel ray;
    RectificationJacobian jacobian;
    ASSERT_EQ(view.rectify(Pixel::Map(&pixels[2 * i]), &ray, &jacobian), statuses[i]);
    ASSERT_TRUE(sameBits(ray, Pixel(Pixel::Map(&rays[2 * i]))));
    ASSERT_TRUE(sameBits(jacobian.pixel, jacobians[i].pixel));
    ASSERT_TRUE(sameBits(jacobian.intrinsics, jacobians[i].intrinsics));
  }
}

TEST(CameraView, AnswersSeveralThreadsAtOnce) {
  std::mt19937 random(13);
  const CameraView view(randomCamera(lensNamed("tangential"), &random), randomPose(&random));
  std::vector<Point> points;
  for (int i = 0; i < 2000; ++i) points.push_back(randomPoint(view, &random));
  const auto answers = [&points](const CameraView& asked) {
    std::vector<double> all;
    for (const Point& point : points) {
      Pixel pixel;
      Ray ray;
      all.push_back(hasAnswer(asked.project(point, &pixel)) ? pixel.x() : 0);
      all.push_back(hasAnswer(asked.rayAt({point.x() * 100, 200}, &ray)) ? ray.direction.x() : 0);
    }
    return all;
  };
  std::vector<double> there;
  std::thread other([&] { there = answers(CameraView(view)); });
  const std::vector<double> here = answers(view);
  other.join();
  EXPECT_EQ(here, there);
}

TEST(CameraView, PointsAllocateNothing) {
  std::mt19937 random(12);
  const CameraView view(randomCamera(lensNamed("tangential"), &random), randomPose(&random));
  std::vector<double> points(3 * 500);
  for (std::size_t i = 0; i < 500; ++i) Point::Map(&points[3 * i]) = randomPoint(view, &random);
  std::vector<double> pixels(2 * 500);
  std::vector<ViewJacobian> jacobians(500);
  const int before = testing::allocationCount();
  for (std::size_t i = 0; i < 500; ++i) {
    const Pixel at(3.0 * static_cast<double>(i), 2.0 * static_cast<double>(i));
    Pixel pixel;
    Ray ray;
    ViewJacobian jacobian;
    view.project(Point::Map(&points[3 * i]), &pixel, &jacobian);
    view.rayAt(at, &ray);
    view.rectify(at, &pixel);
  }
  view.projectPoints({points.data(), 3}, 500, {pixels.data(), 2}, {nullptr, jacobians.data()});
  const CameraView copy = view;  // NOLINT(performance-unnecessary-copy-initialization): counted
  EXPECT_EQ(testing::allocationCount(), before);
}

}  // namespace
}  // namespace norv::calibration

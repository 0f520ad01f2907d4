// A camera at one picture size: the rays of its pixels, its fields of view, and many points at
// once.

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <random>
#include <thread>
#include <vector>

#include "testing/allocation_count.h"
#include "testing/lenses.h"
#include "testing/random_camera.h"
#include "testing/same_bits.h"
#include "tests/calibration_common/camera_view_example.h"

namespace norv::calibration {
namespace {

using testing::lensNamed;
using testing::randomCamera;
using testing::randomPose;
using testing::sameBits;
using testing::uniform;

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

// Views that are turned, placed or kept from the border, their natural sizes, and what has none.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/lens_validity.h"
#include "support/rectified_view.h"
#include "testing/lenses.h"
#include "tests/support/view_fit_example.h"

namespace norv::calibration {
namespace {

TEST(FitView, TurnedAboutItsAxis) {
  // A square picture without lens, turned by 45 degrees: the view inside has half the diagonal.
  const CameraModel camera{800, 800, 500, 500, 0, 400, 400, {}};
  ViewOptions options;
  options.view_from_camera = turned(45, {0, 0, 1});
  const auto inside = fitView(camera, 800, 800, 0.0, options);
  const auto around = fitView(camera, 800, 800, 1.0, options);
  ASSERT_TRUE(inside && around);
  EXPECT_NEAR(inside->fx, 500 * std::sqrt(2), 1e-3);
  EXPECT_NEAR(inside->cx, 400, 0.1);
  EXPECT_NEAR(around->fx, 500 / std::sqrt(2), 1e-9);
  // By a right angle, at the size of the other format: the camera itself, turned.
  const CameraModel wide{800, 600, 500, 500, 0, 390, 320, {}};
  options.view_from_camera = turned(90, {0, 0, 1});
  for (const double alpha : {0.0, 0.5, 1.0}) {
    const auto turned_view = fitView(wide, 600, 800, alpha, options);
    ASSERT_TRUE(turned_view);
    expectIsCamera(*turned_view, {600, 800, 500, 500, 0, 600 - 320, 390, {}});
  }
}

TEST(FitView, BehindTheCameraThereIsNone) {
  const CameraModel camera{800, 600, 700, 700, 0, 400, 300, {-0.1}};
  ViewOptions options;
  for (const double degrees : {130.0, 180.0, -140.0}) {
    options.view_from_camera = turned(degrees, {0, 1, 0});
    EXPECT_FALSE(fitView(camera, 800, 600, 0.0, options)) << degrees;
    EXPECT_FALSE(fitView(camera, 800, 600, 1.0, options)) << degrees;
  }
  // A part of the picture is in front of the view.
  options.view_from_camera = turned(75, {0, 1, 0});
  const auto valid = fitView(camera, 80, 60, 0.0, options);
  ASSERT_TRUE(valid);
  EXPECT_EQ(countOutside(camera, *valid, pixelCentres(*valid)), 0U);
  EXPECT_FALSE(fitView(camera, 80, 60, 1.0, options));
}

TEST(FitView, AMirroredCameraHasAMirroredView) {
  // x and u change their sign together, and with them p2.
  const CameraModel camera{800, 600, 500, 510, 20, 390, 310, {-0.2, 0.02, 0.003, 0.004}};
  CameraModel mirrored = camera;
  mirrored.fx = -camera.fx;
  mirrored.lens.p2 = -camera.lens.p2;
  for (const double alpha : {0.0, 0.5, 1.0}) {
    const auto view = fitView(camera, 640, 360, alpha);
    const auto mirrored_view = fitView(mirrored, 640, 360, alpha);
    ASSERT_TRUE(view && mirrored_view);
    EXPECT_NEAR(mirrored_view->fx, -view->fx, 1e-9);
    EXPECT_NEAR(mirrored_view->fy, view->fy, 1e-9);
    EXPECT_NEAR(mirrored_view->cx, view->cx, 1e-9);
    EXPECT_NEAR(mirrored_view->cy, view->cy, 1e-9);
  }
}

TEST(FitView, PlacesTheAxis) {
  const CameraModel camera{800, 600, 500, 510, 0, 350, 330, {-0.2, 0.02, 0.003, 0.004}};
  for (const double alpha : {0.0, 0.5, 1.0}) {
    ViewOptions options;
    const auto free = fitView(camera, 640, 360, alpha, options);
    options.centre = ViewCentre::kMiddle;
    const auto middle = fitView(camera, 640, 360, alpha, options);
    options.centre = ViewCentre::kKept;
    const auto kept = fitView(camera, 640, 360, alpha, options);
    ASSERT_TRUE(free && middle && kept);
    EXPECT_DOUBLE_EQ(middle->cx, 320);
    EXPECT_DOUBLE_EQ(middle->cy, 180);
    EXPECT_NEAR(kept->cx, 350 * 0.8, 1e-9);
    EXPECT_NEAR(kept->cy, 330 * 0.6, 1e-9);
    // Freedom gives a larger picture of valid pixels, and needs a smaller one for all of them.
    if (alpha == 1) {
      EXPECT_GT(free->fx, std::max(middle->fx, kept->fx) * (1 + 1e-3));
    }
    if (alpha != 0) continue;
    EXPECT_LT(free->fx, std::min(middle->fx, kept->fx) * (1 - 1e-3));
    for (const auto& view : {*middle, *kept}) {
      EXPECT_EQ(countOutside(camera, view, pixelCentres(view)), 0U);
      const auto binds = sidesThatBind(camera, view, 1e-3);
      EXPECT_TRUE(binds[0] || binds[1] || binds[2] || binds[3]);
    }
  }
}

TEST(FitView, KeepsAMargin) {
  Random random(1109);
  for (int trial = 0; trial < 50; ++trial) {
    const CameraModel camera = randomRegularCamera(&random);
    for (const double margin : {0.5, 7.0}) {
      ViewOptions options;
      options.margin = margin;
      const auto view = fitView(camera, 80, 60, 0.0, options);
      ASSERT_TRUE(view);
      EXPECT_EQ(countOutside(camera, *view, pixelCentres(*view), margin), 0U);
    }
  }
  const CameraModel pinhole{1280, 960, 600, 600, 0, 640, 480, {}};
  ViewOptions options;
  options.margin = 0.5;
  const auto view = fitView(pinhole, 1280, 960, 0.0, options);
  ASSERT_TRUE(view);
  // 959 of 960 rows.
  EXPECT_NEAR(view->fx, 600 * 960 / 959.0, 1e-9);
  options.margin = 480;
  EXPECT_FALSE(fitView(pinhole, 1280, 960, 0.0, options));
}

TEST(FitView, OfLensesOfEachKind) {
  for (const testing::NamedLens& named : testing::kLenses) {
    SCOPED_TRACE(named.name);
    const CameraModel camera{640, 480, 320, 320, 0, 315, 243, named.lens()};
    const auto view = fitView(camera, 320, 240, ViewFit::kValidOnly);
    ASSERT_TRUE(view);
    EXPECT_EQ(countOutside(camera, *view, pixelCentres(*view)), 0U);
    EXPECT_EQ(fitView(camera, 320, 240, ViewFit::kWholeImage).has_value(),
              std::isinf(coverage(camera).nearest_without_ray));
  }
}

TEST(NaturalViewSize, KeepsTheFocalLengths) {
  Random random(1110);
  for (int trial = 0; trial < 100; ++trial) {
    CameraModel camera = randomRegularCamera(&random);
    camera.skew = 0;
    const auto inside = naturalViewSize(camera, 0);
    ASSERT_TRUE(inside);
    const auto valid = fitView(camera, inside->width, inside->height, 0.0);
    ASSERT_TRUE(valid);
    // A pixel less, at most.
    EXPECT_LT(std::abs(valid->fx), std::abs(camera.fx) * (1 + 1e-6)) << trial;
    const auto whole_size = naturalViewSize(camera, 1);
    ASSERT_TRUE(whole_size);
    const auto whole = fitView(camera, whole_size->width, whole_size->height, 1.0);
    ASSERT_TRUE(whole);
    EXPECT_GE(whole->fx / camera.fx, 1 - 1e-9);
    EXPECT_LE(whole->fx / camera.fx, 1 + 1.0 / std::min(whole_size->width, whole_size->height));
    const auto between = naturalViewSize(camera, 0.5);
    ASSERT_TRUE(between);
    EXPECT_NEAR(between->width, 0.5 * (inside->width + whole_size->width), 1);
    EXPECT_NEAR(between->height, 0.5 * (inside->height + whole_size->height), 1);
  }
}

TEST(FitView, NoneOfWhatIsNoCameraOrNoView) {
  const CameraModel good{640, 480, 500, 500, 0, 320, 240, {-0.1}};
  const auto hasView = [&](const CameraModel& camera, int width, int height, double alpha,
                           const ViewOptions& options = {}) {
    return fitView(camera, width, height, alpha, options).has_value();
  };
  EXPECT_TRUE(hasView(good, 640, 480, 0));
  for (const double alpha : {-1e-9, 1.0000001, kNaN, kInfinity}) {
    EXPECT_FALSE(hasView(good, 640, 480, alpha)) << alpha;
    EXPECT_FALSE(naturalViewSize(good, alpha)) << alpha;
  }
  EXPECT_FALSE(hasView(good, 0, 480, 0));
  EXPECT_FALSE(hasView(good, 640, -1, 1));
  for (double CameraModel::*number : {&CameraModel::fx, &CameraModel::fy, &CameraModel::skew,
                                      &CameraModel::cx, &CameraModel::cy}) {
    for (const double value : {kNaN, kInfinity, 1e39}) {
      CameraModel camera = good;
      camera.*number = value;
      EXPECT_FALSE(hasView(camera, 640, 480, 0));
      EXPECT_FALSE(hasView(camera, 640, 480, 1));
      EXPECT_FALSE(naturalViewSize(camera, 0));
    }
  }
  CameraModel flat = good;
  flat.fx = 0;
  EXPECT_FALSE(hasView(flat, 640, 480, 0));
  CameraModel empty = good;
  empty.width = 0;
  EXPECT_FALSE(hasView(empty, 640, 480, 0));
  EXPECT_FALSE(naturalViewSize({}, 0));
  ViewOptions options;
  for (const double aspect : {0.0, -1.0, kNaN, kInfinity}) {
    options.aspect = aspect;
    EXPECT_FALSE(hasView(good, 640, 480, 0, options)) << aspect;
  }
  options = {};
  for (const double margin : {-0.1, kNaN, kInfinity}) {
    options.margin = margin;
    EXPECT_FALSE(hasView(good, 640, 480, 0, options)) << margin;
  }
  options = {};
  options.view_from_camera(0, 0) = -1;
  EXPECT_FALSE(hasView(good, 640, 480, 0, options));
  options.view_from_camera.setConstant(kNaN);
  EXPECT_FALSE(hasView(good, 640, 480, 0, options));
}

TEST(FitView, OfTheOddestCamerasEnds) {
  constexpr double kMost = 3.4e38;
  for (const double f : {1e-300, 1e-38, 1.0, kMost}) {
    for (const double k : {-kMost, -1.0, 0.0, kMost}) {
      for (const double alpha : {0.0, 0.5, 1.0}) {
        const CameraModel camera{7, 5, f, -f, 0, 3, 2, {k, -k, k, -k, k, -k, k, k}};
        const auto view = fitView(camera, 6, 4, alpha);
        EXPECT_TRUE(!view || (std::isfinite(view->fx) && std::isfinite(view->cy)));
        naturalViewSize(camera, alpha);
      }
    }
  }
}

}  // namespace
}  // namespace norv::calibration

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <random>
#include <vector>

#include "support/lens_validity.h"
#include "support/point_projection.h"
#include "support/rectified_view.h"
#include "testing/lenses.h"
#include "testing/sanitized.h"

namespace norv::calibration {
namespace {

using Eigen::Vector2d;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// A rectangle of a view, in its pixels.
struct Box {
  double left, top, right, bottom;
};

class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}
  double uniform(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(engine_);
  }
  bool chance(double share) { return std::bernoulli_distribution(share)(engine_); }

 private:
  std::mt19937_64 engine_;
};

Eigen::Matrix3d turned(double degrees, const Eigen::Vector3d& axis) {
  return Eigen::AngleAxisd(degrees * std::acos(-1.0) / 180, axis.normalized()).toRotationMatrix();
}

/// Polynomial, rational and moustache lenses, some decentred, of which all of the image is imaged.
CameraModel randomRegularCamera(Random* random) {
  for (;;) {
    CameraModel camera;
    camera.width = static_cast<int>(random->uniform(80, 400));
    camera.height = static_cast<int>(random->uniform(80, 400));
    const double f = random->uniform(0.35, 1.5) * std::max(camera.width, camera.height);
    camera.fx = f * random->uniform(0.9, 1.1) * (random->chance(0.1) ? -1 : 1);
    camera.fy = f * random->uniform(0.9, 1.1) * (random->chance(0.1) ? -1 : 1);
    camera.cx = camera.width * random->uniform(0.4, 0.6);
    camera.cy = camera.height * random->uniform(0.4, 0.6);
    if (random->chance(0.3)) camera.skew = f * random->uniform(-0.05, 0.05);
    LensDistortion<double>& lens = camera.lens;
    lens.k1 = random->uniform(-0.4, 0.3);
    lens.k2 = random->uniform(-0.1, 0.2);
    if (random->chance(0.5)) lens.k3 = random->uniform(-0.05, 0.1);
    if (random->chance(0.3)) lens.k4 = random->uniform(-0.1, 0.5);
    if (random->chance(0.3)) lens.k5 = random->uniform(-0.05, 0.1);
    if (random->chance(0.5)) lens.p1 = random->uniform(-0.02, 0.02);
    if (random->chance(0.5)) lens.p2 = random->uniform(-0.02, 0.02);
    if (coverage(camera).share == 1 && fitView(camera, 10, 10, 1.0)) return camera;
  }
}

/// How many of the view's points are not imaged in the picture, `margin` pixels from its border.
std::size_t countOutside(const CameraModel& camera, const RectifiedView& view,
                         const std::vector<Vector2d>& points, double margin = 0) {
  std::vector<Eigen::Vector3d> rays;
  for (const Vector2d& p : points) {
    rays.push_back(view.view_from_camera.transpose() *
                   Eigen::Vector3d((p.x() - view.cx) / view.fx, (p.y() - view.cy) / view.fy, 1));
  }
  std::vector<Vector2d> pixels(points.size());
  std::vector<PointStatus> statuses(points.size());
  projectPoints(camera, {rays.data()->data(), 3}, points.size(), {pixels.data()->data(), 2},
                {statuses.data(), nullptr});
  std::size_t outside = 0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const Vector2d& pixel = pixels[i];
    const bool is_inside = statuses[i] == PointStatus::kOk && pixel.x() >= margin &&
                           pixel.y() >= margin && pixel.x() <= camera.width - margin &&
                           pixel.y() <= camera.height - margin;
    outside += is_inside ? 0 : 1;
  }
  return outside;
}

std::vector<Vector2d> pixelCentres(const RectifiedView& view) {
  std::vector<Vector2d> centres;
  for (int j = 0; j < view.height; ++j) {
    for (int i = 0; i < view.width; ++i) centres.emplace_back(i + 0.5, j + 0.5);
  }
  return centres;
}

Box wholeOf(const RectifiedView& view) {
  return {0, 0, static_cast<double>(view.width), static_cast<double>(view.height)};
}

std::vector<Vector2d> line(const Vector2d& begin, const Vector2d& end, int count) {
  std::vector<Vector2d> points;
  for (int i = 0; i <= count; ++i) points.push_back(begin + (end - begin) * i / count);
  return points;
}

/// Left, right, upper and lower side.
std::array<std::vector<Vector2d>, 4> sidesOf(const Box& box, int count) {
  const Vector2d a(box.left, box.top);
  const Vector2d b(box.right, box.top);
  const Vector2d c(box.left, box.bottom);
  const Vector2d d(box.right, box.bottom);
  return {line(a, c, count), line(b, d, count), line(a, b, count), line(c, d, count)};
}

/// Whether pixels outside of the picture appear on each side of the view that is moved out by
/// `share` of the view's size.
std::array<bool, 4> sidesThatBind(const CameraModel& camera, const RectifiedView& view,
                                  double share) {
  const double x = share * view.width;
  const double y = share * view.height;
  std::array<bool, 4> binds{};
  for (std::size_t side = 0; side < 4; ++side) {
    Box box = wholeOf(view);
    if (side == 0) box.left -= x;
    if (side == 1) box.right += x;
    if (side == 2) box.top -= y;
    if (side == 3) box.bottom += y;
    binds[side] = countOutside(camera, view, sidesOf(box, 4000)[side]) > 0;
  }
  return binds;
}

/// Whether all of a rectangle of the view is imaged in the picture.
bool showsPictureOnly(const CameraModel& camera, const RectifiedView& view, const Box& box) {
  std::vector<Vector2d> points;
  for (const auto& side : sidesOf(box, 200)) points.insert(points.end(), side.begin(), side.end());
  return countOutside(camera, view, points) == 0;
}

/// Where the ray (x, y, 1) of the camera, which is in front of the view, lies in it.
Vector2d placeInView(const RectifiedView& view, const Vector2d& ray) {
  const Eigen::Vector3d seen = view.view_from_camera * Eigen::Vector3d(ray.x(), ray.y(), 1);
  return {view.fx * seen.x() / seen.z() + view.cx, view.fy * seen.y() / seen.z() + view.cy};
}

/// Where the camera's border lies in the view, `count` + 1 points a side; empty where some of it is
/// not seen.
std::vector<Vector2d> borderInView(const CameraModel& camera, const RectifiedView& view,
                                   int count) {
  const Box border{0, 0, static_cast<double>(camera.width), static_cast<double>(camera.height)};
  std::vector<Vector2d> result;
  for (const auto& side : sidesOf(border, count)) {
    for (const Vector2d& pixel : side) {
      Vector2d ray;
      rectifyPixel(camera, pixel, &ray);
      const Eigen::Vector3d seen = view.view_from_camera * Eigen::Vector3d(ray.x(), ray.y(), 1);
      if (!(seen.z() > 0)) return {};
      result.push_back(placeInView(view, ray));
    }
  }
  return result;
}

Box boxAround(const std::vector<Vector2d>& points) {
  Box box{kInfinity, kInfinity, -kInfinity, -kInfinity};
  for (const Vector2d& p : points) {
    box.left = std::min(box.left, p.x());
    box.right = std::max(box.right, p.x());
    box.top = std::min(box.top, p.y());
    box.bottom = std::max(box.bottom, p.y());
  }
  return box;
}

void expectIsCamera(const RectifiedView& view, const CameraModel& camera) {
  EXPECT_NEAR(view.fx, camera.fx, 1e-11 * std::abs(camera.fx));
  EXPECT_NEAR(view.fy, camera.fy, 1e-11 * std::abs(camera.fy));
  // Measured: 7e-13 of 1500.
  EXPECT_NEAR(view.cx, camera.cx, 1e-9);
  EXPECT_NEAR(view.cy, camera.cy, 1e-9);
  EXPECT_EQ(view.width, camera.width);
  EXPECT_EQ(view.height, camera.height);
}

TEST(FitView, OfAPinholeCameraAtItsOwnSizeIsTheCamera) {
  for (const double sign_x : {1.0, -1.0}) {
    for (const double sign_y : {1.0, -1.0}) {
      for (const double cx : {600.0, 640.0, -50.0, 1500.0}) {
        const CameraModel camera{1280, 960, sign_x * 605, sign_y * 613, 0, cx, 500.25, {}};
        for (const double alpha : {0.0, 0.3, 1.0}) {
          SCOPED_TRACE(::testing::Message() << sign_x << sign_y << " " << cx << " " << alpha);
          const auto view = fitView(camera, 1280, 960, alpha);
          ASSERT_TRUE(view);
          expectIsCamera(*view, camera);
          ViewOptions kept;
          kept.centre = ViewCentre::kKept;
          const auto kept_view = fitView(camera, 1280, 960, alpha, kept);
          ASSERT_TRUE(kept_view);
          expectIsCamera(*kept_view, camera);
          EXPECT_EQ(naturalViewSize(camera, alpha), (PixelSize{1280, 960}));
        }
      }
    }
  }
}

TEST(FitView, OfAPinholeCameraAtOtherSizes) {
  const CameraModel camera{1280, 960, 605, 613, 0, 600, 500, {}};
  // Half as large: all halved.
  const auto half = fitView(camera, 640, 480, ViewFit::kValidOnly);
  ASSERT_TRUE(half);
  expectIsCamera(*half, {640, 480, 302.5, 306.5, 0, 300, 250, {}});
  // A wide view of valid pixels shows all columns and the middle rows, one of all pixels all rows.
  const auto inside = fitView(camera, 1280, 640, ViewFit::kValidOnly);
  ASSERT_TRUE(inside);
  expectIsCamera(*inside, {1280, 640, 605, 613, 0, 600, 340, {}});
  const auto around = fitView(camera, 1280, 640, ViewFit::kWholeImage);
  ASSERT_TRUE(around);
  const double share = 640 / 960.0;
  expectIsCamera(
      *around,
      {1280, 640, 605 * share, 613 * share, 0, 640 + (600 - 640) * share, 500 * share, {}});
  // Between the two lies, for alpha 1/4, a quarter of the way from one rectangle to the other.
  const auto between = fitView(camera, 1280, 640, 0.25);
  ASSERT_TRUE(between);
  const double scale = 0.75 + 0.25 / share;
  EXPECT_NEAR(between->fx, 605 / scale, 1e-9);
  EXPECT_NEAR(between->cx / between->fx,
              0.75 * inside->cx / inside->fx + 0.25 * around->cx / around->fx, 1e-12);
}

TEST(FitView, OfASkewedPinholeCamera) {
  // Its picture is a parallelogram of rays: each row is shifted by up to d pixels against the
  // middle of the picture's border.
  for (const double skew : {60.0, -60.0}) {
    const CameraModel camera{1000, 600, 500, 600, skew, 500, 300, {}};
    const double d = std::abs(skew) * 600 / 600;
    const auto inside = fitView(camera, 1000, 600, ViewFit::kValidOnly);
    const auto around = fitView(camera, 1000, 600, ViewFit::kWholeImage);
    ASSERT_TRUE(inside && around);
    // z rows of the height z h are shifted by z d: z w = w - z d.
    EXPECT_NEAR(inside->fx, 500 * (1 + d / 1000), 1e-9);
    EXPECT_NEAR(inside->cx, 500, 1e-9);
    EXPECT_NEAR(inside->cy, 300, 1e-9);
    EXPECT_NEAR(around->fx, 500 / (1 + d / 1000), 1e-9);
    EXPECT_NEAR(around->fy, 600 / (1 + d / 1000), 1e-9);
    EXPECT_NEAR(around->cx, 500, 1e-9);
  }
}

TEST(FitView, OfABarrelLensTouchesTheMiddlesOfTheSides) {
  const CameraModel camera{1280, 960, 800, 800, 0, 640, 480, {-0.1}};
  // The ray that is imaged at the middle of the right border: x (1 - 0.1 x^2) = 0.8.
  Vector2d ray;
  ASSERT_EQ(rectifyPixel(camera, {1280, 480}, &ray), PointStatus::kOk);
  ASSERT_NEAR(ray.x() * (1 - 0.1 * ray.x() * ray.x()), 0.8, 1e-12);
  const auto view = fitView(camera, 1280, 960, ViewFit::kValidOnly);
  ASSERT_TRUE(view);
  // The upper border is closer to the axis and gives less: it binds instead.
  Vector2d down;
  ASSERT_EQ(rectifyPixel(camera, {640, 960}, &down), PointStatus::kOk);
  // Measured: 1.3e-5 of 769, what chords may be off.
  EXPECT_NEAR(view->fx, std::max(640 / ray.x(), 480 / down.y()), 1e-4);
  EXPECT_NEAR(view->cx, 640, 1e-6);
  EXPECT_NEAR(view->cy, 480, 1e-6);
  const auto natural = naturalViewSize(camera, 0);
  ASSERT_TRUE(natural);
  EXPECT_EQ(natural->width, static_cast<int>(1600 * ray.x()));
  EXPECT_EQ(natural->height, static_cast<int>(1600 * down.y()));
}

TEST(FitView, OfAFoldingLensLiesInTheDiscOfItsBranch) {
  const CameraModel camera{1280, 960, 600, 600, 0, 640, 480, {-0.5}};
  for (const ViewCentre centre : {ViewCentre::kFree, ViewCentre::kMiddle, ViewCentre::kKept}) {
    ViewOptions options;
    options.centre = centre;
    const auto view = fitView(camera, 1280, 960, ViewFit::kValidOnly, options);
    ASSERT_TRUE(view);
    // Its corners, 800 pixels from the middle, lie at r = sqrt(2/3). Measured: 1.7e-4 of 980.
    EXPECT_NEAR(view->fx, 800 / std::sqrt(2.0 / 3), 1e-3);
    EXPECT_GE(view->fx, 800 / std::sqrt(2.0 / 3));
    EXPECT_NEAR(view->cx, 640, 0.05);
    EXPECT_NEAR(view->cy, 480, 0.05);
    EXPECT_EQ(countOutside(camera, *view, pixelCentres(*view)), 0U);
  }
  EXPECT_FALSE(fitView(camera, 1280, 960, 1e-9));
  EXPECT_FALSE(fitView(camera, 1280, 960, ViewFit::kWholeImage));
  EXPECT_FALSE(naturalViewSize(camera, 1));
  EXPECT_TRUE(naturalViewSize(camera, 0));
}

struct Aspect {
  int width;
  int height;
  std::optional<double> pixels;
};
constexpr Aspect kAspects[] = {
    {80, 60, {}}, {60, 80, {}}, {128, 40, {}}, {64, 64, 1.3}, {30, 110, 0.6}};

TEST(FitView, ValidPixelsOnlyForRandomLenses) {
  Random random(1105);
  const int trials = testing::kSanitized || !testing::kOptimised ? 100 : 1000;
  for (int trial = 0; trial < trials; ++trial) {
    const CameraModel camera = randomRegularCamera(&random);
    const Aspect& aspect = kAspects[trial % 5];
    SCOPED_TRACE(::testing::Message() << trial << ": " << aspect.width << " x " << aspect.height);
    ViewOptions options;
    options.aspect = aspect.pixels;
    const auto view = fitView(camera, aspect.width, aspect.height, 0.0, options);
    ASSERT_TRUE(view);
    EXPECT_EQ(countOutside(camera, *view, pixelCentres(*view)), 0U);
    const double ratio = aspect.pixels.value_or(std::abs(camera.fx / camera.fy));
    EXPECT_NEAR(std::abs(view->fx / view->fy), ratio, 1e-12 * ratio);
    EXPECT_EQ(view->fx > 0, camera.fx > 0);
    EXPECT_EQ(view->fy > 0, camera.fy > 0);
    // It can be made neither wider nor higher, on either side.
    const auto binds = sidesThatBind(camera, *view, 1e-4);
    EXPECT_TRUE((binds[0] && binds[1]) || (binds[2] && binds[3]));
  }
}

TEST(FitView, NoLargerViewIsValid) {
  Random random(1106);
  int tried = 0;
  for (int trial = 0; trial < 200; ++trial) {
    const CameraModel camera = randomRegularCamera(&random);
    ViewOptions options;
    if (trial % 2 == 1) {
      const Eigen::Vector3d axis(random.uniform(-1, 1), random.uniform(-1, 1),
                                 random.uniform(-3, 3));
      options.view_from_camera = turned(random.uniform(5, 30), axis);
    }
    const auto view = fitView(camera, 80, 60, 0.0, options);
    ASSERT_TRUE(view) << trial;
    Vector2d middle;
    ASSERT_TRUE(
        hasAnswer(rectifyPixel(camera, {0.5 * camera.width, 0.5 * camera.height}, &middle)));
    const Vector2d shown = placeInView(*view, middle);
    // Any other place that shows the middle of the picture, where it would be 0.6 % larger.
    for (int i = 0; i < 200; ++i) {
      const double x = random.uniform(-40, 40);
      const double y = random.uniform(-30, 30);
      const Box other{x, y, x + 80.48, y + 60.36};
      const bool shows_middle = shown.x() >= other.left && shown.x() <= other.right &&
                                shown.y() >= other.top && shown.y() <= other.bottom;
      tried += shows_middle ? 1 : 0;
      EXPECT_FALSE(shows_middle && showsPictureOnly(camera, *view, other))
          << trial << ": " << x << " " << y;
    }
  }
  EXPECT_GT(tried, 10000);
}

TEST(FitView, WholeImageForRandomLenses) {
  Random random(1107);
  for (int trial = 0; trial < 100; ++trial) {
    const CameraModel camera = randomRegularCamera(&random);
    const Aspect& aspect = kAspects[trial % 5];
    ViewOptions options;
    options.aspect = aspect.pixels;
    const auto view = fitView(camera, aspect.width * 10, aspect.height * 10, 1.0, options);
    ASSERT_TRUE(view);
    const Box box = boxAround(borderInView(camera, *view, 10000));
    // Measured: 1.4e-7 beyond.
    EXPECT_GE(box.left, -1e-6);
    EXPECT_GE(box.top, -1e-6);
    EXPECT_LE(box.right, view->width + 1e-6);
    EXPECT_LE(box.bottom, view->height + 1e-6);
    // Samples of the test may miss the extreme by a little. Measured: 6.5e-7.
    const bool fills_width = box.left < 1e-5 && box.right > view->width - 1e-5;
    const bool fills_height = box.top < 1e-5 && box.bottom > view->height - 1e-5;
    EXPECT_TRUE(fills_width || fills_height) << trial;
    EXPECT_NEAR(box.left + box.right, view->width, 2e-5);
    EXPECT_NEAR(box.top + box.bottom, view->height, 2e-5);
  }
}

TEST(FitView, OfALensThatAllButFoldsAtTheBorder) {
  // d(r_d)/dr = 1 - 0.499 s + 0.0635 s^2 falls to 0.02 at r = 1.98 and rises again; the left and
  // right border lie there, and a pixel is as wide as dozens of the middle's.
  const CameraModel camera{404, 90, 193, 193, 0, 202, 45, {-0.16634, 0.0127}};
  ASSERT_EQ(coverage(camera).share, 1);
  const auto valid = fitView(camera, 120, 10, ViewFit::kValidOnly);
  const auto whole = fitView(camera, 1200, 100, ViewFit::kWholeImage);
  ASSERT_TRUE(valid && whole);
  EXPECT_EQ(countOutside(camera, *valid, pixelCentres(*valid)), 0U);
  const auto binds = sidesThatBind(camera, *valid, 1e-5);
  EXPECT_TRUE(binds[0] && binds[1]);
  const Box box = boxAround(borderInView(camera, *whole, 10000));
  // Measured: 0.
  EXPECT_GE(std::min(box.left, box.top), -1e-6);
  EXPECT_LE(box.right, 1200 + 1e-6);
  EXPECT_LE(box.bottom, 100 + 1e-6);
}

TEST(FitView, WholeImageWhereTheBorderBendsBetweenPixels) {
  // Samples at every half pixel alone would cut off 2.4e-6 pixels.
  const CameraModel camera{183,
                           129,
                           132.19222411179987,
                           122.64775127393962,
                           0.44838503128046325,
                           76.802579667779469,
                           73.77044557144356,
                           {-0.36421288071610125, 0.17889672878777355, 0, 0.0047850199739320094, 0,
                            0.10738699072951535, 0.060066806829693162, 0}};
  const auto whole = fitView(camera, 800, 600, ViewFit::kWholeImage);
  ASSERT_TRUE(whole);
  const Box box = boxAround(borderInView(camera, *whole, 10000));
  // Measured: all 2e-7 inside.
  EXPECT_GE(std::min(box.left, box.top), -1e-6);
  EXPECT_LE(box.right, 800 + 1e-6);
  EXPECT_LE(box.bottom, 600 + 1e-6);
}

TEST(FitView, OfTurnedViews) {
  Random random(1108);
  int seen_whole = 0;
  for (int trial = 0; trial < 100; ++trial) {
    const CameraModel camera = randomRegularCamera(&random);
    ViewOptions options;
    const Eigen::Vector3d axis(random.uniform(-1, 1), random.uniform(-1, 1), random.uniform(-3, 3));
    options.view_from_camera = turned(random.uniform(-180, 180), axis);
    for (const ViewCentre centre : {ViewCentre::kFree, ViewCentre::kMiddle, ViewCentre::kKept}) {
      options.centre = centre;
      const auto valid = fitView(camera, 80, 60, 0.0, options);
      if (valid) {
        EXPECT_EQ(countOutside(camera, *valid, pixelCentres(*valid)), 0U) << trial;
        EXPECT_EQ(valid->view_from_camera, options.view_from_camera);
      }
      const auto whole = fitView(camera, 800, 600, 1.0, options);
      RectifiedView any;
      any.view_from_camera = options.view_from_camera;
      EXPECT_EQ(whole.has_value(), !borderInView(camera, any, 500).empty()) << trial;
      if (!whole) continue;
      ++seen_whole;
      EXPECT_TRUE(valid || centre != ViewCentre::kFree);
      const Box box = boxAround(borderInView(camera, *whole, 3000));
      EXPECT_TRUE(box.left > -1e-6 && box.right < 800 + 1e-6) << trial;
      EXPECT_TRUE(box.top > -1e-6 && box.bottom < 600 + 1e-6) << trial;
    }
  }
  EXPECT_GT(seen_whole, 100);
}

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

/// The loops for every instruction set that this machine runs: the same bits from all of them, and
/// those of single points.

#include "support/camera/kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "support/camera/jacobian_access.h"
#include "support/camera/point_solver.h"
#include "support/point_projection.h"
#include "testing/difficult_points.h"
#include "testing/same_bits.h"

namespace norv::internal {
namespace {

using calibration::CameraModel;
using calibration::PointStatus;
using testing::NamedLens;
using testing::uniform;

constexpr std::uint8_t kOpen = 255;

std::vector<const Kernels*> runnable() {
  std::vector<const Kernels*> all;
  for (const Kernels* one : runnableKernels()) {
    if (one != nullptr) all.push_back(one);
  }
  return all;
}

/// Every size in which groups and blocks of any number of lanes can end.
std::vector<std::size_t> sizes() {
  std::vector<std::size_t> all;
  for (std::size_t i = 1; i <= 70; ++i) all.push_back(i);
  for (const std::size_t i : {127U, 128U, 129U, 255U, 256U, 257U, 1000U}) all.push_back(i);
  return all;
}

std::vector<double> flat3(const std::vector<Eigen::Vector3d>& points) {
  std::vector<double> all;
  for (const auto& p : points) all.insert(all.end(), {p.x(), p.y(), p.z()});
  return all;
}

std::vector<double> flat2(const std::vector<Eigen::Vector2d>& points) {
  std::vector<double> all;
  for (const auto& p : points) all.insert(all.end(), {p.x(), p.y()});
  return all;
}

/// What a loop leaves open may be any NaN: the sign of one that arises depends on the order in
/// which a compiler puts the operands of sums and products.
template <class T>
bool areSame(const T& a, const T& b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0 || (a != a && b != b);
}

template <class T>
void expectSameMemory(const std::vector<T>& a, const std::vector<T>& b, const std::string& what) {
  ASSERT_EQ(a.size(), b.size());
  for (std::size_t i = 0; i < a.size(); ++i) {
    ASSERT_TRUE(areSame(a[i], b[i])) << what << " at " << i << ": " << a[i] << ", " << b[i];
  }
}

/// Coordinates and codes that a loop wrote for `count` points.
struct Answers {
  explicit Answers(std::size_t count) : at(2 * count, -7), codes(count, 77) {}
  std::vector<double> at;
  std::vector<std::uint8_t> codes;
  bool not_ok = false;
};

Answers projected(const Kernels& kernels, const CameraModel& camera, const PoseRows* pose,
                  const double* points, std::size_t count) {
  Answers answers(count);
  answers.not_ok = kernels.project(prepare(camera), pose, {points, 3}, count,
                                   {answers.at.data(), 2}, answers.codes.data());
  return answers;
}

Answers rectified(const Kernels& kernels, const CameraModel& camera, const double* pixels,
                  std::size_t count) {
  Answers answers(count);
  answers.not_ok = kernels.rectify(prepare(camera), {pixels, 2}, count, {answers.at.data(), 2},
                                   answers.codes.data());
  return answers;
}

void expectSame(const Answers& a, const Answers& b, const std::string& what) {
  expectSameMemory(a.at, b.at, what);
  expectSameMemory(a.codes, b.codes, what);
  EXPECT_EQ(a.not_ok, b.not_ok) << what;
}

/// Answers of the first points of a list.
Answers firstOf(const Answers& all, std::size_t count) {
  Answers first(count);
  std::copy_n(all.at.begin(), 2 * count, first.at.begin());
  std::copy_n(all.codes.begin(), count, first.codes.begin());
  first.not_ok =
      std::any_of(first.codes.begin(), first.codes.end(), [](std::uint8_t c) { return c != 0; });
  return first;
}

/// Holds a loop's answer for one point against that of the function for single points. The number
/// of open questions.
int expectAsSingle(const Answers& loop, std::size_t i, const Eigen::Vector2d& at,
                   PointStatus status) {
  if (loop.codes[i] == kOpen) return 1;
  EXPECT_EQ(static_cast<PointStatus>(loop.codes[i]), status);
  const Eigen::Vector2d mine(loop.at[2 * i], loop.at[2 * i + 1]);
  EXPECT_TRUE(testing::sameBits(mine, at)) << mine.transpose() << " and " << at.transpose();
  return 0;
}

TEST(Kernels, AreNamedAndOrdered) {
  const std::vector<const Kernels*> all = runnable();
  ASSERT_FALSE(all.empty());
  EXPECT_STREQ(all[0]->name, "baseline");
  constexpr const char* kNames[] = {"baseline", "avx2", "avx512"};
  for (std::size_t i = 0; i < all.size(); ++i) EXPECT_STREQ(all[i]->name, kNames[i]);
}

TEST(Kernels, ProjectAsSinglePointsAre) {
  std::mt19937 random(31);
  for (const NamedLens& lens : testing::tableAndRandomLenses(60, &random)) {
    const CameraModel camera = testing::randomCamera(lens, &random);
    const auto points = testing::difficultPoints(lens, 1000, &random);
    const std::vector<double> flat = flat3(points);
    const Answers all = projected(kBaselineKernels, camera, nullptr, flat.data(), points.size());
    int open = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
      SCOPED_TRACE(std::string(lens.name) + " " + std::to_string(i));
      Eigen::Vector2d pixel;
      const PointStatus status = projectPoint(camera, points[i], &pixel);
      open += expectAsSingle(all, i, pixel, status);
      ASSERT_FALSE(::testing::Test::HasFailure()) << points[i].transpose();
    }
    // Strong tangential terms leave most questions of a random lens open.
    EXPECT_LT(open, std::string(lens.name) == "random" ? 1000 : 500) << lens;
    for (const Kernels* kernels : runnable()) {
      for (const std::size_t count : sizes()) {
        SCOPED_TRACE(count);
        expectSame(projected(*kernels, camera, nullptr, flat.data(), count), firstOf(all, count),
                   std::string(lens.name) + " " + kernels->name);
        ASSERT_FALSE(::testing::Test::HasFatalFailure());
      }
    }
  }
}

/// The slope of the radial map, 1 - 3 s + 9/4 s^2 = (1 - 1.5 s)^2, touches zero at 2/3: by a bit
/// more or less the lens folds there, or never does.
CameraModel hardlyFolding(int bits) {
  CameraModel camera{1280, 960, 900, 800, 0, 640, 480, {}};
  camera.lens.k1 = -1;
  camera.lens.k2 = 0.45 + bits * 0x1p-54;
  if (bits % 3 == 0) camera.lens.p1 = 1e-17;
  return camera;
}

/// Radii of that lens about the place, the closest a bit away.
std::vector<double> radiiAboutTheFold() {
  std::vector<double> radii;
  for (int i = -300; i <= 300; ++i) {
    const double gap = std::pow(1e-16, 1 - std::abs(i) / 300.0);
    radii.push_back(std::sqrt(2.0 / 3) * (1 + std::copysign(0.9 * gap, i)));
  }
  return radii;
}

TEST(Kernels, ProjectAsSinglePointsAreWhereTheLensHardlyFolds) {
  std::vector<Eigen::Vector3d> points;
  for (const double r : radiiAboutTheFold()) points.emplace_back(r, 0, 1);
  const std::vector<double> flat = flat3(points);
  for (int bits = -40; bits <= 40; ++bits) {
    const CameraModel camera = hardlyFolding(bits);
    const Answers all = projected(kBaselineKernels, camera, nullptr, flat.data(), points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
      Eigen::Vector2d pixel;
      const PointStatus status = projectPoint(camera, points[i], &pixel);
      expectAsSingle(all, i, pixel, status);
      ASSERT_FALSE(::testing::Test::HasFailure()) << bits << " " << i;
    }
  }
}

TEST(Kernels, RectifyAsSinglePixelsAreWhereTheLensHardlyFolds) {
  for (int bits = -40; bits <= 40; ++bits) {
    const CameraModel camera = hardlyFolding(bits);
    std::vector<Eigen::Vector2d> pixels;
    for (const double r : radiiAboutTheFold()) {
      pixels.emplace_back(camera.fx * r * camera.lens.numerator(r * r) + camera.cx, camera.cy);
    }
    const std::vector<double> flat = flat2(pixels);
    const Answers all = rectified(kBaselineKernels, camera, flat.data(), pixels.size());
    for (std::size_t i = 0; i < pixels.size(); ++i) {
      Eigen::Vector2d ray;
      const PointStatus status = rectifyPixel(camera, pixels[i], &ray);
      expectAsSingle(all, i, ray, status);
      ASSERT_FALSE(::testing::Test::HasFailure()) << bits << " " << i;
    }
  }
}

TEST(Kernels, ProjectFromAnotherFrameAsSinglePointsAre) {
  std::mt19937 random(32);
  const PoseRows pose{{{0.36, 0.48, -0.8, 0.3}, {-0.8, 0.6, 0, -0.2}, {0.48, 0.64, 0.6, 1.7}}};
  for (const NamedLens& lens : testing::kLenses) {
    const CameraModel camera = testing::randomCamera(lens, &random);
    const auto points = testing::difficultPoints(lens, 400, &random);
    const std::vector<double> flat = flat3(points);
    const Answers all = projected(kBaselineKernels, camera, &pose, flat.data(), points.size());
    const PreparedCamera single = unprepared(camera);
    for (std::size_t i = 0; i < points.size(); ++i) {
      const Eigen::Vector3d& p = points[i];
      const PointAnswer answer = PointSolver(single).project(&pose, {p.x(), p.y(), p.z()});
      expectAsSingle(all, i, {answer.x, answer.y}, answer.status);
      ASSERT_FALSE(::testing::Test::HasFailure()) << lens << " " << p.transpose();
    }
    for (const Kernels* kernels : runnable()) {
      expectSame(projected(*kernels, camera, &pose, flat.data(), points.size()), all,
                 std::string(lens.name) + " " + kernels->name);
      ASSERT_FALSE(::testing::Test::HasFatalFailure());
    }
  }
}

TEST(Kernels, RectifyAsSinglePixelsAre) {
  std::mt19937 random(33);
  for (const NamedLens& lens : testing::tableAndRandomLenses(60, &random)) {
    const CameraModel camera = testing::randomCamera(lens, &random);
    const auto pixels = testing::difficultPixels(camera, 1000, &random);
    const std::vector<double> flat = flat2(pixels);
    const Answers all = rectified(kBaselineKernels, camera, flat.data(), pixels.size());
    for (std::size_t i = 0; i < pixels.size(); ++i) {
      Eigen::Vector2d ray;
      const PointStatus status = rectifyPixel(camera, pixels[i], &ray);
      expectAsSingle(all, i, ray, status);
      ASSERT_FALSE(::testing::Test::HasFailure()) << lens << " " << pixels[i].transpose();
    }
    for (const Kernels* kernels : runnable()) {
      for (const std::size_t count : sizes()) {
        SCOPED_TRACE(count);
        expectSame(rectified(*kernels, camera, flat.data(), count), firstOf(all, count),
                   std::string(lens.name) + " " + kernels->name);
        ASSERT_FALSE(::testing::Test::HasFatalFailure());
      }
    }
  }
}

TEST(Kernels, RectifyFloatsAlike) {
  std::mt19937 random(34);
  for (const NamedLens& lens : testing::kLenses) {
    const CameraModel camera = testing::randomCamera(lens, &random);
    std::vector<float> pixels;
    for (const double x : flat2(testing::difficultPixels(camera, 1000, &random))) {
      pixels.push_back(static_cast<float>(std::fmin(std::fmax(x, -3e38), 3e38)));
    }
    const PreparedCamera prepared = prepare(camera);
    for (const std::size_t count : sizes()) {
      const std::vector<double> wide(pixels.data(), pixels.data() + 2 * count);
      const Answers expected = rectified(kBaselineKernels, camera, wide.data(), count);
      for (const Kernels* kernels : runnable()) {
        std::vector<float> rays(2 * count);
        std::vector<std::uint8_t> codes(count);
        kernels->rectifyFloats(prepared, {pixels.data(), 2}, count, {rays.data(), 2}, codes.data());
        expectSameMemory(codes, expected.codes, lens.name);
        expectSameMemory(rays, std::vector<float>(expected.at.begin(), expected.at.end()),
                         lens.name);
        ASSERT_FALSE(::testing::Test::HasFatalFailure()) << kernels->name << " " << count;
      }
    }
  }
}

TEST(Kernels, DifferentiateAlike) {
  std::mt19937 random(35);
  for (const NamedLens& lens : testing::kLenses) {
    const PreparedCamera camera = prepare(testing::randomCamera(lens, &random));
    std::vector<double> points;
    for (int i = 0; i < 1000; ++i) {
      const double r = 0.7 * lens.radius;
      points.insert(points.end(),
                    {uniform(-r, r, &random), uniform(-r, r, &random), uniform(1, 2, &random)});
    }
    std::vector<double> by_point(1000 * kProjectionNumbers);
    std::vector<double> by_pixel(1000 * kRectificationNumbers);
    kBaselineKernels.projectionJacobians(camera, {points.data(), 3}, 1000, by_point.data());
    kBaselineKernels.rectificationJacobians(camera, {points.data(), 3}, 1000, by_pixel.data());
    for (const Kernels* kernels : runnable()) {
      for (const std::size_t count : sizes()) {
        std::vector<double> projection(count * kProjectionNumbers);
        std::vector<double> rectification(count * kRectificationNumbers);
        kernels->projectionJacobians(camera, {points.data(), 3}, count, projection.data());
        kernels->rectificationJacobians(camera, {points.data(), 3}, count, rectification.data());
        expectSameMemory(projection, {by_point.data(), by_point.data() + projection.size()},
                         kernels->name);
        expectSameMemory(rectification, {by_pixel.data(), by_pixel.data() + rectification.size()},
                         kernels->name);
        ASSERT_FALSE(::testing::Test::HasFatalFailure()) << lens << " " << count;
      }
    }
  }
}

/// A row of a map, undecided places marked.
struct MapRow {
  explicit MapRow(std::size_t count) : x(count, -7), y(count, -7), open(count, 77) {}
  std::vector<float> x;
  std::vector<float> y;
  std::vector<std::uint8_t> open;
};

MapRow mapRow(const Kernels& kernels, const PreparedCamera& camera, const RayRow& row,
              std::size_t begin, std::size_t count) {
  MapRow result(count);
  kernels.rectifyRow(camera, row, begin, count, result.x.data(), result.y.data(),
                     result.open.data());
  for (std::uint8_t& code : result.open) code = code == kOpen ? 1 : 0;
  return result;
}

TEST(Kernels, MakeRowsOfMapsAlike) {
  std::mt19937 random(36);
  for (const NamedLens& lens : testing::tableAndRandomLenses(40, &random)) {
    const PreparedCamera camera = prepare(testing::randomCamera(lens, &random));
    const double r = 1.3 * lens.radius;
    for (const RayRow& row : {RayRow{-r, r / 500, 0.3 * r, 0, 1, 0, true},
                              RayRow{-r, r / 500, 0.3 * r, 1e-4, 1, -2e-3, false}}) {
      const MapRow all = mapRow(kBaselineKernels, camera, row, 0, 1000);
      for (const Kernels* kernels : runnable()) {
        for (const std::size_t count : sizes()) {
          const std::size_t begin = count < 300 ? 37 : 0;
          const MapRow part = mapRow(*kernels, camera, row, begin, count);
          const auto piece = [&](const auto& v) {
            return std::decay_t<decltype(v)>(v.data() + begin, v.data() + begin + count);
          };
          expectSameMemory(part.open, piece(all.open), lens.name);
          expectSameMemory(part.x, piece(all.x), lens.name);
          expectSameMemory(part.y, piece(all.y), lens.name);
          ASSERT_FALSE(::testing::Test::HasFatalFailure()) << kernels->name << " " << count;
        }
      }
    }
  }
}

TEST(Kernels, PutRaysIntoViewsAlike) {
  const ViewFormula turned{
      {{0.36, 0.48, -0.8}, {-0.8, 0.6, 0}, {0.48, 0.64, 0.6}}, 300, -310, 320.5, 240.25, false};
  const ViewFormula straight{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, 300, -310, 320.5, 240.25, true};
  std::mt19937 random(37);
  std::vector<double> rays;
  for (int i = 0; i < 2000; ++i) {
    rays.push_back(random() % 9 == 0 ? testing::anyOddNumber(&random) : uniform(-3, 3, &random));
  }
  std::vector<float> x(1000);
  std::vector<float> y(1000);
  for (const ViewFormula& view : {turned, straight}) {
    ViewFormula as_turned = view;  // a view that is not said to be straight has the same bits
    as_turned.is_straight = false;
    kBaselineKernels.viewRow(as_turned, rays.data(), 1000, x.data(), y.data());
    for (const Kernels* kernels : runnable()) {
      for (const std::size_t count : sizes()) {
        std::vector<float> map_x(count);
        std::vector<float> map_y(count);
        kernels->viewRow(view, rays.data(), count, map_x.data(), map_y.data());
        expectSameMemory(map_x, {x.data(), x.data() + count}, kernels->name);
        expectSameMemory(map_y, {y.data(), y.data() + count}, kernels->name);
        ASSERT_FALSE(::testing::Test::HasFatalFailure()) << count;
      }
    }
  }
}

}  // namespace
}  // namespace norv::internal

#include "interop/radial_map.h"

#include <gtest/gtest.h>

#include <Eigen/Core>
#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tests/interop/expected_pixels.h"

namespace norv::interop {
namespace {

constexpr double kPi = 3.14159265358979323846;

RadialMap mapOf(RadialKind kind, const std::array<double, 4>& parameters) {
  return {kind, parameters, {}};
}

double degrees(double radians) { return radians * 180 / kPi; }

/// Where a point is projected to by the models as their papers have them, of points of space.
double paperRadius(RadialKind kind, double a0, double a1, const Eigen::Vector3d& p) {
  const double r = std::hypot(p.x(), p.y());
  switch (kind) {
    case RadialKind::kEnhancedUnified: {
      const double d = std::sqrt(a1 * r * r + p.z() * p.z());
      return r / (a0 * d + (1 - a0) * p.z());
    }
    case RadialKind::kDoubleSphere: {
      const double d1 = p.norm();
      const double d2 = std::hypot(r, a0 * d1 + p.z());
      return r / (a1 * d2 + (1 - a1) * (a0 * d1 + p.z()));
    }
    case RadialKind::kOmni: {
      const Eigen::Vector3d on_sphere = p / p.norm();
      return std::hypot(on_sphere.x(), on_sphere.y()) / (on_sphere.z() + a0);
    }
    case RadialKind::kFieldOfView:
      return std::atan(2 * r / p.z() * std::tan(a0 / 2)) / a0;
    case RadialKind::kKannalaBrandt:
    case RadialKind::kStereographic:
      break;
  }
  return 0;
}

struct Model {
  RadialKind kind;
  double a0;
  double a1;
};

TEST(RadialMap, IsTheFormulaOfThePapersInFrontOfTheCamera) {
  std::mt19937_64 random(13);
  std::uniform_real_distribution<double> side(-3, 3);
  std::uniform_real_distribution<double> depth(0.3, 4);
  for (const Model& model : {Model{RadialKind::kEnhancedUnified, 0.57, 1.12},
                             {RadialKind::kEnhancedUnified, 0.2, 0.7},
                             {RadialKind::kDoubleSphere, -0.2, 0.59},
                             {RadialKind::kDoubleSphere, 0.9, 0.3},
                             {RadialKind::kDoubleSphere, 1.4, 0.6},
                             {RadialKind::kOmni, 0.8, 0},
                             {RadialKind::kOmni, 1.7, 0},
                             {RadialKind::kFieldOfView, 0.93, 0}}) {
    const RadialMap map = mapOf(model.kind, {model.a0, model.a1, 0, 0});
    for (int i = 0; i < 200; ++i) {
      const Eigen::Vector3d p(side(random), side(random), depth(random));
      const double theta = std::atan2(std::hypot(p.x(), p.y()), p.z());
      const double expected = paperRadius(model.kind, model.a0, model.a1, p);
      EXPECT_NEAR(radiusAt(map, theta), expected, 2e-15 * (1 + expected * expected))
          << kindName(model.kind);
    }
  }
}

TEST(RadialMap, HoldsSpecialCasesOfEachOther) {
  for (double theta = 0.05; theta < 1.5; theta += 0.1) {
    const double tangent = std::tan(theta);
    const double stereographic = 2 * std::tan(theta / 2);
    const auto at = [&](RadialKind kind, double a0, double a1) {
      return radiusAt(mapOf(kind, {a0, a1, 0, 0}), theta);
    };
    EXPECT_NEAR(at(RadialKind::kEnhancedUnified, 0, 1), tangent, 1e-14 * tangent);
    EXPECT_NEAR(at(RadialKind::kDoubleSphere, 0, 0), tangent, 1e-14 * tangent);
    EXPECT_NEAR(at(RadialKind::kOmni, 0, 0), tangent, 1e-14 * tangent);
    EXPECT_NEAR(at(RadialKind::kFieldOfView, 0, 0), tangent, 1e-14 * tangent);
    EXPECT_NEAR(at(RadialKind::kKannalaBrandt, 0, 0), theta, 1e-15);
    EXPECT_NEAR(at(RadialKind::kStereographic, 0, 0), stereographic, 1e-15);
    // alpha = xi / (1 + xi) is Mei's model with the focal length of the pinhole camera.
    EXPECT_NEAR(at(RadialKind::kEnhancedUnified, 0.5, 1), stereographic, 1e-14);
    EXPECT_NEAR(2 * at(RadialKind::kOmni, 1, 0), stereographic, 1e-14);
    EXPECT_NEAR(at(RadialKind::kDoubleSphere, 0.4, 0), at(RadialKind::kOmni, 0.4, 0), 1e-14);
    EXPECT_NEAR(at(RadialKind::kEnhancedUnified, 0.6, 1), 2.5 * at(RadialKind::kOmni, 1.5, 0),
                1e-14);
  }
}

TEST(RadialMap, HasTheSlopeOfItsStart) {
  for (const Model& model : {Model{RadialKind::kKannalaBrandt, 0.1, -0.05},
                             {RadialKind::kEnhancedUnified, 0.57, 1.12},
                             {RadialKind::kDoubleSphere, -0.2, 0.59},
                             {RadialKind::kDoubleSphere, 1.4, 0.6},
                             {RadialKind::kOmni, 1.7, 0},
                             {RadialKind::kFieldOfView, 0.93, 0},
                             {RadialKind::kFieldOfView, 0, 0},
                             {RadialKind::kStereographic, 0, 0}}) {
    const RadialMap map = mapOf(model.kind, {model.a0, model.a1, 0, 0});
    // r_d is odd: the next term is of the order theta^2.
    EXPECT_NEAR(radiusAt(map, 1e-5) / 1e-5, slopeOnAxis(map), 1e-9) << kindName(model.kind);
    EXPECT_EQ(radiusAt(map, 0), 0);
  }
}

/// The largest angle by looking: the last of many from which on r_d is not finite, not positive or
/// less than before.
double endByLooking(const RadialMap& map) {
  constexpr int kSteps = 2000000;
  double last = 0;
  for (int i = 1; i <= kSteps; ++i) {
    const double theta = kPi * i / kSteps;
    const double r = radiusAt(map, theta);
    if (!(std::isfinite(r) && r > last)) return kPi * (i - 1) / kSteps;
    last = r;
  }
  return kPi;
}

TEST(RadialMap, EndsWhereItFallsOrHasAPole) {
  std::mt19937_64 random(14);
  std::uniform_real_distribution<double> weight(0.02, 0.98);
  std::uniform_real_distribution<double> beta(0.4, 2.5);
  std::uniform_real_distribution<double> xi(-0.7, 2.5);
  std::uniform_real_distribution<double> coefficient(-0.2, 0.1);
  std::vector<RadialMap> maps;
  for (int i = 0; i < 5; ++i) {
    maps.push_back(mapOf(RadialKind::kEnhancedUnified, {weight(random), beta(random), 0, 0}));
    maps.push_back(mapOf(RadialKind::kDoubleSphere, {xi(random), weight(random), 0, 0}));
    maps.push_back(mapOf(RadialKind::kOmni, {xi(random), 0, 0, 0}));
    maps.push_back(
        mapOf(RadialKind::kKannalaBrandt, {coefficient(random), coefficient(random) / 3,
                                           coefficient(random) / 30, coefficient(random) / 300}));
  }
  for (const RadialMap& map : maps) {
    const double looked = endByLooking(map);
    // Steps of 1.6e-6; close to a fold r_d stands still, and rounding ends its rise by some steps
    // of that.
    EXPECT_NEAR(largestAngle(map), looked, 2e-5)
        << kindName(map.kind) << ' ' << map.parameters[0] << ' ' << map.parameters[1];
    EXPECT_TRUE(std::isfinite(radiusAt(map, 0.999999 * largestAngle(map))));
  }
}

TEST(RadialMap, EndsAtAnglesKnownInClosedForm) {
  const auto end = [](RadialKind kind, double a0, double a1 = 0) {
    return degrees(largestAngle(mapOf(kind, {a0, a1, 0, 0})));
  };
  EXPECT_NEAR(end(RadialKind::kStereographic, 0), 180, 1e-12);
  EXPECT_NEAR(end(RadialKind::kKannalaBrandt, 0), 180, 1e-12);
  // 1 - 3 theta^2 / 10 = 0, and 1 + theta^2 - theta^4 / 4 = 0 for the coefficients 1/3 and -1/20.
  EXPECT_NEAR(end(RadialKind::kKannalaBrandt, -0.1), degrees(std::sqrt(10.0 / 3)), 1e-12);
  EXPECT_NEAR(end(RadialKind::kKannalaBrandt, 1.0 / 3, -0.05),
              degrees(std::sqrt(2 + std::sqrt(8.0))), 1e-12);
  EXPECT_NEAR(end(RadialKind::kOmni, 0), 90, 1e-12);
  EXPECT_NEAR(end(RadialKind::kOmni, 0.5), 120, 1e-12);
  EXPECT_NEAR(end(RadialKind::kOmni, 2), 120, 1e-12);
  EXPECT_NEAR(end(RadialKind::kOmni, 1), 180, 1e-12);
  EXPECT_NEAR(end(RadialKind::kOmni, -0.5), 60, 1e-12);
  EXPECT_NEAR(end(RadialKind::kDoubleSphere, 0.5, 0), 120, 1e-12);
  EXPECT_NEAR(end(RadialKind::kDoubleSphere, 2, 0.4), 120, 1e-12);
  EXPECT_NEAR(end(RadialKind::kDoubleSphere, 0, 1), 90, 1e-12);
  // cos(phi) = -1/2.
  EXPECT_NEAR(end(RadialKind::kDoubleSphere, 0, 2.0 / 3), 120, 1e-12);
  EXPECT_NEAR(end(RadialKind::kEnhancedUnified, 2.0 / 3, 1), 120, 1e-12);
  EXPECT_NEAR(end(RadialKind::kEnhancedUnified, 1.0 / 3, 1), 120, 1e-12);
  EXPECT_NEAR(end(RadialKind::kEnhancedUnified, 0, 1), 90, 1e-12);
  EXPECT_NEAR(end(RadialKind::kEnhancedUnified, 0.5, 2), 180, 1e-12);
  EXPECT_NEAR(end(RadialKind::kFieldOfView, 0.9), 90, 1e-12);
}

TEST(RadialMap, IsNoneWithParametersOutsideOfTheirRange) {
  for (const RadialMap& map :
       {mapOf(RadialKind::kEnhancedUnified, {-0.1, 1}),
        mapOf(RadialKind::kEnhancedUnified, {1.1, 1}),
        mapOf(RadialKind::kEnhancedUnified, {0.5, 0}), mapOf(RadialKind::kDoubleSphere, {-1, 0.5}),
        mapOf(RadialKind::kDoubleSphere, {0.5, 1.5}), mapOf(RadialKind::kOmni, {-1.2}),
        mapOf(RadialKind::kFieldOfView, {3.2}),
        mapOf(RadialKind::kOmni, {std::numeric_limits<double>::quiet_NaN()})}) {
    EXPECT_EQ(largestAngle(map), 0) << kindName(map.kind);
    EXPECT_FALSE(std::isfinite(radiusAt(map, 0.3))) << kindName(map.kind);
  }
  // Behind a pole.
  EXPECT_FALSE(std::isfinite(radiusAt(mapOf(RadialKind::kOmni, {0.5}), 2.2)));
  EXPECT_FALSE(std::isfinite(radiusAt(mapOf(RadialKind::kFieldOfView, {0.9}), 1.6)));
}

/// What the peers' samples have: fx, fy, cx, cy from the image's corner, and the map.
struct Sample {
  std::string name;
  std::size_t index;
  double fx, fy, cx, cy;
  RadialMap map;
};

TEST(RadialMap, GivesThePixelsOfThePeers) {
  const std::vector<Sample> samples = {
      {"mrcal_STEREOGRAPHIC.cameramodel", 0, 1000.25, 1001.5, 641, 480.75,
       mapOf(RadialKind::kStereographic, {})},
      {"colmap/cameras.txt", 3, 1000.25, 1001.5, 640.5, 480.25,
       mapOf(RadialKind::kKannalaBrandt, {0.01, 0.02, 0.003, 0.001})},
      {"kalibr_camchain_imucam.yaml", 1, 458.655, 457.296, 367.715, 248.875,
       mapOf(RadialKind::kKannalaBrandt, {-0.01353, 0.05274, -0.04979, 0.01355})},
      {"ros_equidistant.yaml", 0, 603.97646, 604.70652, 820, 616,
       mapOf(RadialKind::kKannalaBrandt, {0.035653, -0.011772, 0.000362, -0.000719})}};
  for (const Sample& sample : samples) {
    const testing::ExpectedPixels expected = testing::expectedPixels(sample.name, sample.index);
    ASSERT_EQ(expected.points.size(), 12U);
    for (std::size_t i = 0; i < expected.points.size(); ++i) {
      const Eigen::Vector3d& p = expected.points[i];
      const double r = std::hypot(p.x(), p.y());
      const double rd = radiusAt(sample.map, std::atan2(r, p.z()));
      const Eigen::Vector2d direction =
          r > 0 ? Eigen::Vector2d(p.head<2>() / r) : Eigen::Vector2d(0, 0);
      EXPECT_NEAR(sample.fx * rd * direction.x() + sample.cx, expected.pixels[i].x(), 1e-9);
      EXPECT_NEAR(sample.fy * rd * direction.y() + sample.cy, expected.pixels[i].y(), 1e-9);
    }
  }
}

}  // namespace
}  // namespace norv::interop

#pragma once

/// The deviations that are told of fitted lenses, beside those that are found a second time.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "interop/lens_fit.h"
#include "testing/peer_accuracy.h"
#include "tests/interop/second_formulas.h"

namespace norv::interop::testing {

/// A kind of lens that is replaced by one of `coefficients`.
struct FittedWay {
  const char* name;
  PeerLens (*draw)(std::mt19937* random);
  int coefficients;
};

/// Told and true deviations of many cameras.
struct FittedFigures {
  int fitted = 0;
  int refused = 0;         ///< by the fit
  double smallest = 1e30;  ///< true largest deviations, pixels
  double largest = 0;
  double worst_max = 0;  ///< difference of the told one from the true one, as a part of it
  double worst_rms = 0;
};

/// Below this true deviations, pixels, drown in roundings.
inline constexpr double kMinDeviation = 1e-6;

/// A picture of 640x480 to 2560x1920, of which the farthest corner is 20 to 75 degrees from the
/// axis.
inline PeerCamera randomFittedCamera(const PeerLens& lens, std::mt19937* random) {
  constexpr double kDegree = 3.14159265358979323846 / 180;
  const auto number = [random](double low, double high) {
    return norv::testing::uniform(low, high, random);
  };
  PeerCamera camera;
  camera.size.width = 4 * static_cast<int>(number(160, 640));
  camera.size.height = camera.size.width * 3 / 4;
  camera.cx = number(0.47, 0.53) * camera.size.width;
  camera.cy = number(0.47, 0.53) * camera.size.height;
  const double x = std::max(camera.cx, camera.size.width - camera.cx);
  const double y = std::max(camera.cy, camera.size.height - camera.cy);
  const auto* const map = std::get_if<RadialMap>(&lens);
  const double angle = number(20, map != nullptr ? 75 : 45) * kDegree;
  camera.fx = std::hypot(x, y) / (map != nullptr ? radiusAt(*map, angle) : std::tan(angle));
  camera.fy = camera.fx;
  camera.lens = lens;
  return camera;
}

inline std::vector<FittedWay> radialWays() {
  using norv::testing::uniform;
  return {
      {"equidistant",
       [](std::mt19937* r) -> PeerLens {
         return RadialMap{
             RadialKind::kKannalaBrandt,
             {uniform(-0.05, 0.05, r), uniform(-0.02, 0.02, r), uniform(-0.01, 0.01, r), 0},
             {}};
       },
       8},
      {"eucm",
       [](std::mt19937* r) -> PeerLens {
         return RadialMap{
             RadialKind::kEnhancedUnified, {uniform(0.3, 0.7, r), uniform(0.8, 1.2, r)}, {}};
       },
       8},
      {"ds",
       [](std::mt19937* r) -> PeerLens {
         return RadialMap{
             RadialKind::kDoubleSphere, {uniform(-0.3, 0.3, r), uniform(0.4, 0.65, r)}, {}};
       },
       8},
      {"omni",
       [](std::mt19937* r) -> PeerLens {
         return RadialMap{RadialKind::kOmni, {uniform(0.5, 1.5, r)}, {}};
       },
       8},
      {"fov",
       [](std::mt19937* r) -> PeerLens {
         return RadialMap{RadialKind::kFieldOfView, {uniform(0.5, 1.5, r)}, {}};
       },
       8},
      {"stereographic",
       [](std::mt19937*) -> PeerLens {
         return RadialMap{RadialKind::kStereographic, {}, {}};
       },
       8},
  };
}

inline std::vector<FittedWay> otherWays() {
  using norv::testing::uniform;
  const auto rational = [](std::mt19937* r) -> PeerLens {
    return calibration::LensDistortion<double>{
        uniform(-0.1, 0.1, r),   uniform(-0.02, 0.02, r),   uniform(-2e-3, 2e-3, r),
        uniform(-2e-3, 2e-3, r), uniform(-3e-3, 3e-3, r),   uniform(0, 0.2, r),
        uniform(0, 0.05, r),     uniform(-0.005, 0.005, r),
    };
  };
  return {
      {"OpenCV, 12",
       [](std::mt19937* r) -> PeerLens {
         ExtendedLens lens;
         lens.rational.k1 = uniform(-0.2, 0.1, r);
         lens.rational.k2 = uniform(-0.02, 0.05, r);
         for (double* s : {&lens.s1, &lens.s2, &lens.s3, &lens.s4}) *s = uniform(-2e-3, 2e-3, r);
         return lens;
       },
       8},
      {"OpenCV, 14",
       [](std::mt19937* r) -> PeerLens {
         ExtendedLens lens;
         lens.rational.k1 = uniform(-0.2, 0.1, r);
         lens.tau_x = uniform(-0.02, 0.02, r);
         lens.tau_y = uniform(-0.02, 0.02, r);
         return lens;
       },
       8},
      {"rational with 5", rational, 5},
      {"rational with 4", rational, 4},
  };
}

/// All of them.
inline std::vector<FittedWay> fittedWays() {
  std::vector<FittedWay> ways = radialWays();
  for (const FittedWay& way : otherWays()) ways.push_back(way);
  return ways;
}

/// The deviation by formulas of their own at many more pixels than the fit has.
inline SecondDeviation trueDeviation(const PeerCamera& source,
                                     const calibration::CameraModel& target) {
  SecondDeviation second(source, target);
  second.addPicture(160, 120);
  return second;
}

inline void addFigures(const PeerCamera& source, const calibration::CameraModel& target,
                       FittedFigures* figures) {
  const auto told = measureDeviation(source, target);
  const auto* const deviation = std::get_if<LensDeviation>(&told);
  if (deviation == nullptr) throw std::runtime_error(std::get<std::string>(told));
  const SecondDeviation second = trueDeviation(source, target);
  // A lens that ends within the picture is measured where it has rays.
  if (deviation->share < 1 || std::isnan(second.max())) {
    ++figures->refused;
    return;
  }
  ++figures->fitted;
  figures->smallest = std::min(figures->smallest, second.max());
  figures->largest = std::max(figures->largest, second.max());
  if (second.max() < kMinDeviation) return;
  figures->worst_max =
      std::max(figures->worst_max, std::abs(deviation->max - second.max()) / second.max());
  figures->worst_rms =
      std::max(figures->worst_rms, std::abs(deviation->rms - second.rms()) / second.rms());
}

inline FittedFigures fittedFigures(const FittedWay& way, int cameras, std::mt19937* random) {
  FittedFigures figures;
  for (int i = 0; i < cameras; ++i) {
    const PeerCamera source = randomFittedCamera(way.draw(random), random);
    const auto fit = fitLens(source, way.coefficients);
    const auto* const target = std::get_if<calibration::CameraModel>(&fit);
    if (target == nullptr) {
      ++figures.refused;
    } else {
      addFigures(source, *target, &figures);
    }
  }
  return figures;
}

}  // namespace norv::interop::testing

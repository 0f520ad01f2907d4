#pragma once

/// Random cameras and the random views that they have of a board.

#include <Eigen/Cholesky>
#include <Eigen/QR>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <vector>

#include "support/auto_diff.h"
#include "support/sensor_transform.h"
#include "testing/lens_tables.h"
#include "testing/synthetic_view.h"

namespace norv::testing {

class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}

  double uniform(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(engine_);
  }
  double normal(double mean, double deviation) {
    return mean + deviation * std::normal_distribution<double>()(engine_);
  }
  int index(int count) { return std::uniform_int_distribution<int>(0, count - 1)(engine_); }

 private:
  std::mt19937_64 engine_;
};

/// Rational coefficients of the lens r_d = tan(tau theta) / tau over 0 to 70 degrees, by least
/// squares of N - g D with weights that converge to those of r_d itself.
inline std::array<double, 6> fitRationalLens(double tau) {
  constexpr int kCount = 300;
  Eigen::Array<double, kCount, 1> theta;
  theta.setLinSpaced(0.5 * kDegree, 70 * kDegree);
  const Eigen::Array<double, kCount, 1> r = theta.tan();
  const Eigen::Array<double, kCount, 1> q = r * r;
  const Eigen::Array<double, kCount, 1> g = (tau * theta).tan() / tau / r;
  Eigen::Matrix<double, kCount, 6> terms;
  terms << q, q * q, q * q * q, -g * q, -g * q * q, -g * q * q * q;
  Eigen::Array<double, kCount, 1> weights = 1 / (1 + q * q * q);
  Eigen::Matrix<double, 6, 1> k;
  for (int i = 0; i < 20; ++i) {
    k = (weights.matrix().asDiagonal() * terms)
            .colPivHouseholderQr()
            .solve((weights * (g - 1)).matrix());
    weights = r / (1 + q * (k[3] + q * (k[4] + q * k[5])));
  }
  return {k[0], k[1], k[2], k[3], k[4], k[5]};
}

enum class LensKind {
  kMild,     ///< about 75 degrees across the diagonal, some per cent of barrel distortion
  kMedium,   ///< about 95 degrees
  kStrong,   ///< 114 to 120 degrees, stereographic to nearly equidistant
  kWarped,   ///< the head camera's lens, seen through the sensor's warp
  kPinhole,  ///< no distortion
};

/// A camera of that kind for images of 1280 x 960, its principal point some ten pixels off the
/// centre.
inline SyntheticCamera randomCamera(LensKind kind, Random* random) {
  double f = 0;
  std::array<double, 6> k = {};
  switch (kind) {
    case LensKind::kMild:
      f = random->uniform(950, 1150);
      k = {random->uniform(-0.2, 0.05), random->uniform(-0.02, 0.05), 0, 0, 0, 0};
      break;
    case LensKind::kMedium:
      f = random->uniform(720, 820);
      k = fitRationalLens(random->uniform(0.65, 0.85));
      break;
    case LensKind::kStrong: {
      const double tau = random->uniform(0.2, 0.55);
      f = 800 * tau / std::tan(tau * random->uniform(57.5, 60) * kDegree);
      k = fitRationalLens(tau);
      break;
    }
    case LensKind::kWarped:
      f = 720 * random->normal(1, 0.003);
      k = fitRationalLens(0.5);
      break;
    case LensKind::kPinhole:
      f = random->uniform(600, 1200);
      break;
  }
  SyntheticCamera camera =
      makePinhole(f, f * random->normal(1, 0.001), random->normal(640, 10), random->normal(480, 8));
  setRadial(k, &camera);
  if (kind != LensKind::kPinhole) {
    camera.p1 = random->normal(0, 3e-4);
    camera.p2 = random->normal(0, 3e-4);
  }
  return camera;
}

/// The sensor's warp of the head camera.
inline const calibration::ImageSensorTransform& headCameraWarp() {
  static const LensTables tables = headCameraTables();
  static const calibration::AptinaSTE warp(640, 480, 0.9F, tables.radii, tables.degrees);
  return warp;
}

inline Eigen::Array2d warped(const Eigen::Array2d& pixel) {
  return headCameraWarp().transformPoint(pixel.matrix().cast<float>()).cast<double>();
}

/// Fits the intrinsics of a camera to where it is to image given rays.
class IntrinsicsFit {
 public:
  /// With the given focal length, and no distortion, to begin with.
  IntrinsicsFit(double focal_length, double cx, double cy) {
    values_ << focal_length, focal_length, cx, cy, 0, 0, 0, 0, 0, 0, 0, 0;
  }

  /// One Gauss-Newton step for `rays` (x, y, 1) and the pixels they are to fall on.
  void step(const std::vector<std::array<double, 2>>& rays,
            const std::vector<Eigen::Array2d>& pixels) {
    const calibration::OpenCVProjection<Dual> model = projection();
    Eigen::Matrix<double, 12, 12> normal = Eigen::Matrix<double, 12, 12>::Zero();
    Values gradient = Values::Zero();
    for (std::size_t i = 0; i < rays.size(); ++i) {
      const std::array<Dual, 2> pixel = model.project({rays[i][0], rays[i][1], 1});
      for (std::size_t j = 0; j < 2; ++j) {
        const Eigen::Map<const Values> row(pixel[j].derivatives.data());
        normal += row * row.transpose();
        gradient += row * (pixel[j].value - pixels[i][static_cast<Eigen::Index>(j)]);
      }
    }
    // Coefficients that the rays do not determine are drawn to zero, with the weight of some
    // pixels.
    Values weights;
    weights << 0, 0, 0, 0, 1, 1, 1, 3, 3, 3, 1, 1;
    normal.diagonal() += weights.cwiseAbs2();
    gradient += weights.cwiseAbs2().cwiseProduct(values_);
    values_ -= normal.ldlt().solve(gradient);
  }

  SyntheticCamera camera() const {
    SyntheticCamera camera = makePinhole(values_[0], values_[1], values_[2], values_[3]);
    setRadial({values_[4], values_[5], values_[6], values_[7], values_[8], values_[9]}, &camera);
    camera.p1 = values_[10];
    camera.p2 = values_[11];
    return camera;
  }

 private:
  using Dual = autodiff::AutoDiff1<double, 12>;
  using Values = Eigen::Matrix<double, 12, 1>;

  calibration::OpenCVProjection<Dual> projection() const {
    calibration::OpenCVProjection<Dual> model;
    Dual* const parameters[] = {&model.fx, &model.fy, &model.cx, &model.cy, &model.k1, &model.k2,
                                &model.k3, &model.k4, &model.k5, &model.k6, &model.p1, &model.p2};
    for (std::size_t i = 0; i < 12; ++i) {
      *parameters[i] = Dual::variable(values_[static_cast<Eigen::Index>(i)], i);
    }
    model.rotation = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    return model;
  }

  Values values_;
};

/// The camera of this model that is closest to `camera` behind the sensor's warp, over the warped
/// frame.
inline SyntheticCamera closestCameraBehindWarp(const SyntheticCamera& camera) {
  SyntheticCamera source = camera;
  setPose(Eigen::Matrix3d::Identity(), Eigen::Vector3d::Zero(), &source);
  const auto isInFrame = [](const Eigen::Array2d& pixel) {
    const ImageSize size;
    return ((pixel - size.centre()).abs() < size.centre()).all();
  };
  std::vector<std::array<double, 2>> rays;
  std::vector<Eigen::Array2d> pixels;
  for (int y = -15; y <= 15; ++y) {
    for (int x = -15; x <= 15; ++x) {
      const std::array<double, 2> ray = {x / 12.0, y / 12.0};
      const std::array<double, 2> seen = source.project({ray[0], ray[1], 1});
      const Eigen::Array2d pixel = warped({seen[0], seen[1]});
      if (!isInFrame({seen[0], seen[1]}) || !isInFrame(pixel)) continue;
      rays.push_back(ray);
      pixels.push_back(pixel);
    }
  }
  IntrinsicsFit fit(648, camera.cx, camera.cy);
  for (int i = 0; i < 8; ++i) fit.step(rays, pixels);
  return fit.camera();
}

/// Poses the camera at random before a board with the given tilt, in degrees, so that it fills 60
/// to 95 per cent of the frame, or as much of it as the pose allows. False when no pose was found.
inline bool poseAtRandom(const std::vector<Vector2_f>& board, double tilt, Random* random,
                         SyntheticCamera* camera) {
  const ImageSize size;
  for (int attempt = 0; attempt < 400; ++attempt) {
    const double fill = random->uniform(0.6, 0.95);
    const Eigen::Matrix3d rotation = boardRotation(
        tilt * kDegree, random->uniform(0, 360) * kDegree, random->uniform(-15, 15) * kDegree);
    const Eigen::Vector2d offset(random->normal(size.width / 2.0, 60) - camera->cx,
                                 random->normal(size.height / 2.0, 40) - camera->cy);
    const Eigen::Vector2d image_ray = offset.cwiseQuotient(Eigen::Vector2d(camera->fx, camera->fy));
    const double angle = std::min(image_ray.norm(), 0.5);
    Eigen::Vector3d ray(0, 0, 1);
    ray.head<2>() = image_ray.normalized() * std::tan(angle);
    if (!placeBoard(board, rotation, ray, size, fill, camera)) continue;
    Eigen::Array2d low = size.centre();
    Eigen::Array2d high = low;
    const std::vector<Eigen::Array2d> pixels = *observe(*camera, board);
    for (const Eigen::Array2d& pixel : pixels) {
      low = low.min(pixel);
      high = high.max(pixel);
    }
    if ((high - low).maxCoeff() >= 0.45 * size.width * fill / 0.95 * 0.8) return true;
  }
  return false;
}

}  // namespace norv::testing

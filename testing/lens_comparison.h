#pragma once

/// How far a fitted camera is from the true one.

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <Eigen/LU>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "support/auto_diff.h"
#include "support/lens_distortion.h"
#include "testing/synthetic_view.h"

namespace norv::testing {

/// Distance of the farthest image corner from the principal point, in focal lengths.
inline double farthestCorner(const SyntheticCamera& camera, const ImageSize& size) {
  double farthest = 0;
  for (const double x : {0.0, 1.0 * size.width}) {
    for (const double y : {0.0, 1.0 * size.height}) {
      farthest =
          std::fmax(farthest, std::hypot((x - camera.cx) / camera.fx, (y - camera.cy) / camera.fy));
    }
  }
  return farthest;
}

/// The radial map of a lens, sampled on the branch that begins at the centre, until it folds or
/// meets a pole or is 85 degrees off the axis.
class RadialBranch {
 public:
  explicit RadialBranch(const calibration::LensDistortion<double>& lens) {
    constexpr int kSteps = 1000;
    for (int i = 0; i <= kSteps; ++i) {
      const double r = std::tan(85 * kDegree * i / kSteps);
      const double denominator = lens.denominator(r * r);
      const double imaged = r * lens.numerator(r * r) / denominator;
      if (denominator <= 0 || !(i == 0 || imaged > imaged_.back())) break;
      radii_.push_back(r);
      imaged_.push_back(imaged);
    }
  }

  /// How far the branch reaches, as an image radius in focal lengths.
  double end() const { return imaged_.back(); }

  /// Undistorted radius, to the accuracy of linear interpolation, imaged at a radius below the end.
  double undistorted(double image_radius) const {
    const auto above = std::upper_bound(imaged_.begin(), imaged_.end() - 1, image_radius);
    const std::size_t i = static_cast<std::size_t>(above - imaged_.begin());
    const double share = (image_radius - imaged_[i - 1]) / (imaged_[i] - imaged_[i - 1]);
    return radii_[i - 1] + share * (radii_[i] - radii_[i - 1]);
  }

 private:
  std::vector<double> radii_;
  std::vector<double> imaged_;
};

/// Whether the radial map rises without a pole until it reaches the farthest image corner.
inline bool isRegular(const SyntheticCamera& camera, const ImageSize& size) {
  return RadialBranch(camera.lens()).end() >= farthestCorner(camera, size);
}

/// Ray (x, y, 1) of a pixel, by Newton's method from the radial solution on.
inline Eigen::Vector3d rayOfPixel(const SyntheticCamera& camera, const RadialBranch& branch,
                                  const Eigen::Array2d& pixel) {
  using Dual = autodiff::AutoDiff1<double, 2>;
  const Eigen::Vector2d target((pixel.x() - camera.cx) / camera.fx,
                               (pixel.y() - camera.cy) / camera.fy);
  Eigen::Vector2d ray = target.stableNormalized() * branch.undistorted(target.norm());
  for (int i = 0; i < 10; ++i) {
    const auto distorted = camera.lens().distort(
        calibration::NormalizedPoint<Dual>{Dual::variable(ray.x(), 0), Dual::variable(ray.y(), 1)});
    Eigen::Matrix2d jacobian;
    jacobian << distorted.x.derivatives[0], distorted.x.derivatives[1],  //
        distorted.y.derivatives[0], distorted.y.derivatives[1];
    ray -= jacobian.inverse() * (Eigen::Vector2d(distorted.x.value, distorted.y.value) - target);
  }
  return ray.homogeneous();
}

/// Turns `*rays` by the small rotation that brings their images closest to `pixels`, to first
/// order; returns the root mean square distance before.
inline double alignRays(const SyntheticCamera& camera, const std::vector<Eigen::Array2d>& pixels,
                        std::vector<Eigen::Vector3d>* rays) {
  using Dual = autodiff::AutoDiff1<double, 3>;
  Eigen::Matrix3d normal = Eigen::Matrix3d::Zero();
  Eigen::Vector3d gradient = Eigen::Vector3d::Zero();
  double squared = 0;
  for (std::size_t i = 0; i < rays->size(); ++i) {
    // Derivatives of r + w x r by w.
    const Eigen::Vector3d& r = (*rays)[i];
    const Dual x(r.x(), {0, r.z(), -r.y()});
    const Dual y(r.y(), {-r.z(), 0, r.x()});
    const Dual z(r.z(), {r.y(), -r.x(), 0});
    const auto distorted = camera.lens().distort(calibration::NormalizedPoint<Dual>{x / z, y / z});
    for (const Dual& error : {camera.fx * distorted.x + camera.cx - pixels[i].x(),
                              camera.fy * distorted.y + camera.cy - pixels[i].y()}) {
      const Eigen::Map<const Eigen::Vector3d> row(error.derivatives.data());
      normal += row * row.transpose();
      gradient += row * error.value;
      squared += error.value * error.value;
    }
  }
  const Eigen::Vector3d w = -normal.inverse() * gradient;
  const Eigen::AngleAxisd rotation(w.norm(), w.stableNormalized());
  for (Eigen::Vector3d& ray : *rays) ray = rotation * ray;
  return std::sqrt(squared / static_cast<double>(rays->size()));
}

/// Root mean square distance in pixels, over the frame, between where `truth` and `fitted` image
/// the same rays, after the rotation of the rays that brings them closest; infinite when the fitted
/// lens folds or has a pole in the frame. The true one does not.
inline double mapDistance(const SyntheticCamera& truth, const SyntheticCamera& fitted,
                          const ImageSize& size) {
  if (!isRegular(fitted, size)) return std::numeric_limits<double>::infinity();
  const RadialBranch branch(truth.lens());
  std::vector<Eigen::Array2d> pixels;
  std::vector<Eigen::Vector3d> rays;
  for (int y = 0; y < 12; ++y) {
    for (int x = 0; x < 16; ++x) {
      pixels.emplace_back(size.width * (x + 0.5) / 16, size.height * (y + 0.5) / 12);
      rays.push_back(rayOfPixel(truth, branch, pixels.back()));
    }
  }
  double distance = 0;
  for (int i = 0; i < 8; ++i) distance = alignRays(fitted, pixels, &rays);
  return distance;
}

}  // namespace norv::testing

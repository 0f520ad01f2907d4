#pragma once

/// Inputs and outputs of calibrateFromSingleImage, for its tests.

#include <Eigen/Core>
#include <algorithm>
#include <array>
#include <optional>
#include <stdexcept>
#include <vector>

#include "support/single_image_calibration.h"
#include "testing/synthetic_view.h"

namespace norv::testing {

using DualProjection = calibration::OpenCVProjection<autodiff::AutoDiff1<double, 20>>;

/// What is handed to the fit.
struct SingleImageView {
  std::vector<Vector2_f> observed;
  std::vector<Vector2_f> reference;
  Eigen::Vector2i size = {1280, 960};
  double scale = 1;
};

/// A board before a camera, filling a share of the image. Sets the camera's pose, in squares.
inline SingleImageView see(const std::vector<Vector2_f>& board, const Eigen::Matrix3d& rotation,
                           const Eigen::Vector3d& ray, const ImageSize& size, double fill,
                           SyntheticCamera* camera) {
  if (!placeBoard(board, rotation, ray, size, fill, camera)) {
    throw std::logic_error("the board does not fit into the image");
  }
  SingleImageView view;
  view.reference = board;
  view.size = {size.width, size.height};
  const std::vector<Eigen::Array2d> pixels = *observe(*camera, board);
  for (const Eigen::Array2d& pixel : pixels) view.observed.push_back(pixel.cast<float>());
  return view;
}

/// The same on the optical axis, tilted by `tilt` degrees about an axis 30 degrees from the image's
/// rows.
inline SingleImageView seeTilted(const std::vector<Vector2_f>& board, double tilt,
                                 const ImageSize& size, SyntheticCamera* camera) {
  return see(board, boardRotation(tilt * kDegree, 30 * kDegree, 0), Eigen::Vector3d::UnitZ(), size,
             0.9, camera);
}

/// A view of a pinhole camera that fits without trouble.
inline SingleImageView goodView() {
  SyntheticCamera camera = makePinhole(1000, 1000, 640, 480);
  return seeTilted(gridPoints(7, 5), 20, ImageSize(), &camera);
}

struct SingleImageFit {
  double error_per_point;
  DualProjection projection;
};

inline SingleImageFit fit(const SingleImageView& view) {
  SingleImageFit result;
  result.error_per_point = calibration::calibrateFromSingleImage(
      view.observed, view.reference, view.size, view.scale, {7, 5}, &result.projection);
  return result;
}

/// The value parts: fx, fy, cx, cy, k1..k6, p1, p2, rotation and translation.
inline SyntheticCamera valuesOf(const DualProjection& p) {
  SyntheticCamera camera = makePinhole(p.fx.value, p.fy.value, p.cx.value, p.cy.value);
  setRadial({p.k1.value, p.k2.value, p.k3.value, p.k4.value, p.k5.value, p.k6.value}, &camera);
  camera.p1 = p.p1.value;
  camera.p2 = p.p2.value;
  const auto value = [](const auto& parameter) { return parameter.value; };
  std::transform(p.rotation.begin(), p.rotation.end(), camera.rotation.begin(), value);
  std::transform(p.translation.begin(), p.translation.end(), camera.translation.begin(), value);
  return camera;
}

/// All parameters, in the order of their declaration.
template <class T>
std::array<T, 24> parametersOf(const calibration::OpenCVProjection<T>& p) {
  std::array<T, 24> all = {p.fx, p.fy, p.cx, p.cy, p.k1, p.k2, p.k3, p.k4, p.k5, p.k6, p.p1, p.p2};
  std::copy(p.rotation.begin(), p.rotation.end(), all.begin() + 12);
  std::copy(p.translation.begin(), p.translation.end(), all.begin() + 21);
  return all;
}

/// The values of a fit's parameters, in the same order.
inline std::array<double, 24> fittedValues(const SingleImageView& view) {
  return parametersOf(valuesOf(fit(view).projection));
}

}  // namespace norv::testing

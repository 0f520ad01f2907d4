#include "support/fit/priors.h"

#include <algorithm>
#include <cmath>

#include "support/numeric/angles.h"

namespace norv::internal::fit {
namespace {

// Standard deviations. Square pixels, a principal point within some per cent of the centre and
// little tangential distortion hold for nearly every camera; the lens is left to the data.
constexpr double kLogAspectDeviation = 0.005;
constexpr double kCentreDeviation = 0.04;
constexpr double kTangentialDeviation = 0.005;
/// Of k_j r^(2 j), r the undistorted radius of the image corner: what the coefficient does there.
constexpr double kRadialDeviations[3] = {0.5, 0.5, 0.25};
/// No corner is believed to lie beyond this angle, where r goes to infinity.
constexpr double kMaxCorner = radians(70);
/// A fit from the pinhole family stays near a polynomial by so much narrower denominators.
constexpr double kPolynomialDenominator = 0.1;

}  // namespace

Priors::Priors(const LensFamily& family, double focal_length, const Eigen::Vector2d& half_size) {
  means_.setZero();
  means_[kLogFocal] = std::log(kUsualFocalLength);
  weights_[kLogFocal] = 1 / kLogFocalLengthDeviation;
  weights_[kLogAspect] = 1 / kLogAspectDeviation;
  weights_[kCx] = weights_[kCy] = 1 / kCentreDeviation;
  weights_[kP1] = weights_[kP2] = 1 / kTangentialDeviation;

  const double corner = fieldAngle(family, half_size.norm() / focal_length);
  const double squared_radius = std::pow(std::tan(std::min(corner, kMaxCorner)), 2);
  double power = squared_radius;
  for (int j = 0; j < 3; ++j, power *= squared_radius) {
    means_[kK1 + j] = family.k[static_cast<std::size_t>(j)];
    means_[kK1 + 3 + j] = family.k[static_cast<std::size_t>(j + 3)];
    const double weight = power / kRadialDeviations[j];
    weights_[kK1 + j] = weight;
    weights_[kK1 + 3 + j] = isPinhole(family) ? weight / kPolynomialDenominator : weight;
  }
}

Priors::Values Priors::deviations(const FittedCamera& camera) const {
  Values values = camera.intrinsics;
  const double log_fx = std::log(camera.intrinsics[kFx]);
  const double log_fy = std::log(camera.intrinsics[kFy]);
  values[kLogFocal] = (log_fx + log_fy) / 2;
  values[kLogAspect] = log_fx - log_fy;
  return (values - means_).cwiseProduct(weights_);
}

double Priors::cost(const FittedCamera& camera) const { return deviations(camera).squaredNorm(); }

void Priors::addRows(const FittedCamera& camera, double sigma, NormalEquations* equations) const {
  const Values residuals = sigma * deviations(camera);
  const Values slopes = sigma * weights_;
  // The two rows of the focal lengths: ln f rises by 0.5 / fx and 0.5 / fy, the aspect by 1 / fx
  // and -1 / fy.
  const Eigen::Vector2d inverse = camera.intrinsics.head<2>().cwiseInverse();
  Eigen::Matrix2d rows;
  rows << slopes[kLogFocal] * inverse[kFx] / 2, slopes[kLogFocal] * inverse[kFy] / 2,  //
      slopes[kLogAspect] * inverse[kFx], -slopes[kLogAspect] * inverse[kFy];
  equations->matrix.topLeftCorner<2, 2>() += rows.transpose() * rows;
  equations->gradient.head<2>() += rows.transpose() * residuals.head<2>();
  for (int i = kCx; i < kIntrinsicCount; ++i) {
    equations->matrix(i, i) += slopes[i] * slopes[i];
    equations->gradient[i] += slopes[i] * residuals[i];
  }
}

}  // namespace norv::internal::fit

#pragma once

#include <Eigen/Core>
#include <cstddef>
#include <vector>

#include "interop/fit/picture_rays.h"
#include "support/lens_distortion.h"

namespace norv::interop {

using LensCoefficients = Eigen::Matrix<double, 8, 1>;  ///< in storage order

calibration::LensDistortion<double> lensOf(const LensCoefficients& coefficients);

/// The derivative of a miss by the free coefficients.
using MissJacobian = Eigen::Matrix<double, 2, Eigen::Dynamic, 0, 2, 8>;

/// What a lens has to do: bring rays to their pixels, with some of its coefficients, the others
/// being zero. Lengths in the planes of the rays are in units of the farthest one's, so that all
/// coefficients are of one order. A plain value.
struct LensProblem {
  std::vector<RaySample> samples;  ///< in units of `unit`
  /// Takes such lengths to pixels.
  Eigen::Matrix2d to_pixels;
  /// The length of the farthest ray, tan(theta).
  double unit = 1;
  std::vector<std::size_t> free;  ///< indices in storage order, rising
};

/// The problem of a camera with these samples, camera matrix rows (fx, skew), (0, fy).
LensProblem makeProblem(std::vector<RaySample> samples, const Eigen::Matrix2d& to_pixels,
                        std::vector<std::size_t> free);

/// The lens that solves the problem as the coefficients, in units of the plane z = 1.
calibration::LensDistortion<double> inPlaneUnits(const LensProblem& problem,
                                                 const LensCoefficients& coefficients);

/// By what the coefficients are multiplied when the unit of length becomes `ratio` times as long.
LensCoefficients coefficientSizes(double ratio);

/// The inverse of `inPlaneUnits`; the coefficients that are not free become zero.
LensCoefficients inProblemUnits(const LensProblem& problem,
                                const calibration::LensDistortion<double>& lens);

/// By how many pixels the lens misses a sample.
Eigen::Vector2d missOf(const LensProblem& problem, const calibration::LensDistortion<double>& lens,
                       const RaySample& sample);

/// Its derivative.
MissJacobian missJacobian(const LensProblem& problem,
                          const calibration::LensDistortion<double>& lens, const RaySample& sample);

/// The derivative of the miss times the denominator and divided by that of `lens`, which is linear
/// in the coefficients.
MissJacobian linearJacobian(const LensProblem& problem,
                            const calibration::LensDistortion<double>& lens,
                            const RaySample& sample);

}  // namespace norv::interop

#include "support/camera_projection.h"

#include <cmath>
#include <limits>

#include "support/lens/lens_inverse.h"
#include "support/lens_distortion.h"
#include "support/numeric/lanes.h"

namespace norv {
namespace {

using internal::DoublePair;

/// A camera with its pose in double precision. Its elements are written out: Eigen's conversion of
/// small matrices takes three times as long as the whole projection.
class PosedCamera {
 public:
  PosedCamera(const Matrix4x4_f& camera_from_parent, const std::vector<float>& distortion,
              const Matrix3x3_f& k)
      : pose_(camera_from_parent.data()),
        k_(k.data()),
        lens_(calibration::lensFromCoefficients<double>(distortion.data(), distortion.size())) {}

  /// Pixel of the point (x, y, z) of the parent frame, or pixels of two of them.
  template <class Coordinate>
  calibration::NormalizedPoint<Coordinate> project(const Coordinate& x, const Coordinate& y,
                                                   const Coordinate& z) const {
    const auto row = [&](const float* m) {
      return at(m, 0) * x + at(m, 1) * y + at(m, 2) * z + at(m, 3);
    };
    const Coordinate depth = row(pose_ + 8);
    const auto p = lens_.distort(
        calibration::NormalizedPoint<Coordinate>{row(pose_) / depth, row(pose_ + 4) / depth});
    return {at(k_, 0) * p.x + at(k_, 1) * p.y + at(k_, 2),
            at(k_, 3) * p.x + at(k_, 4) * p.y + at(k_, 5)};
  }

 private:
  static double at(const float* m, int i) { return static_cast<double>(m[i]); }

  const float* pose_;  ///< row by row, this and the camera matrix
  const float* k_;
  calibration::LensDistortion<double> lens_;
};

Vector2_f toPixel(double u, double v) { return {static_cast<float>(u), static_cast<float>(v)}; }

Vector2_f projectOne(const PosedCamera& camera, const Vector3_f& point) {
  const auto pixel = camera.project(static_cast<double>(point.x()), static_cast<double>(point.y()),
                                    static_cast<double>(point.z()));
  return toPixel(pixel.x, pixel.y);
}

/// The i-th coordinates of two points.
DoublePair pair(const Vector3_f* points, int i) {
  return DoublePair{static_cast<double>(points[0][i]), static_cast<double>(points[1][i])};
}

}  // namespace

Vector2_f project3dToCamera(const CameraTransform& pose, const std::vector<float>& distortion,
                            const Matrix3x3_f& K, const Vector3_f& point) {
  return projectOne(PosedCamera(pose.transform, distortion, K), point);
}

void projectPoints(const CameraTransform& pose, const std::vector<float>& distortion,
                   const Matrix3x3_f& K, const Vector3_f* points, std::size_t count,
                   Vector2_f* pixels) {
  const PosedCamera camera(pose.transform, distortion, K);
  std::size_t i = 0;
  for (; i + 1 < count; i += 2) {
    const Vector3_f* const two = points + i;
    const auto pixel = camera.project(pair(two, 0), pair(two, 1), pair(two, 2));
    pixels[i] = toPixel(pixel.x[0], pixel.y[0]);
    pixels[i + 1] = toPixel(pixel.x[1], pixel.y[1]);
  }
  if (i < count) pixels[i] = projectOne(camera, points[i]);
}

namespace calibration {
namespace {

/// The inverse of a camera with a lens, for any number of pixels.
class Rectifier {
 public:
  Rectifier(const float* distortion, const float* principal_point, const float* focal_lengths)
      : cx_(static_cast<double>(principal_point[0])),
        cy_(static_cast<double>(principal_point[1])),
        fx_(static_cast<double>(focal_lengths[0])),
        fy_(static_cast<double>(focal_lengths[1])),
        lens_(lensFromCoefficients<double>(distortion, 8)) {}

  Vector2_f rectify(const Vector2_f& pixel) {
    // An infinite focal length would put every pixel at the centre.
    if (!std::isfinite(fx_) || !std::isfinite(fy_)) return {kNaN, kNaN};
    const NormalizedPoint<double> p =
        lens_.undistort({(static_cast<double>(pixel.x()) - cx_) / fx_,
                         (static_cast<double>(pixel.y()) - cy_) / fy_});
    // False for NaN too.
    if (!(std::abs(p.x) <= kMaxFloat && std::abs(p.y) <= kMaxFloat)) return {kNaN, kNaN};
    return {static_cast<float>(p.x), static_cast<float>(p.y)};
  }

 private:
  static constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  static constexpr auto kMaxFloat = static_cast<double>(std::numeric_limits<float>::max());

  double cx_;
  double cy_;
  double fx_;
  double fy_;
  internal::LensInverse lens_;
};

}  // namespace

Vector2_f rectifyPoint(const float* distortion, const float* principal_point,
                       const float* focal_lengths, const Vector2_f& pixel) {
  return Rectifier(distortion, principal_point, focal_lengths).rectify(pixel);
}

void rectifyPoints(const float* distortion, const float* principal_point,
                   const float* focal_lengths, const Vector2_f* pixels, std::size_t count,
                   Vector2_f* points) {
  Rectifier rectifier(distortion, principal_point, focal_lengths);
  for (std::size_t i = 0; i < count; ++i) points[i] = rectifier.rectify(pixels[i]);
}

}  // namespace calibration
}  // namespace norv

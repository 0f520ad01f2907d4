#include "calibration_common/camera_models.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string_view>
#include <vector>

#include "support/single_image_calibration.h"

namespace norv::internal {
namespace {

/// A fit that misses the sample points by more, in pixels, is of no use.
constexpr double kMaxErrorPerPoint = 10.0;

/// How far `camera` images each reference point, on the target's plane and in units of `scale`
/// metres, from where it was observed, in pixels.
std::vector<float> findResiduals(const calibration::OpenCVProjection<double>& camera,
                                 const std::vector<Vector2_f>& observed,
                                 const std::vector<Vector2_f>& reference, double scale) {
  std::vector<float> residuals;
  residuals.reserve(observed.size());
  for (std::size_t i = 0; i < observed.size(); ++i) {
    const std::array<double, 2> pixel =
        camera.project({scale * static_cast<double>(reference[i].x()),
                        scale * static_cast<double>(reference[i].y()), 0});
    const double x = pixel[0] - static_cast<double>(observed[i].x());
    const double y = pixel[1] - static_cast<double>(observed[i].y());
    residuals.push_back(static_cast<float>(std::hypot(x, y)));
  }
  return residuals;
}

}  // namespace

CameraModel findModel(std::string_view id) {
  if (id == "mk512h") return CameraModel::kCorvelHead;
  if (id == "mk513n") return CameraModel::kCorvelNav;
  if (id == "b910") return CameraModel::kB910;
  return CameraModel::kOther;
}

/// The head camera's lens, by which its sensor warps the 640 x 480 image: distance from the
/// image centre in pixels of the 1280 x 960 frame every 10 pixels, and field angle in degrees. It
/// is a stereographic lens of 720 pixels focal length.
calibration::AptinaSTE makeCorvelHeadTransform() {
  const std::vector<float> angles = {
      0.0F,  0.8F,  1.6F,  2.4F,  3.2F,  4.0F,  4.8F,  5.6F,  6.4F,  7.2F,   //
      7.9F,  8.7F,  9.5F,  10.3F, 11.1F, 11.9F, 12.7F, 13.5F, 14.3F, 15.0F,  //
      15.8F, 16.6F, 17.4F, 18.1F, 18.9F, 19.7F, 20.5F, 21.2F, 22.0F, 22.8F,  //
      23.5F, 24.3F, 25.1F, 25.8F, 26.6F, 27.3F, 28.1F, 28.8F, 29.6F, 30.3F,  //
      31.0F, 31.8F, 32.5F, 33.3F, 34.0F, 34.7F, 35.4F, 36.2F, 36.9F, 37.6F,  //
      38.3F, 39.0F, 39.7F, 40.4F, 41.1F, 41.8F, 42.5F, 43.2F, 43.9F, 44.6F,  //
      45.2F, 45.9F, 46.6F, 47.3F, 47.9F, 48.6F, 49.2F, 49.9F, 50.6F, 51.2F,  //
      51.8F, 52.5F, 53.1F, 53.8F, 54.4F, 55.0F, 55.6F, 56.3F, 56.9F, 57.5F,  //
      58.1F, 58.7F, 59.3F, 59.9F, 60.5F, 61.1F, 61.7F, 62.3F, 62.9F, 63.4F,  //
      64.0F, 64.6F, 65.1F, 65.7F, 66.3F, 66.8F, 67.4F, 67.9F, 68.5F, 69.0F,
  };
  std::vector<float> radii(angles.size());
  for (std::size_t i = 0; i < radii.size(); ++i) radii[i] = 10.0F * static_cast<float>(i);
  return calibration::AptinaSTE(640, 480, 0.9F, radii, angles);
}

bool FittedView::isUsable() const { return !(error_per_point > kMaxErrorPerPoint); }

calibration::OpenCVProjection<double> valuesOf(
    const calibration::OpenCVProjection<autodiff::AutoDiff1<double, 20>>& fitted) {
  const auto value = [](const auto& dual) { return dual.value; };
  calibration::OpenCVProjection<double> values = {
      fitted.fx.value, fitted.fy.value, fitted.cx.value, fitted.cy.value,
      fitted.k1.value, fitted.k2.value, fitted.k3.value, fitted.k4.value,
      fitted.k5.value, fitted.k6.value, fitted.p1.value, fitted.p2.value};
  std::transform(fitted.rotation.begin(), fitted.rotation.end(), values.rotation.begin(), value);
  std::transform(fitted.translation.begin(), fitted.translation.end(), values.translation.begin(),
                 value);
  return values;
}

FittedView fitWarpedView(const calibration::CameraIntrinsics& intrinsics,
                         const calibration::ImageSensorTransform& transform) {
  std::vector<Vector2_f> observed;
  std::vector<Vector2_f> reference;
  for (const calibration::SamplePoint& sample : intrinsics.samples()) {
    observed.push_back(transform.transformPoint({sample.image_x(), sample.image_y()}));
    reference.emplace_back(sample.model_x(), sample.model_y());
  }
  const auto scale = static_cast<double>(intrinsics.sample_scale());
  FittedView fitted;
  fitted.error_per_point = calibration::calibrateFromSingleImage(
      observed, reference, {intrinsics.width(), intrinsics.height()}, scale,
      {intrinsics.sample_size_x(), intrinsics.sample_size_y()}, &fitted.camera);
  if (std::isfinite(fitted.error_per_point)) {
    // As the fit takes the scale.
    const double metres = std::isfinite(scale) && scale > 0 ? scale : 1.0;
    fitted.residuals = findResiduals(valuesOf(fitted.camera), observed, reference, metres);
  }
  return fitted;
}

}  // namespace norv::internal

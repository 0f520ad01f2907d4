#include "tools/aim/aim_search.h"
#include "tools/angles.h"

namespace norv::tools {
namespace {

using calibration::AimPlace;
using calibration::AimTarget;
using calibration::AimZoom;
using Eigen::Vector2d;
using Eigen::Vector3d;

AimTarget targetOf(const SearchOptions& options) {
  if (options.box) {
    const auto& b = *options.box;
    return calibration::BoxTarget{{b[0], b[1]}, {b[2], b[3]}, *options.distance};
  }
  const auto& points = options.points;
  if (points.empty()) {
    return calibration::PixelTarget{{(*options.pixel)[0], (*options.pixel)[1]}, *options.distance};
  }
  if (points.size() > 1) {
    return calibration::PointsTarget{{points.front().data(), 3}, points.size()};
  }
  return targetAt(options, Vector3d(points[0][0], points[0][1], points[0][2]));
}

void setPlace(const SearchOptions& options, calibration::AimRequest* request) {
  request->place = options.place.value_or(AimPlace::kImageMiddle);
  const bool is_target = options.distance.has_value();  // never given where the pixel is the place
  if (!options.pixel || is_target) return;
  request->place = AimPlace::kPixel;
  request->pixel = Vector2d((*options.pixel)[0], (*options.pixel)[1]);
}

void setZoom(const SearchOptions& options, calibration::AimRequest* request) {
  if (options.fov) {
    request->zoom = AimZoom::kFieldOfView;
    request->zoom_value = radians(*options.fov);
  } else if (options.focal) {
    request->zoom = AimZoom::kFocalLength;
    request->zoom_value = *options.focal;
  } else if (options.fill || options.box) {
    request->zoom = AimZoom::kFill;
    request->zoom_value = options.fill.value_or(1);
  }
}

}  // namespace

AimTarget targetAt(const SearchOptions& options, const Vector3d& point) {
  if (options.radius) return calibration::SphereTarget{point, *options.radius};
  return calibration::PointTarget{point};
}

calibration::AimRequest requestOf(const SearchOptions& options,
                                  const calibration::MotorPositions& now) {
  const bool has_target = options.box || options.distance || !options.points.empty();
  calibration::AimRequest request = {
      has_target ? targetOf(options) : AimTarget(calibration::PointTarget{Vector3d::Zero()}), now};
  setPlace(options, &request);
  setZoom(options, &request);
  request.choice = options.choice.value_or(calibration::AimChoice::kNearest);
  return request;
}

}  // namespace norv::tools

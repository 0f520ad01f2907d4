#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "support/camera/image_border.h"
#include "support/camera/prepared_camera.h"
#include "support/camera/valid_region.h"
#include "support/numeric/infinity.h"
#include "support/rectified_view.h"

namespace norv::calibration {
namespace {

using Eigen::Vector2d;
using internal::kInfinity;
using internal::PlaneBox;
using internal::ValidRegion;
using internal::ViewPlane;

/// What a view shows, in the plane of views with the camera's focal lengths: its upper left corner,
/// and the side of one of its pixels.
struct Frame {
  Vector2d corner;
  double scale;
};

/// The scales at which the rectangle from -`below` to `above` lies within a box, or (`is_around`)
/// around it; low above high where there is none.
internal::Range scalesOf(const PlaneBox& box, const Vector2d& below, const Vector2d& above,
                         bool is_around) {
  internal::Range scales{0, kInfinity};
  const auto keepProductBelow = [&](double factor, double bound) {
    if (factor > 0) scales.high = std::min(scales.high, bound / factor);
    if (factor < 0) scales.low = std::max(scales.low, bound / factor);
    if (factor == 0 && bound < 0) scales.high = -1;
  };
  const double sign = is_around ? -1 : 1;
  for (const int axis : {0, 1}) {
    keepProductBelow(sign * below[axis], -sign * box.low[axis]);
    keepProductBelow(sign * above[axis], sign * box.high[axis]);
  }
  return scales;
}

/// One request for a view.
class Fit {
 public:
  Fit(const CameraModel& camera, int width, int height, const ViewOptions& options)
      : camera_(internal::prepare(camera)),
        size_(width, height),
        options_(options),
        plane_{options.view_from_camera, camera.fx, focalLengthY(camera, options)} {}

  bool isSound() const {
    const CameraModel& camera = camera_.model;
    return camera_.isUsable() && camera.fx != 0 && camera.fy != 0 && camera.width > 0 &&
           camera.height > 0 && size_.minCoeff() > 0 && options_.margin >= 0 &&
           options_.aspect.value_or(1) > 0 && std::isfinite(plane_.fy) && plane_.fy != 0 &&
           isRotation(options_.view_from_camera);
  }

  /// The largest frame of valid pixels.
  std::optional<Frame> validOnly() const {
    const CameraModel& camera = camera_.model;
    if (2 * options_.margin >= std::min(camera.width, camera.height)) return std::nullopt;
    const ValidRegion region = validRegion();
    if (options_.centre != ViewCentre::kFree) return validAboutAxis(region);
    const internal::Placement placement = region.largest(0.5 * size_);
    return frameAt(placement.centre - placement.scale * 0.5 * size_, placement.scale);
  }

  /// The smallest frame that shows the whole image.
  std::optional<Frame> wholeImage() const {
    const auto box = wholeBox();
    if (!box) return std::nullopt;
    if (options_.centre != ViewCentre::kFree) {
      const Vector2d centre = principalPoint();
      const internal::Range scales = scalesOf(*box, centre, size_ - centre, true);
      return frameAboutAxis(scales, scales.low);
    }
    const double scale = (box->high - box->low).cwiseQuotient(size_).maxCoeff();
    return frameAt(0.5 * (box->low + box->high) - scale * 0.5 * size_, scale);
  }

  ValidRegion validRegion() const { return ValidRegion(camera_, options_.margin, plane_); }

  /// The box around all of the border; none where a part of that is not to be seen.
  std::optional<PlaneBox> wholeBox() const {
    // What parabolas through three samples are off by is far less.
    const internal::ImageBorder border = internal::imageBorder(camera_, 0, plane_, 1e-7);
    if (!border.is_imaged || !border.is_in_front) return std::nullopt;
    return internal::boundingBox(border);
  }

  std::optional<RectifiedView> viewOf(const Frame& frame) const {
    RectifiedView view;
    view.width = static_cast<int>(size_.x());
    view.height = static_cast<int>(size_.y());
    view.fx = plane_.fx / frame.scale;
    view.fy = plane_.fy / frame.scale;
    view.cx = -frame.corner.x() / frame.scale;
    view.cy = -frame.corner.y() / frame.scale;
    view.view_from_camera = options_.view_from_camera;
    const std::array<double, 4> all = {view.fx, view.fy, view.cx, view.cy};
    const bool is_finite =
        std::all_of(all.begin(), all.end(), [](double x) { return std::isfinite(x); });
    if (!is_finite || view.fx == 0 || view.fy == 0) return std::nullopt;
    return view;
  }

 private:
  static double focalLengthY(const CameraModel& camera, const ViewOptions& options) {
    if (!options.aspect) return camera.fy;
    return std::copysign(camera.fx / *options.aspect, camera.fy);
  }

  /// To single precision, as stored poses are.
  static bool isRotation(const Eigen::Matrix3d& m) {
    return (m * m.transpose() - Eigen::Matrix3d::Identity()).norm() < 1e-5 && m.determinant() > 0;
  }

  static std::optional<Frame> frameAt(const Vector2d& corner, double scale) {
    if (!(scale > 0) || !std::isfinite(scale) || !corner.allFinite()) return std::nullopt;
    return Frame{corner, scale};
  }

  /// Where the optical axis is to lie in the view.
  Vector2d principalPoint() const {
    if (options_.centre == ViewCentre::kMiddle) return 0.5 * size_;
    const CameraModel& camera = camera_.model;
    return {size_.x() * (camera.cx / camera.width), size_.y() * (camera.cy / camera.height)};
  }

  std::optional<Frame> validAboutAxis(const ValidRegion& region) const {
    const Vector2d centre = principalPoint();
    const Vector2d above = size_ - centre;
    if (centre.minCoeff() > 0 && above.minCoeff() > 0) {
      const double scale = region.scaleAbout({0, 0}, {centre, above});
      return frameAt(-scale * centre, scale);
    }
    // The axis does not lie in the view, which grows and moves at once: within a fixed rectangle.
    const auto box = region.widest(0.5 * size_);
    if (!box) return std::nullopt;
    const internal::Range scales = scalesOf(*box, centre, above, false);
    return frameAboutAxis(scales, scales.high);
  }

  /// Scales that rounding alone makes impossible count.
  std::optional<Frame> frameAboutAxis(const internal::Range& scales, double scale) const {
    if (!(scales.low <= scales.high * (1 + 1e-9))) return std::nullopt;
    return frameAt(-scale * principalPoint(), scale);
  }

  internal::PreparedCamera camera_;
  Vector2d size_;
  ViewOptions options_;
  ViewPlane plane_;
};

double mixed(double alpha, double at_0, double at_1) { return (1 - alpha) * at_0 + alpha * at_1; }

bool isShare(double alpha) { return alpha >= 0 && alpha <= 1; }

std::optional<Frame> frameOf(const Fit& fit, double alpha) {
  if (alpha == 0) return fit.validOnly();
  std::optional<Frame> whole = fit.wholeImage();
  if (alpha == 1 || !whole) return whole;
  const std::optional<Frame> valid = fit.validOnly();
  if (!valid) return std::nullopt;
  return Frame{(1 - alpha) * valid->corner + alpha * whole->corner,
               mixed(alpha, valid->scale, whole->scale)};
}

/// The rectangle of `naturalViewSize`.
std::optional<PlaneBox> naturalBox(const CameraModel& camera, const Fit& fit, double alpha) {
  PlaneBox box{{0, 0}, {0, 0}};
  if (alpha < 1) {
    const auto valid = fit.validRegion().widest(0.5 * Vector2d(camera.width, camera.height));
    if (!valid) return std::nullopt;
    box = *valid;
  }
  if (alpha == 0) return box;
  const auto whole = fit.wholeBox();
  if (!whole) return std::nullopt;
  return PlaneBox{(1 - alpha) * box.low + alpha * whole->low,
                  (1 - alpha) * box.high + alpha * whole->high};
}

}  // namespace

CameraModel cameraOf(const RectifiedView& view) {
  return {view.width, view.height, view.fx, view.fy, 0, view.cx, view.cy, {}};
}

std::optional<RectifiedView> fitView(const CameraModel& camera, int width, int height, double alpha,
                                     const ViewOptions& options) {
  const Fit fit(camera, width, height, options);
  if (!isShare(alpha) || !fit.isSound()) return std::nullopt;
  const std::optional<Frame> frame = frameOf(fit, alpha);
  return frame ? fit.viewOf(*frame) : std::nullopt;
}

std::optional<RectifiedView> fitView(const CameraModel& camera, int width, int height, ViewFit fit,
                                     const ViewOptions& options) {
  return fitView(camera, width, height, fit == ViewFit::kValidOnly ? 0.0 : 1.0, options);
}

std::optional<PixelSize> naturalViewSize(const CameraModel& camera, double alpha) {
  const Fit fit(camera, camera.width, camera.height, {});
  if (!isShare(alpha) || !fit.isSound()) return std::nullopt;
  const auto box = naturalBox(camera, fit, alpha);
  if (!box) return std::nullopt;
  // Whole pixels that rounding has moved by a little are still those.
  constexpr double kRounding = 1e-6;
  const Eigen::Array2d size = (box->high - box->low).array();
  const Eigen::Array2d whole =
      alpha == 0 ? (size + kRounding).floor().eval() : (size - kRounding).ceil().eval();
  if (!(whole.minCoeff() >= 1) || !(whole.maxCoeff() <= std::numeric_limits<int>::max())) {
    return std::nullopt;
  }
  return PixelSize{static_cast<int>(whole.x()), static_cast<int>(whole.y())};
}

}  // namespace norv::calibration

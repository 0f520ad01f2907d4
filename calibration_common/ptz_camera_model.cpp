#include "calibration_common/ptz_camera_model.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "calibration_common/stored_pose.h"
#include "calibration_common/zoom_lens.h"
#include "support/camera_projection.h"
#include "support/checks.h"
#include "support/logging.h"
#include "support/numeric/homogeneous.h"
#include "support/numeric/saturate.h"

namespace norv::calibration {
namespace {

constexpr const char* kChannel = "ptz_camera_model";

/// No zoom asks for a longer lens, pixels.
constexpr float kMaxFocalLength = 1e6F;
/// Added to distances from the optical axis, in focal lengths, that are divided by.
constexpr float kMinDistance = 1e-6F;

/// The ray of normalised image coordinates in another frame: (x, y, 1), rotated and not moved.
Vector3_f rotateRay(const Matrix4x4_f& m, const Vector2_f& normalized) {
  return internal::xyz(m * internal::Vector4_f(normalized.x(), normalized.y(), 1, 0));
}

/// Motor positions, rounded and limited, at which the optical axis meets a world point. Nothing is
/// written when there are none.
bool findMotorPositions(const PTZCameraModel& model, const Vector3_f& target, int* pan, int* tilt) {
  float exact_pan = 0;
  float exact_tilt = 0;
  if (!model.getPanTiltModel().computePanTilt(target, Vector2_f(0, 0), &exact_pan, &exact_tilt)) {
    return false;
  }
  *pan = internal::truncateToInt(static_cast<double>(std::round(exact_pan)));
  *tilt = internal::truncateToInt(static_cast<double>(std::round(exact_tilt)));
  limitToMotorRange(model.getParams().pan_tilt(), pan, tilt);
  return true;
}

/// Normalised image coordinates of the box's corners, the two given ones first.
std::array<Vector2_f, 4> rectifyBox(const PTZCameraModelConfiguration& camera,
                                    const Vector2_f& corner, const Vector2_f& opposite) {
  std::array<Vector2_f, 4> box = {corner, opposite, Vector2_f(corner.x(), opposite.y()),
                                  Vector2_f(opposite.x(), corner.y())};
  const Matrix3x3_f& k = camera.getIntrinsics();
  const float principal_point[] = {k(0, 2), k(1, 2)};
  const float focal_lengths[] = {k(0, 0), k(1, 1)};
  rectifyPoints(camera.getDistortion().data(), principal_point, focal_lengths, box.data(),
                box.size(), box.data());
  return box;
}

/// The longest focal length, pixels, at which all corners of the box are within the picture once
/// the head has turned.
float maxFocalLength(const PTZCameraModelConfiguration& camera, const std::array<Vector2_f, 4>& box,
                     int pan, int tilt) {
  const PTZIntrinsicsTable& table = camera.getModel()->getParams().intrinsics();
  const CameraTransform turned = camera.getModel()->getPanTiltModel().getFullTransform(
      static_cast<float>(pan), static_cast<float>(tilt));
  const Matrix4x4_f turned_from_current = turned.transform * camera.getCameraTransform().inverse;
  const float half_width = 0.5F * static_cast<float>(table.image_width());
  const float half_height = 0.5F * static_cast<float>(table.image_height());
  float longest = kMaxFocalLength;
  for (const Vector2_f& corner : box) {
    const Vector3_f p = rotateRay(turned_from_current, corner);
    longest = std::min(longest, half_width / (std::abs(p.x() / p.z()) + kMinDistance));
    longest = std::min(longest, half_height / (std::abs(p.y() / p.z()) + kMinDistance));
  }
  return longest;
}

}  // namespace

PTZCameraModel::PTZCameraModel(const PTZCameraParameters& params) : params_(params) {
  const auto& samples = params_.intrinsics().samples();
  if (samples.empty()) {
    NORV_LOG(kLogError, kChannel) << "Invalid intrinsics";
    return;
  }
  if (!pan_tilt_model_.readFromPB(params_.pan_tilt())) {
    NORV_LOG(kLogError, kChannel) << "Invalid pan_tilt parameters";
    return;
  }
  if (samples.size() >= 2) {
    max_zoom_factor_ =
        static_cast<float>(samples[samples.size() - 1].focal_length() / samples[0].focal_length());
  }
  valid_ = true;
}

std::optional<LoadProblem> findLoadProblem(const PTZCameraParameters& params) {
  if (params.intrinsics().samples().empty()) {
    return LoadProblem{"intrinsics.samples", "there are no lens samples"};
  }
  const PanTiltSystemParameters& head = params.pan_tilt();
  using internal::findShortPose;
  if (auto problem = findShortPose("pan_tilt.base_to_pan", head.base_to_pan())) return problem;
  if (auto problem = findShortPose("pan_tilt.pan_to_tilt", head.pan_to_tilt())) return problem;
  return findShortPose("pan_tilt.tilt_to_camera", head.tilt_to_camera());
}

int PTZCameraModel::getIntrinsicsIndex(int zoom) const {
  const std::int64_t interval = params_.intrinsics().zoom_interval();
  if (interval == 0) return 0;
  return internal::clampToInt((std::int64_t{zoom} - params_.intrinsics().zoom_start()) / interval);
}

const PTZIntrinsicsItem* PTZCameraModel::getIntrinsics(int index) const {
  NORV_CHECK_GT(params_.intrinsics().samples_size(), 0);
  const int count = params_.intrinsics().samples_size();
  // For a logger that lets the failed check pass.
  if (count == 0) return &PTZIntrinsicsItem::default_instance();
  return &params_.intrinsics().samples(std::min(std::max(index, 0), count - 1));
}

int PTZCameraModel::zoomXFactorToSteps(float factor) const {
  const auto& samples = params_.intrinsics().samples();
  if (samples.size() < 2 || factor < 1.0F) return 0;
  const double focal_length = static_cast<double>(factor) * samples[0].focal_length();
  for (int i = 1; i < samples.size(); ++i) {
    const PTZIntrinsicsItem& a = samples[i - 1];
    const PTZIntrinsicsItem& b = samples[i];
    if (!(b.focal_length() >= focal_length)) continue;
    return internal::truncateToInt(
        std::round((focal_length - a.focal_length()) * (b.zoom() - a.zoom()) /
                       (b.focal_length() - a.focal_length()) +
                   a.zoom()));
  }
  return internal::truncateToInt(std::round(samples[samples.size() - 1].zoom()));
}

float PTZCameraModel::stepsToZoomXFactor(int steps) const {
  const int count = params_.intrinsics().samples_size();
  if (count < 2) return 1.0F;
  const int position = std::max(steps, 0);
  const int index = getIntrinsicsIndex(position);
  const PTZIntrinsicsItem* a = getIntrinsics(index);
  double focal_length = a->focal_length();
  if (index < count - 1) {
    const PTZIntrinsicsItem* b = getIntrinsics(index + 1);
    const double t = (b->zoom() - position) / (b->zoom() - a->zoom());
    focal_length = t * a->focal_length() + (1 - t) * b->focal_length();
  }
  const auto factor = static_cast<float>(focal_length / getIntrinsics(0)->focal_length());
  return factor > 1.0F ? factor : 1.0F;  // 1 for NaN too
}

PTZCameraModelConfiguration::PTZCameraModelConfiguration(const PTZCameraModelPtr& model, int pan,
                                                         int tilt, int zoom)
    : model_(model), pan_(pan), tilt_(tilt), zoom_(zoom) {
  camera_transform_ = model_->getPanTiltModel().getFullTransform(static_cast<float>(pan_),
                                                                 static_cast<float>(tilt_));
  blendLenses();
}

/// Sets the lens from the samples on both sides of the zoom position.
void PTZCameraModelConfiguration::blendLenses() {
  const std::int64_t index = model_->getIntrinsicsIndex(zoom_);
  const PTZIntrinsicsItem& a = *model_->getIntrinsics(internal::clampToInt(index));
  const PTZIntrinsicsItem& b = *model_->getIntrinsics(internal::clampToInt(index + 1));
  // At and beyond the last sample the two are one, and nothing of the lens is finite.
  const internal::ZoomLens blend = internal::blendLenses(a, b, zoom_);
  NORV_LOG_FORMAT(kLogInfo, kChannel, "zoom=%d a1=%f, a2=%f", zoom_, blend.weight_a,
                  blend.weight_b);
  NORV_LOG_FORMAT(kLogInfo, kChannel, "f1=%f k11=%f k41=%f | f2=%f k12=%f k42=%f", a.focal_length(),
                  a.k1(), a.k4(), b.focal_length(), b.k1(), b.k4());

  const auto coefficients = blend.lens.toCoefficients();
  distortion_.assign(coefficients.begin(), coefficients.end());
  principal_point_[0] = static_cast<float>(blend.cx);
  principal_point_[1] = static_cast<float>(blend.cy);
  focal_lengths_[0] = focal_lengths_[1] = static_cast<float>(blend.focal_length);
  K_ << focal_lengths_[0], 0.0F, principal_point_[0],  //
      0.0F, focal_lengths_[1], principal_point_[1],    //
      0.0F, 0.0F, 1.0F;
}

Vector3_f PTZCameraModelConfiguration::getCameraCenter() const {
  return camera_transform_.getCameraCenter();
}

Vector2_f PTZCameraModelConfiguration::project3dToCamera(const Vector3_f& point) const {
  return norv::project3dToCamera(camera_transform_, distortion_, K_, point);
}

Vector3_f PTZCameraModelConfiguration::projectPixelToRay(const Vector2_f& pixel) const {
  return rotateRay(
      camera_transform_.inverse,
      calibration::rectifyPoint(distortion_.data(), principal_point_, focal_lengths_, pixel));
}

Vector2_f PTZCameraModelConfiguration::rectifyPoint(const Vector2_f& point) const {
  const PTZIntrinsicsTable& table = model_->getParams().intrinsics();
  const Vector2_f pixel(point.x() * static_cast<float>(table.image_width()),
                        point.y() * static_cast<float>(table.image_height()));
  return calibration::rectifyPoint(distortion_.data(), principal_point_, focal_lengths_, pixel);
}

void PTZCameraModelConfiguration::getCameraParameters(int /*width*/, int /*height*/,
                                                      CameraParameters* /*camera*/) const {}

bool PTZCameraModelConfiguration::getPanTilt(const Vector3_f& world, const Vector2_f& pixel,
                                             float* pan, float* tilt) const {
  const Vector2_f normalized =
      calibration::rectifyPoint(distortion_.data(), principal_point_, focal_lengths_, pixel);
  return model_->getPanTiltModel().computePanTilt(world, normalized, pan, tilt);
}

bool PTZCameraModelConfiguration::getPanTilt(const Vector2_f& pixel, int* pan, int* tilt) const {
  const Vector3_f target = getCameraCenter() + projectPixelToRay(pixel).normalized();
  return findMotorPositions(*model_, target, pan, tilt);
}

bool PTZCameraModelConfiguration::getPanTiltZoom(const Vector2_f& corner, const Vector2_f& opposite,
                                                 int* pan, int* tilt, int* zoom) const {
  const std::array<Vector2_f, 4> box = rectifyBox(*this, corner, opposite);
  // The sum of two unit vectors bisects the angle between them.
  const Vector3_f target = getCameraCenter() +
                           rotateRay(camera_transform_.inverse, box[0]).normalized() +
                           rotateRay(camera_transform_.inverse, box[1]).normalized();
  if (!findMotorPositions(*model_, target, pan, tilt)) return false;
  const double longest = static_cast<double>(maxFocalLength(*this, box, *pan, *tilt));
  const PTZIntrinsicsTable& table = model_->getParams().intrinsics();
  if (table.samples().empty()) return false;
  const internal::ZoomPosition found = internal::zoomForFocalLength(table, longest);
  *zoom = found.steps;
  if (found.lower == nullptr) {
    NORV_LOG(kLogInfo, kChannel) << longest << " " << *pan << " " << *tilt << " " << *zoom;
  } else {
    NORV_LOG(kLogInfo, kChannel) << longest << " " << *pan << " " << *tilt << " "
                                 << found.lower->DebugString() << " " << found.upper->DebugString()
                                 << " " << *zoom;
  }
  return true;
}

}  // namespace norv::calibration

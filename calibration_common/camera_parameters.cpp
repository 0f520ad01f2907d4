#include "calibration_common/camera_parameters.h"

#include <google/protobuf/arena.h>

#include <cstddef>
#include <utility>

#include "calibration_common/base_calibration_data.h"
#include "calibration_common/stored_pose.h"
#include "support/checks.h"
#include "support/file.h"
#include "support/logging.h"
#include "support/message_parsing.h"
#include "support/sensor_transform.h"
#include "support/single_image_calibration.h"

/// Log statements record the signature of their function as it is spelled; this is the spelling by
/// which programs that read the logs know the functions below.
using string = std::string;

namespace norv::calibration {
namespace {

constexpr const char* kChannel = "camera_parameters";

/// A fit that misses the sample points by more, in pixels, is of no use.
constexpr double kMaxErrorPerPoint = 10.0;

/// A rectangle of the full frame and the image size that it is delivered at, pixels.
struct Crop {
  int x0;
  int y0;
  int source_width;
  int source_height;
  int target_width;
  int target_height;
};

/// Head and navigation cameras: the whole frame halved, the whole frame, and its central 720 lines.
constexpr Crop kWideCrops[] = {
    {0, 0, 1280, 960, 640, 480},
    {0, 0, 1280, 960, 1280, 960},
    {0, 120, 1280, 720, 1280, 720},
};

constexpr Crop kB910Crops[] = {
    {176, 136, 2232, 1672, 640, 480},
    {176, 136, 2232, 1672, 800, 600},
    {176, 136, 2232, 1672, 1024, 768},
    {176, 136, 2232, 1672, 1280, 960},
};

Matrix3x3_f cameraMatrix(const CameraParameters::Intrinsics& in) {
  Matrix3x3_f k;
  k << in.fx, in.skew, in.cx,  //
      0.0F, in.fy, in.cy,      //
      0.0F, 0.0F, 1.0F;
  return k;
}

CameraParameters::Intrinsics applyCrop(const CameraParameters& camera,
                                       const CameraParameters::Intrinsics& in, const Crop& crop) {
  CameraParameters::Intrinsics out;
  camera.affineIntrinsics(in, crop.x0, crop.y0, crop.source_width, crop.source_height,
                          crop.target_width, crop.target_height, &out);
  return out;
}

/// Table of a camera that delivers plain crops of its full frame.
template <std::size_t N>
void fillTable(const CameraParameters& camera, const Crop (&crops)[N],
               std::vector<CameraParameters::Intrinsics>* table) {
  table->resize(N);
  for (std::size_t i = 0; i < N; ++i) {
    (*table)[i] = applyCrop(camera, camera.getFullFrame(), crops[i]);
  }
}

/// The head camera's lens, by which its sensor rectifies the 640 x 480 image: distance from the
/// image centre in pixels of the 1280 x 960 frame every 10 pixels, and field angle in degrees. It
/// is a stereographic lens of 720 pixels focal length.
AptinaSTE makeCorvelHeadTransform() {
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
  return AptinaSTE(640, 480, 0.9F, radii, angles);
}

/// The part of a fitted projection that describes the camera, apart from the image size.
void storeIntrinsics(const OpenCVProjection<autodiff::AutoDiff1<double, 20>>& fitted,
                     CameraParameters::Intrinsics* out) {
  out->fx = static_cast<float>(fitted.fx.value);
  out->fy = static_cast<float>(fitted.fy.value);
  out->skew = 0;
  out->cx = static_cast<float>(fitted.cx.value);
  out->cy = static_cast<float>(fitted.cy.value);
  const double distortion[] = {fitted.k1.value, fitted.k2.value, fitted.p1.value, fitted.p2.value,
                               fitted.k3.value, fitted.k4.value, fitted.k5.value, fitted.k6.value};
  out->distortion.resize(std::size(distortion));
  for (std::size_t i = 0; i < std::size(distortion); ++i) {
    out->distortion[i] = static_cast<float>(distortion[i]);
  }
}

}  // namespace

/// The camera's own message, with all that belongs to it in a few blocks of memory. A copy on the
/// heap has each of its sample points there on its own, which takes longer than to parse them.
struct CameraParameters::CalibrationCopy {
  CalibrationCopy()
      : arena(first_block, sizeof(first_block)),
        message(google::protobuf::Arena::CreateMessage<CameraCalibration>(&arena)) {}

  /// Room for a camera without sample points.
  alignas(std::max_align_t) char first_block[1024];
  google::protobuf::Arena arena;
  CameraCalibration* message;
};

CameraParameters::CameraParameters()
    : rotation_(Matrix3x3_f::Zero()),
      translation_(Vector3_f::Zero()),
      calibration_(std::make_unique<CalibrationCopy>()) {}

CameraParameters::~CameraParameters() = default;

bool CameraParameters::readProto(const CameraCalibration& calibration) {
  calibration_->message->CopyFrom(calibration);
  const CameraIntrinsics& intrinsics = calibration.intrinsics();
  const CameraExtrinsics& extrinsics = calibration.extrinsics();
  full_frame_.width = intrinsics.width();
  full_frame_.height = intrinsics.height();
  full_frame_.fx = static_cast<float>(intrinsics.fx());
  full_frame_.fy = static_cast<float>(intrinsics.fy());
  full_frame_.skew = static_cast<float>(intrinsics.skew());
  full_frame_.cx = static_cast<float>(intrinsics.cx());
  full_frame_.cy = static_cast<float>(intrinsics.cy());
  if (intrinsics.radial_size() < 6 || intrinsics.tangential_size() < 2 ||
      !internal::hasPose(extrinsics)) {
    NORV_LOG(kLogError, kChannel) << "Parameter list too short in " << calibration.DebugString();
    return false;
  }

  const auto& radial = intrinsics.radial();
  const auto& tangential = intrinsics.tangential();
  full_frame_.distortion.reserve(full_frame_.distortion.size() + 8);
  for (const double coefficient : {radial[0], radial[1], tangential[0], tangential[1], radial[2],
                                   radial[3], radial[4], radial[5]}) {
    full_frame_.distortion.push_back(static_cast<float>(coefficient));
  }
  model_ = calibration.model();
  const Matrix4x4_f camera_from_robot = internal::readPose(extrinsics);
  convert(camera_from_robot, &rotation_, &translation_);
  transform_.setTransform(camera_from_robot, CameraTransform::kForward);
  return precomputeIntrinsics();
}

const CameraCalibration& CameraParameters::getCalibration() const { return *calibration_->message; }

Matrix3x3_f CameraParameters::getFullFrameIntrinsics() const { return cameraMatrix(full_frame_); }

const std::vector<float>& CameraParameters::getFullFrameDistortion() const {
  return full_frame_.distortion;
}

/// The first table entry of exactly this size, or null. Linear: a table holds a handful of entries.
const CameraParameters::Intrinsics* CameraParameters::findIntrinsics(int width, int height) const {
  for (const Intrinsics& entry : intrinsics_) {
    if (entry.width == width && entry.height == height) return &entry;
  }
  return nullptr;
}

const std::vector<float>& CameraParameters::getDistortion(int width, int height) const {
  const Intrinsics* entry = findIntrinsics(width, height);
  return entry != nullptr ? entry->distortion : full_frame_.distortion;
}

Matrix3x3_f CameraParameters::getIntrinsics(int width, int height) const {
  if (const Intrinsics* entry = findIntrinsics(width, height)) return cameraMatrix(*entry);
  NORV_LOG(kLogInfo, kChannel) << full_frame_.width << " " << full_frame_.height << " " << width
                               << " " << height;
  return recomputeKMatrix(full_frame_, 0, 0, full_frame_.width, full_frame_.height, width, height);
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): a member, as its users call it
Matrix3x3_f CameraParameters::recomputeKMatrix(const Intrinsics& in, int x0, int y0,
                                               int source_width, int source_height,
                                               int target_width, int target_height) const {
  const float sx = static_cast<float>(target_width) / static_cast<float>(source_width);
  const float sy = static_cast<float>(target_height) / static_cast<float>(source_height);
  Matrix3x3_f target_from_source;
  target_from_source << sx, 0.0F, -sx * static_cast<float>(x0),  //
      0.0F, sy, -sy * static_cast<float>(y0),                    //
      0.0F, 0.0F, 1.0F;
  // All terms of the product are computed, those with zero included: they turn into NaN where the
  // image is empty.
  return target_from_source * cameraMatrix(in);
}

void CameraParameters::affineIntrinsics(const Intrinsics& in, int x0, int y0, int source_width,
                                        int source_height, int target_width, int target_height,
                                        Intrinsics* out) const {
  const Matrix3x3_f k =
      recomputeKMatrix(in, x0, y0, source_width, source_height, target_width, target_height);
  out->fx = k(0, 0);
  out->width = target_width;
  out->height = target_height;
  out->fy = k(1, 1);
  out->cx = k(0, 2);
  out->cy = k(1, 2);
  out->skew = k(0, 1);
  if (out != &in) out->distortion = in.distortion;
}

bool CameraParameters::precomputeIntrinsics() {
  if (model_ == "mk512h") {
    NORV_LOG(kLogInfo, kChannel) << "Using Corvel head camera model.";
    return precomputeCorvelHeadIntrinsics();
  }
  if (model_ == "mk513n") {
    NORV_LOG(kLogInfo, kChannel) << "Using Corvel nav camera model.";
    return precomputeCorvelNavIntrinsics();
  }
  if (model_ == "b910") {
    NORV_LOG(kLogInfo, kChannel) << "Using B910 camera model.";
    return precomputeB910Intrinsics();
  }
  const CameraIntrinsics& intrinsics = calibration_->message->intrinsics();
  if (!intrinsics.has_width() || !intrinsics.has_height()) return false;
  const int width = intrinsics.width();
  const int height = intrinsics.height();
  fillTable(*this, {{0, 0, width, height, width, height}}, &intrinsics_);
  return true;
}

bool CameraParameters::precomputeCorvelHeadIntrinsics() {
  Intrinsics rectified;
  if (!recomputeIntrinsics(makeCorvelHeadTransform(), &rectified)) return false;
  fillTable(*this, kWideCrops, &intrinsics_);
  // The sensor warps the halved image; the two larger ones it delivers as they are.
  intrinsics_[0] = applyCrop(*this, rectified, kWideCrops[0]);
  return true;
}

bool CameraParameters::precomputeCorvelNavIntrinsics() {
  fillTable(*this, kWideCrops, &intrinsics_);
  return true;
}

bool CameraParameters::precomputeB910Intrinsics() {
  fillTable(*this, kB910Crops, &intrinsics_);
  return true;
}

bool CameraParameters::recomputeIntrinsics(const ImageSensorTransform& transform,
                                           Intrinsics* out) const {
  const CameraIntrinsics& intrinsics = calibration_->message->intrinsics();
  if (intrinsics.samples().empty()) {
    NORV_LOG(kLogError, kChannel)
        << "Can not find calibration sample points to recompute intrinsics parameters.";
    return false;
  }
  std::vector<Vector2_f> observed;
  std::vector<Vector2_f> reference;
  for (const SamplePoint& sample : intrinsics.samples()) {
    observed.push_back(transform.transformPoint({sample.image_x(), sample.image_y()}));
    reference.emplace_back(sample.model_x(), sample.model_y());
  }

  OpenCVProjection<autodiff::AutoDiff1<double, 20>> fitted;
  const double error =
      calibrateFromSingleImage(observed, reference, {intrinsics.width(), intrinsics.height()},
                               static_cast<double>(intrinsics.sample_scale()),
                               {intrinsics.sample_size_x(), intrinsics.sample_size_y()}, &fitted);
  NORV_LOG(kLogInfo, kChannel) << "Recomputed intrinsics : error per point=" << error;
  if (error > kMaxErrorPerPoint) {
    NORV_LOG(kLogError, kChannel) << "Error recomputing calibration. Error per point=" << error;
    return false;
  }
  storeIntrinsics(fitted, out);
  return true;
}

void CameraParameters::adjustUsingBaseCalibration(const BaseCalibrationData& base,
                                                  CameraCalibration* calibration) {
  const Vector3_f translation = rotation_ * base.getWorldTranslation() + translation_;
  const Matrix3x3_f rotation = rotation_ * base.getWorldRotation();
  rotation_ = rotation;
  translation_ = translation;
  Matrix4x4_f pose;
  convert(rotation_, translation_, &pose);
  convert(pose, calibration->mutable_extrinsics());
  transform_.setTransform(pose, CameraTransform::kForward);
}

void CameraParameters::convert(const Matrix4x4_f& m, Matrix3x3_f* rotation,
                               Vector3_f* translation) {
  *rotation = m.topLeftCorner<3, 3>();
  *translation = m.topRightCorner<3, 1>();
}

void CameraParameters::convert(const Matrix3x3_f& rotation, const Vector3_f& translation,
                               Matrix4x4_f* m) {
  m->setIdentity();
  m->topLeftCorner<3, 3>() = rotation;
  m->topRightCorner<3, 1>() = translation;
}

void CameraParameters::convert(const Matrix4x4_f& m, CameraExtrinsics* dst) {
  internal::storePose(m, dst);
}

void CameraParameters::convert(const CameraExtrinsics& src, Matrix4x4_f* m) {
  // The text of the check is part of the log's format, its number included.
  static_assert(internal::kPoseValues == 12);
  NORV_CHECK_GE(src.a_size(), 12);
  // For a logger that lets the failed check pass: no pose rather than values that are not there.
  if (internal::hasPose(src)) *m = internal::readPose(src);
}

CameraParametersSet::CameraParametersSet() : robotcal_(std::make_shared<RobotCalibration>()) {
  setDefault();
}

CameraParametersSet::CameraParametersSet(const CameraParametersSet& other)
    : robotcal_(std::make_shared<RobotCalibration>(*other.robotcal_)) {
  readProto();
}

CameraParametersSet::~CameraParametersSet() = default;

bool CameraParametersSet::loadFromFile(const string& path) {
  string data;
  if (!File::readFileToString(path, &data)) {
    NORV_LOG(kLogError, kChannel) << "Can't open " << path;
    return setDefault();
  }
  if (loadFromString(data)) return true;
  NORV_LOG(kLogError, kChannel) << "Error parsing robot calibration from " << path;
  return setDefault();
}

bool CameraParametersSet::loadFromString(const string& data) {
  if (!parseBinaryOrText(data, robotcal_.get())) {
    NORV_LOG(kLogWarning, kChannel) << "Loading default camera calibration.";
    return setDefault();
  }
  if (readProto()) return true;
  NORV_LOG(kLogWarning, kChannel) << "Loading default camera calibration.";
  return setDefault();
}

bool CameraParametersSet::loadFromProto(const RobotCalibration& calibration) {
  robotcal_->CopyFrom(calibration);
  if (readProto()) return true;
  NORV_LOG(kLogWarning, kChannel) << "Loading default camera calibration.";
  return setDefault();
}

bool CameraParametersSet::setDefault() {
  string data;
  // The text of the check is part of the log's format, the blank before its first argument
  // included.
  NORV_CHECK(File::readFileToString(
      EmbeddedFile::kEmbeddedPrefix + "calibration/default_head_cal.txt", &data));
  NORV_CHECK_AS("google::protobuf::TextFormat::ParseFromString(data, robotcal_.get())",
                parseText(data, robotcal_.get()));
  NORV_CHECK(readProto());
  return false;
}

bool CameraParametersSet::readProto() {
  for (const CameraCalibration& calibration : robotcal_->camera_calibration()) {
    auto camera = std::make_shared<CameraParameters>();
    if (!camera->readProto(calibration)) return false;
    cameras_[calibration.name()] = std::move(camera);
  }
  return true;
}

void CameraParametersSet::adjustUsingBaseCalibration(const BaseCalibrationData& base) {
  for (CameraCalibration& calibration : *robotcal_->mutable_camera_calibration()) {
    // A failed load may have left the message with names that no camera was built for.
    const std::shared_ptr<CameraParameters> camera = getCamera(calibration.name());
    if (camera != nullptr) camera->adjustUsingBaseCalibration(base, &calibration);
  }
}

std::shared_ptr<CameraParameters> CameraParametersSet::getCamera(const string& name) const {
  const auto found = cameras_.find(name);
  return found != cameras_.end() ? found->second : nullptr;
}

std::vector<string> CameraParametersSet::getCameraNames() const {
  std::vector<string> names;
  names.reserve(cameras_.size());
  for (const auto& entry : cameras_) names.push_back(entry.first);
  return names;
}

}  // namespace norv::calibration

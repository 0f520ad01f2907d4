#include "calibration_common/camera_parameters.h"

#include <cstddef>
#include <utility>

#include "calibration_common/camera_models.h"
#include "calibration_common/camera_problems.h"
#include "calibration_common/load_rollback.h"
#include "calibration_common/message_copy.h"
#include "calibration_common/stored_pose.h"
#include "support/checks.h"
#include "support/file.h"
#include "support/lens_distortion.h"
#include "support/logging.h"
#include "support/messages/message_reading.h"
#include "support/sensor_transform.h"

/// Log statements record the signature of their function as it is spelled; this is the spelling by
/// which programs that read the logs know the functions below.
using string = std::string;

namespace norv::calibration {
namespace {

constexpr const char* kChannel = "camera_parameters";

/// Cameras share the message that they were loaded with up to this size of it in a file; of a
/// larger one each has its own entry copied, so that it does not keep the others in memory.
constexpr std::size_t kMaxSharedBytes = std::size_t{256} * 1024;

/// Inlined where it is used, which GCC does not do by itself: it is half of what a query costs.
__attribute__((always_inline)) inline Matrix3x3_f cameraMatrix(
    const CameraParameters::Intrinsics& in) {
  Matrix3x3_f k;
  k << in.fx, in.skew, in.cx,  //
      0.0F, in.fy, in.cy,      //
      0.0F, 0.0F, 1.0F;
  return k;
}

/// The first entry of exactly this size, or null. Linear: a table holds a handful of entries.
const CameraParameters::Intrinsics* findEntry(
    const std::vector<CameraParameters::Intrinsics>& table, int width, int height) {
  for (const CameraParameters::Intrinsics& entry : table) {
    if (entry.width == width && entry.height == height) return &entry;
  }
  return nullptr;
}

/// Appends the coefficients in the library's order, of which the message has the radial ones apart.
void appendDistortion(const CameraIntrinsics& intrinsics, std::vector<float>* distortion) {
  const auto k = [&](int i) { return static_cast<float>(intrinsics.radial().data()[i]); };
  const auto p = [&](int i) { return static_cast<float>(intrinsics.tangential().data()[i]); };
  const LensDistortion<float> lens = {k(0), k(1), p(0), p(1), k(2), k(3), k(4), k(5)};
  const auto coefficients = lens.toCoefficients();
  distortion->insert(distortion->end(), coefficients.begin(), coefficients.end());
}

/// The part of a fitted projection that describes the camera, apart from the image size.
void storeIntrinsics(const OpenCVProjection<autodiff::AutoDiff1<double, 20>>& fitted,
                     CameraParameters::Intrinsics* out) {
  out->fx = static_cast<float>(fitted.fx.value);
  out->fy = static_cast<float>(fitted.fy.value);
  out->skew = 0;
  out->cx = static_cast<float>(fitted.cx.value);
  out->cy = static_cast<float>(fitted.cy.value);
  out->distortion.clear();
  for (const auto& coefficient : fitted.lens().toCoefficients()) {
    out->distortion.push_back(static_cast<float>(coefficient.value));
  }
}

}  // namespace

CameraParameters::CameraParameters()
    : rotation_(Matrix3x3_f::Zero()),
      translation_(Vector3_f::Zero()),
      // The instance that there always is, which needs no owner.
      calibration_(std::shared_ptr<void>(), &CameraCalibration::default_instance()) {}

CameraParameters::~CameraParameters() = default;

bool CameraParameters::readProto(const CameraCalibration& calibration) {
  if (&calibration != calibration_.get()) calibration_ = internal::copyOf(calibration);
  const CameraIntrinsics& intrinsics = calibration.intrinsics();
  const CameraExtrinsics& extrinsics = calibration.extrinsics();
  full_frame_.width = intrinsics.width();
  full_frame_.height = intrinsics.height();
  full_frame_.fx = static_cast<float>(intrinsics.fx());
  full_frame_.fy = static_cast<float>(intrinsics.fy());
  full_frame_.skew = static_cast<float>(intrinsics.skew());
  full_frame_.cx = static_cast<float>(intrinsics.cx());
  full_frame_.cy = static_cast<float>(intrinsics.cy());
  if (internal::findShortList(calibration)) {
    NORV_LOG(kLogError, kChannel) << "Parameter list too short in " << calibration.DebugString();
    return false;
  }

  appendDistortion(intrinsics, &full_frame_.distortion);
  model_ = calibration.model();
  const Matrix4x4_f camera_from_robot = internal::readPose(extrinsics);
  rotation_ = camera_from_robot.topLeftCorner<3, 3>();
  translation_ = camera_from_robot.topRightCorner<3, 1>();
  transform_.setTransform(camera_from_robot, CameraTransform::kForward);
  return precomputeIntrinsics();
}

Matrix3x3_f CameraParameters::getFullFrameIntrinsics() const { return cameraMatrix(full_frame_); }

const std::vector<float>& CameraParameters::getFullFrameDistortion() const {
  return full_frame_.distortion;
}

const std::vector<float>& CameraParameters::getDistortion(int width, int height) const {
  const Intrinsics* entry = findEntry(intrinsics_, width, height);
  return entry != nullptr ? entry->distortion : full_frame_.distortion;
}

Matrix3x3_f CameraParameters::getIntrinsics(int width, int height) const {
  if (const Intrinsics* entry = findEntry(intrinsics_, width, height)) return cameraMatrix(*entry);
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

bool CameraParameters::precomputeIntrinsics() {
  switch (internal::findModel(model_)) {
    case internal::CameraModel::kCorvelHead:
      NORV_LOG(kLogInfo, kChannel) << "Using Corvel head camera model.";
      return precomputeCorvelHeadIntrinsics();
    case internal::CameraModel::kCorvelNav:
      NORV_LOG(kLogInfo, kChannel) << "Using Corvel nav camera model.";
      return precomputeCorvelNavIntrinsics();
    case internal::CameraModel::kB910:
      NORV_LOG(kLogInfo, kChannel) << "Using B910 camera model.";
      return precomputeB910Intrinsics();
    default:
      return precomputeFullFrame();
  }
}

bool CameraParameters::recomputeIntrinsics(const ImageSensorTransform& transform,
                                           Intrinsics* out) const {
  if (const auto problem = internal::findMissingSamples(*calibration_)) {
    NORV_LOG(kLogError, kChannel) << problem->sentence;
    return false;
  }
  const internal::FittedView fitted =
      internal::fitWarpedView(calibration_->intrinsics(), transform);
  NORV_LOG(kLogInfo, kChannel) << "Recomputed intrinsics : error per point="
                               << fitted.error_per_point;
  if (const auto problem = internal::findUselessFit(fitted)) {
    NORV_LOG(kLogError, kChannel) << problem->sentence;
    return false;
  }
  if (refit_of_load_ != nullptr) *refit_of_load_ = {fitted.error_per_point, fitted.residuals};
  storeIntrinsics(fitted.camera, out);
  return true;
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

CameraParametersSet::CameraParametersSet() : robotcal_(internal::newMessage<RobotCalibration>()) {
  setDefault();
}

CameraParametersSet::CameraParametersSet(const CameraParametersSet& other)
    : robotcal_(internal::copyOf(*other.robotcal_)) {
  readProto();
}

CameraParametersSet::~CameraParametersSet() = default;

bool CameraParametersSet::loadFromFile(const string& path) {
  const internal::LoadRollback rollback(&cameras_, &robotcal_);
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
  const internal::LoadRollback rollback(&cameras_, &robotcal_);
  robotcal_ = internal::newMessage<RobotCalibration>();
  if (!internal::readBinaryOrText(data, robotcal_.get())) {
    NORV_LOG(kLogWarning, kChannel) << "Loading default camera calibration.";
    return setDefault();
  }
  if (buildCameras(data.size())) return true;
  NORV_LOG(kLogWarning, kChannel) << "Loading default camera calibration.";
  return setDefault();
}

bool CameraParametersSet::loadFromProto(const RobotCalibration& calibration) {
  // Keeps the former message, which `calibration` may be, until the end.
  const internal::LoadRollback rollback(&cameras_, &robotcal_);
  robotcal_ = internal::copyOf(calibration);
  if (buildCameras(calibration.ByteSizeLong())) return true;
  NORV_LOG(kLogWarning, kChannel) << "Loading default camera calibration.";
  return setDefault();
}

bool CameraParametersSet::setDefault() {
  const internal::LoadRollback rollback(&cameras_, &robotcal_);
  robotcal_ = internal::newMessage<RobotCalibration>();
  string data;
  // The texts of the checks are part of the log's format, the blank before the first argument
  // included.
  NORV_CHECK(File::readFileToString(
      EmbeddedFile::kEmbeddedPrefix + "calibration/default_head_cal.txt", &data));
  NORV_CHECK_AS("google::protobuf::TextFormat::ParseFromString(data, robotcal_.get())",
                internal::readText(data, robotcal_.get()));
  NORV_CHECK_AS("readProto()", buildCameras(data.size()));
  return false;
}

bool CameraParametersSet::readProto() {
  const internal::LoadRollback rollback(&cameras_, &robotcal_);
  // Former cameras may share the message; the new ones get one of their own.
  if (!cameras_.empty()) robotcal_ = internal::copyOf(*robotcal_);
  return buildCameras(robotcal_->ByteSizeLong());
}

bool CameraParametersSet::buildCameras(std::size_t message_size) {
  const bool shared = message_size <= kMaxSharedBytes;
  auto next = cameras_.begin();  // calibrations mostly come again, in one order
  for (const CameraCalibration& calibration : robotcal_->camera_calibration()) {
    auto camera = std::make_shared<CameraParameters>();
    if (shared) camera->calibration_ = {robotcal_, &calibration};
    if (!camera->readProto(calibration)) return false;
    if (next == cameras_.end() || next->first != calibration.name()) {
      next = cameras_.try_emplace(calibration.name()).first;
    }
    next->second = std::move(camera);
    ++next;
  }
  return true;
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

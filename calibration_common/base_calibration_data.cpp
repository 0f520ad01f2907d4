#include "calibration_common/base_calibration_data.h"

#include <exception>
#include <utility>

#include "calibration_common/message_copy.h"
#include "calibration_common/stored_pose.h"
#include "support/checks.h"
#include "support/file.h"
#include "support/logging.h"
#include "support/messages/message_reading.h"

namespace norv::calibration {
namespace {

constexpr const char* kChannel = "base_calibration_data";

/// Swaps two messages back if an exception ends its scope. Both are on the heap, where that neither
/// allocates nor copies.
class SwapBack {
 public:
  SwapBack(BaseCalibrationProto* a, BaseCalibrationProto* b) : a_(a), b_(b) {}
  SwapBack(const SwapBack&) = delete;
  SwapBack& operator=(const SwapBack&) = delete;
  ~SwapBack() {
    if (std::uncaught_exceptions() > exceptions_) a_->Swap(b_);
  }

 private:
  BaseCalibrationProto* a_;
  BaseCalibrationProto* b_;
  int exceptions_ = std::uncaught_exceptions();
};

}  // namespace

BaseCalibrationData::BaseCalibrationData()
    : cal_(std::make_unique<BaseCalibrationProto>()),
      world_rotation_(Matrix3x3_f::Zero()),
      world_translation_(Vector3_f::Zero()) {
  loadDefault();
  setDefault();
}

BaseCalibrationData::BaseCalibrationData(const BaseCalibrationData& other)
    : cal_(std::make_unique<BaseCalibrationProto>()),
      world_rotation_(Matrix3x3_f::Zero()),
      world_translation_(Vector3_f::Zero()) {
  internal::copyMessage(*other.cal_, cal_.get());
  NORV_CHECK(readProto());
}

BaseCalibrationData::~BaseCalibrationData() = default;

/// Reads the compiled-in file.
void BaseCalibrationData::loadDefault() {
  auto fresh = std::make_unique<BaseCalibrationProto>();
  std::string data;
  // The texts of the checks are part of the log's format, the blank before the first argument
  // included.
  NORV_CHECK(File::readFileToString(
      EmbeddedFile::kEmbeddedPrefix + "calibration/default_base_cal.txt", &data));
  NORV_CHECK_AS("google::protobuf::TextFormat::ParseFromString(data, default_cal_.get())",
                internal::readText(data, fresh.get()));
  default_cal_ = std::move(fresh);
}

std::optional<LoadProblem> findLoadProblem(const BaseCalibrationProto& calibration) {
  return internal::findShortPose("global_transform_adjustment.global_transform",
                                 calibration.global_transform_adjustment().global_transform());
}

bool BaseCalibrationData::readProto() {
  if (findLoadProblem(*cal_)) {
    NORV_LOG(kLogError, kChannel) << "global_transform does not have enough parameters.";
    return false;
  }
  const Matrix4x4_f global_transform =
      internal::readPose(cal_->global_transform_adjustment().global_transform());
  world_rotation_ = global_transform.topLeftCorner<3, 3>();
  world_translation_ = global_transform.topRightCorner<3, 1>();
  return true;
}

bool BaseCalibrationData::setDefault() {
  if (default_cal_ == nullptr) loadDefault();
  BaseCalibrationProto fresh;
  internal::copyMessage(*default_cal_, &fresh);
  cal_->Swap(&fresh);
  NORV_CHECK(readProto());
  return false;
}

bool BaseCalibrationData::loadFromString(const std::string& data) {
  BaseCalibrationProto message;
  if (!internal::readBinaryOrText(data, &message)) return setDefault();
  cal_->Swap(&message);
  const SwapBack swap_back(cal_.get(), &message);
  return readProto() || setDefault();
}

void BaseCalibrationData::updatePBMatrix() {
  Matrix4x4_f global_transform = Matrix4x4_f::Identity();
  global_transform.topLeftCorner<3, 3>() = world_rotation_;
  global_transform.topRightCorner<3, 1>() = world_translation_;
  internal::storePose(global_transform,
                      cal_->mutable_global_transform_adjustment()->mutable_global_transform());
}

void BaseCalibrationData::setGlobalTransform(const Matrix3x3_f& R, const Vector3_f& t,
                                             const CalibrationMetadataProto& metadata) {
  world_rotation_ = R;
  world_translation_ = t;
  updatePBMatrix();
  cal_->mutable_global_transform_adjustment()->mutable_metadata()->CopyFrom(metadata);
}

bool BaseCalibrationData::isGlobalTransformCalibrationValid(const std::string& key) const {
  return cal_->global_transform_adjustment().metadata().validity_key() == key;
}

float BaseCalibrationData::getGyroscopeGain() const { return cal_->gyroscope().gain(); }

void BaseCalibrationData::setGyroscopeGain(const GyroscopeCalibrationProto& gyro) {
  cal_->mutable_gyroscope()->CopyFrom(gyro);
  NORV_LOG(kLogInfo, kChannel) << "Setting gyroscope gain to "
                               << static_cast<double>(getGyroscopeGain());
}

bool BaseCalibrationData::isGyroscopeGainCalibrationValid(const std::string& key) const {
  return cal_->gyroscope().has_metadata() &&
         cal_->gyroscope().metadata().gain_validity_key() == key;
}

float BaseCalibrationData::getBaseWidth() const { return cal_->base_width(); }
void BaseCalibrationData::setBaseWidth(float width) { cal_->set_base_width(width); }

float BaseCalibrationData::getWheelBase() const { return cal_->wheel_base(); }
void BaseCalibrationData::setWheelBase(float wheel_base) { cal_->set_wheel_base(wheel_base); }

float BaseCalibrationData::getBaseLength() const { return cal_->base_length(); }
void BaseCalibrationData::setBaseLength(float length) { cal_->set_base_length(length); }

}  // namespace norv::calibration

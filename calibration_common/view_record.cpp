#include "calibration_common/view_record.h"

#include <Eigen/LU>
#include <limits>

namespace norv::internal {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

using PoseMap = Eigen::Map<Eigen::Matrix<double, 3, 4, Eigen::RowMajor>>;

/// The camera with what `known` says of its lens, which is the same.
PreparedCamera prepareLike(const PreparedCamera& known, const calibration::CameraModel& model) {
  PreparedCamera prepared = unprepared(model);
  prepared.certain = known.certain;
  prepared.beyond = known.beyond;
  prepared.quick = known.quick;
  return prepared;
}

}  // namespace

ViewRecord::ViewRecord(const calibration::CameraModel& model, const CameraTransform& given,
                       ViewSource where_from)
    : camera(prepare(model)), projecting(camera), source(where_from) {
  setPose(given);
}

void ViewRecord::setModel(const calibration::CameraModel& model) {
  camera = prepareLike(camera, model);
  setPose(CameraTransform(pose));
}

void ViewRecord::setPose(const CameraTransform& given) {
  pose = given;
  PoseMap rows(&camera_from_parent.at[0][0]);
  rows = pose.transform.topRows<3>().cast<double>();
  parent_from_camera = rows.leftCols<3>().inverse();
  centre = -(parent_from_camera * rows.col(3));
  projecting = camera;
  const bool is_finite = rows.allFinite();
  if (!is_finite) projecting.zero = kNaN;
  plain = is_finite && camera.isUsable() ? PlainProjection(camera, camera_from_parent)
                                         : PlainProjection();
}

}  // namespace norv::internal

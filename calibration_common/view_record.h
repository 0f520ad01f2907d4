#pragma once

#include <Eigen/Core>
#include <memory>

#include "support/camera/plain_projection.h"
#include "support/camera/prepared_camera.h"
#include "support/camera_model.h"
#include "support/camera_transform.h"

namespace norv::internal {

/// Where a view's picture comes from.
struct ViewSource {
  bool is_from_table = false;
  bool is_rectified_by_sensor = false;
};

/// What a `calibration::CameraView` is made of.
struct ViewRecord {
  ViewRecord(const calibration::CameraModel& model, const CameraTransform& given,
             ViewSource where_from);

  /// For another picture by the same lens: what is known of that is kept.
  void setModel(const calibration::CameraModel& model);
  void setPose(const CameraTransform& given);

  PreparedCamera camera;
  /// The same for points of the parent frame: not usable where the pose is not finite.
  PreparedCamera projecting;
  PlainProjection plain;
  CameraTransform pose;
  PoseRows camera_from_parent;
  /// The inverse, found in double; infinite or NaN where there is none.
  Eigen::Matrix3d parent_from_camera;
  Eigen::Vector3d centre;
  ViewSource source;
};

using ViewRecordPtr = std::shared_ptr<const ViewRecord>;

}  // namespace norv::internal

// The views of pictures that were processed afterwards.

#include <memory>

#include "calibration_common/camera_view.h"
#include "calibration_common/view_record.h"

namespace norv::calibration {

using internal::ViewRecord;

namespace {

/// The view of another picture by the same camera.
CameraView withModel(const ViewRecord& record, const CameraModel& model) {
  const auto changed = std::make_shared<ViewRecord>(record);
  changed->setModel(model);
  changed->source.is_from_table = false;
  return CameraView(changed);
}

}  // namespace

std::optional<CameraView> CameraView::resized(int width, int height) const {
  CameraModel model = this->model();
  if (width <= 0 || height <= 0 || model.width <= 0 || model.height <= 0) return std::nullopt;
  const double sx = static_cast<double>(width) / model.width;
  const double sy = static_cast<double>(height) / model.height;
  model.width = width;
  model.height = height;
  model.fx *= sx;
  model.skew *= sx;
  model.cx *= sx;
  model.fy *= sy;
  model.cy *= sy;
  return withModel(*record_, model);
}

std::optional<CameraView> CameraView::cropped(int x0, int y0, int width, int height) const {
  CameraModel model = this->model();
  if (x0 < 0 || y0 < 0 || width <= 0 || height <= 0) return std::nullopt;
  if (width > model.width || height > model.height) return std::nullopt;
  if (x0 > model.width - width || y0 > model.height - height) return std::nullopt;
  model.width = width;
  model.height = height;
  model.cx -= x0;
  model.cy -= y0;
  return withModel(*record_, model);
}

std::optional<CameraView> CameraView::binned(int columns, int rows) const {
  if (columns <= 0 || rows <= 0) return std::nullopt;
  CameraModel model = this->model();
  model.width /= columns;
  model.height /= rows;
  if (model.width <= 0 || model.height <= 0) return std::nullopt;
  model.fx /= columns;
  model.skew /= columns;
  model.cx /= columns;
  model.fy /= rows;
  model.cy /= rows;
  return withModel(*record_, model);
}

CameraView CameraView::flipped(bool horizontally, bool vertically) const {
  CameraModel model = this->model();
  if (horizontally) {
    model.fx = -model.fx;
    model.skew = -model.skew;
    model.cx = model.width - model.cx;
  }
  if (vertically) {
    model.fy = -model.fy;
    model.cy = model.height - model.cy;
  }
  return withModel(*record_, model);
}

CameraView CameraView::movedTo(const CameraTransform& camera_from_parent) const {
  const auto moved = std::make_shared<ViewRecord>(*record_);
  moved->setPose(camera_from_parent);
  return CameraView(moved);
}

CameraView CameraView::straightened(const RectifiedView& view) const {
  Eigen::Matrix4d view_from_camera = Eigen::Matrix4d::Identity();
  view_from_camera.topLeftCorner<3, 3>() = view.view_from_camera;
  const Eigen::Matrix4d camera_from_parent = pose().transform.cast<double>();
  CameraTransform turned;
  turned.setTransform((view_from_camera * camera_from_parent).cast<float>(),
                      CameraTransform::kForward);
  return CameraView(cameraOf(view), turned);
}

}  // namespace norv::calibration

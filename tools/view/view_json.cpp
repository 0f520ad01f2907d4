#include "tools/angles.h"
#include "tools/output/json_output.h"
#include "tools/view/view_report.h"

namespace norv::tools {
namespace {

using calibration::CameraView;
using calibration::FieldsOfView;
using calibration::PixelOrigin;
using calibration::PixelSize;
using calibration::RectifiedView;

/// Elements of single precision with the digits that those need.
json matrixJson(const Eigen::Matrix3d& m) {
  json rows = json::array();
  for (int r = 0; r < 3; ++r) {
    rows.push_back({shortestIfFloat(m(r, 0)), shortestIfFloat(m(r, 1)), shortestIfFloat(m(r, 2))});
  }
  return rows;
}

json straightJson(const std::optional<RectifiedView>& straight) {
  if (!straight) return nullptr;
  Eigen::Matrix3d k;
  k << straight->fx, 0, straight->cx,  //
      0, straight->fy, straight->cy,   //
      0, 0, 1;
  Eigen::Matrix3d from_first_pixel = k;
  from_first_pixel(0, 2) -= 0.5;
  from_first_pixel(1, 2) -= 0.5;
  return {{"size", {straight->width, straight->height}},
          {"camera_matrix", matrixJson(k)},
          {"camera_matrix_from_first_pixel", matrixJson(from_first_pixel)}};
}

json sizeJson(const std::optional<PixelSize>& size) {
  return size ? json{size->width, size->height} : json(nullptr);
}

json distortionJson(const CameraView& view) {
  json list = json::array();
  for (const double k : view.distortion()) list.push_back(shortestIfFloat(k));
  return list;
}

json fieldsJson(const FieldsOfView& fields) {
  return {{"horizontal", degrees(fields.horizontal)},
          {"vertical", degrees(fields.vertical)},
          {"diagonal", degrees(fields.diagonal)}};
}

}  // namespace

std::string viewJson(const ViewAnswer& answer) {
  const NamedView& named = answer.named;
  const CameraView& view = named.view;
  json document = {{"source", named.source}};
  document.update(countJson(named.findings));
  document.update(
      {{"camera", named.camera ? json(*named.camera) : json(nullptr)},
       {"position", named.position ? json(*named.position) : json(nullptr)},
       {"size", {view.width(), view.height()}},
       {"delivered", view.isFromTable()},
       {"rectified_by_sensor", view.isRectifiedBySensor()},
       {"camera_matrix", matrixJson(view.K(PixelOrigin::kImageCorner))},
       {"camera_matrix_from_first_pixel", matrixJson(view.K(PixelOrigin::kPixelCentre))},
       {"distortion", distortionJson(view)},
       {"camera_from_parent", rowsOf(view.pose().transform)},
       {"field_of_view_degrees", fieldsJson(view.fieldsOfView())},
       {"valid_radius", view.validRadius()},
       {"valid_half_angle_degrees", degrees(view.validHalfAngle())},
       {"coverage", answer.coverage.share},
       {"nearest_pixel_without_ray", answer.coverage.nearest_without_ray},
       {"alpha", answer.alpha},
       {"straightened", straightJson(answer.straight)},
       {"natural_size_valid_only", sizeJson(answer.natural_valid)},
       {"natural_size_whole_image", sizeJson(answer.natural_whole)},
       {"notes", named.notes}});
  return printJson(document);
}

}  // namespace norv::tools

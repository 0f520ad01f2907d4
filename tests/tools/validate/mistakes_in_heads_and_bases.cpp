// Mistakes in zoom lenses, heads and bases.

#include "tests/tools/validate/placed_mistakes.h"

#include <cmath>
#include <string>
#include <vector>

#include "calibration_common/base_calibration_data.h"
#include "proto/norv_ptz_camera.pb.h"
#include "testing/tree_calibrations.h"

namespace norv::testing {
namespace {

using calibration::BaseCalibrationProto;
using calibration::CameraExtrinsics;
using calibration::PTZCameraParameters;
using calibration::PTZIntrinsicsItem;
using calibration::PTZIntrinsicsTable;

PTZCameraParameters examplePtz() {
  return treeCalibration<PTZCameraParameters>("example_ptz_cal.txt");
}

/// A mistake in the example's zoom lens.
template <class Edit>
Mistake inZoom(const std::string& check, const std::string& field, const Edit& edit) {
  return mistake(examplePtz(), check, {"intrinsics" + field},
                 [&](auto* ptz) { edit(ptz->mutable_intrinsics()); });
}

template <class Edit>
Mistake inSample(const std::string& check, const std::string& field, int index, const Edit& edit) {
  return inZoom(check, ".samples[" + std::to_string(index) + "]" + field,
                [&](PTZIntrinsicsTable* table) { edit(table->mutable_samples(index)); });
}

/// A mistake in the example's head.
template <class Edit>
Mistake inHead(const std::string& check, const std::string& field, const Edit& edit) {
  return mistake(examplePtz(), check, {"pan_tilt" + field},
                 [&](auto* ptz) { edit(ptz->mutable_pan_tilt()); });
}

template <class Edit>
Mistake inBase(const std::string& check, const std::string& field, const Edit& edit) {
  return mistake(calibration::BaseCalibrationData().getCalibration(), check, {field}, edit);
}

std::vector<Mistake> mistakesInZoomLenses() {
  return {
      inZoom("ptz-samples", ".samples", [](auto* table) { table->clear_samples(); }),
      inSample("zoom-order", ".zoom", 3, [](auto* sample) { sample->set_zoom(2000); }),
      inSample("focal-order", ".focal_length", 3,
               [](auto* sample) { sample->set_focal_length(2354.9); }),
      inSample("zoom-spacing", ".zoom", 3, [](auto* sample) { sample->set_zoom(3001); }),
      inZoom("zoom-spacing", ".zoom_interval",
             [](auto* table) { table->set_zoom_interval(-1000); }),
      inZoom("limits", ".min_zoom",
             [](auto* table) {
               table->set_min_zoom(6000);
               table->set_max_zoom(5000);
             }),
      inZoom("zoom-range", ".max_zoom", [](auto* table) { table->set_max_zoom(11000); }),
      inZoom("zoom-step", ".samples[11].focal_length",
             [](auto* table) {
               table->mutable_samples(11)->set_focal_length(2.01 *
                                                            table->samples(10).focal_length());
             }),
      inZoom("size", ".image_width", [](auto* table) { table->clear_image_width(); }),
      inSample("focal", ".focal_length", 0, [](auto* sample) { sample->set_focal_length(0); }),
      inSample("principal-point", ".cx", 3, [](auto* sample) { sample->set_cx(1249); }),
      inSample("not-finite", ".cx", 3, [](auto* sample) { sample->set_cx(NAN); }),
      inSample("lens-fold", "", 0,
               [](PTZIntrinsicsItem* sample) {
                 sample->set_k1(-0.9);
                 sample->set_k4(0);
               }),
      inSample("lens-tangential", ".p1", 3,
               [](PTZIntrinsicsItem* sample) {
                 sample->set_p1(0.0101);
                 sample->set_p2(0);
               }),
  };
}

/// Two columns of a stored rotation, or two rows of a pose, turned by the angle whose cosine and
/// sine are 0.8 and 0.6.
void turn(CameraExtrinsics* pose, int first, int second, int step, int count) {
  for (int i = 0; i < count; ++i) {
    const double a = pose->a(first + i * step);
    const double b = pose->a(second + i * step);
    pose->set_a(first + i * step, 0.8 * a - 0.6 * b);
    pose->set_a(second + i * step, 0.6 * a + 0.8 * b);
  }
}

/// The axes of a head, each turned by 37 degrees.
std::vector<Mistake> mistakesInAxes() {
  return {
      inHead("head-azimuth", "", [](auto* head) { turn(head->mutable_pan_to_tilt(), 0, 1, 4, 3); }),
      inHead("head-elevation", "",
             [](auto* head) { turn(head->mutable_tilt_to_camera(), 0, 1, 4, 3); }),
      // The tilt frame, about the optical axis, which is its x axis.
      inHead("head-tilt-axis", "",
             [](auto* head) {
               turn(head->mutable_pan_to_tilt(), 4, 8, 1, 4);
               turn(head->mutable_tilt_to_camera(), 1, 2, 4, 3);
             }),
      inHead("head-axis-gap", "",
             [](auto* head) { head->mutable_tilt_to_camera()->set_a(3, 3.17); }),
  };
}

std::vector<Mistake> mistakesInHeads() {
  return {
      inHead("limits", ".min_pan", [](auto* head) { head->set_min_pan(5935); }),
      inHead("limits", ".max_tilt", [](auto* head) { head->clear_max_tilt(); }),
      inHead("home", ".home_pan", [](auto* head) { head->set_home_pan(5935); }),
      inHead("scale", ".pan_scale", [](auto* head) { head->set_pan_scale(0); }),
      inHead("pan-turns", ".max_pan", [](auto* head) { head->set_max_pan(12567 - 5934); }),
      inHead("pose-unit", "",
             [](auto* head) {
               for (auto* pose : {head->mutable_base_to_pan(), head->mutable_pan_to_tilt(),
                                  head->mutable_tilt_to_camera()}) {
                 for (const int i : {3, 7, 11}) pose->set_a(i, 1e-3 * pose->a(i));
               }
             }),
      inHead("pose-mirror", ".tilt_to_camera.a",
             [](auto* head) { head->mutable_tilt_to_camera()->set_a(5, -1); }),
      inHead("pose-rotation", ".pan_to_tilt.a",
             [](auto* head) { head->mutable_pan_to_tilt()->set_a(0, 1.006); }),
      inHead("list-short", ".pan_to_tilt.a",
             [](auto* head) { head->mutable_pan_to_tilt()->mutable_a()->Truncate(11); }),
  };
}

}  // namespace

std::vector<Mistake> mistakesInZoomCameras() {
  return joined({mistakesInZoomLenses(), mistakesInAxes(), mistakesInHeads()});
}

std::vector<Mistake> mistakesInBases() {
  const auto transform = [](BaseCalibrationProto* base) {
    return base->mutable_global_transform_adjustment()->mutable_global_transform();
  };
  return {
      inBase("base-size", "base_width", [](auto* base) { base->set_base_width(450); }),
      inBase("base-size", "wheel_base", [](auto* base) { base->clear_wheel_base(); }),
      inBase("gain", "gyroscope.gain", [](auto* base) { base->mutable_gyroscope()->set_gain(0); }),
      inBase("gain", "gyroscope.gain", [](auto* base) { base->clear_gyroscope(); }),
      inBase("time", "gyroscope.metadata.calibration_time",
             [](auto* base) {
               base->mutable_gyroscope()->mutable_metadata()->set_calibration_time(1715677200);
             }),
      inBase("pose-unit", "global_transform_adjustment.global_transform.a",
             [&](auto* base) { transform(base)->set_a(3, 2001); }),
      inBase("list-long", "global_transform_adjustment.global_transform.a[12]",
             [&](auto* base) { transform(base)->add_a(1); }),
  };
}

}  // namespace norv::testing

#pragma once

/// A pan-tilt-zoom camera to begin tests with.

#include <cmath>
#include <initializer_list>
#include <memory>

#include "calibration_common/ptz_camera_model.h"
#include "proto/norv_camera_extrinsics.pb.h"
#include "proto/norv_pan_tilt_system.pb.h"
#include "proto/norv_ptz_camera.pb.h"

namespace norv::testing {

/// Replaces a stored pose: row by row, rotation and then translation in millimetres.
inline void storePose(std::initializer_list<double> rows, calibration::CameraExtrinsics* pose) {
  pose->Clear();
  for (const double a : rows) pose->add_a(a);
}

/// A head on a robot whose x axis points ahead, y left and z up. At zero angles the camera looks
/// ahead; pan turns it to the right and tilt upwards, by 0.0005 rad a step. The optical axis passes
/// the pan axis at a distance of 2 mm.
inline calibration::PanTiltSystemParameters exampleHead() {
  calibration::PanTiltSystemParameters head;
  storePose({1, 0, 0, -100, 0, 1, 0, 0, 0, 0, 1, -1200}, head.mutable_base_to_pan());
  storePose({1, 0, 0, -25, 0, 0, -1, 60, 0, 1, 0, 0}, head.mutable_pan_to_tilt());
  storePose({0, 0, -1, 2, 0, 1, 0, 12, 1, 0, 0, -30}, head.mutable_tilt_to_camera());
  head.set_pan_scale(0.0005F);
  head.set_tilt_scale(0.0005F);
  head.set_pan_offset(0);
  head.set_tilt_offset(0);
  head.set_min_pan(-5934);
  head.set_max_pan(5934);
  head.set_min_tilt(-1047);
  head.set_max_tilt(3141);
  return head;
}

/// The same without lever arms: all three frames have their origin in the base's, so that rays
/// start there and angles can be worked out by hand.
inline calibration::PanTiltSystemParameters headWithoutLeverArms() {
  calibration::PanTiltSystemParameters head = exampleHead();
  for (calibration::CameraExtrinsics* pose :
       {head.mutable_base_to_pan(), head.mutable_pan_to_tilt(), head.mutable_tilt_to_camera()}) {
    for (const int translation : {3, 7, 11}) pose->set_a(translation, 0);
  }
  return head;
}

/// A 20x zoom lens at 1920 x 1080, sampled from zoom 0 every 1000 steps; 10000 is 20 times as long
/// as 0, and the last sample lies beyond. In the corners barrel at the wide end, pincushion at the
/// long one. No two values are the same, so that tests see where each one went.
inline calibration::PTZIntrinsicsTable exampleLens() {
  calibration::PTZIntrinsicsTable lens;
  lens.set_image_width(1920);
  lens.set_image_height(1080);
  lens.set_zoom_start(0);
  lens.set_zoom_interval(1000);
  for (int i = 0; i < 12; ++i) {
    const double factor = std::pow(20, i / 10.0);
    calibration::PTZIntrinsicsItem* sample = lens.add_samples();
    sample->set_zoom(1000 * i);
    sample->set_focal_length(1500 * factor);
    sample->set_cx(960 + i);
    sample->set_cy(540 - 0.5 * i);
    sample->set_k1((-0.08 + 0.008 * i) * factor * factor);
    sample->set_k4((0.1 - 0.0095 * i) * factor * factor);
    sample->set_p1(1e-4 * (i - 5));
    sample->set_p2(2e-4 - 3e-5 * i);
  }
  return lens;
}

inline calibration::PTZCameraParameters examplePtz() {
  calibration::PTZCameraParameters ptz;
  *ptz.mutable_intrinsics() = exampleLens();
  *ptz.mutable_pan_tilt() = exampleHead();
  return ptz;
}

/// The lens without distortion, its axis through the middle of the image.
inline calibration::PTZIntrinsicsTable pinholeLens() {
  calibration::PTZIntrinsicsTable lens = exampleLens();
  for (calibration::PTZIntrinsicsItem& sample : *lens.mutable_samples()) {
    sample.set_cx(960);
    sample.set_cy(540);
    sample.set_k1(0);
    sample.set_k4(0);
    sample.set_p1(0);
    sample.set_p2(0);
  }
  return lens;
}

inline calibration::PanTiltModel headModel(const calibration::PanTiltSystemParameters& params) {
  calibration::PanTiltModel head;
  head.readFromPB(params);
  return head;
}

inline calibration::PTZCameraModelPtr ptzModel(const calibration::PTZCameraParameters& params) {
  return std::make_shared<const calibration::PTZCameraModel>(params);
}

}  // namespace norv::testing

#pragma once

/// Pan-tilt-zoom cameras drawn at random: a head of any geometry, a zoom table of any spacing.

#include <algorithm>
#include <cmath>
#include <random>

#include "calibration_common/ptz_camera_model.h"
#include "testing/random_head.h"

namespace norv::testing {

/// Two to eight samples in increasing order of zoom and of focal length, with distortion that moves
/// the corners of the picture by some per cent.
inline calibration::PTZIntrinsicsTable randomZoomTable(std::mt19937_64* random) {
  calibration::PTZIntrinsicsTable lens;
  lens.set_image_width(static_cast<int>(uniform(random, 600, 2000)));
  lens.set_image_height(static_cast<int>(uniform(random, 400, 1200)));
  lens.set_zoom_start(static_cast<int>(uniform(random, -2000, 2000)));
  lens.set_zoom_interval(static_cast<int>(uniform(random, 50, 2000)));
  const int count = static_cast<int>(uniform(random, 2, 9));
  double focal_length = lens.image_width() * uniform(random, 0.6, 1.5);
  for (int i = 0; i < count; ++i) {
    calibration::PTZIntrinsicsItem* sample = lens.add_samples();
    const double radius = std::hypot(lens.image_width(), lens.image_height()) / (2 * focal_length);
    sample->set_zoom(lens.zoom_start() + i * lens.zoom_interval());
    sample->set_focal_length(focal_length);
    sample->set_cx(lens.image_width() * uniform(random, 0.45, 0.55));
    sample->set_cy(lens.image_height() * uniform(random, 0.45, 0.55));
    sample->set_k1(uniform(random, -0.05, 0.05) / (radius * radius));
    sample->set_k4(uniform(random, -0.05, 0.05) / (radius * radius));
    sample->set_p1(uniform(random, -0.003, 0.003) / radius);
    sample->set_p2(uniform(random, -0.003, 0.003) / radius);
    focal_length *= uniform(random, 1.05, 1.8);
  }
  return lens;
}

inline calibration::PTZCameraParameters randomPtz(std::mt19937_64* random) {
  calibration::PTZCameraParameters ptz;
  *ptz.mutable_intrinsics() = randomZoomTable(random);
  *ptz.mutable_pan_tilt() = randomHead(random);
  return ptz;
}

}  // namespace norv::testing

// Two calibrations of a pan-tilt-zoom camera.

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "calibration_common/calibration_diff.h"
#include "calibration_common/diff/image_difference.h"
#include "calibration_common/diff/pose.h"
#include "calibration_common/ptz_camera_model.h"
#include "support/numeric/saturate.h"

namespace norv::calibration {
namespace {

PixelSize sizeOf(const PTZCameraParameters& ptz) {
  return {ptz.intrinsics().image_width(), ptz.intrinsics().image_height()};
}

/// A zoom position, or the end of the motor's range where that is nearer.
int withinRange(const PTZIntrinsicsTable& table, int zoom) {
  if (table.has_min_zoom()) zoom = std::max(zoom, table.min_zoom());
  if (table.has_max_zoom()) zoom = std::min(zoom, table.max_zoom());
  return zoom;
}

/// The samples' zoom positions and those half-way between each two, steps, rounded; what the motor
/// does not reach is stood in for by the end of its range. At the last sample there is no lens: the
/// step before it stands for it.
std::vector<int> zoomsOf(const PTZIntrinsicsTable& table) {
  std::vector<int> zooms;
  const auto add = [&](double zoom) {
    zooms.push_back(withinRange(table, internal::truncateToInt(std::round(zoom))));
  };
  const int last = table.samples_size() - 1;
  for (int i = 0; i < last; ++i) {
    const double here = table.samples(i).zoom();
    const double next = table.samples(i + 1).zoom();
    add(here);
    add(0.5 * (here + next));
  }
  if (last >= 0) add(table.samples(last).zoom() - 1);
  zooms.erase(std::unique(zooms.begin(), zooms.end()), zooms.end());
  return zooms;
}

/// The lens at a zoom position, in single precision as programs get it.
CameraParameters::Intrinsics lensAt(const PTZCameraModelPtr& model, int zoom) {
  const PTZCameraModelConfiguration at(model, 0, 0, zoom);
  const Matrix3x3_f& k = at.getIntrinsics();
  const PixelSize size = sizeOf(model->getParams());
  CameraParameters::Intrinsics lens;
  lens.width = size.width;
  lens.height = size.height;
  lens.distortion = at.getDistortion();
  lens.fx = k(0, 0);
  lens.fy = k(1, 1);
  lens.cx = k(0, 2);
  lens.cy = k(1, 2);
  return lens;
}

/// The ends of a motor's range, each once; its home where no end is stated.
std::vector<int> endsOf(bool has_min, int min, bool has_max, int max, int home) {
  std::vector<int> ends;
  if (has_min) ends.push_back(min);
  if (has_max && !(has_min && min == max)) ends.push_back(max);
  if (ends.empty()) ends.push_back(home);
  return ends;
}

std::vector<HeadPoseDifference> comparePoses(const PanTiltSystemParameters& a,
                                             const PanTiltSystemParameters& b) {
  std::vector<HeadPoseDifference> poses;
  const auto add = [&](int pan, int tilt) {
    for (const HeadPoseDifference& known : poses) {
      if (known.pan == pan && known.tilt == tilt) return;
    }
    poses.push_back({pan, tilt,
                     internal::diff::comparePoses(internal::diff::headPose(a, pan, tilt),
                                                  internal::diff::headPose(b, pan, tilt))});
  };
  add(a.home_pan(), a.home_tilt());
  const auto pans =
      endsOf(a.has_min_pan(), a.min_pan(), a.has_max_pan(), a.max_pan(), a.home_pan());
  const auto tilts =
      endsOf(a.has_min_tilt(), a.min_tilt(), a.has_max_tilt(), a.max_tilt(), a.home_tilt());
  for (const int pan : pans) {
    for (const int tilt : tilts) add(pan, tilt);
  }
  return poses;
}

std::vector<ZoomDifference> compareZooms(const PTZCameraParameters& a, const PTZCameraParameters& b,
                                         const DiffOptions& options) {
  const auto model_a = std::make_shared<const PTZCameraModel>(a);
  const auto model_b = std::make_shared<const PTZCameraModel>(b);
  const int pan = a.pan_tilt().home_pan();
  const int tilt = a.pan_tilt().home_tilt();
  const internal::diff::Pose b_from_a =
      internal::diff::between(internal::diff::headPose(a.pan_tilt(), pan, tilt),
                              internal::diff::headPose(b.pan_tilt(), pan, tilt));
  std::vector<ZoomDifference> zooms;
  for (const int zoom : zoomsOf(a.intrinsics())) {
    zooms.push_back({zoom, internal::diff::compareImages(
                               lensAt(model_a, zoom), lensAt(model_b, zoom), b_from_a, options)});
  }
  return zooms;
}

}  // namespace

std::optional<PtzDifference> diffCalibrations(const PTZCameraParameters& a,
                                              const PTZCameraParameters& b,
                                              const DiffOptions& options, DiffProblem* problem) {
  for (const bool is_b : {false, true}) {
    const std::optional<LoadProblem> found = findLoadProblem(is_b ? b : a);
    if (!found) continue;
    if (problem != nullptr) *problem = {is_b, *found};
    return std::nullopt;
  }
  PtzDifference difference;
  difference.size_a = sizeOf(a);
  difference.size_b = sizeOf(b);
  if (difference.size_a == difference.size_b) difference.zooms = compareZooms(a, b, options);
  difference.poses = comparePoses(a.pan_tilt(), b.pan_tilt());
  return difference;
}

}  // namespace norv::calibration

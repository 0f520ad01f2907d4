#include "calibration_common/review/ptz_subject.h"

#include <utility>

#include "calibration_common/zoom_lens.h"

namespace norv::internal::review {
namespace {

using calibration::PanTiltSystemParameters;
using calibration::PTZIntrinsicsItem;
using calibration::PTZIntrinsicsTable;
using Lens = calibration::LensDistortion<double>;

LensSubject sampleLens(const PTZIntrinsicsTable& table, int i) {
  const PTZIntrinsicsItem& sample = table.samples(i);
  const Lens lens = {sample.k1(), 0, sample.p1(), sample.p2(), 0, sample.k4(), 0, 0};
  const PinholeImage image = sampleImage(table, i);
  return {narrowed(lens), narrowed(image),
          samplePath(i),  samplePath(i) + ".p1",
          "the lens",     lens,
          image,          {}};
}

LensSubject lensBetween(const PTZIntrinsicsTable& table, int i) {
  const PTZIntrinsicsItem& a = table.samples(i);
  const PTZIntrinsicsItem& b = table.samples(i + 1);
  const ZoomLens blend = blendLenses(a, b, 0.5 * (a.zoom() + b.zoom()));
  const Lens& lens = blend.lens;
  const PinholeImage image = {{table.image_width(), table.image_height()},
                              blend.focal_length,
                              blend.focal_length,
                              blend.cx,
                              blend.cy};
  return {narrowed(lens),
          narrowed(image),
          samplePath(i),
          "",
          "the lens between this sample and the next",
          lens,
          image,
          {}};
}

/// Adds a lens that can be measured, and tells whether it serves its whole image.
bool addLens(LensSubject lens, std::vector<LensSubject>* lenses) {
  if (!isUsable(lens.image) || !isFinite(lens.lens)) return false;
  measureReach(&lens);
  lenses->push_back(std::move(lens));
  return judgeReach(lenses->back().reach) == LensVerdict::kServed;
}

/// The samples' lenses, and those in the middles between two that serve: what is wrong with a
/// sample is wrong near it too.
std::vector<LensSubject> zoomLenses(const PTZIntrinsicsTable& table) {
  std::vector<LensSubject> lenses;
  std::vector<bool> served;
  for (int i = 0; i < table.samples_size(); ++i) {
    served.push_back(addLens(sampleLens(table, i), &lenses));
  }
  for (int i = 0; i + 1 < table.samples_size(); ++i) {
    const auto at = static_cast<std::size_t>(i);
    const bool rises = table.samples(i + 1).zoom() > table.samples(i).zoom();
    if (served[at] && served[at + 1] && rises) addLens(lensBetween(table, i), &lenses);
  }
  return lenses;
}

}  // namespace

std::string samplePath(int i) { return "intrinsics.samples[" + std::to_string(i) + "]"; }

PinholeImage sampleImage(const PTZIntrinsicsTable& table, int i) {
  const PTZIntrinsicsItem& sample = table.samples(i);
  return {{table.image_width(), table.image_height()},
          sample.focal_length(),
          sample.focal_length(),
          sample.cx(),
          sample.cy()};
}

PtzSubject makePtzSubject(const calibration::PTZCameraParameters& ptz) {
  const PanTiltSystemParameters& head = ptz.pan_tilt();
  return {ptz,
          {makePoseSubject(head.base_to_pan(), "pan_tilt.base_to_pan"),
           makePoseSubject(head.pan_to_tilt(), "pan_tilt.pan_to_tilt"),
           makePoseSubject(head.tilt_to_camera(), "pan_tilt.tilt_to_camera")},
          zoomLenses(ptz.intrinsics())};
}

}  // namespace norv::internal::review

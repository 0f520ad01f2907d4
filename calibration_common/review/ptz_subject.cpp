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

/// Shows a lens that can be measured, and tells whether it serves its whole image.
bool show(LensSubject lens, const LensVisit& visit) {
  if (!isUsable(lens.image) || !isFinite(lens.lens)) return false;
  measureReach(&lens);
  visit(lens);
  return judgeReach(lens.reach) == LensVerdict::kServed;
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
           makePoseSubject(head.tilt_to_camera(), "pan_tilt.tilt_to_camera")}};
}

void visitLenses(const PTZIntrinsicsTable& table, const LensVisit& visit) {
  bool served_before = false;
  for (int i = 0; i < table.samples_size(); ++i) {
    const bool served = show(sampleLens(table, i), visit);
    const bool rises = i > 0 && table.samples(i).zoom() > table.samples(i - 1).zoom();
    if (served && served_before && rises) show(lensBetween(table, i - 1), visit);
    served_before = served;
  }
}

}  // namespace norv::internal::review

#include "tools/aim/aim_outcome.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "calibration_common/head_geometry.h"
#include "tools/aim/sight.h"
#include "tools/input/zoom_position.h"
#include "tools/output/number_text.h"
#include "tools/output/text_table.h"

namespace norv::tools {
namespace {

using calibration::PanTiltSystemParameters;
using calibration::PTZIntrinsicsTable;

/// What motors that stop before their aim may move the target by, and a box reach out of the
/// picture of the widest lens, pixels.
constexpr float kMaxOffset = 1;

/// Compares with where the target would be seen without limits or, where a wrong answer of the
/// solver would have it out of sight, with where it was wanted.
void judgeLimits(const PTZCameraModelConfiguration& then, Aim* aim) {
  const PTZCameraModelConfiguration free(then.getModel(), aim->unlimited.pan, aim->unlimited.tilt,
                                         then.getZoom());
  std::string ignored;
  const std::optional<Vector2_f> unlimited = see(free, aim->target, &ignored);
  const float offset = (*aim->lands - unlimited.value_or(*aim->wanted)).norm();
  if (offset <= kMaxOffset) return;
  aim->obstacles.push_back(fmt::format(
      "the limits of the motors keep the target {} px from where it would land without them",
      formatFixed(offset, 2)));
}

/// Looks at the target from where the head has gone.
void lookAtTarget(const PTZCameraModelConfiguration& then, Aim* aim) {
  std::string why;
  aim->lands = see(then, aim->target, &why);
  if (!aim->lands) aim->obstacles.push_back(why);
  if (aim->lands && aim->isLimited()) judgeLimits(then, aim);
}

/// By how much a box reaches out of the picture.
float reachOut(const BoxCover& box, const PTZIntrinsicsTable& table) {
  const Vector2_f size(static_cast<float>(table.image_width()),
                       static_cast<float>(table.image_height()));
  return std::max({0.0F, -box.low.minCoeff(), (box.high - size).maxCoeff()});
}

/// What the box covers, its corners being directions: how far away they are is not known. Nullopt,
/// with the obstacle noted, when a corner is not seen before or after the move.
std::optional<BoxCover> seeBox(const PTZCameraModelConfiguration& now,
                               const PTZCameraModelConfiguration& then,
                               const std::array<float, 4>& box, Aim* aim) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  BoxCover cover = {{kInfinity, kInfinity}, {-kInfinity, -kInfinity}, 0};
  for (const Vector2_f& corner : cornersOf(box)) {
    const auto ray = findRay(now, corner);
    if (!ray) {
      aim->obstacles.push_back(
          fmt::format("no ray reaches the box's corner {},{}: the zoom is chosen without it",
                      shortestText(corner.x()), shortestText(corner.y())));
      return std::nullopt;
    }
    std::string ignored;
    const auto pixel = see(then, then.getCameraCenter() + *ray, &ignored);
    if (!pixel) {
      aim->obstacles.emplace_back("the box is not in the picture after the move");
      return std::nullopt;
    }
    cover.low = cover.low.cwiseMin(*pixel);
    cover.high = cover.high.cwiseMax(*pixel);
  }
  cover.outside = reachOut(cover, then.getModel()->getParams().intrinsics());
  return cover;
}

void lookAtBox(const PTZCameraModelConfiguration& now, const PTZCameraModelConfiguration& then,
               const std::array<float, 4>& box, Aim* aim) {
  aim->box = seeBox(now, then, box, aim);
  if (!aim->box || aim->box->outside <= 0) return;
  const PTZIntrinsicsTable& table = then.getModel()->getParams().intrinsics();
  if (then.getZoom() <= table.samples(0).zoom() && aim->box->outside > kMaxOffset) {
    aim->obstacles.push_back(
        fmt::format("even the widest lens, at zoom {}, shows not all of the box", then.getZoom()));
    return;
  }
  aim->remarks.emplace_back(
      "the zoom is chosen as for a lens without distortion whose axis meets the middle of the "
      "picture");
}

/// A zoom that was chosen without regard to the range that the calibration may state.
void judgeZoom(const PTZCameraModelConfiguration& then, Aim* aim) {
  const PTZIntrinsicsTable& table = then.getModel()->getParams().intrinsics();
  const auto refuse = [&](const char* side, int limit) {
    aim->obstacles.push_back(
        fmt::format("zoom {} is {} position, {}", then.getZoom(), side, limit));
  };
  if (table.has_min_zoom() && then.getZoom() < table.min_zoom()) {
    refuse("below its lowest", table.min_zoom());
  } else if (table.has_max_zoom() && then.getZoom() > table.max_zoom()) {
    refuse("above its highest", table.max_zoom());
  }
}

}  // namespace

void remarkFrame(const PanTiltSystemParameters& head, Aim* aim) {
  auto better = findBetterFrame(head);
  if (!better) return;
  aim->remarks.emplace_back("this head should be written in another frame, every pose as it was");
  aim->better_head = std::move(better->head);
}

void lookFromThere(const PTZCameraModelConfiguration& now, const AimRequest& request, Aim* aim) {
  const PTZCameraModelConfiguration then(now.getModel(), aim->motors->pan, aim->motors->tilt,
                                         aim->motors->zoom);
  if (request.box) judgeZoom(then, aim);
  if (!hasLens(then)) {
    aim->obstacles.push_back(explainMissingLens(then));
    return;
  }
  if (then.getZoom() != now.getZoom()) {
    if (const auto remark = explainExtrapolation(then)) aim->remarks.push_back(*remark);
  }
  aim->wanted = request.point && request.pixel ? Vector2_f((*request.pixel)[0], (*request.pixel)[1])
                                               : principalPoint(then);
  lookAtTarget(then, aim);
  if (request.box) lookAtBox(now, then, *request.box, aim);
}

}  // namespace norv::tools

#include "calibration_common/aiming/zoom_limits.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <utility>

#include "calibration_common/aiming/frozen_lens.h"
#include "support/numeric/saturate.h"

namespace norv::internal {
namespace {

using calibration::PTZCameraModel;
using calibration::PTZIntrinsicsItem;
using calibration::PTZIntrinsicsTable;
using calibration::ZoomRange;

constexpr ZoomRange kNoRange = {0, -1};

std::int64_t lengthOf(const ZoomRange& range) {
  return std::int64_t{range.highest} - range.lowest + 1;
}

ZoomRange common(const ZoomRange& a, const ZoomRange& b) {
  return {std::max(a.lowest, b.lowest), std::min(a.highest, b.highest)};
}

ZoomRange toRange(std::int64_t lowest, std::int64_t highest) {
  return lowest > highest ? kNoRange : ZoomRange{clampToInt(lowest), clampToInt(highest)};
}

/// The positions whose lens lies between the samples `index` and `index` + 1.
/// `PTZCameraModel::getIntrinsicsIndex` truncates, so that those up to an interval below the start
/// belong to the first pair.
ZoomRange positionsOf(const PTZIntrinsicsTable& table, int index) {
  const std::int64_t start = table.zoom_start();
  const std::int64_t interval = table.zoom_interval();
  const std::int64_t near = start + interval * index;
  const std::int64_t far = near + interval;
  if (interval == 0) {
    return {std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};
  }
  if (interval > 0) return toRange(index == 0 ? start - interval + 1 : near, far - 1);
  return toRange(far + 1, index == 0 ? start - interval - 1 : near);
}

/// From the first sample to the last position before the last one, or, where all positions share
/// one pair of samples, between those.
ZoomRange positionsOfSamples(const PTZIntrinsicsTable& table) {
  const std::int64_t start = table.zoom_start();
  const std::int64_t interval = table.zoom_interval();
  const std::int64_t end = start + interval * (table.samples_size() - 1);
  if (interval > 0) return toRange(start, end - 1);
  if (interval < 0) return toRange(end + 1, start);
  const auto [low, high] = std::minmax({table.samples(0).zoom(), table.samples(1).zoom()});
  if (!(high > low)) return kNoRange;
  return {truncateToInt(std::ceil(low)), truncateToInt(std::ceil(high) - 1)};
}

ZoomRange statedPositions(const PTZIntrinsicsTable& table) {
  ZoomRange range = {std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};
  if (!table.has_min_zoom() || !table.has_max_zoom()) range = positionsOfSamples(table);
  if (table.has_min_zoom()) range.lowest = table.min_zoom();
  if (table.has_max_zoom()) range.highest = table.max_zoom();
  return range;
}

/// Whether the mean of this sample and another such one surely has a lens.
bool isOrdinary(const PTZIntrinsicsItem& sample) {
  constexpr double kLarge = 1e9;
  const double values[] = {sample.zoom(), sample.cx(), sample.cy(), sample.k1(),
                           sample.k4(),   sample.p1(), sample.p2()};
  return sample.focal_length() > 1 / kLarge && sample.focal_length() < kLarge &&
         std::all_of(std::begin(values), std::end(values),
                     [](double value) { return std::abs(value) < kLarge; });
}

bool isBetween(const PTZIntrinsicsItem& a, const PTZIntrinsicsItem& b, const ZoomRange& range) {
  const auto [low, high] = std::minmax({a.zoom(), b.zoom()});
  return low < high && range.lowest >= low && range.highest <= high;
}

bool hasLens(const PTZCameraModel& model, int zoom) { return FrozenLens(model, zoom).isUsable(); }

/// The last position with a lens on the way from `with`, which has one, to `without`: between two
/// samples the focal length is linear and what is divided by it monotone.
int lastWithLens(const PTZCameraModel& model, std::int64_t with, std::int64_t without) {
  while (std::abs(without - with) > 1) {
    const std::int64_t middle = (with + without) / 2;
    (hasLens(model, static_cast<int>(middle)) ? with : without) = middle;
  }
  return static_cast<int>(with);
}

/// What of a pair's positions has a lens.
ZoomRange positionsWithLens(const PTZCameraModel& model, int index, const ZoomRange& range) {
  if (range.empty()) return kNoRange;
  const PTZIntrinsicsTable& table = model.getParams().intrinsics();
  const PTZIntrinsicsItem& a = table.samples(index);
  const PTZIntrinsicsItem& b = table.samples(index + 1);
  if (isBetween(a, b, range) && isOrdinary(a) && isOrdinary(b)) return range;
  const bool at_lowest = hasLens(model, range.lowest);
  const bool at_highest = hasLens(model, range.highest);
  if (at_lowest && at_highest) return range;
  if (at_lowest) return {range.lowest, lastWithLens(model, range.lowest, range.highest)};
  if (at_highest) return {lastWithLens(model, range.highest, range.lowest), range.highest};
  return kNoRange;
}

/// Whether the one ends where the other begins.
bool areNeighbours(const ZoomRange& a, const ZoomRange& b) {
  return std::int64_t{a.highest} + 1 == b.lowest || std::int64_t{b.highest} + 1 == a.lowest;
}

}  // namespace

ZoomRange findZoomRange(const PTZCameraModel& model) {
  const PTZIntrinsicsTable& table = model.getParams().intrinsics();
  if (table.samples_size() < 2) return kNoRange;
  const ZoomRange stated = statedPositions(table);
  const int pairs = table.zoom_interval() == 0 ? 1 : table.samples_size() - 1;
  ZoomRange longest = kNoRange;
  ZoomRange run = kNoRange;
  for (int i = 0; i < pairs; ++i) {
    const ZoomRange found = positionsWithLens(model, i, common(stated, positionsOf(table, i)));
    if (found.empty()) continue;
    const bool goes_on = !run.empty() && areNeighbours(run, found);
    run = goes_on
              ? ZoomRange{std::min(run.lowest, found.lowest), std::max(run.highest, found.highest)}
              : found;
    if (lengthOf(run) > lengthOf(longest)) longest = run;
  }
  return longest;
}

}  // namespace norv::internal

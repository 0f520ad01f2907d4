// Any head and any target: where solveAll says that a point is seen, the chain worked out in double
// sees it.

#include <Eigen/Core>
#include <algorithm>
#include <cmath>

#include "calibration_common/pan_tilt_model.h"
#include "fuzz/fuzz_heads.h"
#include "fuzz/fuzz_input.h"
#include "fuzz/fuzz_support.h"
#include "testing/example_ptz.h"
#include "testing/pointing_chain.h"
#include "testing/random_head.h"

namespace norv::calibration {
namespace {

using Eigen::Vector2d;
using Eigen::Vector3d;
using fuzz::Input;
using fuzz::require;
using testing::PointingChain;

constexpr double kHalfTurn = 180 * testing::kRadians;

Vector2d takeDirection(Input* input) {
  const bool is_any = input->take<std::uint8_t>() % 4 == 3;
  Vector2d dev;
  for (double& element : dev) {
    element = is_any ? input->take<double>() : input->take<std::int8_t>() / 64.0;
  }
  return dev;
}

bool isOfOneTurn(double angle) { return angle > -kHalfTurn && angle <= kHalfTurn; }

/// Whether the chain in double is a judge.
bool isOrdinary(const PointingChain& chain, const Vector3d& world, const Vector2d& dev) {
  const double longest = chain.longest(world);
  return fuzz::isOrdinary(chain) && longest > 1e-100 && longest < 1e100 && dev.norm() < 1e3;
}

void checkRoot(const PanTiltRoot& root, const PointingChain& chain, const Vector3d& world,
               const Vector2d& dev, const PanTiltSearch& search) {
  require(isOfOneTurn(root.pan) && isOfOneTurn(root.tilt), "angles are of one turn");
  require(root.range >= 0 && root.miss >= 0 && !(root.sensitivity < 0), "numbers of a root");
  if (!isOrdinary(chain, world, dev)) return;
  const Vector3d q = chain.inCamera({root.pan, root.tilt}, world);
  const double rounding = 1e-9 * std::max(1.0, chain.longest(world) / q.norm());
  const double most = search.tolerance > 0 ? search.tolerance : 0;
  require(testing::missOf(q, dev) <= most + rounding, "what is said to be seen there is");
  require(std::abs(q.norm() - root.range) <= rounding * q.norm(), "the range is that of the chain");
}

void checkReach(const PanTiltRoots& roots) {
  require(roots.size() <= PanTiltRoots::kMaxCount, "there are at most four");
  const bool is_reached = roots.reach == PanTiltReach::kReached ||
                          roots.reach == PanTiltReach::kAnyPan ||
                          roots.reach == PanTiltReach::kAnyTilt;
  require(is_reached != roots.empty(), "there are roots where the point is reached");
  const auto before = [](const PanTiltRoot& a, const PanTiltRoot& b) {
    return a.pan < b.pan || (a.pan == b.pan && a.tilt < b.tilt);
  };
  require(std::is_sorted(roots.begin(), roots.end(), before), "they are in order");
}

void checkHead(const PanTiltModel& head, Input* input) {
  const PointingChain chain(head);
  PanTiltSearch search;
  search.tolerance = static_cast<double>(input->take<float>());
  search.free_pan = static_cast<double>(input->take<float>());
  search.free_tilt = static_cast<double>(input->take<float>());
  for (int i = 0; i < 4; ++i) {
    const Vector3d world = fuzz::takeWorld(chain, input);
    const Vector2d dev = takeDirection(input);
    for (const PanTiltSearch& one : {PanTiltSearch(), search}) {
      const PanTiltRoots roots = head.solveAll(world, dev, one);
      checkReach(roots);
      for (const PanTiltRoot& root : roots) checkRoot(root, chain, world, dev, one);
    }
  }
}

void check(Input input) {
  PanTiltSystemParameters head;
  fuzz::takePoses(&input, &head);
  checkHead(testing::headModel(head), &input);
}

}  // namespace
}  // namespace norv::calibration

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  norv::fuzz::silenceLogs();
  norv::calibration::check({data, size});
  return 0;
}

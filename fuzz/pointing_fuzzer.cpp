// Any head and any target: where solveAll says that a point is seen, the chain worked out in double
// sees it.

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>

#include "calibration_common/pan_tilt_model.h"
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

/// A pose of any twelve numbers, or a rotation with a translation in millimetres.
void takePose(Input* input, CameraExtrinsics* pose) {
  if (input->take<std::uint8_t>() % 4 == 3) {
    for (int i = 0; i < 12; ++i) pose->add_a(static_cast<double>(input->take<float>()));
    return;
  }
  Eigen::Vector4d q;
  for (double& element : q) element = input->take<std::int8_t>();
  Eigen::Matrix4d m = Eigen::Matrix4d::Identity();
  if (q.norm() > 0) m.topLeftCorner<3, 3>() = Eigen::Quaterniond(q.normalized()).matrix();
  for (int row = 0; row < 3; ++row) m(row, 3) = 0.001 * input->take<std::int16_t>();
  testing::storePose(m, pose);
}

PanTiltSystemParameters takeHead(Input* input) {
  PanTiltSystemParameters head;
  for (CameraExtrinsics* pose :
       {head.mutable_base_to_pan(), head.mutable_pan_to_tilt(), head.mutable_tilt_to_camera()}) {
    takePose(input, pose);
  }
  return head;
}

/// A point anywhere, some metres away, or near the pan axis.
Vector3d takeWorld(const PointingChain& chain, Input* input) {
  const int kind = input->take<std::uint8_t>() % 3;
  Vector3d world;
  if (kind == 0) {
    for (double& element : world) element = input->take<double>();
    return world;
  }
  for (double& element : world) element = 0.001 * input->take<std::int16_t>();
  if (kind == 1) return world;
  world.head<2>() *= std::pow(10, -0.1 * input->take<std::uint8_t>());
  return (chain.baseToPan().inverse() * world.homogeneous()).head<3>();
}

Vector2d takeDirection(Input* input) {
  const bool is_any = input->take<std::uint8_t>() % 4 == 3;
  Vector2d dev;
  for (double& element : dev) {
    element = is_any ? input->take<double>() : input->take<std::int8_t>() / 64.0;
  }
  return dev;
}

bool isOfOneTurn(double angle) { return angle > -kHalfTurn && angle <= kHalfTurn; }

/// Whether lengths and poses are such that the chain in double is a judge.
bool isOrdinary(const PointingChain& chain, const Vector3d& world, const Vector2d& dev) {
  const auto is_plain = [](const Eigen::Matrix4d& m) {
    const Eigen::Matrix3d turn = m.topLeftCorner<3, 3>();
    return turn.allFinite() && turn.cwiseAbs().maxCoeff() < 100 &&
           std::abs(turn.determinant()) > 1e-2;
  };
  return is_plain(chain.baseToPan()) && is_plain(chain.panToTilt()) &&
         is_plain(chain.tiltToCamera()) && chain.longest(world) < 1e100 && dev.norm() < 1e3;
}

void checkRoot(const PanTiltRoot& root, const PointingChain& chain, const Vector3d& world,
               const Vector2d& dev, const PanTiltSearch& search) {
  require(isOfOneTurn(root.pan) && isOfOneTurn(root.tilt), "angles are of one turn");
  require(root.range >= 0 && root.miss >= 0 && !(root.sensitivity < 0), "numbers of a root");
  if (!isOrdinary(chain, world, dev)) return;
  const Vector3d q = chain.inCamera({root.pan, root.tilt}, world);
  const double rounding = 1e-9 * std::max(1.0, chain.longest(world) / q.norm());
  const double most = std::isfinite(search.tolerance) ? std::max(search.tolerance, 0.0) : 0;
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
    const Vector3d world = takeWorld(chain, input);
    const Vector2d dev = takeDirection(input);
    for (const PanTiltSearch& one : {PanTiltSearch(), search}) {
      const PanTiltRoots roots = head.solveAll(world, dev, one);
      checkReach(roots);
      for (const PanTiltRoot& root : roots) checkRoot(root, chain, world, dev, one);
    }
  }
}

void check(Input input) { checkHead(testing::headModel(takeHead(&input)), &input); }

}  // namespace
}  // namespace norv::calibration

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  norv::fuzz::silenceLogs();
  norv::calibration::check({data, size});
  return 0;
}

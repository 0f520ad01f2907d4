#include "fuzz/fuzz_heads.h"

#include <Eigen/Geometry>
#include <Eigen/LU>
#include <cmath>

#include "testing/random_head.h"

namespace norv::fuzz {
namespace {

using Eigen::Vector3d;

void takePose(Input* input, calibration::CameraExtrinsics* pose) {
  if (input->take<std::uint8_t>() % 4 == 3) {
    pose->Clear();
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

}  // namespace

void takePoses(Input* input, calibration::PanTiltSystemParameters* head) {
  takePose(input, head->mutable_base_to_pan());
  takePose(input, head->mutable_pan_to_tilt());
  takePose(input, head->mutable_tilt_to_camera());
}

Vector3d takeWorld(const testing::PointingChain& chain, Input* input) {
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

bool isOrdinary(const testing::PointingChain& chain) {
  const auto is_plain = [](const Eigen::Matrix4d& m) {
    const Eigen::Matrix3d turn = m.topLeftCorner<3, 3>();
    return turn.allFinite() && turn.cwiseAbs().maxCoeff() < 100 &&
           std::abs(turn.determinant()) > 1e-2;
  };
  return is_plain(chain.baseToPan()) && is_plain(chain.panToTilt()) &&
         is_plain(chain.tiltToCamera());
}

}  // namespace norv::fuzz

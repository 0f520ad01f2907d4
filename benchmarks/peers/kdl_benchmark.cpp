// KDL's forward kinematics of the same head, with the inverse of the pose.

#include <benchmark/benchmark.h>

#include <kdl/chain.hpp>
#include <kdl/chainfksolverpos_recursive.hpp>
#include <kdl/frames.hpp>

#include "benchmarks/example_ptz_camera.h"

namespace norv::benchmarks {
namespace {

KDL::Frame toFrame(const Matrix4x4_f& m) {
  return KDL::Frame(KDL::Rotation(m(0, 0), m(0, 1), m(0, 2), m(1, 0), m(1, 1), m(1, 2), m(2, 0),
                                  m(2, 1), m(2, 2)),
                    KDL::Vector(m(0, 3), m(1, 3), m(2, 3)));
}

void kdlForwardKinematics(benchmark::State& state) {
  const calibration::PanTiltModel head = testing::headModel(testing::exampleHead());
  // A segment is a joint followed by a fixed frame.
  KDL::Chain chain;
  chain.addSegment(
      KDL::Segment(KDL::Joint(KDL::Joint::None), toFrame(head.getTiltToCamera().transform)));
  chain.addSegment(
      KDL::Segment(KDL::Joint(KDL::Joint::RotZ), toFrame(head.getPanToTilt().transform)));
  chain.addSegment(
      KDL::Segment(KDL::Joint(KDL::Joint::RotZ), toFrame(head.getBaseToPan().transform)));
  KDL::ChainFkSolverPos_recursive solver(chain);
  KDL::JntArray angles(2);
  KDL::Frame pose;
  for (auto _ : state) {
    angles(0) += 0.0005;
    angles(1) += 0.0005;
    benchmark::DoNotOptimize(solver.JntToCart(angles, pose));
    KDL::Frame inverse = pose.Inverse();
    benchmark::DoNotOptimize(pose);
    benchmark::DoNotOptimize(inverse);
  }
}
BENCHMARK(kdlForwardKinematics);

}  // namespace
}  // namespace norv::benchmarks

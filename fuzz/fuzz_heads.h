#pragma once

/// Pan-tilt heads and targets from a fuzz target's input.

#include <Eigen/Core>

#include "fuzz/fuzz_input.h"
#include "proto/norv_pan_tilt_system.pb.h"
#include "testing/pointing_chain.h"

namespace norv::fuzz {

/// The three poses of a head, each a rotation with a translation in millimetres, or any numbers.
void takePoses(Input* input, calibration::PanTiltSystemParameters* head);

/// A point of the base frame anywhere, some metres away, or near the pan axis.
Eigen::Vector3d takeWorld(const testing::PointingChain& chain, Input* input);

/// Whether the poses are such that the chain in double is a judge.
bool isOrdinary(const testing::PointingChain& chain);

}  // namespace norv::fuzz

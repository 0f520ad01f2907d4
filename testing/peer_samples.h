#pragma once

/// Reading of other programs' calibrations in tests.

#include <gtest/gtest.h>

#include <Eigen/Core>
#include <cstddef>
#include <string>
#include <variant>

#include "interop/peer_reading.h"
#include "testing/peer_formulas.h"

namespace norv::testing {

/// Where the samples of other programs' files are, and what those programs compute from them.
inline const std::string kPeerSamples = CAMERA_PARAMETERS_SOURCE_DIR "/tests/data/interop";

/// The cameras of a file that must be read.
inline interop::PeerFile readPeer(const interop::SourceFile& file, interop::PeerFormat format,
                                  const interop::ReadOptions& options = {}) {
  const interop::PeerReading reading = interop::readCameras(file, format, options);
  if (const auto* problem = std::get_if<interop::FormatProblem>(&reading)) {
    ADD_FAILURE() << interop::describe(*problem);
    return {};
  }
  return std::get<interop::PeerFile>(reading);
}

/// Why a text is refused, as "f:LINE:COLUMN: KEY: sentence"; "" where it is read.
inline std::string refusalOf(const std::string& text, interop::PeerFormat format,
                             const interop::ReadOptions& options = {}) {
  const interop::PeerReading reading = interop::readCameras({"f", text}, format, options);
  const auto* const problem = std::get_if<interop::FormatProblem>(&reading);
  return problem == nullptr ? "" : interop::describe(*problem);
}

/// How far the camera's pixels are from those of camera `index` of a sample, as expected.json calls
/// it.
inline double largestPixelMiss(const interop::PeerCamera& camera, const std::string& sample,
                               std::size_t index) {
  const auto expected = expectedOfSamples(kPeerSamples);
  const auto points = pointsOf(expected.at("points_camera"));
  return largestMiss(camera, expected.at("files").at(sample).at(index), points);
}

/// How far the pose puts the sample's points of the IMU's frame from those of the camera's, metres.
inline double largestPoseMiss(const interop::RigidPose& camera_from_imu, const std::string& sample,
                              std::size_t index) {
  const auto expected = expectedOfSamples(kPeerSamples);
  const auto from = pointsOf(expected.at("files").at(sample).at(index).at("points_imu"));
  return largestMiss(camera_from_imu, from, pointsOf(expected.at("points_camera")));
}

}  // namespace norv::testing

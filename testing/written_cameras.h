#pragma once

/// Cameras to be written for other programs, and what is read back of them.

#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <random>
#include <string>
#include <variant>
#include <vector>

#include "interop/peer_camera.h"
#include "interop/peer_writing.h"
#include "testing/random_camera.h"

namespace norv::testing {

/// No rotation, metres.
inline interop::RigidPose poseAt(const Eigen::Vector3d& translation) {
  interop::RigidPose pose;
  pose.translation = translation;
  return pose;
}

/// One plain camera without lens and pose for each name: 640 x 480, the principal point at (320.5,
/// 240.25) from the corner.
inline std::vector<interop::WrittenCamera> rigOf(const std::vector<std::string>& names) {
  std::vector<interop::WrittenCamera> cameras;
  for (const std::string& name : names) {
    cameras.push_back({name, {640, 480, 400, 410.25, 0, 320.5, 240.25, {}}, {}});
  }
  return cameras;
}

/// A number of up to that many powers of ten, of either sign; one of eight is 0 or -0, and another
/// one whole.
inline double randomNumber(double exponent, std::mt19937* random) {
  const double sign = uniform(-1, 1, random) < 0 ? -1 : 1;
  const double kind = uniform(0, 8, random);
  if (kind < 1) return sign * 0.0;
  const double number = sign * std::pow(10, uniform(-exponent, exponent, random));
  return kind < 2 ? std::trunc(number) : number;
}

/// A pose whose translation is of some metres.
inline interop::RigidPose randomWrittenPose(std::mt19937* random) {
  const auto number = [random](double low, double high) { return uniform(low, high, random); };
  interop::RigidPose pose = poseAt({number(-9, 9), number(-9, 9), number(-9, 9)});
  pose.rotation = Eigen::Quaterniond(number(-1, 1), number(-1, 1), number(-1, 1), number(-1, 1))
                      .normalized()
                      .toRotationMatrix();
  return pose;
}

/// A camera "left" without skew. Of the coefficients in OpenCV's order the first `coefficients`
/// need not be zero: they reach from 1e-12 to 1e12, whole numbers beyond 2^31 being among them.
inline interop::WrittenCamera randomWrittenCamera(int coefficients, std::mt19937* random) {
  interop::WrittenCamera camera = rigOf({"left"}).front();
  calibration::CameraModel& model = camera.model;
  model.width = static_cast<int>(uniform(1, 10000, random));
  model.height = static_cast<int>(uniform(1, 10000, random));
  model.fx = std::pow(10, uniform(-3, 12, random));
  model.fy = std::pow(10, uniform(-3, 12, random));
  model.cx = randomNumber(4, random);
  model.cy = randomNumber(4, random);
  std::array<double, 8> k{};
  for (std::size_t i = 0; i < static_cast<std::size_t>(coefficients); ++i) {
    k.at(i) = randomNumber(12, random);
  }
  model.lens = {k[0], k[1], k[2], k[3], k[4], k[5], k[6], k[7]};
  camera.camera_from_parent = randomWrittenPose(random);
  return camera;
}

/// As many of them, called "camera_0" and so on, the principal points at least half a pixel right
/// of the corner and below it.
inline std::vector<interop::WrittenCamera> randomRig(std::size_t count, int coefficients,
                                                     std::mt19937* random) {
  std::vector<interop::WrittenCamera> cameras;
  for (std::size_t i = 0; i < count; ++i) {
    cameras.push_back(randomWrittenCamera(coefficients, random));
    cameras[i].name = "camera_" + std::to_string(i);
    cameras[i].model.cx = 0.5 + std::abs(cameras[i].model.cx);
    cameras[i].model.cy = 0.5 + std::abs(cameras[i].model.cy);
  }
  return cameras;
}

/// What is written; three empty files, with a failure, where nothing is.
inline interop::PeerWriting writtenBy(const std::vector<interop::WrittenCamera>& cameras,
                                      const interop::WriteOptions& options) {
  const auto written = interop::writeCameras(cameras, options);
  if (const auto* reason = std::get_if<std::string>(&written)) {
    ADD_FAILURE() << *reason;
    return {{{"", ""}, {"", ""}, {"", ""}}, {}};
  }
  return std::get<interop::PeerWriting>(written);
}

/// The only file that is written.
inline std::string peerTextOf(const std::vector<interop::WrittenCamera>& cameras,
                              const interop::WriteOptions& options) {
  const interop::PeerWriting writing = writtenBy(cameras, options);
  EXPECT_EQ(writing.files.size(), 1U);
  return writing.files.front().contents;
}

/// Why they are not written; "" where they are.
inline std::string refusalToWrite(const std::vector<interop::WrittenCamera>& cameras,
                                  const interop::WriteOptions& options) {
  const auto written = interop::writeCameras(cameras, options);
  const auto* const reason = std::get_if<std::string>(&written);
  return reason == nullptr ? "" : *reason;
}

/// Whether half a pixel was taken off and added again, if the file counts pixels so, and nothing
/// else happened. That changes the last bit at most, unless the half pixel is the larger number.
inline bool isSamePixel(double read, double written, calibration::PixelOrigin origin) {
  const double offset = interop::cornerOffset(origin);
  const bool is_neighbour = read == written || std::nextafter(read, written) == written;
  return read == (written - offset) + offset && (is_neighbour || std::abs(written) < 0.5);
}

/// Whether the camera has the numbers that were written, its name and its pose aside.
inline bool hasSameDoubles(const interop::PeerCamera& read, const calibration::CameraModel& model,
                           calibration::PixelOrigin origin) {
  const auto* const lens = std::get_if<calibration::LensDistortion<double>>(&read.lens);
  return lens != nullptr && lens->toCoefficients() == model.lens.toCoefficients() &&
         read.fx == model.fx && read.fy == model.fy && read.skew == model.skew &&
         isSamePixel(read.cx, model.cx, origin) && isSamePixel(read.cy, model.cy, origin) &&
         read.size == calibration::PixelSize{model.width, model.height};
}

/// The summed differences of two rotations' elements, or that of the translations as a part of
/// their length or of a metre, whichever is larger.
inline double poseDifference(const interop::RigidPose& read, const interop::RigidPose& written) {
  const double turn = (read.rotation - written.rotation).cwiseAbs().sum();
  const double shift = (read.translation - written.translation).norm();
  const double largest = std::fmax(turn, shift / std::fmax(1, written.translation.norm()));
  return std::isfinite(turn + shift) ? largest : HUGE_VAL;
}

/// Requires the cameras that were written; returns the largest `poseDifference`.
inline double requireSameRig(const interop::PeerFile& file,
                             const std::vector<interop::WrittenCamera>& rig,
                             calibration::PixelOrigin origin) {
  EXPECT_EQ(file.cameras.size(), rig.size());
  double difference = 0;
  for (std::size_t i = 0; i < std::min(file.cameras.size(), rig.size()); ++i) {
    const interop::PeerCamera& camera = file.cameras[i];
    EXPECT_TRUE(hasSameDoubles(camera, rig[i].model, origin)) << i;
    difference = std::fmax(difference, poseDifference(camera.camera_from_parent.value(),
                                                      rig[i].camera_from_parent.value()));
  }
  return difference;
}

}  // namespace norv::testing

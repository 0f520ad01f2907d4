#include "fuzz/fuzz_writings.h"

#include <Eigen/Core>
#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "fuzz/fuzz_support.h"
#include "interop/peer_reading.h"
#include "interop/peer_writing.h"

namespace norv::fuzz {
namespace {

using calibration::CameraModel;
using calibration::LensDistortion;
using interop::PeerCamera;
using interop::PeerFile;
using interop::PeerFormat;
using interop::PeerReading;
using interop::PeerWriting;
using interop::ReadOptions;
using interop::RigidPose;
using interop::SourceFile;
using interop::Syntax;
using interop::WriteOptions;
using interop::WrittenCamera;

/// Whether formats that hold quaternions or rotation vectors, metres and decimals have a pose for
/// this.
bool isPose(const RigidPose& pose) {
  constexpr double kMaxMetres = 1e6;
  constexpr double kMaxDeviation = 1e-12;
  const Eigen::Matrix3d excess =
      pose.rotation * pose.rotation.transpose() - Eigen::Matrix3d::Identity();
  return excess.cwiseAbs().maxCoeff() <= kMaxDeviation && pose.rotation.determinant() > 0 &&
         pose.translation.cwiseAbs().maxCoeff() <= kMaxMetres;
}

/// None where the lens is not the library's own.
std::optional<WrittenCamera> toBeWritten(const PeerCamera& camera) {
  const auto* const lens = std::get_if<LensDistortion<double>>(&camera.lens);
  if (lens == nullptr) return std::nullopt;
  const CameraModel model{camera.size.width, camera.size.height, camera.fx, camera.fy,
                          camera.skew,       camera.cx,          camera.cy, *lens};
  const auto& pose = camera.camera_from_parent;
  return WrittenCamera{camera.name, model, pose && isPose(*pose) ? pose : std::nullopt};
}

std::vector<WrittenCamera> toBeWritten(const PeerFile& file) {
  std::vector<WrittenCamera> cameras;
  for (const PeerCamera& camera : file.cameras) {
    if (const auto written = toBeWritten(camera)) cameras.push_back(*written);
  }
  // A pose of some is none of the rig.
  if (!std::all_of(cameras.begin(), cameras.end(),
                   [](const auto& camera) { return camera.camera_from_parent.has_value(); })) {
    for (WrittenCamera& camera : cameras) camera.camera_from_parent.reset();
  }
  return cameras;
}

const std::string* findFile(const PeerWriting& writing, const std::string& name) {
  for (const auto& file : writing.files) {
    if (file.name == name) return &file.contents;
  }
  return nullptr;
}

PeerReading readBack(const PeerWriting& writing, PeerFormat format) {
  ReadOptions options;
  options.size = calibration::PixelSize{1, 1};  // counts only where the file has none
  options.metres_per_unit = 1;
  if (format != PeerFormat::kColmap) {
    return readCameras({"written", writing.files.at(0).contents}, format, options);
  }
  const std::string* const cameras = findFile(writing, "cameras.txt");
  const std::string* const images = findFile(writing, "images.txt");
  require(cameras != nullptr && images != nullptr, "COLMAP's files have their names");
  return readColmap({"cameras.txt", *cameras}, {"images.txt", *images}, options);
}

/// Half a pixel was taken off and added again.
bool isWithinOneUlp(double value, double expected) {
  const double size = std::max(std::abs(expected), 1.0);
  return std::abs(value - expected) <= size * std::numeric_limits<double>::epsilon();
}

void requireSame(const PeerCamera& camera, const WrittenCamera& written) {
  const CameraModel& model = written.model;
  require(camera.size == calibration::PixelSize{model.width, model.height}, "the same size");
  require(camera.fx == model.fx && camera.fy == model.fy, "the same focal lengths");
  require(camera.skew == model.skew, "the same skew");
  require(isWithinOneUlp(camera.cx, model.cx) && isWithinOneUlp(camera.cy, model.cy),
          "the same principal point");
  const auto* const lens = std::get_if<LensDistortion<double>>(&camera.lens);
  require(lens != nullptr && lens->toCoefficients() == model.lens.toCoefficients(),
          "the same lens");
}

void requireSame(const RigidPose& pose, const RigidPose& written) {
  constexpr double kMaxDeviation = 1e-11;
  const double far = 1 + written.translation.cwiseAbs().maxCoeff();
  require((pose.rotation - written.rotation).cwiseAbs().maxCoeff() <= kMaxDeviation,
          "the same rotation");
  require((pose.translation - written.translation).cwiseAbs().maxCoeff() <= kMaxDeviation * far,
          "the same translation");
}

void requireReadsBack(const std::vector<WrittenCamera>& cameras, const WriteOptions& options) {
  const auto outcome = writeCameras(cameras, options);
  if (const auto* const reason = std::get_if<std::string>(&outcome)) {
    return require(!reason->empty(), "a sentence says why cameras are not written");
  }
  const PeerReading reading = readBack(std::get<PeerWriting>(outcome), options.format);
  const auto* const again = std::get_if<PeerFile>(&reading);
  require(again != nullptr, "what was written is read");
  require(again->cameras.size() == cameras.size(), "as many cameras as were written");
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    requireSame(again->cameras[i], cameras[i]);
    const auto& pose = again->cameras[i].camera_from_parent;
    if (pose && cameras[i].camera_from_parent) requireSame(*pose, *cameras[i].camera_from_parent);
  }
}

}  // namespace

void requireRoundTrip(const PeerFile& file, PeerFormat format) {
  const std::vector<WrittenCamera> cameras = toBeWritten(file);
  if (cameras.empty()) return;
  WriteOptions options;
  options.format = format;
  if (!file.parent.empty()) options.parent = file.parent;
  requireReadsBack(cameras, options);
  if (format != PeerFormat::kOpenCv) return;
  for (const Syntax syntax : {Syntax::kXml, Syntax::kJson}) {
    options.syntax = syntax;
    requireReadsBack(cameras, options);
  }
}

}  // namespace norv::fuzz

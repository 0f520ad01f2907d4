#include "interop/calibration_export.h"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <limits>

#include "interop/peer_reading.h"

namespace norv::interop {
namespace {

using calibration::CameraModel;

constexpr double kMillimetresPerMetre = 1000;

/// The numbers of a camera but its principal point.
std::array<double, 11> exactNumbers(const CameraModel& model) {
  const auto k = model.lens.toCoefficients();
  return {model.fx, model.fy, model.skew, k[0], k[1], k[2], k[3], k[4], k[5], k[6], k[7]};
}

/// Whether two numbers are the same but for the rounding of half a pixel subtracted and added
/// again.
bool isNear(double a, double b) {
  const double ulp = std::nextafter(std::abs(a), std::numeric_limits<double>::max()) - std::abs(a);
  return std::abs(a - b) <= ulp;
}

bool isSame(const CameraModel& a, const CameraModel& b) {
  return a.width == b.width && a.height == b.height && exactNumbers(a) == exactNumbers(b) &&
         isNear(a.cx, b.cx) && isNear(a.cy, b.cy);
}

PeerCamera peerOf(const WrittenCamera& camera) {
  const CameraModel& model = camera.model;
  return {camera.name, {model.width, model.height},
          model.fx,    model.fy,
          model.skew,  model.cx,
          model.cy,    model.lens,
          {}};
}

/// The cameras that the written files hold.
PeerReading readBack(const PeerWriting& writing, const WriteOptions& options) {
  ReadOptions reading;
  reading.pixel_origin = writtenOrigin(options);
  reading.metres_per_unit = 1;
  const auto& files = writing.files;
  const auto sourceOf = [&](std::size_t i) { return SourceFile{files[i].name, files[i].contents}; };
  if (files.size() > 1 && isColmapImages(files[1].contents)) {
    return readColmap(sourceOf(0), sourceOf(1), reading);
  }
  return readCameras(sourceOf(0), options.format, reading);
}

/// How the camera that was read back differs from the one that was to be written; or why it cannot
/// be said.
std::variant<ExportedCamera, std::string> compare(const WrittenCamera& wanted,
                                                  const PeerCamera& read) {
  ExportedCamera exported;
  exported.name = wanted.name;
  const std::optional<CameraModel> model = exactModel(read);
  if (!model) return "camera " + wanted.name + " reads back with a lens of another kind";
  exported.is_exact = isSame(wanted.model, *model);
  if (exported.is_exact) return exported;
  const auto deviation = measureDeviation(peerOf(wanted), *model);
  if (const auto* reason = std::get_if<std::string>(&deviation)) {
    return "camera " + wanted.name + ": " + *reason;
  }
  exported.deviation = std::get<LensDeviation>(deviation);
  return exported;
}

/// The camera as it is written: with a lens of as many coefficients, and a pose of the right frame;
/// or why not.
std::variant<WrittenCamera, std::string> prepare(const WrittenCamera& camera,
                                                 const ExportOptions& options) {
  WrittenCamera prepared = camera;
  const int coefficients = options.coefficients.value_or(coefficientsOf(options.writing.format));
  const auto fitted = fitLens(peerOf(camera), coefficients);
  if (const auto* reason = std::get_if<std::string>(&fitted)) {
    return "camera " + camera.name + ": " + *reason;
  }
  prepared.model = std::get<CameraModel>(fitted);
  if (camera.camera_from_parent) {
    prepared.camera_from_parent =
        compose(*camera.camera_from_parent, inverse(options.parent_from_robot));
  }
  return prepared;
}

std::string tooFar(const ExportedCamera& camera, const CameraModel& model, double max_error) {
  return fmt::format("camera {} would be written with {}, more than the {} px that are allowed",
                     camera.name, describe(camera.deviation, {model.width, model.height}),
                     max_error);
}

std::optional<std::string> findMissing(const calibration::CameraCalibration& camera) {
  const auto& intrinsics = camera.intrinsics();
  if (intrinsics.radial_size() < 6) return "has fewer than 6 radial coefficients";
  if (intrinsics.tangential_size() < 2) return "has fewer than 2 tangential coefficients";
  if (intrinsics.width() <= 0 || intrinsics.height() <= 0) return "has no picture size above 0";
  if (!(intrinsics.fx() > 0 && intrinsics.fy() > 0))
    return "has a focal length that is not above 0";
  if (camera.has_extrinsics() && camera.extrinsics().a_size() < 12) {
    return "has a pose of fewer than 12 values";
  }
  return std::nullopt;
}

bool isFinite(const WrittenCamera& camera) {
  for (const double number : exactNumbers(camera.model)) {
    if (!std::isfinite(number)) return false;
  }
  const bool has_finite_pose =
      !camera.camera_from_parent || (camera.camera_from_parent->rotation.allFinite() &&
                                     camera.camera_from_parent->translation.allFinite());
  return std::isfinite(camera.model.cx) && std::isfinite(camera.model.cy) && has_finite_pose;
}

RigidPose poseOf(const calibration::CameraExtrinsics& extrinsics) {
  RigidPose pose;
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) pose.rotation(r, c) = extrinsics.a(4 * r + c);
    pose.translation[r] = extrinsics.a(4 * r + 3) / kMillimetresPerMetre;
  }
  return pose;
}

}  // namespace

std::variant<WrittenCamera, std::string> fullFrameCamera(
    const calibration::CameraCalibration& camera) {
  if (const auto missing = findMissing(camera)) return "camera " + camera.name() + " " + *missing;
  const auto& intrinsics = camera.intrinsics();
  const auto radial = [&](int i) { return intrinsics.radial(i); };
  WrittenCamera written;
  written.name = camera.name();
  written.model = {intrinsics.width(),
                   intrinsics.height(),
                   intrinsics.fx(),
                   intrinsics.fy(),
                   intrinsics.skew(),
                   intrinsics.cx(),
                   intrinsics.cy(),
                   {radial(0), radial(1), intrinsics.tangential(0), intrinsics.tangential(1),
                    radial(2), radial(3), radial(4), radial(5)}};
  if (camera.has_extrinsics()) written.camera_from_parent = poseOf(camera.extrinsics());
  if (!isFinite(written)) return "camera " + camera.name() + " has a number that is not finite";
  return written;
}

std::variant<ExportOutcome, std::string> exportCameras(const std::vector<WrittenCamera>& cameras,
                                                       const ExportOptions& options) {
  std::vector<WrittenCamera> prepared;
  for (const WrittenCamera& camera : cameras) {
    auto one = prepare(camera, options);
    if (const auto* reason = std::get_if<std::string>(&one)) return *reason;
    prepared.push_back(std::get<WrittenCamera>(std::move(one)));
  }
  auto written = writeCameras(prepared, options.writing);
  if (const auto* reason = std::get_if<std::string>(&written)) return *reason;
  ExportOutcome outcome;
  outcome.writing = std::get<PeerWriting>(std::move(written));
  const PeerReading read = readBack(outcome.writing, options.writing);
  if (const auto* problem = std::get_if<FormatProblem>(&read)) {
    return "what would be written does not read back: " + describe(*problem);
  }
  const auto& read_cameras = std::get<PeerFile>(read).cameras;
  if (read_cameras.size() != cameras.size()) return "what would be written lacks a camera";
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    const auto compared = compare(cameras[i], read_cameras[i]);
    if (const auto* reason = std::get_if<std::string>(&compared)) return *reason;
    outcome.cameras.push_back(std::get<ExportedCamera>(compared));
    if (!(outcome.cameras[i].deviation.max <= options.max_error)) {
      return tooFar(outcome.cameras[i], cameras[i].model, options.max_error);
    }
  }
  return outcome;
}

}  // namespace norv::interop

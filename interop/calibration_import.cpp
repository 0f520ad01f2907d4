#include "interop/calibration_import.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <utility>

namespace norv::interop {
namespace {

using calibration::CameraCalibration;
using calibration::CameraModel;

constexpr double kMillimetresPerMetre = 1000;

[[noreturn]] void refuseCamera(const std::string& name, const std::string& sentence) {
  throw FormatError({}, name, sentence);
}

/// The library's camera in the place of `source`, and how far it is from it if it is not the same.
CameraModel modelOf(const PeerCamera& source, double max_error,
                    std::optional<LensDeviation>* deviation) {
  if (const std::optional<CameraModel> exact = exactModel(source)) return *exact;
  constexpr int kAllCoefficients = 8;
  const auto fitted = fitLens(source, kAllCoefficients);
  if (const auto* reason = std::get_if<std::string>(&fitted)) refuseCamera(source.name, *reason);
  const auto& model = std::get<CameraModel>(fitted);
  const auto measured = measureDeviation(source, model);
  if (const auto* reason = std::get_if<std::string>(&measured)) refuseCamera(source.name, *reason);
  *deviation = std::get<LensDeviation>(measured);
  if (!((*deviation)->max <= max_error)) {
    refuseCamera(source.name,
                 fmt::format("its lens fits ours with {}, more than the {} px that are "
                             "allowed",
                             describe(**deviation, source.size), max_error));
  }
  return model;
}

void storeIntrinsics(const CameraModel& model, calibration::CameraIntrinsics* intrinsics) {
  intrinsics->set_fx(model.fx);
  intrinsics->set_fy(model.fy);
  intrinsics->set_skew(model.skew);
  intrinsics->set_cx(model.cx);
  intrinsics->set_cy(model.cy);
  const auto& lens = model.lens;
  for (const double k : {lens.k1, lens.k2, lens.k3, lens.k4, lens.k5, lens.k6}) {
    intrinsics->add_radial(k);
  }
  for (const double p : {lens.p1, lens.p2}) intrinsics->add_tangential(p);
  intrinsics->set_width(model.width);
  intrinsics->set_height(model.height);
}

void storePose(const RigidPose& pose, calibration::CameraExtrinsics* extrinsics) {
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) extrinsics->add_a(pose.rotation(r, c));
    extrinsics->add_a(pose.translation[r] * kMillimetresPerMetre);
  }
}

/// Stores the pose that the camera is to have, and tells where it is from.
PoseSource setPose(const PeerCamera& source, const ImportOptions& options,
                   calibration::CameraExtrinsics* extrinsics) {
  if (source.camera_from_parent && options.parent_from_robot) {
    storePose(compose(*source.camera_from_parent, *options.parent_from_robot), extrinsics);
    return PoseSource::kFile;
  }
  if (source.camera_from_parent && options.parent_is_robot) {
    storePose(*source.camera_from_parent, extrinsics);
    return PoseSource::kFile;
  }
  if (options.extrinsics) {
    *extrinsics = *options.extrinsics;
    return PoseSource::kOptions;
  }
  storePose({}, extrinsics);
  return PoseSource::kNone;
}

/// A file's name without folders and extension, for a camera that has no other.
std::string stemOf(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  const std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
  const std::size_t dot = base.find_last_of('.');
  const std::string stem = dot == std::string::npos || dot == 0 ? base : base.substr(0, dot);
  return stem.empty() || stem == "-" || stem == "standard input" ? "camera" : stem;
}

/// Collects what the files hold.
class Importer {
 public:
  explicit Importer(const ImportOptions& options) : options_(options) {}

  /// Takes the file, and those of `files` after it that belong to it; returns how many.
  std::size_t take(const std::vector<SourceFile>& files, std::size_t index) {
    const SourceFile& file = files[index];
    name_ = file.name;
    const PeerFormat format = formatOf(file);
    if (format == PeerFormat::kColmap && isColmapImages(file.contents)) {
      throw FormatError({}, "", "holds COLMAP's images, whose cameras.txt must come before it");
    }
    const bool has_images = format == PeerFormat::kColmap && index + 1 < files.size() &&
                            formatOf(files[index + 1]) == PeerFormat::kColmap &&
                            isColmapImages(files[index + 1].contents);
    PeerReading reading = has_images ? readColmap(file, files[index + 1], options_.reading)
                                     : readCameras(file, format, options_.reading);
    if (const auto* problem = std::get_if<FormatProblem>(&reading)) {
      name_ = problem->file;
      throw FormatError(problem->place, problem->key, problem->sentence);
    }
    add(file.name, format, std::move(std::get<PeerFile>(reading)));
    return has_images ? 2 : 1;
  }

  ImportOutcome finish() {
    if (!options_.names.empty() && options_.names.size() != outcome_.cameras.size()) {
      name_.clear();
      throw FormatError({}, "",
                        fmt::format("names given: {}, cameras: {}", options_.names.size(),
                                    outcome_.cameras.size()));
    }
    refuseEqualNames();
    return std::move(outcome_);
  }

  /// The file that was being read.
  const std::string& fileName() const { return name_; }

 private:
  PeerFormat formatOf(const SourceFile& file) const {
    const std::optional<PeerFormat> format =
        options_.format ? options_.format : detectFormat(file.contents);
    if (format) return *format;
    std::string names;
    for (const PeerFormat known : peerFormats()) {
      names += (names.empty() ? "" : ", ") + std::string(formatName(known));
    }
    throw FormatError({}, "", "looks like no calibration of the known formats: " + names);
  }

  void add(const std::string& file, PeerFormat format, PeerFile read) {
    outcome_.files.push_back({file, format,
                              options_.reading.pixel_origin.value_or(pixelOriginOf(format)),
                              read.parent, std::move(read.not_taken_over), std::move(read.notes)});
    const std::size_t count = read.cameras.size();
    for (std::size_t i = 0; i < count; ++i) {
      PeerCamera& camera = read.cameras[i];
      if (outcome_.cameras.size() < options_.names.size()) {
        camera.name = options_.names[outcome_.cameras.size()];
      } else if (camera.name.empty()) {
        camera.name = count == 1 ? stemOf(file) : fmt::format("{}_{}", stemOf(file), i);
      }
      outcome_.cameras.push_back(import(std::move(camera)));
    }
  }

  ImportedCamera import(PeerCamera source) const {
    ImportedCamera imported;
    imported.file = outcome_.files.size() - 1;
    CameraCalibration* const calibration = &imported.calibration;
    storeIntrinsics(modelOf(source, options_.max_error, &imported.deviation),
                    calibration->mutable_intrinsics());
    imported.pose_source = setPose(source, options_, calibration->mutable_extrinsics());
    calibration->set_name(source.name);
    if (!options_.model.empty()) calibration->set_model(options_.model);
    imported.source = std::move(source);
    return imported;
  }

  void refuseEqualNames() {
    std::map<std::string, std::size_t> file_of_name;
    for (const ImportedCamera& camera : outcome_.cameras) {
      const auto [first, is_new] = file_of_name.emplace(camera.source.name, camera.file);
      if (is_new) continue;
      name_ = outcome_.files[camera.file].name;
      const std::string where =
          first->second == camera.file ? "this file" : outcome_.files[first->second].name;
      refuseCamera(camera.source.name,
                   fmt::format("is the name of another camera of {} too", where));
    }
  }

  const ImportOptions& options_;
  ImportOutcome outcome_;
  std::string name_;
};

}  // namespace

std::variant<ImportOutcome, FormatProblem> importCameras(const std::vector<SourceFile>& files,
                                                         const ImportOptions& options) {
  Importer importer(options);
  try {
    for (std::size_t i = 0; i < files.size();) i += importer.take(files, i);
    return importer.finish();
  } catch (const FormatError& error) {
    FormatProblem problem = error.problem();
    problem.file = importer.fileName();
    return problem;
  }
}

void putCameras(const std::vector<ImportedCamera>& cameras, calibration::RobotCalibration* robot) {
  std::map<std::string, int> index_of;
  for (int i = 0; i < robot->camera_calibration_size(); ++i) {
    index_of[robot->camera_calibration(i).name()] =
        i;  // the last of several is the one that counts
  }
  for (const ImportedCamera& camera : cameras) {
    const auto found = index_of.find(camera.calibration.name());
    if (found != index_of.end()) {
      *robot->mutable_camera_calibration(found->second) = camera.calibration;
    } else {
      *robot->add_camera_calibration() = camera.calibration;
    }
  }
}

}  // namespace norv::interop

#include "tools/import/import_report.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <unordered_map>

#include "support/printable_text.h"
#include "tools/output/peer_text.h"

namespace norv::tools {
namespace {

using calibration::CameraCalibration;
using calibration::RobotCalibration;
using interop::ImportedCamera;
using interop::ImportedFile;
using interop::NotTakenOver;
using interop::PoseSource;

constexpr const char* kRobotFrame = "robot";
constexpr std::array<double, 12> kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

/// What was done to the principal points of a file.
std::string shiftText(const ImportedFile& file) {
  const char* const done = interop::cornerOffset(file.pixel_origin) == 0 ? "cx and cy as they are"
                                                                         : "0.5 added to cx and cy";
  return fmt::format("{}: {}", originText(file.pixel_origin), done);
}

std::string lensText(const ImportedCamera& camera) {
  const auto& size = camera.source.size;
  if (camera.deviation) return describe(*camera.deviation, size);
  return fmt::format("exact at {}x{}", size.width, size.height);
}

std::string poseText(const ImportedCamera& camera, const ImportVerbOptions& options) {
  switch (camera.pose_source) {
    case PoseSource::kFile:
      return options.parent_from_robot ? "pose of the file with --parent-from-robot"
                                       : "pose of the file";
    case PoseSource::kOptions:
      return options.extrinsics_of ? "pose of --extrinsics-of" : "pose of --extrinsics";
    case PoseSource::kNone:
      break;
  }
  return "no pose: identity; --parent, --extrinsics or --extrinsics-of gives one";
}

/// The user may take one frame of a file for another.
std::string parentNote(const ImportedFile& file, const ImportVerbOptions& options) {
  if (!options.parent || *options.parent == kRobotFrame || file.parent.empty() ||
      *options.parent == file.parent) {
    return "";
  }
  return fmt::format("note: the poses of {} are of the frame {}, which --parent calls {}\n",
                     toPrintable(file.name), toPrintable(file.parent),
                     toPrintable(*options.parent));
}

std::string fileText(const ImportedFile& file, const ImportVerbOptions& options) {
  std::string text = fmt::format("{}: format {}, {}\n", toPrintable(file.name),
                                 interop::formatName(file.format), shiftText(file));
  for (const std::string& note : file.notes) text += "note: " + toPrintable(note) + "\n";
  return text + parentNote(file, options);
}

std::string replacementNote(const CameraCalibration& old, const ImportedCamera& camera) {
  const std::string name = toPrintable(old.name());
  const std::string model = toPrintable(old.model());
  const auto& a = old.extrinsics().a();
  const bool had_pose = !std::equal(a.begin(), a.end(), kIdentity.begin(), kIdentity.end());
  std::string text;
  if (camera.pose_source == PoseSource::kNone && had_pose) {
    text += fmt::format(
        "note: the camera {0} that is replaced had a pose; --extrinsics-of FILE:{0} keeps it\n",
        name);
  }
  if (!model.empty() && camera.calibration.model().empty()) {
    text +=
        fmt::format("note: the camera {} that is replaced had the model {}; --model {} keeps it\n",
                    name, model, model);
  }
  return text;
}

}  // namespace

std::string replacementNotes(const RobotCalibration& robot,
                             const std::vector<ImportedCamera>& cameras) {
  std::unordered_map<std::string, const CameraCalibration*> entries;
  for (const CameraCalibration& entry : robot.camera_calibration()) entries[entry.name()] = &entry;
  std::string text;
  for (const ImportedCamera& camera : cameras) {
    const auto entry = entries.find(camera.calibration.name());
    if (entry != entries.end()) text += replacementNote(*entry->second, camera);
  }
  return text;
}

std::string importText(const interop::ImportOutcome& outcome, const ImportVerbOptions& options) {
  std::string text;
  std::size_t next_file = 0;
  for (const ImportedCamera& camera : outcome.cameras) {
    for (; next_file <= camera.file; ++next_file) {
      text += fileText(outcome.files[next_file], options);
    }
    text += fmt::format("  {}: {}; {}\n", toPrintable(camera.calibration.name()), lensText(camera),
                        poseText(camera, options));
  }
  return text;
}

std::vector<NotTakenOver> listNotTakenOver(const interop::ImportOutcome& outcome) {
  std::vector<NotTakenOver> keys;
  for (const ImportedFile& file : outcome.files) {
    for (const NotTakenOver& one : file.not_taken_over) {
      keys.push_back({file.name + ": " + one.key, one.reason});
    }
  }
  for (const ImportedCamera& camera : outcome.cameras) {
    if (!camera.source.camera_from_parent || camera.pose_source == PoseSource::kFile) continue;
    const ImportedFile& file = outcome.files[camera.file];
    keys.push_back(
        {fmt::format("{}: pose of {}", file.name, camera.calibration.name()),
         fmt::format("it is of the frame {}, and --parent says which frame that is", file.parent)});
  }
  return keys;
}

std::string notTakenOverText(const std::vector<NotTakenOver>& keys) {
  std::string text;
  for (const NotTakenOver& one : keys) {
    text += toPrintable(fmt::format("not taken over: {} ({})", one.key, one.reason)) + "\n";
  }
  return text;
}

std::string originComments(const interop::ImportOutcome& outcome) {
  std::string text;
  for (const ImportedCamera& camera : outcome.cameras) {
    const ImportedFile& file = outcome.files[camera.file];
    text += toPrintable(fmt::format("# {}: from {}, format {}, {}", camera.calibration.name(),
                                    file.name, interop::formatName(file.format), shiftText(file))) +
            "\n";
  }
  return text;
}

}  // namespace norv::tools

#include "python/bindings/import_review.h"

#include <algorithm>
#include <array>
#include <string>
#include <unordered_map>
#include <utility>

#include "calibration_common/calibration_review.h"
#include "interop/calibration_export.h"
#include "support/lens_validity.h"

namespace norv::python {
namespace {

using calibration::Finding;
using calibration::RobotCalibration;
using calibration::Severity;
using interop::ImportedCamera;

/// Share of a picture.
constexpr double kMostWithoutRay = 0.01;

using Entries = std::unordered_map<std::string, const ImportedCamera*>;

/// The imported cameras by the paths of their entries, "camera_calibration[3]".
Entries entriesOf(const RobotCalibration& robot, const std::vector<ImportedCamera>& cameras) {
  std::unordered_map<std::string, int> index_of;
  for (int i = 0; i < robot.camera_calibration_size(); ++i) {
    index_of[robot.camera_calibration(i).name()] = i;
  }
  Entries entries;
  for (const ImportedCamera& camera : cameras) {
    const int index = index_of.at(camera.calibration.name());
    entries.emplace("camera_calibration[" + std::to_string(index) + "]", &camera);
  }
  return entries;
}

bool saysThatThereIsNoPose(const Finding& finding, const ImportedCamera& camera) {
  return camera.pose_source == interop::PoseSource::kNone &&
         (finding.check == "pose-identity" || finding.check == "pose-same");
}

/// Whether the finding is that the lens folds in the last corners of the full frame alone.
bool isFoldInCorners(const Finding& finding, const ImportedCamera& imported) {
  if (finding.check != "lens-fold") return false;
  const auto camera = interop::fullFrameCamera(imported.calibration);
  const auto* const written = std::get_if<interop::WrittenCamera>(&camera);
  return written != nullptr && calibration::coverage(written->model).share > 1 - kMostWithoutRay;
}

void noteReplacement(const calibration::CameraCalibration& old, const ImportedCamera& camera,
                     std::vector<std::string>* notes) {
  constexpr std::array<double, 12> kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
  const auto& a = old.extrinsics().a();
  const bool had_pose = !std::equal(a.begin(), a.end(), kIdentity.begin(), kIdentity.end());
  const std::string replaced = "the camera " + old.name() + " that is replaced had ";
  if (camera.pose_source == interop::PoseSource::kNone && had_pose) {
    notes->push_back(replaced + "a pose; extrinsics keeps it");
  }
  if (!old.model().empty() && camera.calibration.model().empty()) {
    notes->push_back(replaced + "the model " + old.model() + "; model keeps it");
  }
}

}  // namespace

std::vector<std::string> replacementNotes(const RobotCalibration& robot,
                                          const std::vector<ImportedCamera>& cameras) {
  std::unordered_map<std::string, const calibration::CameraCalibration*> entries;
  for (const auto& entry : robot.camera_calibration()) entries[entry.name()] = &entry;
  std::vector<std::string> notes;
  for (const ImportedCamera& camera : cameras) {
    const auto entry = entries.find(camera.calibration.name());
    if (entry != entries.end()) noteReplacement(*entry->second, camera, &notes);
  }
  return notes;
}

std::vector<Finding> reviewImported(const RobotCalibration& robot,
                                    const std::vector<ImportedCamera>& cameras) {
  const Entries entries = entriesOf(robot, cameras);
  std::vector<Finding> concerned;
  for (Finding& finding : calibration::reviewCalibration(robot)) {
    const auto entry = entries.find(finding.field.substr(0, finding.field.find(']') + 1));
    const bool is_imported = entry != entries.end();
    if (is_imported && isFoldInCorners(finding, *entry->second)) {
      finding.severity = Severity::kWarning;
    }
    const bool is_wanted = is_imported && !saysThatThereIsNoPose(finding, *entry->second);
    if (is_wanted || finding.severity == Severity::kError) concerned.push_back(std::move(finding));
  }
  return concerned;
}

}  // namespace norv::python

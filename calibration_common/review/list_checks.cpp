/// Lists of a fixed length.

#include "calibration_common/review/check.h"
#include "calibration_common/review/subjects.h"
#include "calibration_common/stored_pose.h"

namespace norv::internal::review {
namespace {

constexpr int kRadialValues = 6;
constexpr int kTangentialValues = 2;

/// A list of numbers and how many of them are read.
struct List {
  std::string field;
  int count;
  int used;
};

std::string counted(int count) {
  return std::to_string(count) + (count == 1 ? " value" : " values");
}

void reportShort(const List& list, Report* report) {
  if (list.count >= list.used) return;
  report->add({Severity::kError, list.field, list.count, list.used}, [&] {
    return "the list has " + counted(list.count) + ", fewer than the " + std::to_string(list.used) +
           " that are needed";
  });
}

void reportLong(const List& list, Report* report) {
  if (list.count <= list.used) return;
  const std::string first_ignored = list.field + "[" + std::to_string(list.used) + "]";
  report->add({Severity::kWarning, first_ignored, list.count, list.used}, [&] {
    return "the list has " + counted(list.count) + ", and those after the first " +
           std::to_string(list.used) + " are ignored";
  });
}

List poseList(const PoseSubject& pose) { return {pose.path, pose.stored.a_size(), kPoseValues}; }

List radialList(const CameraSubject& camera) {
  return {camera.path + ".intrinsics.radial", camera.message.intrinsics().radial_size(),
          kRadialValues};
}

List tangentialList(const CameraSubject& camera) {
  return {camera.path + ".intrinsics.tangential", camera.message.intrinsics().tangential_size(),
          kTangentialValues};
}

void checkShortPose(const PoseSubject& pose, Report* report) {
  reportShort(poseList(pose), report);
}

void checkLongPose(const PoseSubject& pose, Report* report) { reportLong(poseList(pose), report); }

void checkShortLens(const CameraSubject& camera, Report* report) {
  reportShort(radialList(camera), report);
  reportShort(tangentialList(camera), report);
}

void checkLongLens(const CameraSubject& camera, Report* report) {
  reportLong(radialList(camera), report);
  reportLong(tangentialList(camera), report);
}

}  // namespace

const CheckTable& listChecks() {
  static const CheckTable table = {
      {"list-short",
       {Severity::kError},
       "fewer than 6 radial, 2 tangential or 12 pose values",
       "the calibration does not load",
       {&checkShortLens, &checkShortPose}},
      {"list-long",
       {Severity::kWarning},
       "a 7th radial, 3rd tangential or 13th pose value",
       "it is ignored",
       {&checkLongLens, &checkLongPose}},
  };
  return table;
}

}  // namespace norv::internal::review

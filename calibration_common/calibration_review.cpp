#include "calibration_common/calibration_review.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

#include "calibration_common/review/camera_subject.h"
#include "calibration_common/review/check.h"
#include "calibration_common/review/field_order.h"
#include "calibration_common/review/ptz_subject.h"
#include "calibration_common/review/subjects.h"

namespace norv::calibration {
namespace {

namespace review = internal::review;
using google::protobuf::Message;

/// A finding and where its field stands in the message.
struct Placed {
  std::vector<int> order;
  Finding finding;
};

/// The report's findings in the order of the message.
std::vector<Placed> inOrder(const google::protobuf::Descriptor& type, review::Report* report) {
  std::vector<Placed> placed;
  for (Finding& finding : report->take()) {
    std::vector<int> order = review::fieldOrder(type, finding.field);
    placed.push_back({std::move(order), std::move(finding)});
  }
  std::stable_sort(placed.begin(), placed.end(),
                   [](const Placed& a, const Placed& b) { return a.order < b.order; });
  return placed;
}

std::vector<Finding> withoutPlaces(std::vector<Placed> placed) {
  std::vector<Finding> findings;
  findings.reserve(placed.size());
  for (Placed& one : placed) findings.push_back(std::move(one.finding));
  return findings;
}

void reviewCamera(const RobotCalibration& robot, int index, const review::Repetition& repetition,
                  review::Report* report) {
  const review::CameraSubject camera = review::makeCameraSubject(robot, index, repetition);
  review::runChecks(camera, report);
  review::runChecks(camera.pose, report);
  for (const review::LensSubject& lens : camera.lenses) review::runChecks(lens, report);
}

}  // namespace

std::vector<Finding> reviewCalibration(const RobotCalibration& robot) {
  review::Report report;
  review::runChecks<Message>(robot, &report);
  review::runChecks(robot, &report);
  const std::vector<review::Repetition> repetitions = review::findRepetitions(robot);
  for (int i = 0; i < robot.camera_calibration_size(); ++i) {
    reviewCamera(robot, i, repetitions[static_cast<std::size_t>(i)], &report);
  }
  std::vector<Placed> placed = inOrder(*RobotCalibration::descriptor(), &report);
  for (Placed& one : placed) {
    // Every path but the empty one begins with a camera's index, or is of an unknown field.
    if (one.order.size() < 2 || one.order[1] < 0) continue;
    one.finding.camera = robot.camera_calibration(one.order[1]).name();
  }
  return withoutPlaces(std::move(placed));
}

std::vector<Finding> reviewCalibration(const PTZCameraParameters& ptz) {
  review::Report report;
  review::runChecks<Message>(ptz, &report);
  const review::PtzSubject subject = review::makePtzSubject(ptz);
  review::runChecks(subject, &report);
  for (const review::PoseSubject& pose : subject.poses) review::runChecks(pose, &report);
  review::visitLenses(ptz.intrinsics(), [&report](const review::LensSubject& lens) {
    review::runChecks(lens, &report);
  });
  return withoutPlaces(inOrder(*PTZCameraParameters::descriptor(), &report));
}

std::vector<Finding> reviewCalibration(const BaseCalibrationProto& base) {
  review::Report report;
  review::runChecks<Message>(base, &report);
  const review::BaseSubject subject = {
      base, review::makePoseSubject(base.global_transform_adjustment().global_transform(),
                                    "global_transform_adjustment.global_transform")};
  review::runChecks(subject, &report);
  review::runChecks(subject.pose, &report);
  return withoutPlaces(inOrder(*BaseCalibrationProto::descriptor(), &report));
}

const std::vector<CheckDescription>& calibrationChecks() {
  static const std::vector<CheckDescription> descriptions = [] {
    std::vector<CheckDescription> all;
    for (const review::Check* check : review::allChecks()) {
      all.push_back({check->id, check->severities, check->found_when, check->reason});
    }
    return all;
  }();
  return descriptions;
}

}  // namespace norv::calibration

#pragma once

/// A check and what it looks at. A new check is one function and one entry in the table of the file
/// that it lies in.

#include <google/protobuf/message.h>

#include <string>
#include <variant>
#include <vector>

#include "calibration_common/finding.h"
#include "calibration_common/review/report.h"
#include "proto/norv_robot_calibration.pb.h"

namespace norv::internal::review {

struct CameraSubject;
struct LensSubject;
struct PoseSubject;
struct PtzSubject;
struct BaseSubject;

/// Looks at one subject and adds what it finds. A check that needs what another one calls an error
/// (a focal length to divide by) says nothing where that does, so that one mistake has one finding.
template <class Subject>
using CheckFunction = void (*)(const Subject&, Report*);

using AnyCheckFunction =
    std::variant<CheckFunction<google::protobuf::Message>,
                 CheckFunction<calibration::RobotCalibration>, CheckFunction<CameraSubject>,
                 CheckFunction<LensSubject>, CheckFunction<PoseSubject>, CheckFunction<PtzSubject>,
                 CheckFunction<BaseSubject>>;

struct Check {
  const char* id;
  std::vector<Severity> severities;  ///< the worst first
  const char* found_when;
  const char* reason;
  std::vector<AnyCheckFunction> functions;  ///< one for each kind of subject that it knows
};

using CheckTable = std::vector<Check>;

/// The tables, each in the file of its functions.
const CheckTable& messageChecks();
const CheckTable& listChecks();
const CheckTable& cameraChecks();
const CheckTable& imageChecks();
const CheckTable& pinholeChecks();
const CheckTable& lensChecks();
const CheckTable& poseChecks();
const CheckTable& sampleChecks();
const CheckTable& zoomChecks();
const CheckTable& motorChecks();
const CheckTable& headChecks();
const CheckTable& baseChecks();

/// All of them.
const std::vector<const Check*>& allChecks();

/// Lets all checks look at `subject` that know its kind.
template <class Subject>
void runChecks(const Subject& subject, Report* report) {
  for (const Check* check : allChecks()) {
    for (const AnyCheckFunction& any : check->functions) {
      const auto* function = std::get_if<CheckFunction<Subject>>(&any);
      if (function == nullptr) continue;
      report->begin(check->id);
      (*function)(subject, report);
    }
  }
}

}  // namespace norv::internal::review

// CameraParametersSet::loadFromString: what loads, writes and loads again is equal, and what does
// not load leaves the default calibration. A report changes nothing and says why; a load that never
// falls back takes what loads, and nothing else.

#include <algorithm>

#include "calibration_common/camera_parameters.h"
#include "calibration_common/load_report.h"
#include "fuzz/fuzz_support.h"

namespace {

using norv::calibration::CameraParameters;
using norv::calibration::CameraParametersSet;
using norv::calibration::LoadReport;
using norv::calibration::PlacedFinding;
using norv::calibration::Severity;
using norv::fuzz::require;
using norv::fuzz::sameElements;
using norv::fuzz::sameMessage;

void requireSameCamera(const CameraParameters& a, const CameraParameters& b) {
  require(a.getModel() == b.getModel(), "same model");
  require(sameElements(a.getFullFrameIntrinsics(), b.getFullFrameIntrinsics()), "same full frame");
  require(sameElements(a.getTransform().transform, b.getTransform().transform), "same pose");
  require(sameElements(a.getIntrinsics(640, 480), b.getIntrinsics(640, 480)), "same intrinsics");
  require(a.getFullFrameDistortion().size() == 8 && a.getDistortion(640, 480).size() == 8,
          "eight coefficients");
  require(a.getIntrinsicsTable().size() == b.getIntrinsicsTable().size(), "same table");
}

bool isError(const PlacedFinding& placed) { return placed.finding.severity == Severity::kError; }

void requireReport(const std::string& input, const CameraParametersSet& expected, bool loaded) {
  CameraParametersSet set;
  LoadReport report;
  require(set.loadFromString(input, &report) == loaded, "a report changes no result");
  require(sameMessage(set.getRobotCalibration(), expected.getRobotCalibration()),
          "a report changes no message");
  require(set.getCameraNames() == expected.getCameraNames(), "a report changes no camera");
  require(report.problem.has_value() != loaded, "what does not load has a reason");
  require(report.default_in_force != loaded, "the report knows what is in force");
  require(loaded || std::any_of(report.findings.begin(), report.findings.end(), isError),
          "what does not load has an error");
  for (const std::string& name : report.cameras) {
    require(set.getCamera(name) != nullptr, "cameras that were taken are there");
  }
}

void requireStrict(const std::string& input, bool loaded) {
  LoadReport report;
  const auto set = CameraParametersSet::fromString(input, &report);
  require((set == nullptr) == report.problem.has_value(), "what is refused has a reason");
  if (set == nullptr) return;
  require(loaded, "what is taken strictly loads");
  require(set->getCameraNames().size() == report.cameras.size(), "the file's cameras alone");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  norv::fuzz::silenceLogs();
  const std::string input = norv::fuzz::asString(data, size);
  CameraParametersSet set;
  const bool loaded = set.loadFromString(input);
  requireReport(input, set, loaded);
  requireStrict(input, loaded);
  if (!loaded) {
    const CameraParametersSet defaults;
    require(sameMessage(set.getRobotCalibration(), defaults.getRobotCalibration()),
            "a failed load leaves the defaults");
    require(set.getCamera("default") != nullptr, "a failed load leaves the default camera");
    return 0;
  }
  norv::fuzz::requireRoundTrip(set.getRobotCalibration());
  CameraParametersSet again;
  require(again.loadFromString(set.getRobotCalibration().SerializeAsString()),
          "what was loaded loads again");
  require(set.getCameraNames() == again.getCameraNames(), "same names");
  for (const std::string& name : set.getCameraNames()) {
    requireSameCamera(*set.getCamera(name), *again.getCamera(name));
  }
  return 0;
}

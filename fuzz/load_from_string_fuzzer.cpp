// CameraParametersSet::loadFromString: what loads, writes and loads again is equal, and what does
// not load leaves the default calibration.

#include "calibration_common/camera_parameters.h"
#include "fuzz/fuzz_support.h"

namespace {

using norv::calibration::CameraParameters;
using norv::calibration::CameraParametersSet;
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  norv::fuzz::silenceLogs();
  CameraParametersSet set;
  if (!set.loadFromString(norv::fuzz::asString(data, size))) {
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

// BaseCalibrationData::loadFromString: what loads, writes and loads again is equal, and what does
// not load leaves the default calibration, in a copy too.

#include "calibration_common/base_calibration_data.h"
#include "fuzz/fuzz_support.h"

namespace {

using norv::calibration::BaseCalibrationData;
using norv::fuzz::require;
using norv::fuzz::sameElements;
using norv::fuzz::sameMessage;

void requireSame(const BaseCalibrationData& a, const BaseCalibrationData& b) {
  require(sameMessage(a.getCalibration(), b.getCalibration()), "same calibration");
  require(sameElements(a.getWorldRotation(), b.getWorldRotation()), "same rotation");
  require(sameElements(a.getWorldTranslation(), b.getWorldTranslation()), "same translation");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  norv::fuzz::silenceLogs();
  const std::string input = norv::fuzz::asString(data, size);
  BaseCalibrationData base;
  BaseCalibrationData copy(base);
  const bool loaded = base.loadFromString(input);
  require(copy.loadFromString(input) == loaded, "a copy loads what its source loads");
  requireSame(base, copy);
  if (!loaded) {
    requireSame(base, BaseCalibrationData());
    return 0;
  }
  norv::fuzz::requireRoundTrip(base.getCalibration());
  BaseCalibrationData again;
  require(again.loadFromString(base.getCalibration().SerializeAsString()), "loads again");
  requireSame(base, again);
  return 0;
}

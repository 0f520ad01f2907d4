// Binary robot calibrations: what parses, writes and parses again is equal.

#include "fuzz/fuzz_support.h"
#include "proto/norv_robot_calibration.pb.h"
#include "support/message_parsing.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  norv::fuzz::silenceLogs();
  norv::calibration::RobotCalibration robot;
  if (norv::parseBinary(norv::fuzz::asString(data, size), &robot)) {
    norv::fuzz::requireRoundTrip(robot);
  }
  return 0;
}

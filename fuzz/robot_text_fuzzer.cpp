// Robot calibrations in text format: what parses, writes and parses again is equal.

#include "fuzz/fuzz_support.h"
#include "proto/norv_robot_calibration.pb.h"
#include "support/message_parsing.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  norv::fuzz::silenceLogs();
  norv::calibration::RobotCalibration robot;
  norv::TextParseError error;
  if (norv::parseText(norv::fuzz::asString(data, size), &robot, &error)) {
    norv::fuzz::requireRoundTrip(robot);
  } else {
    norv::fuzz::require(!error.message.empty(), "a text that does not parse has an error");
  }
  return 0;
}

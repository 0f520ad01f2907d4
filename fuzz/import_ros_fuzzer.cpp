// Camera_info files of the Robot Operating System, YAML and INI.

#include "fuzz/fuzz_readings.h"
#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  norv::fuzz::requireSoundReading(norv::fuzz::asString(data, size),
                                  norv::interop::PeerFormat::kRos);
  return 0;
}

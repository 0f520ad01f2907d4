// Files of a format that their contents tell, written in any other.

#include <optional>
#include <string>

#include "fuzz/fuzz_readings.h"
#include "fuzz/fuzz_support.h"
#include "interop/peer_format.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = norv::fuzz::asString(data, size);
  const std::optional<norv::interop::PeerFormat> format = norv::interop::detectFormat(text);
  const auto& formats = norv::interop::peerFormats();
  if (format) norv::fuzz::requireSoundReading(text, *format, formats[size % formats.size()]);
  return 0;
}

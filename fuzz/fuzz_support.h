#pragma once

/// What the fuzz targets share.

#include <google/protobuf/message.h>

#include <cstddef>
#include <cstdint>
#include <string>

/// The entry point that each target defines (libFuzzer's name).
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace norv::fuzz {

/// Stops the process with `what`, which makes the input a finding.
void require(bool holds, const char* what);

/// The input as a string.
std::string asString(const std::uint8_t* data, std::size_t size);

/// Silences the library, which reports most inputs as bad.
void silenceLogs();

/// Whether two messages hold the same. NaN equals NaN, whatever its bits.
bool sameMessage(const google::protobuf::Message& a, const google::protobuf::Message& b);

/// Whether two matrices hold the same. NaN equals NaN.
template <class Matrix>
bool sameElements(const Matrix& a, const Matrix& b) {
  return ((a.array() == b.array()) || (a.array() != a.array() && b.array() != b.array())).all();
}

/// Requires that a message that was read can be written and read again in both formats, and is then
/// the same.
void requireRoundTrip(const google::protobuf::Message& message);

}  // namespace norv::fuzz

#pragma once

#include <cstddef>
#include <string>

namespace norv::tools {

inline constexpr std::size_t kMaxStreamSize = std::size_t{1} << 31;  ///< as for files

/// Whether a path leads to what is read once, as it comes: a FIFO, a socket or a device, such as
/// /dev/stdin and what a shell puts in the place of `<(command)`.
bool isStream(const std::string& path);

/// Reads what `path` delivers until its end, waiting for a FIFO's writer. False, with the reason in
/// `*reason` and `*contents` as it was, when that fails, is more than `max_size` bytes, or cannot
/// be expected to end: of the devices, terminals and the null device are read.
bool readStream(const std::string& path, std::string* contents, std::string* reason,
                std::size_t max_size = kMaxStreamSize);

/// The same of the process's standard input.
bool readStandardInput(std::string* contents, std::string* reason);

}  // namespace norv::tools

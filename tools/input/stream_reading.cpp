#include "tools/input/stream_reading.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <system_error>

namespace norv::tools {
namespace {

constexpr std::size_t kChunkSize = std::size_t{64} * 1024;

std::string systemReason(int error) { return std::generic_category().message(error); }

/// Whether what is read from an open file has an end that one may wait for.
bool endsSomewhere(int fd, const struct stat& status) {
  if (S_ISBLK(status.st_mode)) return false;
  if (!S_ISCHR(status.st_mode)) return true;
  struct stat null_device = {};
  const bool is_null =
      ::stat("/dev/null", &null_device) == 0 && null_device.st_rdev == status.st_rdev;
  return is_null || ::isatty(fd) != 0;
}

/// Reads on from where an open file stands.
bool readToEnd(int fd, std::size_t max_size, std::string* contents, std::string* reason) {
  std::string bytes(kChunkSize, '\0');
  std::size_t used = 0;
  for (;;) {
    if (used == bytes.size()) bytes.resize(bytes.size() + std::max(kChunkSize, bytes.size() / 2));
    const ssize_t count = ::read(fd, &bytes[used], bytes.size() - used);
    if (count == 0) break;
    if (count < 0 && errno == EINTR) continue;
    if (count > 0) used += static_cast<std::size_t>(count);
    if (count > 0 && used <= max_size) continue;
    *reason = count < 0 ? systemReason(errno) : fmt::format("Larger than {} bytes", max_size);
    return false;
  }
  bytes.resize(used);
  contents->swap(bytes);
  return true;
}

bool readOpen(int fd, std::size_t max_size, std::string* contents, std::string* reason) {
  struct stat status = {};
  if (fd < 0 || ::fstat(fd, &status) != 0) {
    *reason = systemReason(errno);
    return false;
  }
  if (!endsSomewhere(fd, status)) {
    *reason = "A device that may have no end";
    return false;
  }
  return readToEnd(fd, max_size, contents, reason);
}

}  // namespace

bool isStream(const std::string& path) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0) return false;
  return !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

bool readStream(const std::string& path, std::string* contents, std::string* reason,
                std::size_t max_size) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
  const bool read = readOpen(fd, max_size, contents, reason);
  if (fd >= 0) ::close(fd);
  return read;
}

bool readStandardInput(std::string* contents, std::string* reason) {
  return readOpen(STDIN_FILENO, kMaxStreamSize, contents, reason);
}

}  // namespace norv::tools

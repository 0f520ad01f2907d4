#include "support/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

#include "support/messages/embedded_files.h"

namespace norv {
namespace {

constexpr std::int64_t kMaxFileSize = std::int64_t{1} << 31;
constexpr const char* kTooLarge = "Larger than 2 GiB";
constexpr std::size_t kChunkSize = std::size_t{64} * 1024;

/// Closes a file descriptor at the end of its scope.
class FileDescriptor {
 public:
  explicit FileDescriptor(int fd) : fd_(fd) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() {
    if (fd_ >= 0) ::close(fd_);
  }

  int get() const { return fd_; }

 private:
  int fd_;
};

/// Why a file was not read; nullopt when it was.
using Failure = std::optional<std::string>;

Failure readEmbeddedFile(std::string_view name, std::string* contents) {
  const internal::EmbeddedFileTable table = internal::embeddedFiles();
  const internal::EmbeddedFileEntry* end = table.entries + table.size;
  const internal::EmbeddedFileEntry* found =
      std::find_if(table.entries, end, [&](const auto& entry) { return entry.name == name; });
  if (found == end) return "No such compiled-in file";
  contents->assign(found->contents);
  return std::nullopt;
}

/// What the system says of an error number.
std::string systemReason(int error) { return std::generic_category().message(error); }

/// Kind of an open file that is not a regular one.
std::string kindOf(mode_t mode) {
  if (S_ISDIR(mode)) return "a folder";
  if (S_ISFIFO(mode)) return "a FIFO";
  return "a device";  // sockets and links do not open
}

Failure refuseStatus(const struct stat& status) {
  if (!S_ISREG(status.st_mode)) return "Not a regular file but " + kindOf(status.st_mode);
  if (status.st_size > kMaxFileSize) return kTooLarge;
  return std::nullopt;
}

ssize_t readRetrying(int fd, char* buffer, std::size_t size) {
  for (;;) {
    const ssize_t count = ::read(fd, buffer, size);
    if (count >= 0 || errno != EINTR) return count;
  }
}

/// Reads to the end of the file rather than to its reported size, which is 0 for files that the
/// kernel makes on the fly and out of date for files that grow.
Failure readToEnd(int fd, std::int64_t expected_size, std::string* contents) {
  std::string bytes(static_cast<std::size_t>(expected_size) + 1, '\0');
  std::size_t used = 0;
  for (;;) {
    if (used == bytes.size()) bytes.resize(bytes.size() + std::max(kChunkSize, bytes.size() / 2));
    const ssize_t count = readRetrying(fd, &bytes[used], bytes.size() - used);
    if (count < 0) return systemReason(errno);
    if (count == 0) break;
    used += static_cast<std::size_t>(count);
    if (used > static_cast<std::size_t>(kMaxFileSize)) return kTooLarge;
  }
  bytes.resize(used);
  contents->swap(bytes);
  return std::nullopt;
}

Failure readRegularFile(const std::string& path, std::string* contents) {
  // The system call would stop at a null character and open some other file.
  if (path.find('\0') != std::string::npos) return "Null character in the path";
  // Without O_NONBLOCK, opening a FIFO waits for a writer that may never come.
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (file.get() < 0) return systemReason(errno);
  struct stat status = {};
  if (::fstat(file.get(), &status) != 0) return systemReason(errno);
  if (Failure refused = refuseStatus(status)) return refused;
  return readToEnd(file.get(), status.st_size, contents);
}

Failure readAny(const std::string& path, std::string* contents) {
  const std::string& prefix = EmbeddedFile::kEmbeddedPrefix;
  if (path.compare(0, prefix.size(), prefix) == 0) {
    return readEmbeddedFile(std::string_view(path).substr(prefix.size()), contents);
  }
  return readRegularFile(path, contents);
}

}  // namespace

// Priorities up to 100 are the implementation's; 101 is the first of a program's own.
__attribute__((init_priority(101))) const std::string EmbeddedFile::kEmbeddedPrefix = "embedded:";

bool File::readFileToString(const std::string& path, std::string* contents) {
  return !readAny(path, contents);
}

bool File::readFileToString(const std::string& path, std::string* contents, std::string* reason) {
  Failure failure = readAny(path, contents);
  if (failure) reason->swap(*failure);
  return !failure;
}

}  // namespace norv

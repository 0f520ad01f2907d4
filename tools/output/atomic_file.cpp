#include "tools/output/atomic_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <pthread.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include "tools/tool_error.h"

namespace norv::tools {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const std::string& path, int error) {
  throw ToolError(
      fmt::format("{}: cannot be written: {}", path, std::generic_category().message(error)));
}

/// While it lives, the signals by which users end programs wait: what they would leave behind is a
/// file that nobody knows of.
class ScopedSignalBlock {
 public:
  ScopedSignalBlock() {
    sigset_t ends;
    ::sigemptyset(&ends);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) ::sigaddset(&ends, signal);
    ::pthread_sigmask(SIG_BLOCK, &ends, &before_);
  }
  ScopedSignalBlock(const ScopedSignalBlock&) = delete;
  ScopedSignalBlock& operator=(const ScopedSignalBlock&) = delete;
  ~ScopedSignalBlock() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_;
};

/// A new file beside the one to be replaced; removed at the end of the scope unless it took its
/// place.
class TemporaryFile {
 public:
  /// Its name does not contain the target's, which may be as long as names can be.
  explicit TemporaryFile(const fs::path& target)
      : target_(target), path_((target.parent_path() / ".camera-parameters-XXXXXX").string()) {
    fd_ = ::mkostemp(path_.data(), O_CLOEXEC);
    if (fd_ < 0) fail(target_, errno);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (fd_ >= 0) ::close(fd_);
    if (!in_place_) ::unlink(path_.c_str());
  }

  void write(const std::string& contents) {
    std::size_t written = 0;
    while (written < contents.size()) {
      const ssize_t count = ::write(fd_, contents.data() + written, contents.size() - written);
      if (count < 0 && errno != EINTR) fail(target_, errno);
      if (count > 0) written += static_cast<std::size_t>(count);
    }
  }

  /// Takes over what users may do with the file that is replaced, and its owner if possible.
  void takeOver(const struct stat& old) {
    const bool owned = ::fchown(fd_, old.st_uid, old.st_gid) == 0;
    // Rights that go with the owner are not handed to another one.
    setPermissions(old.st_mode & (owned ? 07777 : 0777));
  }

  void setPermissions(mode_t mode) {
    if (::fchmod(fd_, mode) != 0) fail(target_, errno);
  }

  void moveIntoPlace() {
    if (::fsync(fd_) != 0) fail(target_, errno);
    if (::close(std::exchange(fd_, -1)) != 0) fail(target_, errno);
    if (::rename(path_.c_str(), target_.c_str()) != 0) fail(target_, errno);
    in_place_ = true;
  }

 private:
  ScopedSignalBlock signals_;  // until the file is gone or in its place
  fs::path target_;
  std::string path_;
  int fd_ = -1;
  bool in_place_ = false;
};

/// Permissions of a file that a program makes.
mode_t ordinaryPermissions() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

/// What a path leads to in the end, which need not exist.
fs::path followLinks(const std::string& path) {
  constexpr int kMaxLinks = 40;  // as the kernel has it
  fs::path target = path;
  for (int i = 0; i < kMaxLinks; ++i) {
    std::error_code error;
    const fs::path next = fs::read_symlink(target, error);
    if (error) return target;  // no link, or nothing at all
    target = target.parent_path() / next;
  }
  fail(path, ELOOP);
}

/// Makes the renaming itself durable. The new contents are complete either way, so a file system
/// that cannot do it is no failure.
void flushFolder(const fs::path& target) {
  const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
  const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  ::fsync(fd);
  ::close(fd);
}

}  // namespace

void writeFileAtomically(const std::string& path, const std::string& contents) {
  const fs::path target = followLinks(path);
  struct stat old = {};
  const bool exists = ::stat(target.c_str(), &old) == 0;
  if (!exists && errno != ENOENT) fail(path, errno);
  if (exists && !S_ISREG(old.st_mode)) {
    throw ToolError(fmt::format("{}: cannot be written: not a regular file", path));
  }
  // Renaming asks for rights on the folder only.
  if (exists && ::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) fail(path, errno);
  TemporaryFile file(target);
  file.write(contents);
  if (exists) {
    file.takeOver(old);
  } else {
    file.setPermissions(ordinaryPermissions());
  }
  file.moveIntoPlace();
  flushFolder(target);
}

}  // namespace norv::tools

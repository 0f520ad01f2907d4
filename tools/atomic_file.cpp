#include "tools/atomic_file.h"

#include <fcntl.h>
#include <fmt/format.h>
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

/// A new file beside the one to be replaced; removed at the end of the scope unless it took its
/// place.
class TemporaryFile {
 public:
  explicit TemporaryFile(const fs::path& target)
      : target_(target), path_(target.string() + ".XXXXXX") {
    fd_ = ::mkstemp(path_.data());
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
  fs::path target_;
  std::string path_;
  int fd_ = -1;
  bool in_place_ = false;
};

/// Permissions of the file that is replaced, or those of a new one.
mode_t permissionsFor(const fs::path& target) {
  struct stat status = {};
  if (::stat(target.c_str(), &status) == 0) return status.st_mode & 07777;
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
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
  std::error_code error;
  const fs::path target = fs::weakly_canonical(path, error);
  if (error) fail(path, error.value());
  if (fs::exists(target) && !fs::is_regular_file(target)) {
    throw ToolError(fmt::format("{}: cannot be written: not a regular file", path));
  }
  TemporaryFile file(target);
  file.write(contents);
  file.setPermissions(permissionsFor(target));
  file.moveIntoPlace();
  flushFolder(target);
}

}  // namespace norv::tools

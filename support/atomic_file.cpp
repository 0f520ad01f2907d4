#include "support/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "support/file.h"
#include "support/files/temporary_file.h"

namespace norv {
namespace {

namespace fs = std::filesystem;
using internal::FileFailure;
using internal::systemReason;

/// What a path leads to in the end, which need not exist; none where links go in a circle.
std::optional<fs::path> followLinks(const std::string& path) {
  constexpr int kMaxLinks = 40;  // as the kernel has it
  fs::path target = path;
  for (int i = 0; i < kMaxLinks; ++i) {
    std::error_code error;
    const fs::path next = fs::read_symlink(target, error);
    if (error) return target;  // no link, or nothing at all
    target = target.parent_path() / next;
  }
  return std::nullopt;
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

FileFailure refusePath(const std::string& path) {
  // The system call would stop at a null character and replace some other file.
  if (path.find('\0') != std::string::npos) return "a null character in the path";
  const std::string& prefix = EmbeddedFile::kEmbeddedPrefix;
  if (path.compare(0, prefix.size(), prefix) == 0) return "compiled-in files cannot be written";
  return std::nullopt;
}

FileFailure makeFile(const fs::path& target, std::string_view contents) {
  internal::TemporaryFile file(target);
  if (auto failure = file.create(0666)) return failure;
  if (auto failure = file.write(contents)) return failure;
  return file.moveIntoPlace();
}

FileFailure replaceFile(const fs::path& target, const struct stat& old, std::string_view contents) {
  if (!S_ISREG(old.st_mode)) return "not a regular file";
  // Renaming asks for rights on the folder only.
  if (::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) return systemReason(errno);
  internal::TemporaryFile file(target);
  if (auto failure = file.create(0600)) return failure;
  if (auto failure = file.write(contents)) return failure;
  if (auto failure = file.takeOver(old)) return failure;
  return file.moveIntoPlace();
}

}  // namespace

std::optional<std::string> writeFileAtomically(const std::string& path, std::string_view contents) {
  if (auto failure = refusePath(path)) return failure;
  const std::optional<fs::path> target = followLinks(path);
  if (!target) return systemReason(ELOOP);
  struct stat old = {};
  const bool exists = ::stat(target->c_str(), &old) == 0;
  if (!exists && errno != ENOENT) return systemReason(errno);
  FileFailure failure = exists ? replaceFile(*target, old, contents) : makeFile(*target, contents);
  if (!failure) flushFolder(*target);
  return failure;
}

}  // namespace norv

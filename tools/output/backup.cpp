#include "tools/output/backup.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "support/file.h"
#include "tools/output/atomic_file.h"
#include "tools/tool_error.h"

namespace norv::tools {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const std::string& path, const std::error_code& error) {
  throw ToolError(fmt::format("{}: cannot be written: {}", path, error.message()));
}

/// The given path, or the file that it leads to by links: the copy lies beside what is replaced.
std::string fileBehind(const std::string& path) {
  std::error_code error;
  if (!fs::is_symlink(path, error)) return path;
  const fs::path target = fs::canonical(path, error);
  if (error) fail(path, error);
  return target.string();
}

std::string copyName(const std::string& file, int number) {
  return number == 1 ? file + ".bak" : fmt::format("{}.bak{}", file, number);
}

/// An empty file of the first name that is free. Finding that out and taking the name are one step,
/// so that two programs do not take the same.
std::string takeFreeName(const std::string& file) {
  for (int number = 1;; ++number) {
    std::string name = copyName(file, number);
    const int fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd >= 0) {
      ::close(fd);
      return name;
    }
    if (errno != EEXIST) fail(name, {errno, std::generic_category()});
  }
}

std::string contentsOf(const std::string& file) {
  std::string contents;
  std::string reason;
  if (!File::readFileToString(file, &contents, &reason)) {
    throw ToolError(fmt::format("{}: cannot be read: {}", file, reason));
  }
  return contents;
}

void copyPermissionsAndTime(const std::string& file, const std::string& copy) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (!error) fs::permissions(copy, status.permissions(), error);
  const fs::file_time_type time = fs::last_write_time(file, error);
  if (!error) fs::last_write_time(copy, time, error);
}

}  // namespace

Backup::Backup(const std::string& path) {
  std::error_code ignored;
  if (!fs::is_regular_file(path, ignored)) return;
  const std::string file = fileBehind(path);
  const std::string contents = contentsOf(file);
  const std::string copy = takeFreeName(file);
  try {
    writeFileAtomically(copy, contents);
  } catch (...) {
    fs::remove(copy, ignored);
    throw;
  }
  copyPermissionsAndTime(file, copy);
  path_ = copy;
}

Backup::~Backup() {
  std::error_code ignored;
  if (path_ && !kept_) fs::remove(*path_, ignored);
}

}  // namespace norv::tools

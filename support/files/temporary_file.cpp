#include "support/files/temporary_file.h"

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <system_error>
#include <utility>

namespace norv::internal {
namespace {

constexpr int kMaxNames = 100;  ///< that are tried

/// Six letters that hardly any other file has. Not the target's name, which may be as long as names
/// can be.
std::string drawName() {
  constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz012345";
  std::array<unsigned char, 6> random = {};
  if (::getrandom(random.data(), random.size(), 0) < 0) random = {};  // the next try is another's
  std::string name = ".camera-parameters-";
  for (const unsigned char byte : random) name += kLetters[byte % kLetters.size()];
  return name;
}

}  // namespace

std::string systemReason(int error) { return std::generic_category().message(error); }

TemporaryFile::TemporaryFile(const std::filesystem::path& target) : target_(target) {}

TemporaryFile::~TemporaryFile() {
  if (fd_ >= 0) ::close(fd_);
  if (!path_.empty()) ::unlink(path_.c_str());
}

FileFailure TemporaryFile::create(mode_t permissions) {
  for (int i = 0; i < kMaxNames; ++i) {
    std::string path = (target_.parent_path() / drawName()).string();
    fd_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, permissions);
    if (fd_ >= 0) {
      path_ = std::move(path);
      return std::nullopt;
    }
    if (errno != EEXIST) break;
  }
  return systemReason(errno);
}

FileFailure TemporaryFile::write(std::string_view contents) const {
  while (!contents.empty()) {
    const ssize_t count = ::write(fd_, contents.data(), contents.size());
    if (count < 0 && errno != EINTR) return systemReason(errno);
    if (count > 0) contents.remove_prefix(static_cast<std::size_t>(count));
  }
  return std::nullopt;
}

FileFailure TemporaryFile::takeOver(const struct stat& old) const {
  const bool owned = ::fchown(fd_, old.st_uid, old.st_gid) == 0;
  // Rights that go with the owner are not handed to another one.
  const mode_t permissions = old.st_mode & (owned ? 07777 : 0777);
  if (::fchmod(fd_, permissions) != 0) return systemReason(errno);
  return std::nullopt;
}

FileFailure TemporaryFile::moveIntoPlace() {
  if (::fsync(fd_) != 0) return systemReason(errno);
  if (::close(std::exchange(fd_, -1)) != 0) return systemReason(errno);
  if (::rename(path_.c_str(), target_.c_str()) != 0) return systemReason(errno);
  path_.clear();
  return std::nullopt;
}

}  // namespace norv::internal

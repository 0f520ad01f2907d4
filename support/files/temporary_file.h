#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "support/files/signal_hold.h"

namespace norv::internal {

/// Why an operation on a file failed; none when it did not.
using FileFailure = std::optional<std::string>;

/// What the system says of an error number.
std::string systemReason(int error);

/// A new file beside the one to be replaced; removed at the end of the scope unless it took its
/// place. Operations are to be called in the order in which they stand here, up to the first that
/// fails.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::filesystem::path& target);
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile();

  /// `permissions` as far as the process's mask leaves them.
  FileFailure create(mode_t permissions);
  FileFailure write(std::string_view contents) const;
  /// Takes over what users may do with the file that is replaced, and its owner if possible.
  FileFailure takeOver(const struct stat& old) const;
  /// Flushes the file to the disk, and gives it the target's name.
  FileFailure moveIntoPlace();

 private:
  SignalHold signals_;  // until the file is gone or in its place
  std::filesystem::path target_;
  std::string path_;  ///< empty unless the file is there
  int fd_ = -1;
};

}  // namespace norv::internal

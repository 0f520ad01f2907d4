#pragma once

#include <optional>
#include <string>

namespace norv::tools {

/// A copy of a file that is about to be replaced, beside it: FILE.bak, or, so that no older copy is
/// lost, the first of FILE.bak2, FILE.bak3 and so on that there is not. It is removed at the end of
/// the scope unless it is to stay.
class Backup {
 public:
  /// Copies the file at `path`, or what it links to, and flushes the copy to the disk. It gets the
  /// file's permissions and time where the file system lets it. Where there is no regular file,
  /// there is no copy. Throws ToolError, with no copy left, when that fails.
  explicit Backup(const std::string& path);
  Backup(const Backup&) = delete;
  Backup& operator=(const Backup&) = delete;
  ~Backup();

  /// Path of the copy; nullopt where there is none.
  const std::optional<std::string>& path() const { return path_; }

  void keep() { kept_ = true; }

 private:
  std::optional<std::string> path_;
  bool kept_ = false;
};

}  // namespace norv::tools

#pragma once

/// Files that are replaced in one step. Conventions: docs/conventions.md.

#include <optional>
#include <string>
#include <string_view>

#include "export.h"

namespace norv {

/// Replaces the file at `path`, or makes it, so that at any moment it has either its old contents
/// or all of the new ones, even when the process is killed or the computer loses power: a temporary
/// file beside it, named ".camera-parameters-" and six letters, is written, flushed to the disk and
/// renamed, and then the folder is flushed. Inverse: `File::readFileToString`.
///
/// A file that exists keeps its permissions, and its owner where the process may give files away;
/// one that the process may not write to is left alone. A new one gets the permissions that the
/// process's mask leaves. A symbolic link stays, and what it points to is replaced; other hard
/// links keep the old contents.
///
/// Returns none, or why nothing was changed: what the system says, such as "Permission denied" or
/// "No space left on device" (in the language of the program's locale), or one of
///
/// - "not a regular file", of a folder, a FIFO or a device,
/// - "a null character in the path",
/// - "compiled-in files cannot be written", of a path that begins with
///   `EmbeddedFile::kEmbeddedPrefix`.
///
/// The temporary file is gone then. While it is there, SIGINT, SIGTERM and SIGHUP are held back
/// from the calling thread, so that only SIGKILL, another signal that nobody catches, or one that
/// another thread gets, leaves it behind. A limit on the size of files (SIGXFSZ) is a failure like
/// any other and ends no process.
///
/// Throws std::bad_alloc, with nothing changed. Logs nothing. Thread-safe; of several writers of
/// one file the last one wins.
[[nodiscard]] NORV_EXPORT std::optional<std::string> writeFileAtomically(const std::string& path,
                                                                         std::string_view contents);

}  // namespace norv

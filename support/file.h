#pragma once

/// Reading of whole files. Conventions: docs/conventions.md.

#include <string>

#include "export.h"

namespace norv {

/// Whole-file reading, from the file system or from the files compiled into the library.
struct NORV_EXPORT File {
  /// Reads the file at `path` into `*contents` as raw bytes and returns true.
  ///
  /// A path that begins with `EmbeddedFile::kEmbeddedPrefix` names a file compiled into the
  /// library; any other path is looked up in the file system. False, with `*contents` as it was,
  /// when the file cannot be opened or read, is not a regular file (a folder, a FIFO or a device,
  /// which may have no end), is larger than 2 GiB, or is not among the compiled-in ones. Logs
  /// nothing. Throws std::bad_alloc, with `*contents` as it was, when memory does not hold the
  /// file. Thread-safe.
  static bool readFileToString(const std::string& path, std::string* contents);

  /// The same, and writes into `*reason` why the file was not read: what the system says, such as
  /// "No such file or directory" or "Permission denied" (in the language of the program's locale),
  /// or one of
  ///
  /// - "Not a regular file but a folder", "... a FIFO", "... a device",
  /// - "Larger than 2 GiB",
  /// - "Null character in the path",
  /// - "No such compiled-in file".
  ///
  /// `*reason` stays as it was when the file was read.
  static bool readFileToString(const std::string& path, std::string* contents, std::string* reason);
};

/// Files compiled into the library.
struct NORV_EXPORT EmbeddedFile {
  /// Prefix that makes a path name a compiled-in file:
  /// `File::readFileToString(EmbeddedFile::kEmbeddedPrefix + "calibration/default_head_cal.txt",
  /// &s)`.
  ///
  /// It is initialised ahead of all objects of ordinary priority, so that constructors of global
  /// objects may use it.
  static const std::string kEmbeddedPrefix;
};

}  // namespace norv

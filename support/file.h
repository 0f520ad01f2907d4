#pragma once

/// Reading of whole files. Conventions: docs/conventions.md.

#include <string>

#include "support/export.h"

namespace norv {

/// Whole-file reading, from the file system or from the files compiled into the library.
struct NORV_EXPORT File {
  /// Reads the file at `path` into `*contents` as raw bytes and returns true.
  ///
  /// A path that begins with `EmbeddedFile::kEmbeddedPrefix` names a file compiled into the
  /// library; any other path is looked up in the file system. False, with `*contents` as it was,
  /// when the file cannot be opened or read, is not a regular file (a folder, a FIFO or a device,
  /// which may have no end), is larger than 2 GiB, or is not among the compiled-in ones. Logs
  /// nothing. Thread-safe.
  static bool readFileToString(const std::string& path, std::string* contents);
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
